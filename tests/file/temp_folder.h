#pragma once
// A real folder under /tmp for one test, removed with everything in it at the end.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace tv_test {

class TempFolder {
public:
  TempFolder() {
    char pattern[] = "/tmp/tv_file_test_XXXXXX";
    const char* made = mkdtemp(pattern);
    EXPECT_NE(made, nullptr);
    if (made != nullptr) path = made;
  }
  ~TempFolder() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  std::string operator/(const std::string& name) const { return path + "/" + name; }

  // Writes `content` straight through the OS, bypassing the code under test.
  void Put(const std::string& name, const std::string& content) const {
    std::ofstream(*this / name, std::ios::binary) << content;
  }
  std::string Get(const std::string& name) const {
    std::ifstream in(*this / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }

  std::string path;
};

} // namespace tv_test
