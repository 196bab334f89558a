// `torvane decode` on WAV files that sox writes, and `torvane picture` through the stb_picture_codec
// plugin on pictures that ImageMagick makes and reads back.

#include <string>

#include "cli_harness.h"

namespace tv::test {
namespace {

class TorvaneDecode : public CliTest {
protected:
  void Sox(const std::string& args) { Shell("sox -q -R " + args); }
};

// The frames written are those sox decodes, from the start or from where sox's trim starts; with no
// -o nor --info they are the whole of standard output.
TEST_F(TorvaneDecode, WritesTheFramesThatSoxDecodes) {
  Sox("-n -t wavpcm -r 44100 -c 2 -b 16 a.wav synth 2.5 whitenoise");
  Sox("a.wav -t raw sox.raw");
  const Result result = Torvane("decode " + Q("a.wav") + " -o " + Q("a.raw") + " --info");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(ReadText(Path("a.raw")) == ReadText(Path("sox.raw")));  // truths: a dump of megabytes helps nobody
  EXPECT_EQ(result.out, "file: " + Path("a.wav") + "\nformat: encoding 0, 2 channel(s), 44100 Hz, 16 bit\n"
                        "frame size: 176400 bytes\ndata size: 441000 bytes\n"
                        "decoded: 441000 bytes in 3 frame(s), starting at 0.000000 s\n");
  const Result piped = Torvane("decode " + Q("a.wav"));
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_TRUE(piped.out == ReadText(Path("sox.raw")));

  Sox("-n -t wavpcm -r 48000 -c 6 -b 24 -e signed-integer b.wav synth 2 whitenoise");
  Sox("b.wav -t raw trim.raw trim 0.75");
  const Result seek = Torvane("decode " + Q("b.wav") + " --seek 0.75 -o " + Q("b.raw") + " --info");
  ASSERT_EQ(seek.status, 0) << seek.err;
  EXPECT_TRUE(ReadText(Path("b.raw")) == ReadText(Path("trim.raw")));
  EXPECT_NE(seek.out.find("starting at 0.750000 s"), std::string::npos) << seek.out;
}

// A header that claims more samples than the file holds: the program finishes with what is there.
TEST_F(TorvaneDecode, StopsAtTheEndOfWhatTheFileHolds) {
  Sox("-n -t wavpcm -r 8000 -c 1 -b 16 c.wav synth 3 whitenoise");
  std::string bytes = ReadText(Path("c.wav"));
  const size_t data = bytes.find("data");
  ASSERT_NE(data, std::string::npos);
  bytes.resize(data + 8 + 30001);  // 30001 of 48000 sample bytes, ending inside a sample
  Put("short.wav", bytes);
  const Result result = Torvane("decode " + Q("short.wav") + " -o " + Q("short.raw"));
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(ReadText(Path("short.raw")) == bytes.substr(data + 8));
}

// Bad input is refused with one line and leaves no output file, not even a partial one.
TEST_F(TorvaneDecode, RefusesBadInputWithOneLineAndNoOutputFile) {
  Sox("-n -t wav -r 48000 -c 6 -b 24 -e signed-integer ext.wav synth 0.1 whitenoise");
  ExpectRefusals({{"decode " + Q("none.wav") + " -o " + Q("none.raw"),
                   "torvane decode: cannot decode '" + Path("none.wav") + "' as WAV"},
                  {"decode " + Q("ext.wav") + " -o " + Q("ext.raw"),
                   "torvane decode: cannot decode '" + Path("ext.wav") + "' as WAV"}},
                 false);
  EXPECT_NE(Torvane("decode " + Q("ext.wav")).err.find("error: Unsupported WAV compression code in '" +
                                                       Path("ext.wav") + "'"),
            std::string::npos);
  EXPECT_FALSE(Exists(Path("none.raw")));
  EXPECT_FALSE(Exists(Path("ext.raw")));
  EXPECT_FALSE(Exists(Path("ext.raw.partial")));
  ExpectRefusals({{"decode x.wav --seek soon", "torvane decode: --seek wants a number of seconds, not 'soon'"},
                  {"decode", "torvane decode: no input file; see torvane decode --help"},
                  {"decode a.wav -o", "torvane decode: option -o needs a value"},
                  {"decode a.wav --frobnicate", "torvane decode: unknown option '--frobnicate'"},
                  {"decode a.wav b.wav", "torvane decode: one input file only, 'b.wav' is one too many"}},
                 true);
  EXPECT_EQ(Torvane("transmogrify").status, 1);
}

class TorvanePicture : public CliTest {
protected:
  void Magick(const std::string& arguments) { Shell("convert " + arguments); }
  // What ImageMagick decodes from a file, as raw 8-bit samples of `map`, top row first.
  std::string MagickPixels(const std::string& name, const std::string& map) {
    Shell("convert '" + name + "' -auto-orient -depth 8 " + map + ":'" + name + "." + map + "'");
    return ReadText(Path(name + "." + map));
  }
};

// Info tells size and pixel format; convert writes what ImageMagick reads back, through any pixel
// format (BGRA8 adds an opaque alpha channel), with no partial file left.
TEST_F(TorvanePicture, InfoAndConvert) {
  Magick("-size 7x5 plasma:fractal -alpha set -channel A -fx 'i/6' +channel -depth 8 -define png:color-type=6 in.png");
  const Result info = Torvane("picture info " + Q("in.png"));
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_EQ(info.out, "file: " + Path("in.png") +
                          "\nsize: 7x5\nformat: RGBA8 (7)\nbytes per pixel: 4\nstride: 28 bytes\ndata: 140 bytes\n");
  EXPECT_NE(info.err.find("Loaded picture '" + Path("in.png") + "' 7x5"), std::string::npos) << info.err;
  Magick("-size 7x5 gradient:black-white -colorspace Gray -depth 16 -define png:color-type=0 deep.png");
  EXPECT_NE(Torvane("picture info " + Q("deep.png")).out.find("format: Gray16 (1)\n"), std::string::npos);

  Magick("-size 6x4 plasma:fractal -depth 8 -define png:color-type=2 rgb.png");
  const Result tga = Torvane("picture convert " + Q("rgb.png") + " " + Q("out.tga"));
  ASSERT_EQ(tga.status, 0) << tga.err;
  EXPECT_TRUE(tga.out.empty());
  EXPECT_EQ(MagickPixels("out.tga", "rgb"), MagickPixels("rgb.png", "rgb"));
  EXPECT_FALSE(Exists(Path("out.tga.partial")));
  const Result png = Torvane("picture convert " + Q("out.tga") + " " + Q("back.PNG") + " --format BGRA8");
  ASSERT_EQ(png.status, 0) << png.err;
  EXPECT_EQ(MagickPixels("back.PNG", "rgb"), MagickPixels("rgb.png", "rgb"));
  const std::string rgba = MagickPixels("back.PNG", "rgba");
  ASSERT_EQ(rgba.size(), 96u);
  for (size_t i = 3; i < rgba.size(); i += 4) EXPECT_EQ(uint8_t(rgba[i]), 255) << i;
  ASSERT_EQ(Torvane("picture convert " + Q("rgb.png") + " " + Q("gray.png") + " --format Gray8").status, 0);
  EXPECT_NE(Torvane("picture info " + Q("gray.png")).out.find("format: Gray8 (0)\n"), std::string::npos);
}

// Bad requests end with one line and no file: before the core starts the line is all there is;
// after it, the line follows the log.
TEST_F(TorvanePicture, BadRequestsEndWithOneLineAndNoFile) {
  Magick("-size 4x4 xc:red -depth 8 -define png:color-type=2 in.png");
  Put("text.png", "not a picture\n");
  const std::string in = Q("in.png"), out = Q("out.png");
  ExpectRefusals(
      {{"picture convert " + in + " " + Q("out.jpg"),
        "torvane picture: cannot tell the file format of '" + Path("out.jpg") + "': name it .png or .tga"},
       {"picture convert " + in + " " + out + " --format RGB9",
        "torvane picture: unknown picture format 'RGB9'; see torvane picture --help"},
       {"picture convert " + in, "torvane picture: convert needs an input and an output file; see torvane picture --help"},
       {"picture convert " + in + " " + out + " --format", "torvane picture: option --format needs a value"},
       {"picture convert " + in + " " + out + " --quality 9", "torvane picture: unknown option '--quality'"},
       {"picture info", "torvane picture: info takes one file; see torvane picture --help"},
       {"picture", "torvane picture: missing subcommand; see torvane picture --help"},
       {"picture rotate x", "torvane picture: unknown subcommand 'rotate'; see torvane picture --help"}},
      true);
  ExpectRefusals(
      {{"picture convert " + Q("text.png") + " " + out, "torvane picture: cannot load '" + Path("text.png") + "' as a picture"},
       {"picture convert " + Q("missing.png") + " " + out,
        "torvane picture: cannot load '" + Path("missing.png") + "' as a picture"},
       {"picture convert " + in + " " + out + " --format RGBA32", "torvane picture: cannot convert RGB8 pixels to RGBA32"},
       {"picture convert " + in + " " + Q("no/such/folder/out.png"),
        "torvane picture: cannot write '" + Path("no/such/folder/out.png") + "'"},
       {"picture info " + Q("text.png"), "torvane picture: cannot load '" + Path("text.png") + "' as a picture"},
       {"--blacklist 'stb_*' picture convert " + in + " " + out,
        "torvane picture: no plugin registered an \"STB\" codec (stb_picture_codec.so belongs beside torvane)"}},
      false);
  for (const char* name : {"out.png", "out.jpg", "out.png.partial"}) EXPECT_FALSE(Exists(Path(name))) << name;
  EXPECT_NE(Torvane("picture info " + Q("text.png")).err.find("Failed to load picture '" + Path("text.png") + "'"),
            std::string::npos);
}

} // namespace
} // namespace tv::test
