#pragma once
// Runs the built torvane in a temporary folder of its own, capturing status, output and errors.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

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

inline bool Exists(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0;
}

// The lines of a text, without their ends.
inline std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
    lines.push_back(text.substr(start, end - start));
  if (start < text.size()) lines.push_back(text.substr(start));
  return lines;
}

// What the command itself says on standard error ("torvane ..." lines); log lines go there too.
inline std::vector<std::string> Complaints(const std::string& err) {
  std::vector<std::string> lines = Lines(err);
  std::erase_if(lines, [](const std::string& line) { return line.rfind("torvane ", 0) != 0; });
  return lines;
}

// The rest of the first line that starts with `prefix`, or "<missing>".
inline std::string LineAfter(const std::string& text, const std::string& prefix) {
  for (const std::string& line : Lines(text))
    if (line.rfind(prefix, 0) == 0) return line.substr(prefix.size());
  return "<missing>";
}

// A command line and the one line it must be refused with (status 1, nothing on standard output).
struct Refusal {
  std::string args;
  std::string line;
};

class CliTest : public ::testing::Test {
protected:
  void SetUp() override {
    char pattern[] = "/tmp/tv_cli_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { std::system(("rm -rf '" + folder_ + "'").c_str()); }

  std::string Path(const std::string& name) const { return folder_ + "/" + name; }
  // The quoted path, for a command line.
  std::string Q(const std::string& name) const { return "'" + Path(name) + "'"; }
  // Writes a file into the folder and gives its quoted path.
  std::string Put(const std::string& name, const std::string& content) {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Q(name);
  }
  // Runs a shell command in the folder; the test fails if it does.
  void Shell(const std::string& command) {
    ASSERT_EQ(std::system(("cd '" + folder_ + "' && " + command + " 2>/dev/null").c_str()), 0) << command;
  }

  Result Torvane(const std::string& args) {
    Result result;
    const std::string out = Path("stdout.txt");
    const std::string err = Path("stderr.txt");
    const std::string torvane = std::string(TV_BIN_DIR) + "/torvane";
    const int status = std::system((torvane + " " + args + " >'" + out + "' 2>'" + err + "'").c_str());
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.out = ReadText(out);
    result.err = ReadText(err);
    std::remove(out.c_str());
    std::remove(err.c_str());
    return result;
  }

  // Each command fails with status 1, says nothing on standard output, and says its line: as the
  // whole of standard error where `alone`, else as the only "torvane ..." line among the log's.
  void ExpectRefusals(const std::vector<Refusal>& cases, bool alone) {
    for (const Refusal& c : cases) {
      SCOPED_TRACE(c.args);
      const Result result = Torvane(c.args);
      EXPECT_EQ(result.status, 1);
      EXPECT_EQ(result.out, "");
      if (alone)
        EXPECT_EQ(result.err, c.line + "\n");
      else
        EXPECT_EQ(Complaints(result.err), std::vector<std::string>{c.line}) << result.err;
    }
  }

  std::string folder_;
};

} // namespace tv::test
