// Path helpers, the memory and disk drivers with their handles, segments of a handle, and the
// filesystem that routes paths to drivers.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "file/file_handle_segment.h"
#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "file/path.h"
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

constexpr SeekRef kStart = SeekRef::Start, kCurrent = SeekRef::Current, kEnd = SeekRef::End;

void Put(FileDriver& driver, const std::string& name, const std::string& content) {
  driver.Open(name, FileMode::Write)->Write(content.data(), uint32_t(content.size()));
}
std::string Read(FileHandle& handle, uint32_t count) {
  std::string text(count, '\0');
  text.resize(handle.Read(text.data(), count));
  return text;
}
std::string Get(const std::shared_ptr<FileHandle>& handle) {
  return handle ? Read(*handle, handle->GetSize()) : "<missing>";
}
std::string Get(FileDriver& driver, const std::string& name) { return Get(driver.Open(name, FileMode::Read)); }
Names NamesOf(const std::vector<DirEntry>& entries) {
  Names names;
  for (const DirEntry& entry : entries) names.push_back(entry.name + (entry.type == DirEntry::kDirectory ? "/" : ""));
  return names;
}
// Each seek of the walk as "result@cursor".
std::string Walk(FileHandle& handle, std::initializer_list<std::pair<int, SeekRef>> seeks) {
  std::string walk;
  for (auto [offset, ref] : seeks) {
    const int result = handle.Seek(offset, ref);
    walk += std::to_string(result) + "@" + std::to_string(handle.Tell()) + " ";
  }
  return walk;
}

} // namespace

// Every path helper on the separators, dot segments, prefixes and edge cases callers rely on.
TEST(Path, HelpersOnTheirEdgeCases) {
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
#define ROW(call, expected) {#call, call, expected}
  const struct {
    const char* call;
    std::string got, expected;
  } rows[] = {
      ROW(CleanPath("a\\b//c/./d/../e"), "a/b/c/e"), ROW(CleanPath("./a"), "a"), ROW(CleanPath("a/b/"), "a/b"),
      ROW(CleanPath("a/b/../../c"), "c"), ROW(CleanPath("../a"), "../a"), ROW(CleanPath("x/../../y"), "../y"),
      ROW(CleanPath("../../a"), "../../a"),
      ROW(CleanPath("C:\\x"), "c:/x"), ROW(CleanPath("\\\\server\\share\\x"), "\\\\server/share/x"),
      ROW(CleanPath("/tmp//x/../y/"), "/tmp/y"), ROW(CleanPath("a/"), "a/"), ROW(CleanPath(".."), ".."),
      ROW(CleanPath(""), ""), ROW(CutFileExtension("a/b.tar.gz"), "a/b.tar"), ROW(CutFileExtension("a.b/c"), "a.b/c"),
      ROW(CutFileExtension("a.b\\c"), "a.b\\c"), ROW(CutFileExtension(".hidden"), ".hidden"),
      ROW(CutFileName("a\\b\\c.txt"), "a\\b\\"), ROW(CutFileName("b.txt"), "b.txt"),
      ROW(GetFileName("a\\b/c\\d.txt"), "d.txt"), ROW(GetFileName("b.txt"), "b.txt"), ROW(GetFileName("a/"), ""),
      ROW(NativePath("a/b\\c", true), "a\\b\\c"), ROW(NativePath("a/b\\c", false), "a/b/c"),
      ROW(GetCurrentWorkingFolder(), cwd),
  };
#undef ROW
  for (const auto& row : rows) EXPECT_EQ(row.got, row.expected) << row.call;
}

// Both drivers: their caps, missing files, digests as sha1sum computes them (also past the 64 KiB
// read chunk), and the shared owner that Open needs.
TEST(FileDrivers, CommonContract) {
  tv_test::TempFolder temp;
  std::mt19937 random(1234);
  std::string bytes((1 << 20) + 123, '\0');
  for (char& byte : bytes) byte = char(random());
  auto sha1sum = [&](const std::string& name) {
    std::FILE* pipe = popen(("sha1sum '" + temp / name + "'").c_str(), "r");
    char digest[41] = {};
    const size_t got = pipe != nullptr ? std::fread(digest, 1, 40, pipe) : 0;
    EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0);
    return std::string(digest, got);
  };
  const std::map<std::string, std::string> files = {{"empty", ""}, {"text", "hello\n"}, {"random", bytes}};
  using Driver = std::pair<std::shared_ptr<FileDriver>, uint32_t>;  // and its caps
  for (auto [driver, caps] : {Driver{std::make_shared<MemoryFileDriver>(), 15},
                              Driver{std::make_shared<StdFileDriver>(temp.path), 46}}) {
    EXPECT_EQ(driver->GetCaps(), caps);
    EXPECT_EQ(driver->Open("missing", FileMode::Read), nullptr);
    EXPECT_EQ(driver->FileHash("missing"), "");
    for (const auto& [name, content] : files) {
      temp.Put(name, content);
      Put(*driver, name, content);
      EXPECT_TRUE(Get(*driver, name) == content) << caps << " " << name;
      EXPECT_EQ(driver->FileHash(name), sha1sum(name)) << caps << " " << name;
    }
  }
  EXPECT_EQ(sha1sum("text"), "f572d396fae9206628714fb2ce00f72e94f2258f");
  MemoryFileDriver memory;
  StdFileDriver disk(temp.path);
  EXPECT_THROW(memory.Open("x", FileMode::Write), std::bad_weak_ptr);
  EXPECT_THROW(disk.Open("x", FileMode::Write), std::bad_weak_ptr);
}

// A memory file lives until Delete (every file of the name goes); a rewrite overwrites in place and
// never truncates; cursors clamp to the content; a handle works only in the mode it was opened in.
TEST(MemoryFileDriver, FilesAndHandles) {
  auto memory = std::make_shared<MemoryFileDriver>();
  EXPECT_FALSE(memory->MkDir("folder"));
  for (const char* name : {"z", "a", "m"}) Put(*memory, name, "0123456789");
  Put(*memory, "a", "XY");
  EXPECT_EQ(Get(*memory, "a"), "XY23456789");
  EXPECT_EQ(memory->GetFileNames(), (Names{"z", "a", "m"}));
  for (int i = 0; i < 2; ++i) memory->files.emplace_back(std::make_shared<MemoryFile>())->name = "m";
  EXPECT_TRUE(memory->Delete("m") && memory->Delete("never"));
  EXPECT_EQ(memory->GetFileNames(), (Names{"z", "a"}));

  auto reader = memory->Open("z", FileMode::Read);
  EXPECT_EQ(Walk(*reader, {{50, kStart}, {3, kEnd}}), "0@10 0@7 ");
  EXPECT_FALSE(reader->IsEOF());
  EXPECT_EQ(Read(*reader, 4), "789");
  EXPECT_TRUE(reader->IsEOF());
  EXPECT_EQ(Walk(*reader, {{-20, kCurrent}, {-1, kStart}, {2, kStart}}), "0@0 0@0 0@2 ");
  EXPECT_EQ(Read(*reader, 2), "23");
  EXPECT_EQ(reader->Write("Z", 1), 0u);
  auto writer = memory->Open("z", FileMode::Write);
  char byte = 0;
  EXPECT_EQ(writer->Read(&byte, 1), 0u);
  EXPECT_EQ(Walk(*writer, {{0, kEnd}}), "0@10 ");
  EXPECT_EQ(writer->Write("ab", 2), 2u);
  EXPECT_EQ(Get(*memory, "z"), "0123456789ab");
}

class StdFileDriverTest : public tv_test::LogCaptureTest {
protected:
  tv_test::TempFolder temp;
  std::shared_ptr<StdFileDriver> disk = std::make_shared<StdFileDriver>(temp.path);
};

// A sandboxed driver refuses, without a log line, every path that climbs out of its base, also
// behind a leading separator; without the sandbox the same path opens.
TEST_F(StdFileDriverTest, SandboxRefusesPathsLeavingTheBase) {
  temp.Put("y", "outside");
  ASSERT_TRUE(disk->MkDir("inner"));
  auto boxed = std::make_shared<StdFileDriver>(temp / "inner", true);
  for (const char* path : {"x/../../y", "../y", "..", "/../y", "\\..\\y"}) {
    EXPECT_EQ(boxed->Open(path, FileMode::Read), nullptr) << path;
    EXPECT_FALSE(boxed->IsDir(path)) << path;
    EXPECT_TRUE(boxed->Dir(path, "", kDirAll).empty()) << path;
  }
  EXPECT_EQ(boxed->Open("../z", FileMode::Write), nullptr);
  EXPECT_FALSE(boxed->Delete("../y") || boxed->MkDir("../made"));
  EXPECT_EQ(NamesOf(disk->Dir("", "", kDirAll)), (Names{"inner/", "y"}));
  EXPECT_EQ(temp.Get("y"), "outside");
  EXPECT_TRUE(TakeLog().empty());
  auto open = std::make_shared<StdFileDriver>(temp / "inner", false);
  EXPECT_EQ(Get(*open, "x/../../y"), "outside");
  EXPECT_TRUE(open->IsDir(".."));
}

// Write truncates; folders never open; seeks past the end succeed, before the start fail; Dir lists
// sorted and filtered; Delete takes files only.
TEST_F(StdFileDriverTest, FilesAndFolders) {
  for (const char* name : {"b.txt", "a.txt", "c.log", "sub/inside.txt"}) {
    std::filesystem::create_directories(std::filesystem::path(temp / name).parent_path());
    temp.Put(name, "long old content");
  }
  Put(*disk, "a.txt", "0123456789");
  auto handle = disk->Open("a.txt", FileMode::Read);
  EXPECT_EQ(Walk(*handle, {{4, kStart}, {-2, kCurrent}, {-3, kEnd}}), "0@4 0@2 0@7 ");
  EXPECT_FALSE(handle->IsEOF());
  EXPECT_EQ(Read(*handle, 4), "789");
  EXPECT_TRUE(handle->IsEOF());
  EXPECT_EQ(Walk(*handle, {{100, kStart}, {-1, kStart}}), "0@100 -1@100 ");

  EXPECT_TRUE(disk->MkDir("zdir"));
  EXPECT_FALSE(disk->MkDir("zdir"));
  EXPECT_EQ(disk->Open("zdir", FileMode::Read), nullptr);
  EXPECT_EQ(disk->Open("zdir", FileMode::Write), nullptr);
  EXPECT_EQ(NamesOf(disk->Dir("", "", kDirAll)), (Names{"a.txt", "b.txt", "c.log", "sub/", "zdir/"}));
  EXPECT_EQ(NamesOf(disk->Dir("", "*", kDirFiles)), (Names{"a.txt", "b.txt", "c.log"}));
  EXPECT_EQ(NamesOf(disk->Dir("", "*", kDirDirectories)), (Names{"sub/", "zdir/"}));
  EXPECT_EQ(NamesOf(disk->Dir("", "*.txt", kDirAll)), (Names{"a.txt", "b.txt"}));
  EXPECT_EQ(NamesOf(disk->Dir("sub", "", kDirAll)), Names{"inside.txt"});
  EXPECT_TRUE(disk->Dir("missing", "", kDirAll).empty());
  EXPECT_TRUE(disk->IsDir("zdir") && !disk->IsDir("b.txt") && !disk->IsDir("missing"));
  EXPECT_TRUE(disk->Delete("b.txt"));
  EXPECT_FALSE(disk->Delete("b.txt") || disk->Delete("zdir"));
  EXPECT_EQ(NamesOf(disk->Dir("", "", kDirAll)), (Names{"a.txt", "c.log", "sub/", "zdir/"}));
  EXPECT_EQ(StdFileDriver().GetFullPath("a/b"), "a/b");
}

TEST_F(StdFileDriverTest, ReleasedHandlesCloseTheirStreams) {
  temp.Put("f", "x");
  auto descriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto before = descriptors();
  // A low limit makes a leak fail within the loop instead of after thousands of files.
  rlimit saved{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &saved), 0);
  rlimit low = saved;
  low.rlim_cur = std::min<rlim_t>(saved.rlim_cur, rlim_t(before) + 64);
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
  int opened = 0;
  while (opened < 2000 && disk->Open("f", FileMode::Read)) ++opened;
  setrlimit(RLIMIT_NOFILE, &saved);
  EXPECT_EQ(opened, 2000);
  EXPECT_EQ(descriptors(), before);
}

// A segment is a window of its source: reads, seeks and writes stay inside it (a seek outside
// gives -1 and the start), and the source's own cursor is left where it was.
TEST(FileHandleSegment, WorksInsideItsWindowOnly) {
  auto memory = std::make_shared<MemoryFileDriver>();
  Put(*memory, "f", "0123456789ABCDEF");
  auto source = memory->Open("f", FileMode::Read);
  EXPECT_EQ(Read(*source, 4), "0123");
  source->Rewind();
  EXPECT_EQ(Read(*source, 3), "012");
  FileHandleSegment segment(nullptr, source.get(), 4, 6);
  EXPECT_EQ(segment.GetSize(), 6u);
  EXPECT_EQ(Read(segment, 2), "45");
  EXPECT_EQ(Read(segment, 100), "6789");
  EXPECT_TRUE(segment.IsEOF());
  EXPECT_EQ(Read(*source, 1), "3");
  segment.Rewind();
  EXPECT_EQ(Read(segment, 1), "4");
  EXPECT_EQ(Walk(segment, {{2, kEnd}, {1, kCurrent}, {6, kStart}, {7, kStart}, {3, kStart}, {-4, kCurrent}}),
            "0@4 0@5 0@6 -1@0 0@3 -1@0 ");
  EXPECT_EQ(Read(segment, 1), "4");

  Put(*memory, "w", "..........");
  auto target = memory->Open("w", FileMode::Write);
  FileHandleSegment window(nullptr, target.get(), 3, 4);
  window.Seek(1, kStart);
  EXPECT_EQ(window.Write("XYZW", 4), 3u);  // only three bytes remain in the window
  EXPECT_EQ(window.Tell(), 4u);
  EXPECT_EQ(target->Tell(), 0u);
  EXPECT_EQ(Get(*memory, "w"), "....XYZ...");
}

// Threads reading one handle and threads reading segments of it, all at once, never share, lose
// or mix up a byte.
TEST(FileHandleSegment, ConcurrentReadersGetTheirOwnBytes) {
  constexpr uint32_t kRecords = 20000;  // each 4-byte record holds its own index
  std::vector<uint32_t> values(kRecords);
  std::iota(values.begin(), values.end(), 0u);
  const std::string content(reinterpret_cast<const char*>(values.data()), kRecords * 4);
  auto memory = std::make_shared<MemoryFileDriver>();
  Put(*memory, "f", content);
  auto handle = memory->Open("f", FileMode::Read);
  std::vector<std::vector<uint32_t>> seen(4);
  std::vector<std::string> windows(4);
  {
    std::vector<std::jthread> threads;
    for (uint32_t t = 0; t < 4; ++t) {
      threads.emplace_back([&, t] {
        for (uint32_t value = 0; handle->Read(&value, 4) == 4;) seen[t].push_back(value);
      });
      threads.emplace_back([&, t] {
        FileHandleSegment segment(nullptr, handle.get(), t * 4096, 4096);
        char chunk[7];
        while (uint32_t got = segment.Read(chunk, sizeof(chunk))) windows[t].append(chunk, got);
      });
    }
  }
  std::vector<uint32_t> all;
  for (const auto& mine : seen) all.insert(all.end(), mine.begin(), mine.end());
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all, values);
  for (uint32_t t = 0; t < 4; ++t) EXPECT_TRUE(windows[t] == content.substr(t * 4096, 4096)) << t;
}

// A memory driver that remembers every path it was asked to open.
class RecordingDriver : public MemoryFileDriver {
public:
  std::shared_ptr<FileHandle> Open(const std::string& path, FileMode mode) override {
    opened.push_back(path);
    return MemoryFileDriver::Open(path, mode);
  }
  Names opened;
};

class FilesystemTest : public StdFileDriverTest {
protected:
  static std::string Name(const std::shared_ptr<FileDriver>& driver) { return to_string(driver.get()); }
  std::string Read(const std::string& path) { return Get(fs.Open(path, FileMode::Read)); }

  Filesystem fs;
  std::shared_ptr<RecordingDriver> core = std::make_shared<RecordingDriver>();
  std::shared_ptr<RecordingDriver> data = std::make_shared<RecordingDriver>();
  std::shared_ptr<RecordingDriver> root = std::make_shared<RecordingDriver>();
};

// Each mount is logged as asked for; a root driver twice or a prefix twice is refused.
TEST_F(FilesystemTest, MountLogsAndRefusesDuplicates) {
  EXPECT_TRUE(fs.Mount(disk));
  EXPECT_FALSE(fs.Mount(disk));
  EXPECT_TRUE(fs.Mount(core, "@core/"));
  EXPECT_FALSE(fs.Mount(data, "@core/"));
  const std::string mounted = "Mount root driver " + Name(disk) + " (relative to '" + temp.path + "/')";
  const std::string twice = "Driver " + Name(disk) + " is already mounted as a root driver on this filesystem";
  EXPECT_EQ(TakeLog(), (Lines{{"", mounted},
                              {"", mounted},
                              {"error", twice},
                              {"", "Mount driver " + Name(core) + " on prefix @core/ (relative to '')"},
                              {"", "Mount driver " + Name(data) + " on prefix @core/ (relative to '')"},
                              {"error", "Prefix @core/ is already mounted on this filesystem"}}));
  EXPECT_EQ(fs.root_drivers.size(), 1u);
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].driver, core);
}

// A mounted path goes to the first mount whose prefix starts it, as plain text, and never on to
// the root drivers; other paths try the root drivers in turn. Each failure has its warning.
TEST_F(FilesystemTest, OpenRoutesByPrefixThenRootDriversInTurn) {
  auto second = std::make_shared<RecordingDriver>();
  fs.Mount(core, "@d");
  fs.Mount(data, "@data/");
  fs.Mount(root);
  fs.Mount(second);
  Put(*core, "ata/a.txt", "mounted");
  Put(*root, "@data/a.txt", "root");
  Put(*second, "b.txt", "second");
  for (auto* driver : {core.get(), root.get(), second.get()}) driver->opened.clear();
  TakeLog();
  EXPECT_EQ(fs.GetDriver("@data/a.txt"), core);
  EXPECT_EQ(fs.GetPrefix("@data/a.txt"), "@d");
  EXPECT_EQ(fs.CutPrefix("@data/a.txt"), "ata/a.txt");
  EXPECT_EQ(fs.GetDriver("elsewhere"), nullptr);
  EXPECT_EQ(fs.CutPrefix("elsewhere"), "elsewhere");
  EXPECT_EQ(Read("@data/a.txt"), "mounted");
  core->Delete("ata/a.txt");
  EXPECT_EQ(Read("@data/a.txt"), "<missing>");
  EXPECT_EQ(Read("b.txt"), "second");
  EXPECT_FALSE(fs.Exists("none.txt"));
  EXPECT_EQ(core->opened, (Names{"ata/a.txt", "ata/a.txt"}));
  EXPECT_TRUE(data->opened.empty());
  EXPECT_EQ(root->opened, (Names{"b.txt", "none.txt"}));
  EXPECT_EQ(second->opened, (Names{"b.txt", "none.txt"}));
  EXPECT_EQ(TakeLog(), (Lines{{"warn", "Failed to open '@data/a.txt' on driver " + Name(core) + " (prefix match: @d)"},
                              {"warn", "Failed to open 'none.txt' on any mounted file driver"}}));
  fs.mounts.clear();
  fs.Mount(core, "");  // an empty prefix takes every path from the root drivers
  EXPECT_EQ(Read("b.txt"), "<missing>");
  EXPECT_EQ(second->opened.size(), 2u);
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
  EXPECT_EQ(fs.mounts[0].prefix + fs.mounts[1].prefix, "@b/@d/");
  EXPECT_EQ(fs.root_drivers, std::vector<std::shared_ptr<FileDriver>>{root});
  fs.Unmount(std::string("@d/"));
  EXPECT_EQ(TakeLog(), (Lines{{"", "Unmount driver " + Name(root)}}));
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].driver, data);
  EXPECT_TRUE(fs.root_drivers.empty());
}

// Delete, IsDir, MkDir and Dir act through a mount only; copies and moves work across drivers, but
// a move needs a mount to delete its source through; paths map through the drivers.
TEST_F(FilesystemTest, FolderOperationsCopiesMovesAndMaps) {
  temp.Put("f.txt", "x");
  ASSERT_TRUE(disk->MkDir("sub"));
  fs.Mount(disk);
  EXPECT_FALSE(fs.Delete("f.txt") || fs.IsDir("sub") || fs.MkDir("new"));
  EXPECT_TRUE(fs.Dir("", "*", kDirAll).empty());
  fs.Mount(disk, "@t/");
  EXPECT_TRUE(fs.IsDir("@t/sub") && fs.MkDir("@t/new"));
  EXPECT_EQ(NamesOf(fs.Dir("@t/", "*", kDirAll)), (Names{"f.txt", "new/", "sub/"}));
  EXPECT_EQ(fs.MapToAbsolute("@t/a/../y.txt"), temp / "y.txt");
  EXPECT_EQ(fs.MapToAbsolute("f.txt"), temp / "f.txt");
  EXPECT_EQ(fs.MapToAbsolute("none.txt"), "none.txt");  // a root path that no driver has
  EXPECT_EQ(fs.MapToRelative(temp.path + "//sub/./f.txt"), "sub/f.txt");
  EXPECT_EQ(fs.MapToRelative("/elsewhere//x"), "/elsewhere/x");
  EXPECT_TRUE(fs.Delete("@t/f.txt"));
  EXPECT_FALSE(std::filesystem::exists(temp / "f.txt"));

  fs.Mount(data, "@data/");
  fs.Mount(root);
  Put(*root, "rooted", "r");
  fs.StringToFile("@data/a", "payload");
  EXPECT_TRUE(fs.CopyFile("@data/a", "@t/copy"));
  EXPECT_EQ(temp.Get("copy"), "payload");
  EXPECT_TRUE(fs.MoveFile("@t/copy", "@data/moved"));
  EXPECT_FALSE(std::filesystem::exists(temp / "copy"));
  EXPECT_TRUE(fs.MoveFile("@data/moved", "@data/moved"));  // onto itself: the file stays
  EXPECT_FALSE(fs.MoveFile("rooted", "@data/r") || fs.CopyFile("@data/missing", "@data/c"));
  EXPECT_EQ(data->GetFileNames(), (Names{"a", "moved"}));
  EXPECT_EQ(fs.FileToString("@data/moved"), "payload");
  EXPECT_EQ(root->GetFileNames(), Names{"rooted"});
}

// Whole-file reads and writes; a BinaryData takes the file at its size, growing in steps of 8 KiB.
TEST_F(FilesystemTest, WholeFileHelpers) {
  fs.Mount(data, "@data/");
  const uint8_t bytes[] = {0, 1, 2, 255};
  EXPECT_TRUE(fs.StringToFile("@data/s", "12345") && fs.DataToFile("@data/b", bytes, 4));
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
  EXPECT_EQ(std::string(buffer.data.begin(), buffer.data.begin() + buffer.size), "abc12345");
  EXPECT_EQ(buffer.data.size(), 8192u);
  buffer.size = 8188;  // 8188 + 5 passes 8192: the capacity rounds up to the next multiple
  ASSERT_TRUE(fs.FileToData("@data/s", buffer));
  EXPECT_FALSE(fs.FileToData("@data/missing", buffer));
  EXPECT_EQ(buffer.size, 8193u);
  EXPECT_EQ(buffer.data.size(), 16384u);
  EXPECT_EQ(std::string(buffer.data.begin() + 8188, buffer.data.begin() + 8193), "12345");
}
