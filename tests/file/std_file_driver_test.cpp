#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "file/std_file_driver.h"
#include "log_capture.h"
#include "temp_folder.h"

using namespace tv;

namespace {

class StdFileDriverTest : public tv_test::LogCaptureTest {
protected:
  tv_test::TempFolder temp;
  std::shared_ptr<StdFileDriver> disk = std::make_shared<StdFileDriver>(temp.path);
};

std::vector<std::string> Names(const std::vector<DirEntry>& entries) {
  std::vector<std::string> names;
  for (const DirEntry& entry : entries) names.push_back(entry.name);
  return names;
}

size_t OpenDescriptorCount() {
  return size_t(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

} // namespace

TEST_F(StdFileDriverTest, ReportsCaps) { EXPECT_EQ(disk->GetCaps(), 46u); }

TEST_F(StdFileDriverTest, SandboxRefusesPathsLeavingBase) {
  temp.Put("y", "outside");
  ASSERT_TRUE(disk->MkDir("inner"));
  auto boxed = std::make_shared<StdFileDriver>(temp / "inner", true);
  for (const char* path : {"x/../../y", "../y", ".."}) {
    EXPECT_EQ(boxed->Open(path, FileMode::Read), nullptr) << path;
    EXPECT_FALSE(boxed->IsDir(path)) << path;
  }
  EXPECT_EQ(boxed->Open("../z", FileMode::Write), nullptr);
  EXPECT_FALSE(boxed->Delete("../y"));
  EXPECT_FALSE(boxed->MkDir("../made"));
  EXPECT_TRUE(boxed->Dir("..", "", kDirAll).empty());
  EXPECT_EQ(temp.Get("y"), "outside");
  EXPECT_FALSE(std::filesystem::exists(temp / "z"));
  EXPECT_FALSE(std::filesystem::exists(temp / "made"));
  EXPECT_TRUE(tv_test::TakeLog().empty());

  auto open = std::make_shared<StdFileDriver>(temp / "inner", false);
  auto handle = open->Open("x/../../y", FileMode::Read);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->GetSize(), 7u);
  EXPECT_TRUE(open->IsDir(".."));
}

// The full path joins base and path, so a leading separator must not hide a climb out of the base.
TEST_F(StdFileDriverTest, SandboxRefusesRootedParentPath) {
  temp.Put("y", "outside");
  ASSERT_TRUE(disk->MkDir("inner"));
  auto boxed = std::make_shared<StdFileDriver>(temp / "inner", true);
  EXPECT_FALSE(boxed->Open("/../y", FileMode::Read));
  EXPECT_FALSE(boxed->Open("\\..\\y", FileMode::Read));
}

TEST_F(StdFileDriverTest, WriteTruncatesExistingFile) {
  temp.Put("f", "long old content");
  auto handle = disk->Open("f", FileMode::Write);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->Write("ab", 2), 2u);
  EXPECT_EQ(handle->Tell(), 2u);
  handle.reset();
  EXPECT_EQ(temp.Get("f"), "ab");
}

TEST_F(StdFileDriverTest, OpenRefusesMissingFileAndFolder) {
  EXPECT_EQ(disk->Open("missing", FileMode::Read), nullptr);
  ASSERT_TRUE(disk->MkDir("folder"));
  EXPECT_EQ(disk->Open("folder", FileMode::Read), nullptr);
  EXPECT_EQ(disk->Open("folder", FileMode::Write), nullptr);
}

TEST_F(StdFileDriverTest, SeekTellSizeAndEndOfFile) {
  temp.Put("f", "0123456789");
  auto handle = disk->Open("f", FileMode::Read);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->GetSize(), 10u);
  EXPECT_EQ(handle->Seek(4, SeekRef::Start), 0);
  EXPECT_EQ(handle->Tell(), 4u);
  char bytes[4] = {};
  EXPECT_EQ(handle->Read(bytes, 3), 3u);
  EXPECT_EQ(std::string(bytes, 3), "456");
  EXPECT_EQ(handle->Seek(-2, SeekRef::Current), 0);
  EXPECT_EQ(handle->Tell(), 5u);
  EXPECT_EQ(handle->Seek(-3, SeekRef::End), 0);
  EXPECT_EQ(handle->Tell(), 7u);
  EXPECT_FALSE(handle->IsEOF());
  EXPECT_EQ(handle->Read(bytes, 4), 3u);
  EXPECT_TRUE(handle->IsEOF());
  EXPECT_EQ(handle->Read(bytes, 4), 0u);
  // Success is 0, never the position reached.
  EXPECT_EQ(handle->Seek(100, SeekRef::Start), 0);
  EXPECT_EQ(handle->Tell(), 100u);
  EXPECT_NE(handle->Seek(-1, SeekRef::Start), 0);
}

TEST_F(StdFileDriverTest, DirListsSortedAndFiltered) {
  for (const char* name : {"b.txt", "a.txt", "c.log"}) temp.Put(name, "");
  ASSERT_TRUE(disk->MkDir("zdir"));
  ASSERT_TRUE(disk->MkDir("sub"));
  temp.Put("sub/inside.txt", "");

  const std::vector<DirEntry> all = disk->Dir("", "", kDirAll);
  EXPECT_EQ(Names(all), (std::vector<std::string>{"a.txt", "b.txt", "c.log", "sub", "zdir"}));
  ASSERT_EQ(all.size(), 5u);
  EXPECT_EQ(all[0].type, DirEntry::kFile);
  EXPECT_EQ(all[3].type, DirEntry::kDirectory);
  EXPECT_EQ(Names(disk->Dir("", "*", kDirFiles)), (std::vector<std::string>{"a.txt", "b.txt", "c.log"}));
  EXPECT_EQ(Names(disk->Dir("", "*", kDirDirectories)), (std::vector<std::string>{"sub", "zdir"}));
  EXPECT_EQ(Names(disk->Dir("", "*.txt", kDirAll)), (std::vector<std::string>{"a.txt", "b.txt"}));
  EXPECT_EQ(Names(disk->Dir("sub", "", kDirAll)), std::vector<std::string>{"inside.txt"});
  EXPECT_TRUE(disk->Dir("missing", "", kDirAll).empty());
}

TEST_F(StdFileDriverTest, MkDirIsDirAndDelete) {
  EXPECT_TRUE(disk->MkDir("new"));
  EXPECT_TRUE(disk->IsDir("new"));
  EXPECT_FALSE(disk->MkDir("new"));
  temp.Put("f", "x");
  EXPECT_FALSE(disk->IsDir("f"));
  EXPECT_FALSE(disk->IsDir("missing"));
  EXPECT_TRUE(disk->Delete("f"));
  EXPECT_FALSE(std::filesystem::exists(temp / "f"));
  EXPECT_FALSE(disk->Delete("f"));
  // Delete removes files only: an empty folder stays.
  EXPECT_FALSE(disk->Delete("new"));
  EXPECT_TRUE(disk->IsDir("new"));
}

TEST_F(StdFileDriverTest, MapsBetweenBaseAndFullPaths) {
  EXPECT_EQ(disk->MapToAbsolute("a/b"), temp / "a/b");
  EXPECT_EQ(disk->MapToRelative(temp / "a/b"), "/a/b");
  EXPECT_EQ(disk->MapToRelative("/other/a"), "/other/a");
  EXPECT_EQ(StdFileDriver().GetFullPath("a/b"), "a/b");
}

TEST_F(StdFileDriverTest, ReleasedHandlesCloseTheirStreams) {
  temp.Put("f", "x");
  const size_t before = OpenDescriptorCount();
  // A low limit makes a leak fail within the loop instead of after thousands of files.
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
  rlimit low = saved;
  low.rlim_cur = std::min<rlim_t>(saved.rlim_cur, before + 64);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  int opened = 0;
  for (int i = 0; i < 2000; ++i) {
    if (!disk->Open("f", FileMode::Read)) break;
    ++opened;
  }
  setrlimit(RLIMIT_NOFILE, &saved);
  EXPECT_EQ(opened, 2000);
  EXPECT_EQ(OpenDescriptorCount(), before);
}
