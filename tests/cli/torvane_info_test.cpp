#include <gtest/gtest.h>
#include <algorithm>

#include <string>

#include "cli_harness.h"

namespace {

class TorvaneInfo : public tv::test::CliTest {};

TEST_F(TorvaneInfo, ListsTheWavPluginItsCodecMountsAndWorkers) {
  const tv::test::Result info = Torvane("info --workers 3");
  ASSERT_EQ(info.status, 0) << info.err;
  EXPECT_EQ(info.out.rfind("Torvane core 1.1.0 (build ", 0), 0u) << info.out;
  EXPECT_NE(info.out.find("plugins: 2\n  STB [PNG, TGA, JPEG and BMP pictures] version 1.0.0 (stb_picture_codec.so)\n"
                          "  WAV [WAV decoder] version 1.0.0 (wav_audio_codec.so)\n"),
            std::string::npos)
      << info.out;
  EXPECT_NE(info.out.find("audio codecs: 1\n  WAV\n"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("picture codecs: 1\n  STB\n"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("(root) -> operating system files (working folder)"), std::string::npos) << info.out;
  EXPECT_NE(info.out.find("workers: 3\n"), std::string::npos) << info.out;
  // The log goes to standard error, the banner first.
  EXPECT_NE(info.err.find("Torvane core 1.1.0"), std::string::npos);
  EXPECT_NE(info.err.find(" - Plugin WAV [WAV decoder] version 1.0.0"), std::string::npos);
}

TEST_F(TorvaneInfo, HostOptionsShapeTheRun) {
  const tv::test::Result blacklisted = Torvane("--blacklist '*audio*' --blacklist 'stb_*' -v info");
  ASSERT_EQ(blacklisted.status, 0) << blacklisted.err;
  EXPECT_NE(blacklisted.out.find("plugins: 0\n"), std::string::npos) << blacklisted.out;
  EXPECT_NE(blacklisted.err.find("debug: Ignoring blacklisted plugin ('wav_audio_codec.so') (matched against "
                                 "'*audio*')"),
            std::string::npos)
      << blacklisted.err;  // -v shows debug lines

  const tv::test::Result elsewhere = Torvane("info --plugins-path '" + Path("") + "'");
  ASSERT_EQ(elsewhere.status, 0) << elsewhere.err;
  EXPECT_NE(elsewhere.out.find("plugins: 0\n"), std::string::npos) << elsewhere.out;

  const tv::test::Result profiled = Torvane("info --profile");
  ASSERT_EQ(profiled.status, 0) << profiled.err;
  EXPECT_NE(profiled.err.find("torvane.Run"), std::string::npos) << profiled.err;
}

TEST_F(TorvaneInfo, BadArgumentsGiveOneLineAndFail) {
  for (const char* args : {"info extra", "--workers", "--workers many info", "--plugins-path", "nonsense"}) {
    SCOPED_TRACE(args);
    const tv::test::Result result = Torvane(args);
    EXPECT_NE(result.status, 0);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_TRUE(result.out.empty());
  }
}

} // namespace
