// The host program as a user runs it: `torvane decode` on files that sox writes.

#include <sys/stat.h>

#include <string>
#include <vector>

#include "cli_harness.h"

namespace tv::test {
namespace {

bool Exists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

class TorvaneDecode : public CliTest {
protected:
  void Sox(const std::string& args) { ASSERT_EQ(std::system(("sox -q -R " + args + " 2>/dev/null").c_str()), 0); }
};

TEST_F(TorvaneDecode, WritesTheFramesThatSoxDecodes) {
  Sox("-n -t wavpcm -r 44100 -c 2 -b 16 '" + Path("a.wav") + "' synth 2.5 whitenoise");
  Sox("'" + Path("a.wav") + "' -t raw '" + Path("sox.raw") + "'");
  const Result result = Torvane("decode '" + Path("a.wav") + "' -o '" + Path("a.raw") + "' --info");
  ASSERT_EQ(result.status, 0) << result.err;
  // Compared as truths: a dump of megabytes of samples helps nobody.
  EXPECT_TRUE(ReadText(Path("a.raw")) == ReadText(Path("sox.raw")));
  EXPECT_NE(result.out.find("format: encoding 0, 2 channel(s), 44100 Hz, 16 bit\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("frame size: 176400 bytes\n"), std::string::npos);
  EXPECT_NE(result.out.find("decoded: 441000 bytes in 3 frame(s), starting at 0.000000 s\n"), std::string::npos);

  // Without -o and --info the frames are the whole of standard output; log lines go elsewhere.
  const Result piped = Torvane("decode '" + Path("a.wav") + "'");
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_EQ(piped.out.size(), 441000u);
  EXPECT_TRUE(piped.out == ReadText(Path("sox.raw")));
}

TEST_F(TorvaneDecode, SeekStartsWhereSoxTrimDoes) {
  Sox("-n -t wavpcm -r 48000 -c 6 -b 24 -e signed-integer '" + Path("b.wav") + "' synth 2 whitenoise");
  Sox("'" + Path("b.wav") + "' -t raw '" + Path("trim.raw") + "' trim 0.75");
  const Result result = Torvane("decode '" + Path("b.wav") + "' --seek 0.75 -o '" + Path("b.raw") + "' --info");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(ReadText(Path("b.raw")) == ReadText(Path("trim.raw")));
  EXPECT_NE(result.out.find("starting at 0.750000 s"), std::string::npos) << result.out;
}

// A header that claims more samples than the file holds: the program finishes with what is there.
TEST_F(TorvaneDecode, StopsAtTheEndOfWhatTheFileHolds) {
  Sox("-n -t wavpcm -r 8000 -c 1 -b 16 '" + Path("c.wav") + "' synth 3 whitenoise");
  std::string bytes = ReadText(Path("c.wav"));
  const size_t data = bytes.find("data");
  ASSERT_NE(data, std::string::npos);
  bytes.resize(data + 8 + 30001);  // 30001 of 48000 sample bytes, ending inside a sample
  std::ofstream(Path("short.wav"), std::ios::binary) << bytes;

  const Result result = Torvane("decode '" + Path("short.wav") + "' -o '" + Path("short.raw") + "'");
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(ReadText(Path("short.raw")) == bytes.substr(data + 8));
}

TEST_F(TorvaneDecode, RefusesBadInputWithOneLineAndNoOutputFile) {
  const Result missing = Torvane("decode '" + Path("none.wav") + "' -o '" + Path("none.raw") + "'");
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("torvane decode: cannot decode '" + Path("none.wav") + "' as WAV\n"), std::string::npos)
      << missing.err;
  EXPECT_FALSE(Exists(Path("none.raw")));

  Sox("-n -t wav -r 48000 -c 6 -b 24 -e signed-integer '" + Path("ext.wav") + "' synth 0.1 whitenoise");
  const Result extensible = Torvane("decode '" + Path("ext.wav") + "' -o '" + Path("ext.raw") + "'");
  EXPECT_EQ(extensible.status, 1);
  EXPECT_NE(extensible.err.find("error: Unsupported WAV compression code in '" + Path("ext.wav") + "'"),
            std::string::npos)
      << extensible.err;
  EXPECT_FALSE(Exists(Path("ext.raw")));
  EXPECT_FALSE(Exists(Path("ext.raw.partial")));

  const Result bad_seek = Torvane("decode x.wav --seek soon");
  EXPECT_EQ(bad_seek.status, 1);
  EXPECT_EQ(bad_seek.err, "torvane decode: --seek wants a number of seconds, not 'soon'\n");

  EXPECT_EQ(Torvane("decode").status, 1);
  EXPECT_EQ(Torvane("decode a.wav -o").status, 1);
  EXPECT_EQ(Torvane("decode a.wav --frobnicate").status, 1);
  EXPECT_EQ(Torvane("transmogrify").status, 1);
}

TEST_F(TorvaneDecode, HelpTellsTheUsage) {
  const Result top = Torvane("--help");
  EXPECT_EQ(top.status, 0);
  EXPECT_NE(top.out.find("decode FILE.wav"), std::string::npos);
  const Result decode = Torvane("decode --help");
  EXPECT_EQ(decode.status, 0);
  EXPECT_NE(decode.out.find("usage: torvane decode FILE.wav [-o OUT] [--seek SECONDS] [--info]"), std::string::npos);
}

} // namespace
} // namespace tv::test
