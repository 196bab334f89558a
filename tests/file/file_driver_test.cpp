// The memory and disk drivers, their handles, and segments of a handle.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "file/file_handle_segment.h"
#include "file/memory_file_driver.h"
#include "file/std_file_driver.h"
#include "log_capture.h"
#include "temp_folder.h"

using namespace tv;
using Names = std::vector<std::string>;

namespace {

void Put(FileDriver& driver, const std::string& name, const std::string& content) {
  driver.Open(name, FileMode::Write)->Write(content.data(), uint32_t(content.size()));
}
std::string Read(FileHandle& handle, uint32_t count) {
  std::string text(count, '\0');
  text.resize(handle.Read(text.data(), count));
  return text;
}
std::string Get(FileDriver& driver, const std::string& name) {
  auto handle = driver.Open(name, FileMode::Read);
  return handle ? Read(*handle, handle->GetSize()) : "<missing>";
}
Names NamesOf(const std::vector<DirEntry>& entries) {
  Names names;
  for (const DirEntry& entry : entries) names.push_back(entry.name);
  return names;
}

// One seek, the cursor it must leave, and (unless null) what a read of up to 4 bytes then gives.
struct SeekStep {
  int offset;
  SeekRef ref;
  int result;
  uint32_t tell;
  const char* then_read = nullptr;
};
void ExpectSeeks(FileHandle& handle, std::initializer_list<SeekStep> steps) {
  for (const SeekStep& step : steps) {
    SCOPED_TRACE("Seek(" + std::to_string(step.offset) + ", " + std::to_string(int(step.ref)) + ")");
    EXPECT_EQ(handle.Seek(step.offset, step.ref), step.result);
    EXPECT_EQ(handle.Tell(), step.tell);
    if (step.then_read != nullptr) {
      EXPECT_EQ(Read(handle, 4), step.then_read);
    }
  }
}

std::string SystemSha1(const std::string& path) {
  std::FILE* pipe = popen(("sha1sum '" + path + "'").c_str(), "r");
  char digest[41] = {};
  const size_t got = pipe != nullptr ? std::fread(digest, 1, 40, pipe) : 0;
  if (pipe != nullptr) pclose(pipe);
  return std::string(digest, got);
}

} // namespace

// What both drivers promise: caps, missing files, digests as sha1sum computes them, shared owners.
TEST(FileDrivers, CommonContract) {
  tv_test::TempFolder temp;
  std::mt19937 random(1234);
  std::string bytes((1 << 20) + 123, '\0');  // not a multiple of the 64 KiB read chunk
  for (char& byte : bytes) byte = char(random());
  const std::vector<std::pair<std::string, std::string>> files = {{"empty", ""}, {"text", "hello\n"}, {"random", bytes}};
  const std::vector<std::pair<std::shared_ptr<FileDriver>, uint32_t>> drivers = {
      {std::make_shared<MemoryFileDriver>(), 15u}, {std::make_shared<StdFileDriver>(temp.path), 46u}};
  for (const auto& [driver, caps] : drivers) {
    SCOPED_TRACE(caps);
    EXPECT_EQ(driver->GetCaps(), caps);
    EXPECT_EQ(driver->Open("missing", FileMode::Read), nullptr);
    EXPECT_EQ(driver->FileHash("missing"), "");
    for (const auto& [name, content] : files) {
      temp.Put(name, content);
      Put(*driver, name, content);
      EXPECT_TRUE(Get(*driver, name) == content) << name;
      EXPECT_EQ(driver->FileHash(name), SystemSha1(temp / name)) << name;
    }
  }
  EXPECT_EQ(SystemSha1(temp / "text"), "f572d396fae9206628714fb2ce00f72e94f2258f");
  MemoryFileDriver memory;
  EXPECT_THROW(memory.Open("x", FileMode::Write), std::bad_weak_ptr);
  StdFileDriver disk(temp.path);
  EXPECT_THROW(disk.Open("x", FileMode::Write), std::bad_weak_ptr);
}

// A memory file lives until Delete; a rewrite overwrites in place and never truncates.
TEST(MemoryFileDriver, FilesLiveUntilDeletedAndRewritesKeepTheirTail) {
  auto memory = std::make_shared<MemoryFileDriver>();
  EXPECT_FALSE(memory->MkDir("folder"));
  for (const char* name : {"z", "a", "m"}) Put(*memory, name, "abcde");
  Put(*memory, "a", "XY");
  EXPECT_EQ(Get(*memory, "a"), "XYcde");
  EXPECT_EQ(Get(*memory, "a"), "XYcde");  // closing a handle keeps the file
  EXPECT_EQ(memory->GetFileNames(), (Names{"z", "a", "m"}));
  for (int i = 0; i < 2; ++i) memory->files.emplace_back(std::make_shared<MemoryFile>())->name = "m";
  EXPECT_TRUE(memory->Delete("m"));  // every file of that name goes
  EXPECT_TRUE(memory->Delete("never"));
  EXPECT_EQ(memory->GetFileNames(), (Names{"z", "a"}));
  EXPECT_EQ(memory->Open("m", FileMode::Read), nullptr);
}

// Cursors clamp to the content; a handle reads or writes only in the mode it was opened with.
TEST(MemoryFileDriver, HandlesClampSeeksAndKeepToTheirMode) {
  auto memory = std::make_shared<MemoryFileDriver>();
  Put(*memory, "a", "0123456789");
  auto reader = memory->Open("a", FileMode::Read);
  ExpectSeeks(*reader, {{50, SeekRef::Start, 0, 10, ""}, {3, SeekRef::End, 0, 7}});
  EXPECT_FALSE(reader->IsEOF());
  EXPECT_EQ(Read(*reader, 4), "789");
  EXPECT_TRUE(reader->IsEOF());
  ExpectSeeks(*reader, {{-20, SeekRef::Current, 0, 0}, {-1, SeekRef::Start, 0, 0}, {2, SeekRef::Start, 0, 2, "2345"}});
  EXPECT_EQ(reader->Write("Z", 1), 0u);
  EXPECT_EQ(reader->Tell(), 6u);
  auto writer = memory->Open("a", FileMode::Write);
  char byte = 0;
  EXPECT_EQ(writer->Read(&byte, 1), 0u);
  EXPECT_EQ(writer->Seek(0, SeekRef::End), 0);
  EXPECT_EQ(writer->Write("ab", 2), 2u);  // past the end: the file grows
  EXPECT_EQ(writer->GetSize(), 12u);
  EXPECT_EQ(Get(*memory, "a"), "0123456789ab");
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
  EXPECT_FALSE(boxed->Delete("../y"));
  EXPECT_FALSE(boxed->MkDir("../made"));
  EXPECT_EQ(NamesOf(disk->Dir("", "", kDirAll)), (Names{"inner", "y"}));
  EXPECT_EQ(temp.Get("y"), "outside");
  EXPECT_TRUE(tv_test::TakeLog().empty());

  auto open = std::make_shared<StdFileDriver>(temp / "inner", false);
  EXPECT_EQ(Get(*open, "x/../../y"), "outside");
  EXPECT_TRUE(open->IsDir(".."));
}

// Write truncates; folders never open; seeks past the end succeed, before the start fail.
TEST_F(StdFileDriverTest, HandlesOnDiskFiles) {
  temp.Put("f", "long old content");
  Put(*disk, "f", "0123456789");
  EXPECT_EQ(temp.Get("f"), "0123456789");
  ASSERT_TRUE(disk->MkDir("folder"));
  EXPECT_EQ(disk->Open("folder", FileMode::Read), nullptr);
  EXPECT_EQ(disk->Open("folder", FileMode::Write), nullptr);

  auto handle = disk->Open("f", FileMode::Read);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->GetSize(), 10u);
  ExpectSeeks(*handle, {{4, SeekRef::Start, 0, 4, "4567"}, {-2, SeekRef::Current, 0, 6}, {-3, SeekRef::End, 0, 7}});
  EXPECT_FALSE(handle->IsEOF());
  EXPECT_EQ(Read(*handle, 4), "789");
  EXPECT_TRUE(handle->IsEOF());
  EXPECT_EQ(Read(*handle, 4), "");
  ExpectSeeks(*handle, {{100, SeekRef::Start, 0, 100}, {-1, SeekRef::Start, -1, 100}});
}

// Dir lists sorted and filtered; Delete takes files only; paths map to and from the base.
TEST_F(StdFileDriverTest, FoldersAndPaths) {
  for (const char* name : {"b.txt", "a.txt", "c.log", "sub/inside.txt"}) {
    std::filesystem::create_directories(std::filesystem::path(temp / name).parent_path());
    temp.Put(name, "");
  }
  EXPECT_TRUE(disk->MkDir("zdir"));
  EXPECT_FALSE(disk->MkDir("zdir"));
  const std::vector<DirEntry> all = disk->Dir("", "", kDirAll);
  EXPECT_EQ(NamesOf(all), (Names{"a.txt", "b.txt", "c.log", "sub", "zdir"}));
  EXPECT_EQ(all.at(0).type, DirEntry::kFile);
  EXPECT_EQ(all.at(3).type, DirEntry::kDirectory);
  EXPECT_EQ(NamesOf(disk->Dir("", "*", kDirFiles)), (Names{"a.txt", "b.txt", "c.log"}));
  EXPECT_EQ(NamesOf(disk->Dir("", "*", kDirDirectories)), (Names{"sub", "zdir"}));
  EXPECT_EQ(NamesOf(disk->Dir("", "*.txt", kDirAll)), (Names{"a.txt", "b.txt"}));
  EXPECT_EQ(NamesOf(disk->Dir("sub", "", kDirAll)), Names{"inside.txt"});
  EXPECT_TRUE(disk->Dir("missing", "", kDirAll).empty());

  EXPECT_TRUE(disk->IsDir("zdir"));
  EXPECT_FALSE(disk->IsDir("a.txt"));
  EXPECT_FALSE(disk->IsDir("missing"));
  EXPECT_TRUE(disk->Delete("a.txt"));
  EXPECT_FALSE(std::filesystem::exists(temp / "a.txt"));
  EXPECT_FALSE(disk->Delete("a.txt"));
  EXPECT_FALSE(disk->Delete("zdir"));
  EXPECT_TRUE(disk->IsDir("zdir"));

  EXPECT_EQ(disk->MapToAbsolute("a/b"), temp / "a/b");
  EXPECT_EQ(disk->MapToRelative(temp / "a/b"), "/a/b");
  EXPECT_EQ(disk->MapToRelative("/other/a"), "/other/a");
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

// A segment is a window of its source: reads, seeks and writes stay inside it, and the source's
// own cursor is left where it was.
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
  EXPECT_EQ(Read(segment, 1), "");
  EXPECT_EQ(Read(*source, 1), "3");
  segment.Rewind();
  EXPECT_EQ(Read(segment, 1), "4");
  // Outside the window: -1 and the cursor back at the start.
  ExpectSeeks(segment, {{2, SeekRef::End, 0, 4},
                        {1, SeekRef::Current, 0, 5, "9"},
                        {6, SeekRef::Start, 0, 6},
                        {7, SeekRef::Start, -1, 0},
                        {3, SeekRef::Start, 0, 3},
                        {-4, SeekRef::Current, -1, 0, "4567"}});

  Put(*memory, "w", "..........");
  auto target = memory->Open("w", FileMode::Write);
  FileHandleSegment window(nullptr, target.get(), 3, 4);
  window.Seek(1, SeekRef::Start);
  EXPECT_EQ(window.Write("XYZW", 4), 3u);  // only three bytes remain in the window
  EXPECT_EQ(window.Tell(), 4u);
  EXPECT_EQ(target->Tell(), 0u);
  EXPECT_EQ(Get(*memory, "w"), "....XYZ...");
}

// Threads reading one handle, or segments of one source, never share or lose a byte.
TEST(FileHandleSegment, ConcurrentReadersGetTheirOwnBytes) {
  constexpr uint32_t kRecords = 20000;  // each 4-byte record holds its own index
  std::vector<uint32_t> values(kRecords);
  std::iota(values.begin(), values.end(), 0u);
  auto memory = std::make_shared<MemoryFileDriver>();
  Put(*memory, "f", std::string(reinterpret_cast<const char*>(values.data()), kRecords * 4));
  auto handle = memory->Open("f", FileMode::Read);
  std::vector<std::vector<uint32_t>> seen(4);
  std::vector<std::string> segments(4);
  {
    std::vector<std::jthread> threads;
    for (auto& mine : seen)
      threads.emplace_back([&handle, &mine] {
        for (uint32_t value = 0; handle->Read(&value, 4) == 4;) mine.push_back(value);
      });
  }
  std::vector<uint32_t> all;
  for (const auto& mine : seen) all.insert(all.end(), mine.begin(), mine.end());
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all, values);

  {
    std::vector<std::jthread> threads;
    for (uint32_t part = 0; part < 4; ++part)
      threads.emplace_back([&, part] {
        FileHandleSegment segment(nullptr, handle.get(), part * 4096, 4096);
        char chunk[7];
        while (uint32_t got = segment.Read(chunk, sizeof(chunk))) segments[part].append(chunk, got);
      });
  }
  for (uint32_t part = 0; part < 4; ++part) {
    const char* begin = reinterpret_cast<const char*>(values.data()) + part * 4096;
    EXPECT_TRUE(segments[part] == std::string(begin, 4096)) << part;
  }
}
