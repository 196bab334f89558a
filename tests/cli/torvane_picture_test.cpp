// torvane picture: info and convert through the stb_picture_codec plugin beside the program,
// on pictures that ImageMagick makes and reads back.

#include <sys/stat.h>

#include <string>

#include "cli_harness.h"

namespace tv::test {
namespace {

bool Exists(const std::string& path) {
  struct stat info{};
  return stat(path.c_str(), &info) == 0;
}

class TorvanePicture : public CliTest {
protected:
  void Magick(const std::string& arguments) {
    ASSERT_EQ(std::system(("cd '" + folder_ + "' && convert " + arguments + " 2>/dev/null").c_str()), 0);
  }
  // What ImageMagick decodes from a file, as raw 8-bit samples of `map`, top row first.
  std::string MagickPixels(const std::string& name, const std::string& map) {
    const std::string raw = Path(name + "." + map);
    EXPECT_EQ(std::system(("convert '" + Path(name) + "' -auto-orient -depth 8 " + map + ":'" + raw + "'").c_str()), 0);
    return ReadText(raw);
  }
  // The command's own line is the last one on standard error; the log comes before it.
  static std::string LastLine(const std::string& text) {
    const size_t end = text.size() > 0 && text.back() == '\n' ? text.size() - 1 : text.size();
    const size_t start = text.rfind('\n', end == 0 ? 0 : end - 1);
    return text.substr(start == std::string::npos ? 0 : start + 1);
  }
};

TEST_F(TorvanePicture, InfoPrintsSizeAndFormat) {
  Magick("-size 7x5 plasma:fractal -alpha set -channel A -fx 'i/6' +channel -depth 8 -define png:color-type=6 in.png");
  const Result result = Torvane("picture info '" + Path("in.png") + "'");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "file: " + Path("in.png") +
                            "\nsize: 7x5\nformat: RGBA8 (7)\nbytes per pixel: 4\nstride: 28 bytes\ndata: 140 bytes\n");
  EXPECT_NE(result.err.find("Loaded picture '" + Path("in.png") + "' 7x5"), std::string::npos) << result.err;

  Magick("-size 7x5 gradient:black-white -colorspace Gray -depth 16 -define png:color-type=0 deep.png");
  const Result deep = Torvane("picture info '" + Path("deep.png") + "'");
  ASSERT_EQ(deep.status, 0) << deep.err;
  EXPECT_NE(deep.out.find("format: Gray16 (1)\n"), std::string::npos) << deep.out;
}

TEST_F(TorvanePicture, ConvertWritesWhatImageMagickReadsBack) {
  Magick("-size 6x4 plasma:fractal -depth 8 -define png:color-type=2 in.png");
  const Result tga = Torvane("picture convert '" + Path("in.png") + "' '" + Path("out.tga") + "'");
  ASSERT_EQ(tga.status, 0) << tga.err;
  EXPECT_TRUE(tga.out.empty());
  EXPECT_EQ(MagickPixels("out.tga", "rgb"), MagickPixels("in.png", "rgb"));
  EXPECT_FALSE(Exists(Path("out.tga.partial")));

  // Back to PNG, through BGRA8: the alpha channel is written, fully opaque.
  const Result png = Torvane("picture convert '" + Path("out.tga") + "' '" + Path("back.PNG") + "' --format BGRA8");
  ASSERT_EQ(png.status, 0) << png.err;
  EXPECT_EQ(MagickPixels("back.PNG", "rgb"), MagickPixels("in.png", "rgb"));
  const std::string rgba = MagickPixels("back.PNG", "rgba");
  ASSERT_EQ(rgba.size(), 96u);
  for (size_t i = 3; i < rgba.size(); i += 4) EXPECT_EQ(uint8_t(rgba[i]), 255) << i;

  const Result gray = Torvane("picture convert '" + Path("in.png") + "' '" + Path("gray.png") + "' --format Gray8");
  ASSERT_EQ(gray.status, 0) << gray.err;
  const Result info = Torvane("picture info '" + Path("gray.png") + "'");
  EXPECT_NE(info.out.find("format: Gray8 (0)\n"), std::string::npos) << info.out;
}

TEST_F(TorvanePicture, BadRequestsEndWithOneLineAndNoFile) {
  Magick("-size 4x4 xc:red -depth 8 -define png:color-type=2 in.png");
  const struct {
    std::string args;
    std::string line;
  } cases[] = {
      {"picture convert '" + Path("in.png") + "' '" + Path("out.jpg") + "'",
       "torvane picture: cannot tell the file format of '" + Path("out.jpg") + "': name it .png or .tga"},
      {"picture convert '" + Path("in.png") + "' '" + Path("out.png") + "' --format RGB9",
       "torvane picture: unknown picture format 'RGB9'; see torvane picture --help"},
      {"picture convert '" + Path("in.png") + "'",
       "torvane picture: convert needs an input and an output file; see torvane picture --help"},
      {"picture convert '" + Path("in.png") + "' '" + Path("out.png") + "' --format",
       "torvane picture: option --format needs a value"},
      {"picture convert '" + Path("in.png") + "' '" + Path("out.png") + "' --quality 9",
       "torvane picture: unknown option '--quality'"},
      {"picture info", "torvane picture: info takes one file; see torvane picture --help"},
      {"picture", "torvane picture: missing subcommand; see torvane picture --help"},
      {"picture rotate x", "torvane picture: unknown subcommand 'rotate'; see torvane picture --help"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const Result result = Torvane(c.args);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.out.empty());
    // Refused before the core starts: the line is all there is.
    EXPECT_EQ(result.err, c.line + "\n");
  }
  EXPECT_FALSE(Exists(Path("out.png")));
  EXPECT_FALSE(Exists(Path("out.jpg")));
}

TEST_F(TorvanePicture, FailuresAfterStartLeaveNoPartialFile) {
  Magick("-size 4x4 xc:red -depth 8 -define png:color-type=2 in.png");
  ASSERT_EQ(std::system(("echo 'not a picture' > '" + Path("text.png") + "'").c_str()), 0);
  const struct {
    std::string args;
    std::string line;
  } cases[] = {
      {"picture convert '" + Path("text.png") + "' '" + Path("out.png") + "'",
       "torvane picture: cannot load '" + Path("text.png") + "' as a picture"},
      {"picture convert '" + Path("missing.png") + "' '" + Path("out.png") + "'",
       "torvane picture: cannot load '" + Path("missing.png") + "' as a picture"},
      {"picture convert '" + Path("in.png") + "' '" + Path("out.png") + "' --format RGBA32",
       "torvane picture: cannot convert RGB8 pixels to RGBA32"},
      {"picture convert '" + Path("in.png") + "' '" + Path("no/such/folder/out.png") + "'",
       "torvane picture: cannot write '" + Path("no/such/folder/out.png") + "'"},
      {"picture info '" + Path("text.png") + "'", "torvane picture: cannot load '" + Path("text.png") + "' as a picture"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const Result result = Torvane(c.args);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(result.out.empty());
    EXPECT_EQ(LastLine(result.err), c.line + "\n") << result.err;
  }
  EXPECT_FALSE(Exists(Path("out.png")));
  EXPECT_FALSE(Exists(Path("out.png.partial")));
  const Result loaded = Torvane("picture convert '" + Path("text.png") + "' '" + Path("out.png") + "'");
  EXPECT_NE(loaded.err.find("Failed to load picture '" + Path("text.png") + "'"), std::string::npos);
}

TEST_F(TorvanePicture, WithoutThePluginConvertSaysWhatIsMissing) {
  Magick("-size 2x2 xc:red -depth 8 in.png");
  const Result result = Torvane("--blacklist 'stb_*' picture convert '" + Path("in.png") + "' '" + Path("out.png") + "'");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(LastLine(result.err),
            "torvane picture: no plugin registered an \"STB\" codec (stb_picture_codec.so belongs beside torvane)\n");
}

TEST_F(TorvanePicture, HelpGoesToStandardOutput) {
  const Result help = Torvane("picture --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: torvane picture info FILE\n", 0), 0u) << help.out;
  EXPECT_TRUE(help.err.empty());
  const Result top = Torvane("--help");
  EXPECT_NE(top.out.find("  picture info FILE | picture convert IN OUT [--format NAME]\n"), std::string::npos);
}

} // namespace
} // namespace tv::test
