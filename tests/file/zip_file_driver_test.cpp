// The zip driver on archives that Info-ZIP zip and Python's zipfile write at test time, checked
// against what unzip extracts from the same archives; and the core archive built into the library.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "file/core_resources.h"
#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "file/std_file_driver.h"
#include "file/zip_file_driver.h"
#include "foundation/format.h"
#include "foundation/string_utils.h"
#include "log_capture.h"
#include "temp_folder.h"

using namespace tv;
using tv_test::LogLine;
using tv_test::TakeLog;
using Lines = std::vector<LogLine>;
using Names = std::vector<std::string>;

namespace {

// Standard output of a shell command; the test fails if the command does.
std::string Shell(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[1 << 16];
  for (size_t got; pipe != nullptr && (got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;) out.append(buffer, got);
  EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command;
  return out;
}
std::string Quote(const std::string& text) { return "'" + text + "'"; }

// The archive's entry names in archive order, as unzip lists them; folder entries end in "/".
Names UnzipNames(const std::string& archive, bool with_folders = false) {
  Names names = split(Shell("unzip -Z1 " + Quote(archive)), "\n");
  if (!with_folders) std::erase_if(names, [](const std::string& name) { return name.back() == '/'; });
  return names;
}
std::string Unzip(const std::string& archive, const std::string& entry, const std::string& password = "") {
  return Shell("unzip -p " + (password.empty() ? "" : "-P " + password + " ") + Quote(archive) + " " + Quote(entry));
}

// Reads in odd-sized pieces until the handle has nothing more, so windows are read at many cursors.
std::string ReadAll(FileHandle& handle) {
  std::string bytes;
  char buffer[100003];
  for (uint32_t got; (got = handle.Read(buffer, sizeof(buffer))) > 0;) bytes.append(buffer, got);
  return bytes;
}
std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}
std::string ReadEntry(FileDriver& driver, const std::string& name) {
  std::shared_ptr<FileHandle> handle = driver.Open(name, FileMode::Read);
  return handle ? ReadAll(*handle) : "<cannot open>";
}
// Entry names of a listing, folders with a "/" behind.
Names Listed(FileDriver& driver, const std::string& folder, const std::string& wildcard, uint32_t filter) {
  Names names;
  for (const DirEntry& entry : driver.Dir(folder, wildcard, filter))
    names.push_back(entry.name + (entry.type == DirEntry::kDirectory ? "/" : ""));
  return names;
}
// Every file below `folder`, folders descended into as they come.
void Walk(FileDriver& driver, const std::string& folder, Names& files) {
  for (const std::string& name : Listed(driver, folder, "*", kDirAll)) {
    if (name.back() == '/') Walk(driver, folder + name, files);
    else files.push_back(folder + name);
  }
}

// Little-endian fields of the archive's headers.
uint32_t Get(const std::string& bytes, size_t at, int width) {
  uint32_t value = 0;
  for (int i = width - 1; i >= 0; --i) value = value << 8 | uint8_t(bytes.at(at + i));
  return value;
}
void Put32(std::string& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes.at(at + i) = char(value >> (8 * i));
}

// Where an entry's headers and data lie in an archive without comment.
struct Layout {
  size_t central, local, data;
  uint32_t compressed;
};
std::map<std::string, Layout> LayoutOf(const std::string& zip) {
  std::map<std::string, Layout> layout;
  size_t at = Get(zip, zip.size() - 22 + 16, 4);
  for (uint32_t n = Get(zip, zip.size() - 22 + 10, 2); n > 0; --n) {
    const std::string name = zip.substr(at + 46, Get(zip, at + 28, 2));
    const size_t local = Get(zip, at + 42, 4);
    const size_t data = local + 30 + Get(zip, local + 26, 2) + Get(zip, local + 28, 2);
    layout[name] = Layout{at, local, data, Get(zip, at + 20, 4)};
    at += 46 + name.size() + Get(zip, at + 30, 2) + Get(zip, at + 32, 2);
  }
  return layout;
}

// Python's zipfile writes every file of a folder: DEFAULT method, or NAME=METHOD for some.
const char kPack[] = R"(import os, sys, zipfile
out, root, default = sys.argv[1], sys.argv[2], sys.argv[3]
methods = dict(arg.split('=') for arg in sys.argv[4:])
with zipfile.ZipFile(out, 'w') as z:
    for folder, dirs, files in os.walk(root):
        dirs.sort()
        for name in sorted(files):
            entry = os.path.relpath(os.path.join(folder, name), root)
            z.write(os.path.join(folder, name), entry, getattr(zipfile, 'ZIP_' + methods.get(entry, default)))
)";

class ZipDriverTest : public tv_test::LogCaptureTest {
protected:
  void SetUp() override {
    LogCaptureTest::SetUp();
    tv::filesystem = &fs;
    temp.Put("pack.py", kPack);
  }
  void TearDown() override {
    fs.mounts.clear();
    tv::filesystem = nullptr;
    LogCaptureTest::TearDown();
  }

  // Files (and their folders) under src/ of the temp folder.
  void Files(const std::map<std::string, std::string>& files) {
    for (const auto& [name, content] : files) {
      std::filesystem::create_directories(std::filesystem::path(temp / ("src/" + name)).parent_path());
      temp.Put("src/" + name, content);
    }
  }
  // An archive of src/ by Info-ZIP, or by Python with a method ("STORED", "DEFLATED") for all
  // entries but those named in `exceptions` ("NAME=METHOD ..."); its path.
  std::string InfoZip(const std::string& name, const std::string& options = "") {
    Shell("cd " + Quote(temp / "src") + " && zip -q -r " + options + " ../" + name + " .");
    return temp / name;
  }
  std::string PythonZip(const std::string& name, const std::string& method, const std::string& exceptions = "") {
    Shell("python3 " + Quote(temp / "pack.py") + " " + Quote(temp / name) + " " + Quote(temp / "src") + " " + method +
          " " + exceptions);
    return temp / name;
  }

  // The archive's bytes as a memory file, so that AddressSanitizer sees any read outside the image.
  std::shared_ptr<FileHandle> InMemory(const std::string& bytes) {
    auto memory = std::make_shared<MemoryFileDriver>();
    memory->Open("archive.zip", FileMode::Write)->Write(bytes.data(), uint32_t(bytes.size()));
    return memory->Open("archive.zip", FileMode::Read);
  }
  // On "@zip/", in place of the driver mounted there before.
  std::shared_ptr<ZipFileDriver> Mount(std::shared_ptr<FileHandle> archive, const std::string& password = "") {
    fs.Unmount(std::string("@zip/"));
    auto driver = std::make_shared<ZipFileDriver>(std::move(archive), password);
    EXPECT_TRUE(fs.Mount(driver, "@zip/"));
    TakeLog();
    return driver;
  }
  std::shared_ptr<ZipFileDriver> Mount(const std::string& bytes, const std::string& password = "") {
    return Mount(InMemory(bytes), password);
  }

  Filesystem fs;
  tv_test::TempFolder temp;
};

// Nested folders, an empty file, and a few MiB both incompressible and compressible, from both
// tools, stored and deflated, through the disk and from memory.
TEST_F(ZipDriverTest, EveryEntryHoldsWhatUnzipExtracts) {
  Files({{"a.txt", "alpha\n"}, {"empty.txt", ""}, {"sub/b.txt", "bravo\n"}, {"sub/c.bin", std::string(300, '\0')}});
  Shell("cd " + Quote(temp / "src") + " && mkdir big && head -c 3145728 /dev/urandom > big/random.bin"
        " && seq 1 1000000 | head -c 3145728 > big/text.txt");
  const Names archives = {InfoZip("info.zip"), InfoZip("info0.zip", "-0"), PythonZip("stored.zip", "STORED"),
                          PythonZip("deflated.zip", "DEFLATED")};
  for (const std::string& archive : archives) {
    if (archive == archives[0]) Mount(std::make_shared<StdFileDriver>()->Open(archive, FileMode::Read));
    else Mount(ReadFile(archive));
    const Names names = UnzipNames(archive);
    EXPECT_EQ(names.size(), 6u) << archive;
    for (const std::string& name : names) {
      std::shared_ptr<FileHandle> handle = fs.Open("@zip/" + name, FileMode::Read);
      ASSERT_TRUE(handle) << archive << " " << name;
      const std::string expected = Unzip(archive, name);
      EXPECT_EQ(handle->GetSize(), expected.size()) << archive << " " << name;
      EXPECT_TRUE(ReadAll(*handle) == expected) << archive << " " << name;
      EXPECT_TRUE(handle->IsEOF());
    }
  }
}

// With folder entries ("sub/") and without: a walk finds exactly the archive's files, a folder
// lists its own entries only ("sub" leaves out "sub.txt" and "subway/"), and the top folders come
// once each, in the order the archive first names them.
TEST_F(ZipDriverTest, DirListsTheArchivesTree) {
  Files({{"z.txt", "z"}, {"sub/a.txt", "a"}, {"sub/b.dat", "b"}, {"sub/deep/c.txt", "c"}, {"top/t.txt", "t"},
         {"sub/deep/deeper/d.txt", "d"}, {"sub/x.txt", "x"}, {"sub.txt", "s"}, {"subway/b.txt", "b"}});
  std::filesystem::create_directories(temp / "src/emptydir");
  for (const std::string options : {"", "-D"}) {
    SCOPED_TRACE(options);
    const std::string archive = InfoZip("tree" + options + ".zip", options);
    auto driver = Mount(ReadFile(archive));
    Names walked, files = UnzipNames(archive), top;
    Walk(*driver, "", walked);
    std::sort(walked.begin(), walked.end());
    std::sort(files.begin(), files.end());
    EXPECT_EQ(walked, files);
    Names in_sub = Listed(*driver, "sub", "*", kDirAll), text_in_sub = Listed(*driver, "sub", "*.txt", kDirFiles);
    std::sort(in_sub.begin(), in_sub.end());
    std::sort(text_in_sub.begin(), text_in_sub.end());
    EXPECT_EQ(in_sub, (Names{"a.txt", "b.dat", "deep/", "x.txt"}));
    EXPECT_EQ(text_in_sub, (Names{"a.txt", "x.txt"}));
    for (const std::string& name : UnzipNames(archive, true)) {
      const std::string folder = name.substr(0, name.find('/') + 1);
      if (folder.size() > 1 && std::find(top.begin(), top.end(), folder) == top.end()) top.push_back(folder);
    }
    EXPECT_EQ(Listed(*driver, "", "*", kDirDirectories), top);
    EXPECT_EQ(top.size(), options.empty() ? 4u : 3u);  // an empty folder exists only as a folder entry
  }
}

// A stored entry is a window of the archive at its data offset, with a cursor of its own that
// reads of other entries leave alone. A deflated one is unpacked once, shared by the handles open
// on it, and its bytes go with the last of them.
TEST_F(ZipDriverTest, StoredEntriesAreWindowsDeflatedOnesAreUnpackedOnce) {
  const std::string numbers = Shell("seq 1 20000");
  Files({{"stored.txt", "0123456789 stored bytes"}, {"d/numbers.txt", numbers}});
  const std::string bytes = ReadFile(PythonZip("m.zip", "DEFLATED", "stored.txt=STORED"));
  auto driver = Mount(bytes);
  std::shared_ptr<FileHandle> stored = driver->Open("stored.txt", FileMode::Read);
  ASSERT_TRUE(stored);
  EXPECT_EQ(TakeLog(), (Lines{{"debug", "Mapping zip segment to 'stored.txt' @" +
                                            std::to_string(bytes.find("0123456789 stored bytes"))}}));
  EXPECT_EQ(stored->GetSize(), 23u);
  char head[4] = {};
  EXPECT_EQ(stored->Read(head, 4), 4u);
  EXPECT_EQ(stored->Tell(), 4u);

  const LogLine unpacking{"debug", "Mapping unzipped 'd/numbers.txt' to memory..."};
  std::shared_ptr<FileHandle> first = fs.Open("@zip/d/numbers.txt", FileMode::Read);
  std::shared_ptr<FileHandle> second = fs.Open("@zip/d/numbers.txt", FileMode::Read);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(TakeLog(), Lines{unpacking});
  EXPECT_EQ(driver->memory_driver->GetFileNames(), Names{"d/numbers.txt"});
  EXPECT_EQ(ReadAll(*stored), "456789 stored bytes");
  EXPECT_EQ(stored->Seek(11, SeekRef::Start), 0);
  EXPECT_EQ(ReadAll(*stored), "stored bytes");
  // Opened again, the entry is the same window, whose layout was checked the first time.
  const LogLine mapping{"debug", "Mapping zip segment to 'stored.txt' @" +
                                     std::to_string(bytes.find("0123456789 stored bytes"))};
  std::shared_ptr<FileHandle> again = driver->Open("stored.txt", FileMode::Read);
  ASSERT_TRUE(again);
  EXPECT_EQ(TakeLog(), Lines{mapping});
  EXPECT_EQ(ReadAll(*again), "0123456789 stored bytes");
  EXPECT_EQ(stored->Tell(), 23u);
  char skip[100];
  first->Read(skip, sizeof(skip));  // the handles have cursors of their own
  first.reset();
  EXPECT_TRUE(ReadAll(*second) == numbers);
  EXPECT_EQ(driver->unpacked.size(), 1u);
  second.reset();
  EXPECT_TRUE(driver->unpacked.empty());
  EXPECT_TRUE(driver->memory_driver->GetFileNames().empty());
  EXPECT_TRUE(ReadEntry(*driver, "d/numbers.txt") == numbers);
  EXPECT_EQ(TakeLog(), Lines{unpacking});
}

// Names are cleaned, then matched exactly; the driver is read-only. Without an archive, or after
// one that doesn't read, nothing opens and each open says why.
TEST_F(ZipDriverTest, OpensCleanedExactNamesOfItsArchiveOnly) {
  Files({{"a/b.txt", "b"}, {"a.txt", "a"}});
  const std::string zip = ReadFile(InfoZip("o.zip"));
  auto driver = Mount(zip);
  EXPECT_EQ(driver->GetCaps(), 11u);
  EXPECT_EQ(ReadEntry(*driver, "a//b.txt") + ReadEntry(*driver, "./a/../a.txt"), "ba");
  TakeLog();
  EXPECT_EQ(driver->Open("A.TXT", FileMode::Read), nullptr);
  EXPECT_EQ(driver->Open("a.txt", FileMode::Write), nullptr);
  EXPECT_FALSE(driver->Delete("a.txt") || driver->MkDir("new"));
  EXPECT_TRUE(TakeLog().empty());
  EXPECT_EQ(fs.Open("@zip/missing.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), (Lines{{"warn", "Failed to open '@zip/missing.txt' on driver " + to_string(driver.get()) +
                                           " (prefix match: @zip/)"}}));

  auto bare = std::make_shared<ZipFileDriver>(nullptr);
  const Lines no_support{{"error", "Cannot open file with no archive support"}};
  EXPECT_EQ(bare->Open("a.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), no_support);
  EXPECT_TRUE(bare->Dir("", "*", kDirAll).empty());
  EXPECT_FALSE(bare->SetArchive(InMemory("this is not a zip archive, though long enough to be one")));
  EXPECT_FALSE(bare->SetArchive(InMemory("")));
  EXPECT_EQ(bare->Open("a.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), no_support);
  EXPECT_TRUE(bare->SetArchive(InMemory(zip)));
  EXPECT_EQ(ReadEntry(*bare, "a.txt"), "a");
  EXPECT_TRUE(bare->SetArchive(nullptr));
  TakeLog();
  EXPECT_EQ(bare->Open("a.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), no_support);
}

// Handles open on the old archive, stored or unpacked, keep their bytes after SetArchive; the new
// archive serves its own entries, also one that has the name of an old entry still open. Names
// longer than any fixed buffer are indexed, listed and opened whole.
TEST_F(ZipDriverTest, ArchiveChangesAndLongNames) {
  Files({{"s.txt", "first stored"}, {"d.txt", std::string(300, '1')}});
  const std::string first = ReadFile(PythonZip("1.zip", "DEFLATED", "s.txt=STORED"));
  std::filesystem::remove_all(temp / "src");
  const std::string long_name = "d/" + std::string(600, 'n');
  Files({{"d.txt", std::string(300, '2')}});
  const std::string path = PythonZip("2.zip", "DEFLATED");
  Shell("python3 -c \"import sys, zipfile; z = zipfile.ZipFile(sys.argv[1], 'a'); z.writestr(sys.argv[2], 'long'); "
        "z.close()\" " + path + " " + long_name);
  const std::string second = ReadFile(path);

  auto driver = Mount(first);
  std::shared_ptr<FileHandle> stored = driver->Open("s.txt", FileMode::Read);
  std::shared_ptr<FileHandle> deflated = driver->Open("d.txt", FileMode::Read);
  ASSERT_TRUE(stored && deflated);
  ASSERT_TRUE(driver->SetArchive(InMemory(second)));
  EXPECT_EQ(ReadEntry(*driver, "d.txt"), std::string(300, '2'));
  EXPECT_EQ(ReadAll(*stored), "first stored");
  EXPECT_EQ(ReadAll(*deflated), std::string(300, '1'));
  EXPECT_EQ(driver->Open("s.txt", FileMode::Read), nullptr);
  EXPECT_EQ(ReadEntry(*driver, long_name), "long");
  EXPECT_EQ(driver->Open(long_name.substr(0, 512), FileMode::Read), nullptr);
  EXPECT_EQ(Listed(*driver, "d/", "*", kDirFiles), Names{long_name.substr(2)});
}

// The system's unzip layer is built without decryption, so the driver decrypts itself: encrypted
// entries, stored and deflated, give unzip's bytes with the password and open with no other. (A
// wrong password passes the one-byte header check once in 256 times; the CRC then catches it, but
// for an empty entry it can't, and the bytes are right all the same.)
TEST_F(ZipDriverTest, EncryptedEntriesNeedTheRightPassword) {
  Files({{"a.txt", "secret text\n"}, {"sub/numbers.txt", Shell("seq 1 5000")}, {"empty.txt", ""}});
  Shell("head -c 20000 /dev/urandom > " + Quote(temp / "src/sub/random.bin"));
  for (const std::string options : {"-P secret", "-0 -P secret"}) {
    const std::string archive = InfoZip(std::to_string(options.size()) + ".zip", options);
    for (const std::string password : {"secret", "", "wrong"}) {
      auto driver = Mount(ReadFile(archive), password);
      for (const std::string& name : UnzipNames(archive)) {
        SCOPED_TRACE(options + ", password '" + password + "', " + name);
        const std::string expected = Unzip(archive, name, "secret");
        std::shared_ptr<FileHandle> handle = driver->Open(name, FileMode::Read);
        const Lines log = TakeLog();
        ASSERT_EQ(log.size(), handle ? 1u : 2u);
        EXPECT_EQ(log[0], LogLine("debug", "Mapping unzipped '" + name + "' to memory..."));
        if (handle) {
          EXPECT_TRUE(password == "secret" || (password == "wrong" && expected.empty()));
          EXPECT_TRUE(ReadAll(*handle) == expected);
        } else if (!(password == "wrong" && log[1].second == "Failed to read file '" + name + "'")) {
          EXPECT_NE(password, "secret");
          EXPECT_EQ(log[1], LogLine("error", "Failed to open file '" + name + "'"));
        }
      }
      EXPECT_TRUE(driver->memory_driver->GetFileNames().empty());
    }
  }
}

// Damaged archives, edited in memory from a good one: never a crash, never a read outside the
// image, never a handle whose bytes differ from the entry's.
class ZipDamageTest : public ZipDriverTest {
protected:
  void SetUp() override {
    ZipDriverTest::SetUp();
    Files({{"stored.txt", "stored content, quite unlike the rest"},
           {"deflated.txt", Shell("seq 1 3000")},
           {"last.txt", Shell("seq 5000 6000")}});
    good = ReadFile(PythonZip("good.zip", "DEFLATED", "stored.txt=STORED"));
    layout = LayoutOf(good);
    ASSERT_EQ(layout.size(), 3u);
  }
  // Opens every entry: refused, or exactly the right bytes.
  void ExpectNoWrongBytes(ZipFileDriver& driver) {
    for (const char* name : {"deflated.txt", "last.txt", "stored.txt"}) {
      if (std::shared_ptr<FileHandle> handle = driver.Open(name, FileMode::Read)) {
        EXPECT_TRUE(ReadAll(*handle) == temp.Get(std::string("src/") + name)) << name;
      }
    }
  }

  std::string good;
  std::map<std::string, Layout> layout;
};

// Without its whole end record the archive is nothing; minizip reads a missing tail of it as
// zeros, which may still describe the rest.
TEST_F(ZipDamageTest, TruncatedArchiveIsRefused) {
  for (const size_t cut : {size_t(0), size_t(4), size_t(30), layout["deflated.txt"].data + 20,
                           layout["stored.txt"].central, good.size() - 22, good.size() - 10, good.size() - 1}) {
    auto driver = std::make_shared<ZipFileDriver>(nullptr);
    EXPECT_TRUE(!driver->SetArchive(InMemory(good.substr(0, cut))) || cut > good.size() - 22) << cut;
    ExpectNoWrongBytes(*driver);
  }
}

// Each edit makes one entry unreadable: it is refused, with its log lines where given, and
// nothing of it stays unpacked.
TEST_F(ZipDamageTest, DamagedEntryIsRefused) {
  const uint32_t packed = layout["deflated.txt"].compressed, size = uint32_t(temp.Get("src/deflated.txt").size());
  const uint32_t stored = layout["stored.txt"].compressed;
  const LogLine unpacking{"debug", "Mapping unzipped 'deflated.txt' to memory..."};
  const Lines read_failed = {unpacking, {"error", "Failed to read file 'deflated.txt'"}};
  const Lines no_room = {unpacking, {"error", "Failed to allocate decompression space for 'deflated.txt'"}};
  const Lines stored_failed = {{"error", "Failed to read file 'stored.txt'"}};
  // The entry's sizes in both its headers.
  auto sizes = [this](const char* name, uint32_t compressed, uint32_t uncompressed) {
    return [=, this](std::string& zip) {
      for (const size_t at : {layout.at(name).central + 20, layout.at(name).local + 18}) {
        Put32(zip, at, compressed);
        Put32(zip, at + 4, uncompressed);
      }
    };
  };
  auto set = [](size_t offset, char byte) { return [=](std::string& zip) { zip[offset] = byte; }; };
  const size_t flipped = layout["deflated.txt"].data + packed / 2;
  const struct {
    std::string what, entry;
    std::function<void(std::string&)> edit;
    Lines log;  // not compared when empty
  } cases[] = {
      {"broken central header", "deflated.txt", set(layout["deflated.txt"].central + 2, 'X'), {}},
      {"broken last central header", "last.txt", set(layout["last.txt"].central + 2, 'X'), {}},
      {"flipped data byte", "deflated.txt", set(flipped, char(good[flipped] ^ 0x10)), read_failed},
      {"size too large", "deflated.txt", sizes("deflated.txt", packed, size + 100), read_failed},
      {"size near 2 GiB", "deflated.txt", sizes("deflated.txt", packed, 0x7ffffff0u), no_room},
      {"size near 4 GiB", "deflated.txt", sizes("deflated.txt", packed, 0xfffffff0u), no_room},
      {"central size only", "deflated.txt",
       [&](std::string& zip) { Put32(zip, layout["deflated.txt"].central + 24, size + 100); }, {}},
      {"stored, size one more", "stored.txt", sizes("stored.txt", stored, stored + 1), stored_failed},
      {"stored, packed one more", "stored.txt", sizes("stored.txt", stored + 1, stored), stored_failed},
      {"stored, archive size", "stored.txt", sizes("stored.txt", uint32_t(good.size()), uint32_t(good.size())),
       stored_failed},
      {"stored, near 2 GiB", "stored.txt", sizes("stored.txt", 0x7ffffff0u, 0x7ffffff0u), stored_failed},
      // Sizes that agree but not with the layout: a stored entry ends where the next record begins.
      {"stored, 10 more", "stored.txt", sizes("stored.txt", stored + 10, stored + 10), {}},
      {"stored, 10 fewer", "stored.txt", sizes("stored.txt", stored - 10, stored - 10), {}},
  };
  for (const auto& damage : cases) {
    SCOPED_TRACE(damage.what);
    std::string zip = good;
    damage.edit(zip);
    auto driver = Mount(zip);
    // Refused at every opening: a window that failed its check is not remembered.
    for (int opening = 0; opening < 2; ++opening) {
      EXPECT_EQ(driver->Open(damage.entry, FileMode::Read), nullptr);
      if (!damage.log.empty()) {
        EXPECT_EQ(TakeLog(), damage.log);
      }
    }
    EXPECT_TRUE(driver->memory_driver->GetFileNames().empty() && driver->unpacked.empty());
    ExpectNoWrongBytes(*driver);
  }
}

// Four threads open and read every entry, stored and deflated, fifty times over.
TEST_F(ZipDriverTest, ThreadsReadEveryEntryAtOnce) {
  std::map<std::string, std::string> files;
  std::string exceptions;
  for (int i = 0; i < 8; ++i) {
    files["s" + std::to_string(i) + ".bin"] = std::string(4000 + i, char('a' + i));
    files["d/" + std::to_string(i) + ".txt"] = Shell("seq " + std::to_string(i) + " 3000");
    exceptions += " s" + std::to_string(i) + ".bin=STORED";
  }
  Files(files);
  auto driver = Mount(ReadFile(PythonZip("t.zip", "DEFLATED", exceptions)));
  tv::log_system = nullptr;  // thousands of lines say nothing here
  std::vector<int> wrong(4, 0);
  {
    std::vector<std::jthread> threads;
    for (int t = 0; t < 4; ++t)
      threads.emplace_back([&, t] {
        for (int round = 0; round < 50; ++round)
          for (const auto& [name, content] : files) wrong[t] += ReadEntry(*driver, name) != content;
      });
  }
  EXPECT_EQ(wrong, std::vector<int>(4, 0));
  EXPECT_TRUE(driver->unpacked.empty() && driver->memory_driver->GetFileNames().empty());
}

using CoreResourcesTest = ZipDriverTest;

// The built-in archive is a zip of the core resources, all deflated, that unzip and Python read
// without a bad CRC; it mounts once, on "@core/", and serves the source files' bytes.
TEST_F(CoreResourcesTest, BuiltInArchiveMountsOnceOnCore) {
  const std::span<const uint8_t> archive = GetCoreArchive();
  temp.Put("core.zip", std::string(archive.begin(), archive.end()));
  const std::string path = Quote(temp / "core.zip");
  EXPECT_EQ(Shell("unzip -Z1 " + path), "version.txt\nsha1.txt\nfonts/default.ttf\nmaterials/default.mat\n");
  EXPECT_EQ(Shell("python3 -c \"import sys, zipfile; print(*(i.compress_type for i in "
                  "zipfile.ZipFile(sys.argv[1]).infolist()))\" " + path),
            "8 8 8 8\n");
  Shell("unzip -tq " + path + " >/dev/null");

  tv::filesystem = nullptr;
  EXPECT_FALSE(MountCoreResources());
  tv::filesystem = &fs;
  EXPECT_TRUE(MountCoreResources());
  ASSERT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.mounts[0].prefix, "@core/");
  const std::string driver = to_string(fs.mounts[0].driver.get());
  EXPECT_EQ(TakeLog(), (Lines{{"", "Mount driver " + driver + " on prefix @core/ (relative to '')"}}));
  EXPECT_FALSE(MountCoreResources());
  EXPECT_EQ(TakeLog(), (Lines{{"debug", "Not mounting internal core resources since '@core/' is already mounted"}}));
  EXPECT_EQ(fs.mounts.size(), 1u);

  const std::string source = std::string(TV_SOURCE_DIR) + "/core_resources/";
  EXPECT_EQ(fs.FileToString("@core/materials/default.mat"),
            "<Material Shader=\"@core/surfaces/diffuse_specular.isl\"/>\n");
  EXPECT_EQ(fs.FileToString("@core/version.txt"), ReadFile(source + "version.txt"));
  EXPECT_EQ(fs.FileToString("@core/version.txt").size(), 5u);
  const std::string sha1 = fs.FileToString("@core/sha1.txt");
  EXPECT_TRUE(sha1.size() == 40 && sha1.find_first_not_of("0123456789abcdef") == std::string::npos) << sha1;
  const std::string font = ReadFile(source + "fonts/default.ttf");
  EXPECT_TRUE(!font.empty() && fs.FileToString("@core/fonts/default.ttf") == font);
  EXPECT_EQ(Listed(*fs.mounts[0].driver, "", "*", kDirAll), (Names{"version.txt", "sha1.txt", "fonts/", "materials/"}));
}

// A host folder mounted on "@core/" takes the place of the built-in data.
TEST_F(CoreResourcesTest, HostFolderOnCoreTakesThePlaceOfTheBuiltInData) {
  std::filesystem::create_directories(temp / "materials");
  temp.Put("materials/default.mat", "<Material/>");
  ASSERT_TRUE(fs.Mount(std::make_shared<StdFileDriver>(temp.path), "@core/"));
  EXPECT_FALSE(MountCoreResources());
  EXPECT_EQ(fs.mounts.size(), 1u);
  EXPECT_EQ(fs.FileToString("@core/materials/default.mat"), "<Material/>");
  EXPECT_FALSE(fs.Exists("@core/version.txt"));
}

} // namespace
