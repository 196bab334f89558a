// The codec registry and LoadPicture / SavePicture with their log lines word for word, over a
// small real codec ("RW", width, height, then 8-bit gray pixels); then the STB codec as a host
// meets it: the real stb_picture_codec.so loaded through the plugin host, reading files that
// ImageMagick makes and writing files that ImageMagick reads back.

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "../plugin/elf_symbols.h"
#include "file/filesystem.h"
#include "file/log_capture.h"
#include "file/memory_file_driver.h"
#include "file/std_file_driver.h"
#include "file/temp_folder.h"
#include "foundation/globals.h"
#include "picture/picture.h"
#include "picture/picture_codec.h"
#include "picture/picture_io.h"
#include "plugin/core_globals.h"
#include "plugin/plugin_registry.h"
#include "stb_picture_codec.h"

namespace tv::test {
namespace {

using tv_test::LogLine;
using tv_test::TakeLog;
using Lines = std::vector<LogLine>;

std::vector<uint8_t> Bytes(const Picture& picture) {
  return std::vector<uint8_t>(picture.GetData(), picture.GetData() + picture.GetDataSize());
}
bool Logged(const Lines& lines, const LogLine& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

// "RW", width, height, then 8-bit gray pixels; a refusing codec reads a byte, puts the handle
// back and says no. Each remembers where it was offered a file.
class RawGrayCodec : public PictureCodec {
public:
  RawGrayCodec(std::string name, bool refuses = false) : name_(std::move(name)), refuses_(refuses) {}
  bool Load(FileHandle& handle, Picture& picture) override {
    const uint32_t start = handle.Tell();
    seen_at.push_back(start);
    uint8_t header[4] = {};
    if (handle.Read(header, refuses_ ? 1 : 4) != 4 || header[0] != 'R' || header[1] != 'W') {
      handle.Seek(int(start), SeekRef::Start);
      return false;
    }
    return picture.Allocate(header[2], header[3], Gray8) &&
           handle.Read(picture.GetData(), uint32_t(picture.GetDataSize())) == picture.GetDataSize();
  }
  bool Save(FileHandle& handle, const Picture& picture, const std::string& parameters) override {
    saved_with = parameters;
    const uint8_t header[4] = {'R', 'W', uint8_t(picture.GetWidth()), uint8_t(picture.GetHeight())};
    return picture.GetFormat() == Gray8 && handle.Write(header, 4) == 4 &&
           handle.Write(picture.GetData(), uint32_t(picture.GetDataSize())) == picture.GetDataSize();
  }
  std::string GetName() const override { return name_; }

  std::vector<uint32_t> seen_at;
  std::string saved_with;

private:
  std::string name_;
  bool refuses_;
};

class PictureFiles : public tv_test::LogCaptureTest {
protected:
  void SetUp() override {
    LogCaptureTest::SetUp();
    filesystem = &files_;
    picture_codecs = &codecs_;
    files_.Mount(std::make_shared<MemoryFileDriver>());
    TakeLog();
  }
  void TearDown() override {
    picture_codecs = nullptr;
    filesystem = nullptr;
    LogCaptureTest::TearDown();
  }

  Filesystem files_;
  PictureCodecRegistry codecs_;
};

TEST_F(PictureFiles, RegisteringANameTwiceKeepsTheFirst) {
  RawGrayCodec first("Raw"), second("Raw"), other("Other");
  EXPECT_TRUE(RegisterCodec(&first));
  EXPECT_FALSE(RegisterCodec(&second));
  EXPECT_TRUE(RegisterCodec(&other));
  EXPECT_EQ(codecs_, (PictureCodecRegistry{&first, &other}));
  EXPECT_EQ(FindCodec("Raw"), &first);
  EXPECT_EQ(FindCodec("Other"), &other);
  EXPECT_EQ(FindCodec("raw"), nullptr);
  EXPECT_EQ(FindCodec(""), nullptr);
  EXPECT_FALSE(RegisterCodec(nullptr));
  picture_codecs = nullptr;
  EXPECT_FALSE(RegisterCodec(&second));
  EXPECT_EQ(FindCodec("Raw"), nullptr);
}

// Every way LoadPicture fails or succeeds, with its lines. Without a name each codec is offered
// the file in turn at the same position. Where no codec ran, the picture keeps its drawing state
// (here a clip box on the top left pixel and a pending path over the whole picture).
TEST_F(PictureFiles, LoadLogsEachOutcome) {
  files_.StringToFile("raw", std::string("RW\x02\x01\x0a\x14", 6));
  files_.StringToFile("text", "hello");
  RawGrayCodec raw("Raw"), refusing("Refusing", true);
  const struct {
    bool registered;
    std::string path, codec;
    bool ran, loaded;
    Lines lines;
  } rows[] = {
      {false, "raw", "", false, false,
       {{"", "Load picture from 'raw', codec '-'"}, {"error", "Failed to load picture 'raw'"}}},
      {true, "raw", "Nope", false, false,
       {{"", "Load picture from 'raw', codec 'Nope'"},
        {"error", "Unknown codec 'Nope' to load picture 'raw'"},
        {"error", "Failed to load picture 'raw'"}}},
      {true, "missing", "Raw", false, false,
       {{"", "Load picture from 'missing', codec 'Raw'"},
        {"warn", "Failed to open 'missing' on any mounted file driver"}}},
      {true, "text", "", true, false,
       {{"", "Load picture from 'text', codec '-'"}, {"error", "Failed to load picture 'text'"}}},
      {true, "text", "Raw", true, false,
       {{"", "Load picture from 'text', codec 'Raw'"}, {"error", "Failed to load picture 'text'"}}},
      {true, "raw", "", true, true, {{"", "Load picture from 'raw', codec '-'"}, {"", "Loaded picture 'raw' 2x1"}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path + " with '" + row.codec + "'");
    codecs_.clear();
    raw.seen_at.clear();
    refusing.seen_at.clear();
    if (row.registered) {
      RegisterCodec(&refusing);
      RegisterCodec(&raw);
    }
    Picture picture(2, 2, Gray8);
    picture.Clear(Color(0, 0, 0, 1));
    picture.SetClipRect(0, 0, 0, 0);
    picture.SetFillColor(Color(1, 1, 1, 1));
    picture.GetRenderer()->pen_mode = 0;
    picture.MoveTo(0, 0);
    picture.LineTo(2, 0);
    picture.LineTo(2, 2);
    picture.LineTo(0, 2);
    TakeLog();
    EXPECT_EQ(LoadPicture(picture, row.path, row.codec), row.loaded);
    EXPECT_EQ(TakeLog(), row.lines);
    EXPECT_EQ(raw.seen_at, row.ran ? std::vector<uint32_t>{0} : std::vector<uint32_t>{});
    if (row.loaded) {
      EXPECT_EQ(refusing.seen_at, std::vector<uint32_t>{0});
      EXPECT_EQ(Bytes(picture), (std::vector<uint8_t>{10, 20}));
    } else if (!row.ran) {
      EXPECT_EQ(picture.GetPixel(1, 1), Color());  // still outside the box, though opaque black
      picture.DrawPath();
      EXPECT_EQ(Bytes(picture), (std::vector<uint8_t>{255, 0, 0, 0}));
    }
  }
}

// SavePicture logs at debug level with the parameters as details and hands them to the codec; an
// unknown codec is refused with its line and writes nothing.
TEST_F(PictureFiles, SaveLogsAndWritesThroughTheNamedCodec) {
  static std::string details;
  recorder.print = [](const std::string& f, const std::string& message, const std::string& type, const std::string& d,
                      uint32_t line, bool b) {
    details = d;
    tv_test::RecordLogLine(f, message, type, d, line, b);
  };
  RawGrayCodec raw("Raw");
  RegisterCodec(&raw);
  Picture picture(3, 2, Gray8);
  picture.PutPixel(2, 1, Color(1, 1, 1, 1));
  ASSERT_TRUE(SavePicture(picture, "out.raw", "Raw", "quality: high"));
  EXPECT_EQ(details, "quality: high");
  EXPECT_EQ(raw.saved_with, "quality: high");
  EXPECT_FALSE(SavePicture(picture, "none.raw", "Nope", ""));
  EXPECT_EQ(TakeLog(), (Lines{{"debug", "Save picture (3x2) to 'out.raw', codec 'Raw'"},
                              {"debug", "Save picture (3x2) to 'none.raw', codec 'Nope'"},
                              {"error", "Unknown codec 'Nope' to save picture 'none.raw'"}}));
  EXPECT_FALSE(files_.Exists("none.raw"));
  Picture loaded;
  ASSERT_TRUE(LoadPicture(loaded, "out.raw", "Raw"));
  EXPECT_EQ(Bytes(loaded), Bytes(picture));
}

const std::string kPlugin = std::string(TV_PLUGIN_DIR) + "/stb_picture_codec.so";
const std::string kFailingPlugin = std::string(TV_TEST_PLUGIN_DIR) + "/picture/failing_picture_plugin.so";

bool IsMapped(const std::string& path) {
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle != nullptr) dlclose(handle);
  return handle != nullptr;
}
int Shell(const std::string& command) { return std::system((command + " 2>/dev/null").c_str()); }

class StbPlugin : public tv_test::LogCaptureTest {
protected:
  void SetUp() override {
    LogCaptureTest::SetUp();
    plugins = &registry_;
    picture_codecs = &codecs_;
    filesystem = &files_;
    files_.Mount(std::make_shared<StdFileDriver>(temp_.path, true));
    ASSERT_TRUE(LoadPlugin(kPlugin));
    codec_ = FindCodec("STB");
    ASSERT_NE(codec_, nullptr);
  }
  void TearDown() override {
    UnloadPlugins();
    filesystem = nullptr;
    picture_codecs = nullptr;
    plugins = nullptr;
    LogCaptureTest::TearDown();
  }

  // ImageMagick draws or converts; `arguments` name files relative to the test folder.
  void Magick(const std::string& arguments) { ASSERT_EQ(Shell("cd '" + temp_.path + "' && convert " + arguments), 0); }
  // The pixels of a file as ImageMagick decodes them, in the raw layout `map` ("gray", "rgb",
  // "rgba") at `depth` bits, 16-bit samples little-endian. ImageMagick keeps a TGA's rows in file
  // order and notes the origin: -auto-orient puts the top row first.
  std::vector<uint8_t> MagickPixels(const std::string& name, const std::string& map, int depth = 8) {
    const std::string raw = name + "." + map + std::to_string(depth);
    EXPECT_EQ(Shell("cd '" + temp_.path + "' && convert '" + name + "' -auto-orient -depth " + std::to_string(depth) +
                    " -endian LSB " + map + ":'" + raw + "'"),
              0);
    const std::string bytes = temp_.Get(raw);
    return std::vector<uint8_t>(bytes.begin(), bytes.end());
  }
  Picture Load(const std::string& name) {
    Picture picture;
    EXPECT_TRUE(LoadPicture(picture, name, "STB")) << name;
    return picture;
  }

  tv_test::TempFolder temp_;
  PluginRegistry registry_;
  PictureCodecRegistry codecs_;
  Filesystem files_;
  PictureCodec* codec_ = nullptr;
};

// The module exports exactly the three plugin functions and registers one codec; a plugin that
// fails after registering a codec leaves no codec behind, and unloading takes the codec out.
TEST_F(StbPlugin, RegistersItsCodecWhileLoaded) {
  EXPECT_EQ(ExportedSymbols(kPlugin), (std::set<std::string>{"PluginGetDescription", "PluginLoad", "PluginUnload"}));
  EXPECT_EQ(codecs_, PictureCodecRegistry{codec_});
  EXPECT_EQ(codec_->GetName(), "STB");
  EXPECT_TRUE(Logged(TakeLog(), {"", " - Plugin STB [PNG, TGA, JPEG and BMP pictures] version 1.0.0"}));
  EXPECT_FALSE(LoadPlugin(kFailingPlugin));
  EXPECT_EQ(codecs_, PictureCodecRegistry{codec_});
  EXPECT_FALSE(IsMapped(kFailingPlugin));
  UnloadPlugins();
  EXPECT_TRUE(codecs_.empty());
  EXPECT_FALSE(IsMapped(kPlugin));
}

// The module's own load and unload, called again, register and unregister its codec only.
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
  TakeLog();
  EXPECT_FALSE(LoadPlugin(kPlugin));
  EXPECT_EQ(codecs_, PictureCodecRegistry{&host_codec});
  EXPECT_TRUE(Logged(TakeLog(), {"debug", "Plugin failed while initializing ('" + kPlugin + "')"}));
  codecs_.clear();
}

// Gray, RGB and RGBA pictures round-trip exactly through PNG (the default) and run-length encoded
// TGA, and ImageMagick reads the same pixels from the files.
TEST_F(StbPlugin, SavedPicturesRoundTripAndImageMagickReadsThem) {
  std::mt19937 random(11);
  const char* maps[] = {"gray", "rgb", "rgba"};
  for (PictureFormat format : {Gray8, RGB8, RGBA8}) {
    for (const std::string parameters : {"", "format: png", " Format :  TGA ; "}) {
      SCOPED_TRACE(std::string(GetPictureFormatName(format)) + " '" + parameters + "'");
      Picture picture(13, 7, format);
      for (size_t i = 0; i < picture.GetDataSize(); ++i) picture.GetData()[i] = uint8_t(random());
      const bool png = parameters.find("TGA") == std::string::npos;
      const std::string name = png ? "round.png" : "round.tga";
      ASSERT_TRUE(SavePicture(picture, name, "STB", parameters));
      const std::string file = temp_.Get(name);
      ASSERT_GT(file.size(), 18u);
      EXPECT_EQ(png, file.compare(0, 4, "\x89PNG") == 0);
      EXPECT_TRUE(png || file[2] == (format == Gray8 ? 11 : 10));  // run-length encoded gray or true colour
      const Picture loaded = Load(name);
      EXPECT_EQ(loaded.GetFormat(), format);
      EXPECT_EQ(loaded.GetWidth(), 13u);
      EXPECT_EQ(Bytes(loaded), Bytes(picture));
      EXPECT_EQ(MagickPixels(name, maps[format == Gray8 ? 0 : format == RGB8 ? 1 : 2]), Bytes(picture));
    }
  }
}

// RGB16 converts to RGB8 (v >> 8); Gray16 and RGB32 are read pixel by pixel and rounded.
TEST_F(StbPlugin, OtherFormatsAreSavedAsEightBits) {
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
  const std::pair<std::string, std::string> cases[] = {
      {"format: jpg", "STB codec: cannot save pictures as 'jpg', only as 'png' or 'tga'"},
      {"format: png; quality: 9", "STB codec: unknown save parameter 'quality: 9'"},
      {"tga", "STB codec: unknown save parameter 'tga'"},
  };
  for (const auto& [parameters, error] : cases) {
    TakeLog();
    EXPECT_FALSE(SavePicture(picture, "x.png", "STB", parameters));
    EXPECT_EQ(TakeLog().back(), LogLine("error", error));
  }
  EXPECT_FALSE(SavePicture(Picture(), "empty.png", "STB", ""));
  EXPECT_EQ(TakeLog().back(), LogLine("error", "STB codec: cannot save a picture without pixels"));
}

// Files ImageMagick makes load with its pixels, in the format of their kind: PNG at 8 and 16 bits
// (gray with alpha widens to RGBA8), TGA with either origin, compressed or not, and BMP.
TEST_F(StbPlugin, LoadsWhatImageMagickMakes) {
  const struct {
    const char* make;
    const char* map;
    int depth;
    PictureFormat format;
  } cases[] = {
      {"-size 9x6 gradient:black-white -colorspace Gray -depth 8 -define png:color-type=0 gray.png", "gray", 8, Gray8},
      {"-size 9x6 plasma:fractal -depth 8 -define png:color-type=2 rgb.png", "rgb", 8, RGB8},
      {"-size 9x6 plasma:fractal -alpha set -channel A -fx '(i+j)/14' +channel -depth 8 "
       "-define png:color-type=6 rgba.png",
       "rgba", 8, RGBA8},
      {"-size 9x6 gradient:black-white -colorspace Gray -alpha set -channel A -fx 'i/8' +channel -depth 8 "
       "-define png:color-type=4 graya.png", "rgba", 8, RGBA8},
      {"-size 7x5 gradient:black-white -colorspace Gray -depth 16 -define png:color-type=0 gray16.png", "gray", 16,
       Gray16},
      {"-size 7x5 gradient:red-blue -depth 16 -define png:color-type=2 rgb16.png", "rgb", 16, RGB16},
      {"-size 7x5 gradient:red-blue -alpha set -channel A -fx 'j/4' +channel -depth 16 -define png:color-type=6 "
       "rgba16.png", "rgba", 16, RGBA16},
      {"-size 6x4 plasma:fractal -depth 8 -type TrueColor -orient TopLeft -compress None top.tga", "rgb", 8, RGB8},
      {"-size 6x4 plasma:fractal -depth 8 -type TrueColor -orient BottomLeft -compress None bottom.tga", "rgb", 8,
       RGB8},
      {"-size 6x4 plasma:fractal -depth 8 -type TrueColor -orient BottomLeft -compress RLE rle.tga", "rgb", 8, RGB8},
      {"-size 6x4 plasma:fractal -alpha set -channel A -fx 'i/5' +channel -depth 8 -orient TopLeft alpha.tga",
       "rgba", 8, RGBA8},
      {"-size 5x3 plasma:fractal -depth 8 BMP3:drawn.bmp", "rgb", 8, RGB8},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.make);
    Magick(c.make);
    std::string name = std::string(c.make).substr(std::string(c.make).rfind(' ') + 1);
    if (name.find(':') != std::string::npos) name = name.substr(name.find(':') + 1);
    const Picture picture = Load(name);
    EXPECT_EQ(picture.GetFormat(), c.format);
    EXPECT_EQ(Bytes(picture), MagickPixels(name, c.map, c.depth));
  }
  // Two JPEG decoders agree within a few levels, not bit for bit.
  Magick("-size 32x24 plasma:fractal -quality 92 photo.jpg");
  const Picture jpeg = Load("photo.jpg");
  ASSERT_EQ(jpeg.GetFormat(), RGB8);
  const std::vector<uint8_t> reference = MagickPixels("photo.jpg", "rgb");
  ASSERT_EQ(reference.size(), jpeg.GetDataSize());
  int worst = 0;
  for (size_t i = 0; i < reference.size(); ++i) worst = std::max(worst, std::abs(reference[i] - jpeg.GetData()[i]));
  EXPECT_LE(worst, 6);
  Magick("-size 8x8 gradient:white-black -colorspace Gray -quality 90 gray.jpg");
  EXPECT_EQ(Load("gray.jpg").GetFormat(), Gray8);
}

// A file that is no picture, or a cut one, is refused with the handle where it was.
TEST_F(StbPlugin, ARefusedFileLeavesTheHandleWhereItWas) {
  temp_.Put("notes.txt", "not a pic");
  Magick("-size 8x8 plasma:fractal -depth 8 whole.png");
  const std::string png = temp_.Get("whole.png");
  temp_.Put("cut.png", png.substr(0, png.size() / 2));
  for (const char* name : {"notes.txt", "cut.png"}) {
    SCOPED_TRACE(name);
    std::shared_ptr<FileHandle> handle = files_.Open(name, FileMode::Read);
    ASSERT_TRUE(handle);
    for (int at : {3, 0}) {
      ASSERT_EQ(handle->Seek(at, SeekRef::Start), 0);
      Picture picture;
      EXPECT_FALSE(codec_->Load(*handle, picture));
      EXPECT_EQ(handle->Tell(), uint32_t(at));
    }
  }
  TakeLog();
  Picture picture;
  EXPECT_FALSE(LoadPicture(picture, "cut.png", ""));
  EXPECT_EQ(TakeLog().back(), LogLine("error", "Failed to load picture 'cut.png'"));
}

// A loaded picture draws, copies and goes with this module's code only, after the plugin is gone.
TEST_F(StbPlugin, APictureFromThePluginOutlivesIt) {
  Magick("-size 4x4 xc:'rgb(1,2,3)' -depth 8 small.png");
  Picture picture = Load("small.png");
  EXPECT_TRUE(Logged(TakeLog(), {"", "Loaded picture 'small.png' 4x4"}));
  UnloadPlugins();
  ASSERT_FALSE(IsMapped(kPlugin));
  picture.PutPixel(0, 0, Color(1, 1, 1, 1));
  EXPECT_EQ(picture.GetPixel(1, 1), Color(1.0f / 255, 2.0f / 255, 3.0f / 255, 1));
  Picture copy = picture;
  EXPECT_TRUE(copy.Compare(picture, 0));
}

TEST(StbCodec, PicturesOverTheDecodeLimitAreRefusedBeforeDecoding) {
  tv_test::TempFolder temp;
  ASSERT_EQ(Shell("convert -size 64x64 xc:red -depth 8 '" + temp.path + "/red.png'"), 0);
  Filesystem files;
  files.Mount(std::make_shared<StdFileDriver>(temp.path, true));
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
}

} // namespace
} // namespace tv::test
