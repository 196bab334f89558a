#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "file/std_file_driver.h"
#include "foundation/binary_data.h"
#include "foundation/format.h"
#include "log_capture.h"
#include "temp_folder.h"

using namespace tv;
using tv_test::LogLine;
using tv_test::TakeLog;

namespace {

// A memory driver that remembers every path it was asked to open.
class RecordingDriver : public MemoryFileDriver {
public:
  std::shared_ptr<FileHandle> Open(const std::string& path, FileMode mode) override {
    opened.push_back(path);
    return MemoryFileDriver::Open(path, mode);
  }
  void Put(const std::string& name, const std::string& content) {
    Open(name, FileMode::Write)->Write(content.data(), uint32_t(content.size()));
    opened.clear();
  }
  std::vector<std::string> opened;
};

std::string Name(const std::shared_ptr<FileDriver>& driver) { return to_string(driver.get()); }

std::string ReadAll(const std::shared_ptr<FileHandle>& handle) {
  std::string text(handle->GetSize(), '\0');
  text.resize(handle->Read(text.data(), uint32_t(text.size())));
  return text;
}

class FilesystemTest : public tv_test::LogCaptureTest {
protected:
  Filesystem fs;
  std::shared_ptr<RecordingDriver> core = std::make_shared<RecordingDriver>();
  std::shared_ptr<RecordingDriver> data = std::make_shared<RecordingDriver>();
  std::shared_ptr<RecordingDriver> root = std::make_shared<RecordingDriver>();
};

} // namespace

TEST_F(FilesystemTest, MountLogsRootDriverAndRefusesItTwice) {
  tv_test::TempFolder temp;
  auto disk = std::make_shared<StdFileDriver>(temp.path);
  EXPECT_TRUE(fs.Mount(disk));
  EXPECT_FALSE(fs.Mount(disk));
  const std::string mounted = "Mount root driver " + Name(disk) + " (relative to '" + temp.path + "/')";
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{
                           {"", mounted},
                           {"", mounted},
                           {"error", "Driver " + Name(disk) + " is already mounted as a root driver on this filesystem"}}));
  EXPECT_EQ(fs.root_drivers.size(), 1u);
}

TEST_F(FilesystemTest, MountLogsPrefixAndRefusesSamePrefixTwice) {
  EXPECT_TRUE(fs.Mount(core, "@core/"));
  EXPECT_FALSE(fs.Mount(data, "@core/"));
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{
                           {"", "Mount driver " + Name(core) + " on prefix @core/ (relative to '')"},
                           {"", "Mount driver " + Name(data) + " on prefix @core/ (relative to '')"},
                           {"error", "Prefix @core/ is already mounted on this filesystem"}}));
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].driver, core);
}

TEST_F(FilesystemTest, OpenRoutesMountedPathWithoutFallingBackToRoot) {
  fs.Mount(core, "@core/");
  fs.Mount(data, "@data/");
  fs.Mount(root);
  data->Put("a.txt", "mounted");
  root->Put("@data/a.txt", "root");
  TakeLog();

  EXPECT_EQ(ReadAll(fs.Open("@data/a.txt", FileMode::Read)), "mounted");
  data->Delete("a.txt");
  EXPECT_EQ(fs.Open("@data/a.txt", FileMode::Read), nullptr);
  EXPECT_EQ(data->opened, (std::vector<std::string>{"a.txt", "a.txt"}));
  EXPECT_TRUE(core->opened.empty());
  EXPECT_TRUE(root->opened.empty());
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{
                           {"warn", "Failed to open '@data/a.txt' on driver " + Name(data) + " (prefix match: @data/)"}}));
}

TEST_F(FilesystemTest, OpenTriesRootDriversInTurn) {
  auto second = std::make_shared<RecordingDriver>();
  fs.Mount(root);
  fs.Mount(second);
  second->Put("b.txt", "second");
  TakeLog();

  EXPECT_EQ(ReadAll(fs.Open("b.txt", FileMode::Read)), "second");
  EXPECT_EQ(root->opened, std::vector<std::string>{"b.txt"});
  EXPECT_TRUE(TakeLog().empty());
  EXPECT_TRUE(fs.Exists("b.txt"));
  EXPECT_FALSE(fs.Exists("none.txt"));
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"warn", "Failed to open 'none.txt' on any mounted file driver"}}));
}

TEST_F(FilesystemTest, FirstMatchingMountWins) {
  fs.Mount(core, "@d");
  fs.Mount(data, "@data/");
  EXPECT_EQ(fs.GetDriver("@data/a.txt"), core);
  EXPECT_EQ(fs.GetPrefix("@data/a.txt"), "@d");
  EXPECT_EQ(fs.CutPrefix("@data/a.txt"), "ata/a.txt");
  fs.Open("@data/a.txt", FileMode::Read);
  EXPECT_EQ(core->opened, std::vector<std::string>{"ata/a.txt"});
  EXPECT_TRUE(data->opened.empty());
  EXPECT_EQ(fs.GetDriver("elsewhere"), nullptr);
  EXPECT_EQ(fs.CutPrefix("elsewhere"), "elsewhere");
}

TEST_F(FilesystemTest, EmptyPrefixMatchesEverything) {
  fs.Mount(core, "");
  fs.Mount(root);
  root->Put("x", "root");
  EXPECT_EQ(fs.GetDriver("anything/at/all"), core);
  EXPECT_EQ(fs.Open("x", FileMode::Read), nullptr);
  EXPECT_TRUE(root->opened.empty());
}

TEST_F(FilesystemTest, UnmountDriverRemovesEveryOccurrenceAndKeepsOrder) {
  fs.Mount(core, "@a/");
  fs.Mount(data, "@b/");
  fs.Mount(core, "@c/");
  fs.Mount(root, "@d/");
  fs.Mount(core);
  fs.Mount(root);
  TakeLog();
  fs.Unmount(core);
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"", "Unmount driver " + Name(core)}}));
  ASSERT_EQ(fs.mounts.size(), 2u);
  EXPECT_EQ(fs.mounts[0].prefix, "@b/");
  EXPECT_EQ(fs.mounts[1].prefix, "@d/");
  EXPECT_EQ(fs.root_drivers, std::vector<std::shared_ptr<FileDriver>>{root});

  fs.Unmount(std::string("@d/"));
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"", "Unmount driver " + Name(root)}}));
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].driver, data);
  EXPECT_TRUE(fs.root_drivers.empty());
}

TEST_F(FilesystemTest, FolderOperationsNeedAMount) {
  tv_test::TempFolder temp;
  temp.Put("f.txt", "x");
  auto disk = std::make_shared<StdFileDriver>(temp.path);
  fs.Mount(disk);
  ASSERT_TRUE(disk->MkDir("sub"));
  EXPECT_FALSE(fs.Delete("f.txt"));
  EXPECT_FALSE(fs.IsDir("sub"));
  EXPECT_FALSE(fs.MkDir("new"));
  EXPECT_TRUE(fs.Dir("", "*", kDirAll).empty());
  EXPECT_EQ(temp.Get("f.txt"), "x");
  EXPECT_FALSE(disk->IsDir("new"));

  fs.Mount(disk, "@t/");
  EXPECT_TRUE(fs.IsDir("@t/sub"));
  EXPECT_TRUE(fs.MkDir("@t/new"));
  EXPECT_EQ(fs.Dir("@t/", "*", kDirFiles).size(), 1u);
  EXPECT_TRUE(fs.Delete("@t/f.txt"));
  EXPECT_FALSE(disk->Open("f.txt", FileMode::Read));
}

TEST_F(FilesystemTest, WholeFileHelpers) {
  fs.Mount(data, "@data/");
  EXPECT_TRUE(fs.StringToFile("@data/s", "hello"));
  const uint8_t bytes[] = {0, 1, 2, 255};
  EXPECT_TRUE(fs.DataToFile("@data/b", bytes, 4));
  EXPECT_EQ(fs.FileSize("@data/s"), 5u);
  EXPECT_EQ(fs.FileToString("@data/s"), "hello");

  std::vector<uint8_t> read;
  EXPECT_TRUE(fs.FileToData("@data/b", read));
  EXPECT_EQ(read, std::vector<uint8_t>(bytes, bytes + 4));
  EXPECT_FALSE(fs.FileToData("@data/missing", read));
  EXPECT_EQ(fs.FileSize("@data/missing"), 0u);
  EXPECT_EQ(fs.FileToString("@data/missing"), "");
  EXPECT_FALSE(fs.StringToFile("nowhere", "x"));
}

TEST_F(FilesystemTest, FileToBinaryDataAppendsAtSize) {
  fs.Mount(data, "@data/");
  fs.StringToFile("@data/f", "12345");
  BinaryData buffer;
  buffer.Write("abc", 3);
  ASSERT_TRUE(fs.FileToData("@data/f", buffer));
  EXPECT_EQ(buffer.size, 8u);
  EXPECT_EQ(std::string(buffer.data.begin(), buffer.data.begin() + 8), "abc12345");
  EXPECT_EQ(buffer.data.size(), 8192u);

  // The room needed (8188 + 5) passes a multiple of 8192: capacity rounds up to the next one.
  buffer.size = 8188;
  ASSERT_TRUE(fs.FileToData("@data/f", buffer));
  EXPECT_EQ(buffer.size, 8193u);
  EXPECT_EQ(buffer.data.size(), 16384u);
  EXPECT_EQ(std::string(buffer.data.begin() + 8188, buffer.data.begin() + 8193), "12345");
  EXPECT_FALSE(fs.FileToData("@data/missing", buffer));
  EXPECT_EQ(buffer.size, 8193u);
}

TEST_F(FilesystemTest, CopyAndMoveFiles) {
  tv_test::TempFolder temp;
  fs.Mount(data, "@data/");
  fs.Mount(std::make_shared<StdFileDriver>(temp.path), "@disk/");
  fs.Mount(root);
  root->Put("rooted", "r");
  fs.StringToFile("@data/a", "payload");

  EXPECT_TRUE(fs.CopyFile("@data/a", "@disk/copy"));
  EXPECT_EQ(temp.Get("copy"), "payload");
  EXPECT_TRUE(fs.Exists("@data/a"));

  EXPECT_TRUE(fs.MoveFile("@disk/copy", "@data/moved"));
  EXPECT_EQ(fs.FileToString("@data/moved"), "payload");
  EXPECT_FALSE(fs.Exists("@disk/copy"));
  // Onto itself: the file stays.
  EXPECT_TRUE(fs.MoveFile("@data/moved", "@data/moved"));
  EXPECT_EQ(fs.FileToString("@data/moved"), "payload");

  // A root driver's file can be read but not moved: there is no mount to delete it through.
  EXPECT_FALSE(fs.MoveFile("rooted", "@data/r"));
  EXPECT_FALSE(fs.Exists("@data/r"));
  EXPECT_EQ(root->GetFileNames(), std::vector<std::string>{"rooted"});
  EXPECT_FALSE(fs.CopyFile("@data/missing", "@data/c"));
}

TEST_F(FilesystemTest, MapsPathsThroughStdDriver) {
  tv_test::TempFolder temp;
  temp.Put("f.txt", "x");
  auto disk = std::make_shared<StdFileDriver>(temp.path);
  fs.Mount(disk, "@t/");
  fs.Mount(disk);
  EXPECT_EQ(fs.MapToAbsolute("@t/a/../y.txt"), temp / "y.txt");
  EXPECT_EQ(fs.MapToAbsolute("f.txt"), temp / "f.txt");
  // A root path that no driver has stays as it is.
  EXPECT_EQ(fs.MapToAbsolute("none.txt"), "none.txt");

  EXPECT_EQ(fs.MapToRelative(temp.path + "//sub/./f.txt"), "sub/f.txt");
  EXPECT_EQ(fs.MapToRelative("/elsewhere//x"), "/elsewhere/x");
}

TEST(FileDriverOwnership, OpenWithoutSharedOwnerThrows) {
  MemoryFileDriver memory;
  EXPECT_THROW(memory.Open("x", FileMode::Write), std::bad_weak_ptr);
  tv_test::TempFolder temp;
  StdFileDriver disk(temp.path);
  EXPECT_THROW(disk.Open("x", FileMode::Write), std::bad_weak_ptr);
}
