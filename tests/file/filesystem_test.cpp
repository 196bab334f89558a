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
using Lines = std::vector<LogLine>;
using Names = std::vector<std::string>;

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
  Names opened;
};

std::string Name(const std::shared_ptr<FileDriver>& driver) { return to_string(driver.get()); }

class FilesystemTest : public tv_test::LogCaptureTest {
protected:
  std::string Read(const std::string& path) {
    auto handle = fs.Open(path, FileMode::Read);
    if (!handle) return "<missing>";
    std::string text(handle->GetSize(), '\0');
    text.resize(handle->Read(text.data(), uint32_t(text.size())));
    return text;
  }

  Filesystem fs;
  tv_test::TempFolder temp;
  std::shared_ptr<StdFileDriver> disk = std::make_shared<StdFileDriver>(temp.path);
  std::shared_ptr<RecordingDriver> core = std::make_shared<RecordingDriver>();
  std::shared_ptr<RecordingDriver> data = std::make_shared<RecordingDriver>();
  std::shared_ptr<RecordingDriver> root = std::make_shared<RecordingDriver>();
};

} // namespace

// Each mount is logged as asked for; a root driver twice or a prefix twice is refused.
TEST_F(FilesystemTest, MountLogsAndRefusesDuplicates) {
  EXPECT_TRUE(fs.Mount(disk));
  EXPECT_FALSE(fs.Mount(disk));
  EXPECT_TRUE(fs.Mount(core, "@core/"));
  EXPECT_FALSE(fs.Mount(data, "@core/"));
  const std::string mounted = "Mount root driver " + Name(disk) + " (relative to '" + temp.path + "/')";
  EXPECT_EQ(TakeLog(), (Lines{{"", mounted},
                              {"", mounted},
                              {"error", "Driver " + Name(disk) + " is already mounted as a root driver on this filesystem"},
                              {"", "Mount driver " + Name(core) + " on prefix @core/ (relative to '')"},
                              {"", "Mount driver " + Name(data) + " on prefix @core/ (relative to '')"},
                              {"error", "Prefix @core/ is already mounted on this filesystem"}}));
  EXPECT_EQ(fs.root_drivers.size(), 1u);
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].driver, core);
}

// A mounted path goes to its mount only (never on to the root drivers); others try the root
// drivers in turn; each failure has its warning line.
TEST_F(FilesystemTest, OpenRoutesByPrefixThenRootDriversInTurn) {
  auto second = std::make_shared<RecordingDriver>();
  fs.Mount(core, "@core/");
  fs.Mount(data, "@data/");
  fs.Mount(root);
  fs.Mount(second);
  data->Put("a.txt", "mounted");
  root->Put("@data/a.txt", "root");
  second->Put("b.txt", "second");
  TakeLog();

  EXPECT_EQ(Read("@data/a.txt"), "mounted");
  data->Delete("a.txt");
  EXPECT_EQ(Read("@data/a.txt"), "<missing>");
  EXPECT_EQ(Read("b.txt"), "second");
  EXPECT_FALSE(fs.Exists("none.txt"));
  EXPECT_EQ(data->opened, (Names{"a.txt", "a.txt"}));
  EXPECT_TRUE(core->opened.empty());
  EXPECT_EQ(root->opened, (Names{"b.txt", "none.txt"}));
  EXPECT_EQ(second->opened, (Names{"b.txt", "none.txt"}));
  EXPECT_EQ(TakeLog(), (Lines{{"warn", "Failed to open '@data/a.txt' on driver " + Name(data) + " (prefix match: @data/)"},
                              {"warn", "Failed to open 'none.txt' on any mounted file driver"}}));
}

// Prefixes compare as plain text in mounting order: the first that starts the path wins, and an
// empty prefix takes every path from the root drivers.
TEST_F(FilesystemTest, FirstMatchingPrefixWins) {
  fs.Mount(core, "@d");
  fs.Mount(data, "@data/");
  EXPECT_EQ(fs.GetDriver("@data/a.txt"), core);
  EXPECT_EQ(fs.GetPrefix("@data/a.txt"), "@d");
  EXPECT_EQ(fs.CutPrefix("@data/a.txt"), "ata/a.txt");
  fs.Open("@data/a.txt", FileMode::Read);
  EXPECT_EQ(core->opened, Names{"ata/a.txt"});
  EXPECT_TRUE(data->opened.empty());
  EXPECT_EQ(fs.GetDriver("elsewhere"), nullptr);
  EXPECT_EQ(fs.CutPrefix("elsewhere"), "elsewhere");

  fs.mounts.clear();
  fs.Mount(core, "");
  fs.Mount(root);
  root->Put("x", "root");
  EXPECT_EQ(fs.GetDriver("anything/at/all"), core);
  EXPECT_EQ(Read("x"), "<missing>");
  EXPECT_TRUE(root->opened.empty());
}

// Unmounting a driver removes all its mounts and root entries; the others keep their order.
TEST_F(FilesystemTest, UnmountRemovesEveryOccurrence) {
  fs.Mount(core, "@a/");
  fs.Mount(data, "@b/");
  fs.Mount(core, "@c/");
  fs.Mount(root, "@d/");
  fs.Mount(core);
  fs.Mount(root);
  TakeLog();
  fs.Unmount(core);
  EXPECT_EQ(TakeLog(), (Lines{{"", "Unmount driver " + Name(core)}}));
  ASSERT_EQ(fs.mounts.size(), 2u);
  EXPECT_EQ(fs.mounts[0].prefix, "@b/");
  EXPECT_EQ(fs.mounts[1].prefix, "@d/");
  EXPECT_EQ(fs.root_drivers, std::vector<std::shared_ptr<FileDriver>>{root});
  fs.Unmount(std::string("@d/"));
  EXPECT_EQ(TakeLog(), (Lines{{"", "Unmount driver " + Name(root)}}));
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].driver, data);
  EXPECT_TRUE(fs.root_drivers.empty());
}

// Delete, IsDir, MkDir and Dir act through a mount only, never on a root driver.
TEST_F(FilesystemTest, FolderOperationsNeedAMount) {
  temp.Put("f.txt", "x");
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

// Whole-file reads and writes; a BinaryData grows in steps of 8 KiB and takes the file at its size.
TEST_F(FilesystemTest, WholeFileHelpers) {
  fs.Mount(data, "@data/");
  EXPECT_TRUE(fs.StringToFile("@data/s", "12345"));
  const uint8_t bytes[] = {0, 1, 2, 255};
  EXPECT_TRUE(fs.DataToFile("@data/b", bytes, 4));
  EXPECT_FALSE(fs.StringToFile("nowhere", "x"));
  EXPECT_EQ(fs.FileSize("@data/s"), 5u);
  EXPECT_EQ(fs.FileToString("@data/s"), "12345");
  std::vector<uint8_t> read;
  EXPECT_TRUE(fs.FileToData("@data/b", read));
  EXPECT_EQ(read, std::vector<uint8_t>(bytes, bytes + 4));
  EXPECT_FALSE(fs.FileToData("@data/missing", read));
  EXPECT_EQ(fs.FileSize("@data/missing"), 0u);
  EXPECT_EQ(fs.FileToString("@data/missing"), "");

  BinaryData buffer;
  buffer.Write("abc", 3);
  ASSERT_TRUE(fs.FileToData("@data/s", buffer));
  EXPECT_EQ(buffer.size, 8u);
  EXPECT_EQ(std::string(buffer.data.begin(), buffer.data.begin() + 8), "abc12345");
  EXPECT_EQ(buffer.data.size(), 8192u);
  buffer.size = 8188;  // 8188 + 5 passes 8192: the capacity rounds up to the next multiple
  ASSERT_TRUE(fs.FileToData("@data/s", buffer));
  EXPECT_EQ(buffer.size, 8193u);
  EXPECT_EQ(buffer.data.size(), 16384u);
  EXPECT_EQ(std::string(buffer.data.begin() + 8188, buffer.data.begin() + 8193), "12345");
  EXPECT_FALSE(fs.FileToData("@data/missing", buffer));
  EXPECT_EQ(buffer.size, 8193u);
}

// Copies and moves across drivers; a move needs a mount to delete its source through.
TEST_F(FilesystemTest, CopyAndMoveFiles) {
  fs.Mount(data, "@data/");
  fs.Mount(disk, "@disk/");
  fs.Mount(root);
  root->Put("rooted", "r");
  fs.StringToFile("@data/a", "payload");
  EXPECT_TRUE(fs.CopyFile("@data/a", "@disk/copy"));
  EXPECT_EQ(temp.Get("copy"), "payload");
  EXPECT_TRUE(fs.Exists("@data/a"));
  EXPECT_TRUE(fs.MoveFile("@disk/copy", "@data/moved"));
  EXPECT_EQ(fs.FileToString("@data/moved"), "payload");
  EXPECT_FALSE(fs.Exists("@disk/copy"));
  EXPECT_TRUE(fs.MoveFile("@data/moved", "@data/moved"));  // onto itself: the file stays
  EXPECT_EQ(fs.FileToString("@data/moved"), "payload");
  EXPECT_FALSE(fs.MoveFile("rooted", "@data/r"));
  EXPECT_FALSE(fs.Exists("@data/r"));
  EXPECT_EQ(root->GetFileNames(), Names{"rooted"});
  EXPECT_FALSE(fs.CopyFile("@data/missing", "@data/c"));
}

TEST_F(FilesystemTest, MapsPathsThroughTheDrivers) {
  temp.Put("f.txt", "x");
  fs.Mount(disk, "@t/");
  fs.Mount(disk);
  EXPECT_EQ(fs.MapToAbsolute("@t/a/../y.txt"), temp / "y.txt");
  EXPECT_EQ(fs.MapToAbsolute("f.txt"), temp / "f.txt");
  EXPECT_EQ(fs.MapToAbsolute("none.txt"), "none.txt");  // a root path that no driver has
  EXPECT_EQ(fs.MapToRelative(temp.path + "//sub/./f.txt"), "sub/f.txt");
  EXPECT_EQ(fs.MapToRelative("/elsewhere//x"), "/elsewhere/x");
}
