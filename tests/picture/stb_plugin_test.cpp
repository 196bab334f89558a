// The STB codec as a host meets it: the real stb_picture_codec.so loaded through the plugin host,
// reading files that ImageMagick makes and writing files that ImageMagick reads back.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "../plugin/elf_symbols.h"
#include "file/filesystem.h"
#include "file/std_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "picture/picture.h"
#include "picture/picture_codec.h"
#include "picture/picture_io.h"
#include "plugin/core_globals.h"
#include "plugin/plugin_registry.h"
#include "stb_picture_codec.h"

namespace tv::test {
namespace {

const std::string kPlugin = std::string(TV_PLUGIN_DIR) + "/stb_picture_codec.so";
const std::string kFailingPlugin = std::string(TV_TEST_PLUGIN_DIR) + "/picture/failing_picture_plugin.so";

std::vector<std::string> g_lines;  // "type|message"

void Record(const std::string&, const std::string& message, const std::string& type, const std::string&, uint32_t,
            bool) {
  g_lines.push_back(type + "|" + message);
}

bool IsMapped(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  dlclose(handle);
  return true;
}

std::vector<uint8_t> ReadBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::vector<uint8_t>((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(reinterpret_cast<const char*>(bytes.data()), std::streamsize(bytes.size()));
}

std::vector<uint8_t> Pixels(const Picture& picture) {
  return std::vector<uint8_t>(picture.GetData(), picture.GetData() + picture.GetDataSize());
}

class StbPlugin : public ::testing::Test {
protected:
  void SetUp() override {
    g_lines.clear();
    log_.print = &Record;
    log_system = &log_;
    plugins = &registry_;
    picture_codecs = &codecs_;
    filesystem = &files_;
    char pattern[] = "/tmp/tv_stb_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
    files_.Mount(std::make_shared<StdFileDriver>(folder_, true));
    ASSERT_TRUE(LoadPlugin(kPlugin));
    codec_ = FindCodec("STB");
    ASSERT_NE(codec_, nullptr);
  }
  void TearDown() override {
    UnloadPlugins();
    Shell("rm -rf '" + folder_ + "'");
    filesystem = nullptr;
    picture_codecs = nullptr;
    plugins = nullptr;
    log_system = nullptr;
  }

  static int Shell(const std::string& command) { return std::system((command + " 2>/dev/null").c_str()); }
  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

  // ImageMagick draws or converts; `arguments` name files relative to the test folder.
  void Magick(const std::string& arguments) { ASSERT_EQ(Shell("cd '" + folder_ + "' && convert " + arguments), 0); }
  // The pixels of a file as ImageMagick decodes them, in the raw layout `map` ("gray", "rgb",
  // "rgba") at `depth` bits, 16-bit samples little-endian. ImageMagick keeps a TGA's rows in file
  // order and notes the origin: -auto-orient puts the top row first.
  std::vector<uint8_t> MagickPixels(const std::string& name, const std::string& map, int depth = 8) {
    const std::string raw = name + "." + map + std::to_string(depth);
    EXPECT_EQ(Shell("cd '" + folder_ + "' && convert '" + name + "' -auto-orient -depth " + std::to_string(depth) +
                    " -endian LSB " + map + ":'" + raw + "'"),
              0);
    return ReadBytes(Path(raw));
  }

  Picture Load(const std::string& name) {
    Picture picture;
    EXPECT_TRUE(LoadPicture(picture, name, "STB")) << name;
    return picture;
  }

  LogSystem log_;
  PluginRegistry registry_;
  PictureCodecRegistry codecs_;
  Filesystem files_;
  std::string folder_;
  PictureCodec* codec_ = nullptr;
};

TEST_F(StbPlugin, ExportsExactlyTheThreeFunctionsAndRegistersOneCodec) {
  EXPECT_EQ(ExportedSymbols(kPlugin), (std::set<std::string>{"PluginGetDescription", "PluginLoad", "PluginUnload"}));
  ASSERT_EQ(codecs_.size(), 1u);
  EXPECT_EQ(codec_->GetName(), "STB");
  ASSERT_EQ(registry_.loaded.size(), 1u);
  EXPECT_STREQ(registry_.loaded[0]->description.name, "STB");
  EXPECT_NE(std::find(g_lines.begin(), g_lines.end(), "| - Plugin STB [PNG, TGA, JPEG and BMP pictures] version 1.0.0"),
            g_lines.end());
}

TEST_F(StbPlugin, UnloadingTakesTheCodecOutOfTheRegistry) {
  UnloadPlugins();
  EXPECT_TRUE(codecs_.empty());
  EXPECT_FALSE(IsMapped(kPlugin));
}

TEST_F(StbPlugin, LoadingTwiceLeavesTheNewerCodecAlone) {
  void* module = dlopen(kPlugin.c_str(), RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(module, nullptr);
  auto load = reinterpret_cast<PluginLoadFunction>(dlsym(module, "PluginLoad"));
  auto unload = reinterpret_cast<PluginUnloadFunction>(dlsym(module, "PluginUnload"));
  const CoreGlobals table = GetCoreGlobals();
  ASSERT_EQ(load(&table), 0);
  ASSERT_EQ(codecs_.size(), 1u);
  EXPECT_EQ(codecs_[0]->GetName(), "STB");
  unload();
  EXPECT_TRUE(codecs_.empty());
  ASSERT_EQ(load(&table), 0);  // the registry's own unload at tear-down takes this one out
  dlclose(module);
}

TEST_F(StbPlugin, AnotherSTBCodecInTheHostMakesTheLoadFail) {
  UnloadPlugins();
  STBPictureCodec host_codec;
  ASSERT_TRUE(RegisterCodec(&host_codec));
  g_lines.clear();
  EXPECT_FALSE(LoadPlugin(kPlugin));
  EXPECT_EQ(codecs_, PictureCodecRegistry{&host_codec});
  EXPECT_NE(std::find(g_lines.begin(), g_lines.end(), "debug|Plugin failed while initializing ('" + kPlugin + "')"),
            g_lines.end());
  codecs_.clear();
}

TEST_F(StbPlugin, AFailingPluginsPictureCodecsLeaveTheRegistry) {
  ASSERT_EQ(codecs_.size(), 1u);
  EXPECT_FALSE(LoadPlugin(kFailingPlugin));
  EXPECT_EQ(codecs_, PictureCodecRegistry{codec_});
  EXPECT_FALSE(IsMapped(kFailingPlugin));
}

TEST_F(StbPlugin, PngRoundTripsGrayRgbAndRgbaExactly) {
  std::mt19937 random(11);
  for (PictureFormat format : {Gray8, RGB8, RGBA8}) {
    for (const char* parameters : {"", "format: png", "format: tga"}) {
      SCOPED_TRACE(std::string(GetPictureFormatName(format)) + " '" + parameters + "'");
      Picture picture(13, 7, format);
      for (size_t i = 0; i < picture.GetDataSize(); ++i) picture.GetData()[i] = uint8_t(random());
      ASSERT_TRUE(SavePicture(picture, "round.bin", "STB", parameters));
      const std::vector<uint8_t> file = ReadBytes(Path("round.bin"));
      ASSERT_GT(file.size(), 18u);
      const bool png = std::string(parameters) != "format: tga";
      EXPECT_EQ(png, std::memcmp(file.data(), "\x89PNG", 4) == 0);
      if (!png) {
        EXPECT_EQ(file[2], format == Gray8 ? 11 : 10);  // run-length encoded gray or true colour
      }
      const Picture loaded = Load("round.bin");
      EXPECT_EQ(loaded.GetFormat(), format);
      EXPECT_EQ(loaded.GetWidth(), 13u);
      EXPECT_EQ(loaded.GetHeight(), 7u);
      EXPECT_EQ(Pixels(loaded), Pixels(picture));
    }
  }
}

TEST_F(StbPlugin, ImageMagickReadsWhatTheCodecWrites) {
  Picture picture(5, 4, RGBA8);
  for (size_t i = 0; i < picture.GetDataSize(); ++i) picture.GetData()[i] = uint8_t(i * 37 + 5);
  ASSERT_TRUE(SavePicture(picture, "ours.png", "STB", "format: png"));
  ASSERT_TRUE(SavePicture(picture, "ours.tga", "STB", " Format :  TGA ; "));
  EXPECT_EQ(MagickPixels("ours.png", "rgba"), Pixels(picture));
  EXPECT_EQ(MagickPixels("ours.tga", "rgba"), Pixels(picture));
}

TEST_F(StbPlugin, OtherFormatsAreSavedAsEightBits) {
  // RGB16 converts to RGB8 (v >> 8); Gray16 and RGB32 are read pixel by pixel and rounded.
  Picture wide(3, 1, RGB16);
  const uint16_t channels[] = {0, 255, 256, 1000, 65535, 32768, 511, 512, 40000};
  std::memcpy(wide.GetData(), channels, sizeof(channels));
  ASSERT_TRUE(SavePicture(wide, "wide.png", "STB", ""));
  EXPECT_EQ(MagickPixels("wide.png", "rgb"), (std::vector<uint8_t>{0, 0, 1, 3, 255, 128, 1, 2, 156}));

  Picture gray(2, 1, Gray16);
  const uint16_t levels[] = {257 * 20, 65535};
  std::memcpy(gray.GetData(), levels, sizeof(levels));
  ASSERT_TRUE(SavePicture(gray, "gray.png", "STB", ""));
  EXPECT_EQ(MagickPixels("gray.png", "gray"), (std::vector<uint8_t>{20, 255}));

  Picture floats(1, 1, RGB32);
  const float values[] = {0.5f, 2.0f, -1.0f};
  std::memcpy(floats.GetData(), values, sizeof(values));
  ASSERT_TRUE(SavePicture(floats, "floats.tga", "STB", "format: tga"));
  EXPECT_EQ(MagickPixels("floats.tga", "rgba"), (std::vector<uint8_t>{128, 255, 0, 255}));
}

TEST_F(StbPlugin, UnknownParametersRefuseTheSave) {
  const Picture picture(2, 2, RGB8);
  g_lines.clear();
  EXPECT_FALSE(SavePicture(picture, "x.png", "STB", "format: jpg"));
  EXPECT_FALSE(SavePicture(picture, "x.png", "STB", "format: png; quality: 9"));
  EXPECT_FALSE(SavePicture(picture, "x.png", "STB", "tga"));
  EXPECT_EQ(std::count(g_lines.begin(), g_lines.end(), "error|STB codec: cannot save pictures as 'jpg', only as 'png' or 'tga'"), 1);
  EXPECT_EQ(std::count(g_lines.begin(), g_lines.end(), "error|STB codec: unknown save parameter 'quality: 9'"), 1);
  EXPECT_EQ(std::count(g_lines.begin(), g_lines.end(), "error|STB codec: unknown save parameter 'tga'"), 1);
  EXPECT_FALSE(SavePicture(Picture(), "empty.png", "STB", ""));
  EXPECT_EQ(g_lines.back(), "error|STB codec: cannot save a picture without pixels");
}

TEST_F(StbPlugin, EightBitPngsLoadWithImageMagicksPixels) {
  const struct {
    const char* make;
    const char* map;
    PictureFormat format;
  } cases[] = {
      {"-size 9x6 gradient:black-white -colorspace Gray -depth 8 -define png:color-type=0 gray.png", "gray", Gray8},
      {"-size 9x6 plasma:fractal -depth 8 -define png:color-type=2 rgb.png", "rgb", RGB8},
      {"-size 9x6 plasma:fractal -alpha set -channel A -fx '(i+j)/14' +channel -depth 8 -define png:color-type=6 "
       "rgba.png",
       "rgba", RGBA8},
      // Gray with alpha has no picture format of its own: it widens to RGBA8.
      {"-size 9x6 gradient:black-white -colorspace Gray -alpha set -channel A -fx 'i/8' +channel -depth 8 "
       "-define png:color-type=4 graya.png",
       "rgba", RGBA8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.make);
    Magick(c.make);
    const std::string name = std::string(c.make).substr(std::string(c.make).rfind(' ') + 1);
    const Picture picture = Load(name);
    EXPECT_EQ(picture.GetFormat(), c.format);
    EXPECT_EQ(picture.GetWidth(), 9u);
    EXPECT_EQ(picture.GetHeight(), 6u);
    EXPECT_EQ(Pixels(picture), MagickPixels(name, c.map));
  }
}

TEST_F(StbPlugin, SixteenBitPngsKeepTheirSixteenBits) {
  const struct {
    const char* make;
    const char* map;
    PictureFormat format;
  } cases[] = {
      {"-size 7x5 gradient:black-white -colorspace Gray -depth 16 -define png:color-type=0 gray16.png", "gray",
       Gray16},
      {"-size 7x5 gradient:red-blue -depth 16 -define png:color-type=2 rgb16.png", "rgb", RGB16},
      {"-size 7x5 gradient:red-blue -alpha set -channel A -fx 'j/4' +channel -depth 16 -define png:color-type=6 "
       "rgba16.png",
       "rgba", RGBA16},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.make);
    Magick(c.make);
    const std::string name = std::string(c.make).substr(std::string(c.make).rfind(' ') + 1);
    const Picture picture = Load(name);
    EXPECT_EQ(picture.GetFormat(), c.format);
    EXPECT_EQ(Pixels(picture), MagickPixels(name, c.map, 16));
  }
}

TEST_F(StbPlugin, TgaBmpAndJpegLoad) {
  // ImageMagick writes rows in memory order and flags the origin as it is told: top-left files
  // as they are, bottom-left ones from a flipped picture. Both origins must load top row first.
  Magick("-size 6x4 plasma:fractal -depth 8 -type TrueColor source.png");
  Magick("source.png -orient TopLeft -compress None top.tga");
  Magick("source.png -flip -orient BottomLeft -compress None bottom.tga");
  Magick("source.png -flip -orient BottomLeft -compress RLE bottom_rle.tga");
  for (const char* name : {"top.tga", "bottom.tga", "bottom_rle.tga"}) {
    SCOPED_TRACE(name);
    Picture tga = Load(name);
    EXPECT_EQ(tga.GetFormat(), RGB8);
    EXPECT_EQ(Pixels(tga), MagickPixels("source.png", "rgb"));
  }

  Magick("-size 6x4 plasma:fractal -alpha set -channel A -fx 'i/5' +channel -depth 8 -orient TopLeft alpha.tga");
  Picture alpha = Load("alpha.tga");
  EXPECT_EQ(alpha.GetFormat(), RGBA8);
  EXPECT_EQ(Pixels(alpha), MagickPixels("alpha.tga", "rgba"));

  // Pixels asked for by value: a grey field with two points.
  Magick("-size 5x3 xc:'rgb(10,20,30)' -fill 'rgb(200,100,50)' -draw 'point 1,1' -fill 'rgb(0,255,7)' "
         "-draw 'point 4,2' BMP3:drawn.bmp");
  Picture bmp = Load("drawn.bmp");
  ASSERT_EQ(bmp.GetFormat(), RGB8);
  EXPECT_EQ(std::vector<uint8_t>(bmp.GetData(0, 0), bmp.GetData(0, 0) + 3), (std::vector<uint8_t>{10, 20, 30}));
  EXPECT_EQ(std::vector<uint8_t>(bmp.GetData(1, 1), bmp.GetData(1, 1) + 3), (std::vector<uint8_t>{200, 100, 50}));
  EXPECT_EQ(std::vector<uint8_t>(bmp.GetData(4, 2), bmp.GetData(4, 2) + 3), (std::vector<uint8_t>{0, 255, 7}));
  EXPECT_EQ(Pixels(bmp), MagickPixels("drawn.bmp", "rgb"));

  // Two JPEG decoders agree within a few levels, not bit for bit.
  Magick("-size 32x24 plasma:fractal -quality 92 photo.jpg");
  Picture jpeg = Load("photo.jpg");
  ASSERT_EQ(jpeg.GetFormat(), RGB8);
  const std::vector<uint8_t> reference = MagickPixels("photo.jpg", "rgb");
  ASSERT_EQ(reference.size(), jpeg.GetDataSize());
  int worst = 0;
  for (size_t i = 0; i < reference.size(); ++i) worst = std::max(worst, std::abs(int(reference[i]) - jpeg.GetData()[i]));
  EXPECT_LE(worst, 6);
  Magick("-size 8x8 gradient:white-black -colorspace Gray -quality 90 gray.jpg");
  EXPECT_EQ(Load("gray.jpg").GetFormat(), Gray8);
}

TEST_F(StbPlugin, ARefusedFileLeavesTheHandleWhereItWas) {
  WriteBytes(Path("notes.txt"), std::vector<uint8_t>{'n', 'o', 't', ' ', 'a', ' ', 'p', 'i', 'c'});
  Magick("-size 8x8 plasma:fractal -depth 8 whole.png");
  std::vector<uint8_t> png = ReadBytes(Path("whole.png"));
  png.resize(png.size() / 2);
  WriteBytes(Path("cut.png"), png);
  for (const char* name : {"notes.txt", "cut.png"}) {
    SCOPED_TRACE(name);
    std::shared_ptr<FileHandle> handle = files_.Open(name, FileMode::Read);
    ASSERT_TRUE(handle);
    ASSERT_EQ(handle->Seek(3, SeekRef::Start), 0);
    Picture picture;
    EXPECT_FALSE(codec_->Load(*handle, picture));
    EXPECT_EQ(handle->Tell(), 3u);
    ASSERT_EQ(handle->Seek(0, SeekRef::Start), 0);
    EXPECT_FALSE(codec_->Load(*handle, picture));
    EXPECT_EQ(handle->Tell(), 0u);
  }
  g_lines.clear();
  Picture picture;
  EXPECT_FALSE(LoadPicture(picture, "cut.png", ""));
  EXPECT_EQ(g_lines.back(), "error|Failed to load picture 'cut.png'");
}

TEST_F(StbPlugin, APictureFromThePluginOutlivesIt) {
  Magick("-size 4x4 xc:'rgb(1,2,3)' -depth 8 small.png");
  Picture picture = Load("small.png");
  EXPECT_NE(std::find(g_lines.begin(), g_lines.end(), "|Loaded picture 'small.png' 4x4"), g_lines.end());
  UnloadPlugins();
  ASSERT_FALSE(IsMapped(kPlugin));
  // Renderer calls and the destructor run code of this module only.
  picture.PutPixel(0, 0, Color(1, 1, 1, 1));
  EXPECT_EQ(picture.GetPixel(1, 1), Color(1.0f / 255, 2.0f / 255, 3.0f / 255, 1));
  Picture copy = picture;
  EXPECT_TRUE(copy.Compare(picture, 0));
}

TEST(StbCodec, PicturesOverTheDecodeLimitAreRefusedBeforeDecoding) {
  char pattern[] = "/tmp/tv_stb_limit_XXXXXX";
  ASSERT_NE(mkdtemp(pattern), nullptr);
  const std::string folder = pattern;
  ASSERT_EQ(std::system(("convert -size 64x64 xc:red -depth 8 '" + folder + "/red.png'").c_str()), 0);
  Filesystem files;
  files.Mount(std::make_shared<StdFileDriver>(folder, true));
  std::shared_ptr<FileHandle> handle = files.Open("red.png", FileMode::Read);
  ASSERT_TRUE(handle);
  STBPictureCodec codec;
  codec.SetDecodeLimit(64 * 64 * 3 - 1);
  Picture picture;
  EXPECT_FALSE(codec.Load(*handle, picture));
  EXPECT_EQ(handle->Tell(), 0u);
  codec.SetDecodeLimit(64 * 64 * 3);
  EXPECT_TRUE(codec.Load(*handle, picture));
  EXPECT_EQ(picture.GetFormat(), RGB8);
  std::system(("rm -rf '" + folder + "'").c_str());
}

} // namespace
} // namespace tv::test
