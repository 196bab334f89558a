#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <random>
#include <string>

#include "file/memory_file_driver.h"
#include "file/std_file_driver.h"
#include "temp_folder.h"

using namespace tv;

namespace {

// The digest the system tool computes for the file at `path`.
std::string SystemSha1(const std::string& path) {
  std::FILE* pipe = popen(("sha1sum '" + path + "'").c_str(), "r");
  if (pipe == nullptr) return "<popen failed>";
  char digest[41] = {};
  const size_t got = std::fread(digest, 1, 40, pipe);
  pclose(pipe);
  return std::string(digest, got);
}

std::string RandomBytes(size_t count) {
  std::mt19937 random(1234);
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = char(random() & 0xff);
  return bytes;
}

class FileHashTest : public ::testing::Test {
protected:
  void SetUp() override {
    temp.Put("empty", "");
    temp.Put("text", "hello\n");
    // Not a multiple of the 64 KiB read chunk, so the last read is a partial one.
    temp.Put("random", RandomBytes((1 << 20) + 123));
  }
  tv_test::TempFolder temp;
};

} // namespace

TEST_F(FileHashTest, StdDriverMatchesSystemTool) {
  auto disk = std::make_shared<StdFileDriver>(temp.path);
  for (const char* name : {"empty", "text", "random"}) {
    const std::string expected = SystemSha1(temp / name);
    ASSERT_EQ(expected.size(), 40u) << name;
    EXPECT_EQ(disk->FileHash(name), expected) << name;
  }
  EXPECT_EQ(disk->FileHash("missing"), "");
}

TEST_F(FileHashTest, MemoryDriverMatchesSystemTool) {
  auto memory = std::make_shared<MemoryFileDriver>();
  for (const char* name : {"empty", "text", "random"}) {
    const std::string content = temp.Get(name);
    memory->Open(name, FileMode::Write)->Write(content.data(), uint32_t(content.size()));
    EXPECT_EQ(memory->FileHash(name), SystemSha1(temp / name)) << name;
  }
  EXPECT_EQ(memory->FileHash("missing"), "");
}
