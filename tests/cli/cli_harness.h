#pragma once
// Runs the built torvane in a temporary folder of its own, capturing status, output and errors.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace tv::test {

struct Result {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string ReadText(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

class CliTest : public ::testing::Test {
protected:
  void SetUp() override {
    char pattern[] = "/tmp/tv_cli_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { std::system(("rm -rf '" + folder_ + "'").c_str()); }

  std::string Path(const std::string& name) const { return folder_ + "/" + name; }

  Result Torvane(const std::string& args) {
    Result result;
    const std::string out = Path("stdout.txt");
    const std::string err = Path("stderr.txt");
    const std::string torvane = std::string(TV_BIN_DIR) + "/torvane";
    const int status = std::system((torvane + " " + args + " >'" + out + "' 2>'" + err + "'").c_str());
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = ReadText(out);
    result.err = ReadText(err);
    return result;
  }

  std::string folder_;
};

} // namespace tv::test
