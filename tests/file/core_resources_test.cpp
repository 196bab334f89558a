// The core archive built into the library, and its mount on "@core/".

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "file/core_resources.h"
#include "file/filesystem.h"
#include "file/std_file_driver.h"
#include "foundation/format.h"
#include "log_capture.h"
#include "temp_folder.h"

using namespace tv;
using tv_test::LogLine;
using tv_test::TakeLog;

namespace {

std::string SourceFile(const std::string& name) {
  std::ifstream in(std::string(TV_SOURCE_DIR) + "/core_resources/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string Shell(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[4096];
  for (size_t got; pipe != nullptr && (got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;) out.append(buffer, got);
  EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command;
  return out;
}

class CoreResourcesTest : public tv_test::LogCaptureTest {
protected:
  void SetUp() override {
    LogCaptureTest::SetUp();
    tv::filesystem = &fs;
  }
  void TearDown() override {
    fs.mounts.clear();
    tv::filesystem = nullptr;
    LogCaptureTest::TearDown();
  }

  Filesystem fs;
};

// Read by the tools that everyone else reads zip archives with.
TEST(CoreArchive, IsAZipOfTheCoreResourcesAllDeflated) {
  tv_test::TempFolder temp;
  const std::span<const uint8_t> archive = GetCoreArchive();
  temp.Put("core.zip", std::string(archive.begin(), archive.end()));
  const std::string path = temp / "core.zip";
  EXPECT_EQ(Shell("unzip -Z1 '" + path + "'"), "version.txt\nsha1.txt\nfonts/default.ttf\nmaterials/default.mat\n");
  EXPECT_EQ(Shell("python3 -c \"import sys, zipfile; print(*(i.compress_type for i in "
                  "zipfile.ZipFile(sys.argv[1]).infolist()))\" '" + path + "'"),
            "8 8 8 8\n");
  Shell("unzip -tq '" + path + "' >/dev/null");  // every CRC right
}

TEST_F(CoreResourcesTest, MountsOnceOnCore) {
  tv::filesystem = nullptr;
  EXPECT_FALSE(MountCoreResources());
  tv::filesystem = &fs;

  EXPECT_TRUE(MountCoreResources());
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].prefix, "@core/");
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"", "Mount driver " + to_string(fs.mounts[0].driver.get()) +
                                                       " on prefix @core/ (relative to '')"}}));
  EXPECT_FALSE(MountCoreResources());
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{
                           {"debug", "Not mounting internal core resources since '@core/' is already mounted"}}));
  EXPECT_EQ(fs.mounts.size(), 1u);
}

TEST_F(CoreResourcesTest, ServesTheBuiltInFiles) {
  ASSERT_TRUE(MountCoreResources());
  EXPECT_EQ(fs.FileToString("@core/materials/default.mat"),
            "<Material Shader=\"@core/surfaces/diffuse_specular.isl\"/>\n");
  EXPECT_EQ(fs.FileSize("@core/version.txt"), 5u);
  EXPECT_EQ(fs.FileToString("@core/version.txt"), SourceFile("version.txt"));
  const std::string sha1 = fs.FileToString("@core/sha1.txt");
  EXPECT_EQ(sha1.size(), 40u);
  EXPECT_EQ(sha1.find_first_not_of("0123456789abcdef"), std::string::npos) << sha1;
  const std::string font = SourceFile("fonts/default.ttf");
  ASSERT_FALSE(font.empty());
  EXPECT_TRUE(fs.FileToString("@core/fonts/default.ttf") == font);

  std::vector<std::string> top;
  for (const DirEntry& entry : fs.Dir("@core/", "*", kDirAll)) top.push_back(entry.name);
  EXPECT_EQ(top, (std::vector<std::string>{"version.txt", "sha1.txt", "fonts", "materials"}));
}

TEST_F(CoreResourcesTest, HostFolderOnCoreTakesThePlaceOfTheBuiltInData) {
  tv_test::TempFolder temp;
  std::filesystem::create_directories(temp / "materials");
  temp.Put("materials/default.mat", "<Material/>");
  ASSERT_TRUE(fs.Mount(std::make_shared<StdFileDriver>(temp.path), "@core/"));
  TakeLog();

  EXPECT_FALSE(MountCoreResources());
  EXPECT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.FileToString("@core/materials/default.mat"), "<Material/>");
  EXPECT_FALSE(fs.Exists("@core/version.txt"));
}

} // namespace
