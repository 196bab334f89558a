// The zip driver on archives that Info-ZIP zip and Python's zipfile write at test time, checked
// against what unzip extracts from the same archives.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "file/path.h"
#include "file/std_file_driver.h"
#include "file/zip_file_driver.h"
#include "foundation/string_utils.h"
#include "foundation/format.h"
#include "log_capture.h"
#include "temp_folder.h"

using namespace tv;
using tv_test::LogLine;
using tv_test::TakeLog;

namespace {

// Standard output of a shell command; the test fails if the command does.
std::string Shell(const std::string& command) {
  std::string out;
  FILE* pipe = popen(command.c_str(), "r");
  char buffer[1 << 16];
  for (size_t got; pipe != nullptr && (got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;)
    out.append(buffer, got);
  EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command;
  return out;
}

std::string Quote(const std::string& text) { return "'" + text + "'"; }

std::vector<std::string> Lines(const std::string& text) { return split(text, "\n"); }

// The archive's file names in archive order, as unzip lists them, folder entries left out.
std::vector<std::string> UnzipFiles(const std::string& archive) {
  std::vector<std::string> names = Lines(Shell("unzip -Z1 " + Quote(archive)));
  std::erase_if(names, [](const std::string& name) { return name.back() == '/'; });
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

// Little-endian fields of the archive's headers.
uint32_t Get(const std::string& bytes, size_t at, int width) {
  uint32_t value = 0;
  for (int i = width - 1; i >= 0; --i) value = value << 8 | uint8_t(bytes.at(at + i));
  return value;
}
void Put32(std::string& bytes, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes.at(at + i) = char(value >> (8 * i));
}

// Where an entry's fields lie in an archive without comment, from its central directory header.
struct Layout {
  size_t central;  // the central directory header
  size_t local;    // the local header
  size_t data;     // the first byte of the entry's data
  uint32_t compressed;
};

std::map<std::string, Layout> LayoutOf(const std::string& zip) {
  std::map<std::string, Layout> layout;
  const size_t end = zip.size() - 22;
  size_t at = Get(zip, end + 16, 4);
  for (uint32_t n = Get(zip, end + 10, 2); n > 0; --n) {
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
            path = os.path.join(folder, name)
            entry = os.path.relpath(path, root)
            z.write(path, entry, getattr(zipfile, 'ZIP_' + methods.get(entry, default)))
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
  std::shared_ptr<ZipFileDriver> MountBytes(const std::string& bytes, const std::string& password = "") {
    return Mount(InMemory(bytes), password);
  }

  Filesystem fs;
  tv_test::TempFolder temp;
};

// Nested folders, an empty file, and a few MiB both incompressible and compressible.
TEST_F(ZipDriverTest, EveryEntryHoldsWhatUnzipExtracts) {
  Files({{"a.txt", "alpha\n"}, {"empty.txt", ""}, {"sub/b.txt", "bravo\n"},
         {"sub/deep/c.bin", std::string(300, '\0')}});
  Shell("cd " + Quote(temp / "src") + " && mkdir big && head -c 3145728 /dev/urandom > big/random.bin"
        " && seq 1 1000000 | head -c 3145728 > big/text.txt");
  const std::vector<std::string> archives = {InfoZip("info.zip"), InfoZip("info0.zip", "-0"),
                                             PythonZip("stored.zip", "STORED"), PythonZip("deflated.zip", "DEFLATED")};
  for (const std::string& archive : archives) {
    // The first through the disk, the others from memory.
    if (archive == archives[0])
      Mount(std::make_shared<StdFileDriver>()->Open(archive, FileMode::Read));
    else
      MountBytes(ReadFile(archive));
    const std::vector<std::string> names = UnzipFiles(archive);
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

// Every file below `folder`, folders descended into as they come.
void Walk(FileDriver& driver, const std::string& folder, std::vector<std::string>& files) {
  for (const DirEntry& entry : driver.Dir(folder, "*", kDirAll)) {
    EXPECT_EQ(entry.name.find('/'), std::string::npos) << entry.name;
    if (entry.type == DirEntry::kDirectory) {
      Walk(driver, folder + entry.name + "/", files);
      continue;
    }
    EXPECT_EQ(entry.type, DirEntry::kFile);
    files.push_back(folder + entry.name);
  }
}

class ZipDirTest : public ZipDriverTest {};

TEST_F(ZipDirTest, WalkFindsExactlyTheArchivesFiles) {
  Files({{"z.txt", "z"}, {"sub/a.txt", "a"}, {"sub/b.dat", "b"}, {"sub/deep/c.txt", "c"}, {"top/t.txt", "t"},
         {"sub/deep/deeper/d.txt", "d"}, {"sub/x.txt", "x"}});
  std::filesystem::create_directories(temp / "src/emptydir");
  // With folder entries ("sub/") and without.
  for (const std::string options : {"", "-D"}) {
    const std::string archive = InfoZip("tree" + std::string(options) + ".zip", options);
    std::vector<std::string> expected = UnzipFiles(archive);
    auto driver = MountBytes(ReadFile(archive));
    std::vector<std::string> walked;
    Walk(*driver, "", walked);
    std::sort(walked.begin(), walked.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(walked, expected) << options;

    std::vector<std::string> text_files;
    for (const DirEntry& entry : driver->Dir("sub", "*.txt", kDirFiles)) {
      EXPECT_EQ(entry.type, DirEntry::kFile);
      text_files.push_back(entry.name);
    }
    std::sort(text_files.begin(), text_files.end());
    EXPECT_EQ(text_files, (std::vector<std::string>{"a.txt", "x.txt"})) << options;

    // Top folders once each, in the order the archive first names them.
    std::vector<std::string> top;
    for (const std::string& name : Lines(Shell("unzip -Z1 " + Quote(archive)))) {
      const size_t slash = name.find('/');
      if (slash != std::string::npos && std::find(top.begin(), top.end(), name.substr(0, slash)) == top.end())
        top.push_back(name.substr(0, slash));
    }
    std::vector<std::string> folders;
    for (const DirEntry& entry : driver->Dir("", "*", kDirDirectories)) {
      EXPECT_EQ(entry.type, DirEntry::kDirectory);
      folders.push_back(entry.name);
    }
    EXPECT_EQ(folders, top) << options;
    EXPECT_EQ(folders.size(), options[0] ? 2u : 3u);  // an empty folder exists only as a folder entry
  }
}

// A folder is listed as a folder, not as a text prefix: "sub" leaves out "sub.txt" and "subway/".
TEST_F(ZipDirTest, FolderListingLeavesOutNeighboursSharingItsName) {
  Files({{"sub/a.txt", "a"}, {"sub.txt", "s"}, {"subway/b.txt", "b"}});
  auto driver = MountBytes(ReadFile(InfoZip("n.zip", "-D")));
  std::vector<std::string> names;
  for (const DirEntry& entry : driver->Dir("sub", "*", kDirAll)) names.push_back(entry.name);
  EXPECT_EQ(names, std::vector<std::string>{"a.txt"});
}

// A stored entry is served straight from the archive's bytes at its data offset.
TEST_F(ZipDriverTest, StoredEntryIsAWindowOfTheArchive) {
  Files({{"stored.txt", "0123456789 stored bytes"}, {"deflated.txt", std::string(500, 'd')}});
  const std::string bytes = ReadFile(PythonZip("m.zip", "DEFLATED", "stored.txt=STORED"));
  const size_t position = bytes.find("0123456789 stored bytes");
  ASSERT_NE(position, std::string::npos);
  auto driver = MountBytes(bytes);

  std::shared_ptr<FileHandle> handle = driver->Open("stored.txt", FileMode::Read);
  ASSERT_TRUE(handle);
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{
                           {"debug", "Mapping zip segment to 'stored.txt' @" + std::to_string(position)}}));
  EXPECT_EQ(handle->Tell(), 0u);
  EXPECT_EQ(handle->GetSize(), 23u);
  char head[4] = {};
  EXPECT_EQ(handle->Read(head, 4), 4u);
  EXPECT_EQ(std::string(head, 4), "0123");
  EXPECT_EQ(handle->Tell(), 4u);
  // Another entry read from the same archive between two reads leaves this cursor alone.
  EXPECT_EQ(ReadEntry(*driver, "deflated.txt"), std::string(500, 'd'));
  EXPECT_EQ(ReadAll(*handle), "456789 stored bytes");
  EXPECT_EQ(handle->Seek(11, SeekRef::Start), 0);
  EXPECT_EQ(ReadAll(*handle), "stored bytes");
  for (const LogLine& line : TakeLog()) EXPECT_NE(line.second, "Mapping unzipped 'stored.txt' to memory...");
}

// The unpacked bytes of an entry are shared by the handles open on it and go with the last one.
TEST_F(ZipDriverTest, DeflatedEntryIsUnpackedOnceWhileOpen) {
  const std::string text = Shell("seq 1 20000");
  Files({{"d/numbers.txt", text}});
  auto driver = MountBytes(ReadFile(PythonZip("d.zip", "DEFLATED")));
  const LogLine unpacking{"debug", "Mapping unzipped 'd/numbers.txt' to memory..."};

  std::shared_ptr<FileHandle> first = fs.Open("@zip/d/numbers.txt", FileMode::Read);
  std::shared_ptr<FileHandle> second = fs.Open("@zip/d/numbers.txt", FileMode::Read);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(TakeLog(), std::vector<LogLine>{unpacking});
  EXPECT_EQ(driver->memory_driver->GetFileNames(), std::vector<std::string>{"d/numbers.txt"});
  char skip[100];
  first->Read(skip, sizeof(skip));  // the handles have cursors of their own
  first.reset();
  EXPECT_TRUE(ReadAll(*second) == text);
  EXPECT_EQ(driver->unpacked.size(), 1u);
  second.reset();
  EXPECT_TRUE(driver->unpacked.empty());
  EXPECT_TRUE(driver->memory_driver->GetFileNames().empty());

  std::shared_ptr<FileHandle> third = fs.Open("@zip/d/numbers.txt", FileMode::Read);
  ASSERT_TRUE(third);
  EXPECT_EQ(TakeLog(), std::vector<LogLine>{unpacking});
  EXPECT_TRUE(ReadAll(*third) == text);
}

TEST_F(ZipDriverTest, OpenReadsCleanedExactNamesOnly) {
  Files({{"a/b.txt", "b"}, {"a.txt", "a"}});
  auto driver = MountBytes(ReadFile(InfoZip("o.zip")));
  EXPECT_EQ(driver->GetCaps(), 11u);
  EXPECT_EQ(ReadEntry(*driver, "a//b.txt"), "b");
  EXPECT_EQ(ReadEntry(*driver, "./a/../a.txt"), "a");
  TakeLog();

  EXPECT_EQ(driver->Open("A.TXT", FileMode::Read), nullptr);
  EXPECT_EQ(driver->Open("a.txt", FileMode::Write), nullptr);
  EXPECT_FALSE(driver->Delete("a.txt"));
  EXPECT_FALSE(driver->MkDir("new"));
  EXPECT_TRUE(TakeLog().empty());
  EXPECT_EQ(ReadEntry(*driver, "a.txt"), "a");
  TakeLog();

  EXPECT_EQ(fs.Open("@zip/missing.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"warn", "Failed to open '@zip/missing.txt' on driver " +
                                                          to_string(driver.get()) + " (prefix match: @zip/)"}}));
}

TEST_F(ZipDriverTest, DriverWithoutArchiveOpensNothing) {
  Files({{"a.txt", "a"}});
  const std::string zip = ReadFile(InfoZip("a.zip"));
  auto driver = std::make_shared<ZipFileDriver>(nullptr);
  const std::vector<LogLine> no_support{{"error", "Cannot open file with no archive support"}};
  EXPECT_EQ(driver->Open("a.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), no_support);
  EXPECT_TRUE(driver->Dir("", "*", kDirAll).empty());

  EXPECT_FALSE(driver->SetArchive(InMemory("this is not a zip archive, though long enough to be one")));
  EXPECT_FALSE(driver->SetArchive(InMemory("")));
  EXPECT_EQ(driver->Open("a.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), no_support);

  EXPECT_TRUE(driver->SetArchive(InMemory(zip)));
  EXPECT_EQ(ReadEntry(*driver, "a.txt"), "a");
  TakeLog();
  EXPECT_TRUE(driver->SetArchive(nullptr));
  EXPECT_EQ(driver->Open("a.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), no_support);
}

TEST_F(ZipDriverTest, OpenHandlesOutliveAnArchiveChange) {
  Files({{"s.txt", "first stored"}, {"d.txt", std::string(300, '1')}});
  const std::string first = ReadFile(PythonZip("1.zip", "DEFLATED", "s.txt=STORED"));
  std::filesystem::remove_all(temp / "src");
  Files({{"new.txt", std::string(300, '2')}});
  const std::string second = ReadFile(PythonZip("2.zip", "DEFLATED"));

  auto driver = MountBytes(first);
  std::shared_ptr<FileHandle> stored = driver->Open("s.txt", FileMode::Read);
  std::shared_ptr<FileHandle> deflated = driver->Open("d.txt", FileMode::Read);
  ASSERT_TRUE(stored && deflated);
  ASSERT_TRUE(driver->SetArchive(InMemory(second)));
  EXPECT_EQ(ReadAll(*stored), "first stored");
  EXPECT_EQ(ReadAll(*deflated), std::string(300, '1'));
  EXPECT_EQ(ReadEntry(*driver, "new.txt"), std::string(300, '2'));
  EXPECT_EQ(driver->Open("s.txt", FileMode::Read), nullptr);
}

// Unpacked bytes are kept by entry name: while a handle on the old archive's entry is open, the
// same name on a new archive must still come from the new archive.
TEST_F(ZipDriverTest, NewArchiveNeverServesTheOldOnesBytes) {
  Files({{"d.txt", std::string(300, '1')}});
  const std::string first = ReadFile(PythonZip("1.zip", "DEFLATED"));
  Files({{"d.txt", std::string(300, '2')}});
  const std::string second = ReadFile(PythonZip("2.zip", "DEFLATED"));

  auto driver = MountBytes(first);
  std::shared_ptr<FileHandle> old = driver->Open("d.txt", FileMode::Read);
  ASSERT_TRUE(old);
  ASSERT_TRUE(driver->SetArchive(InMemory(second)));
  EXPECT_EQ(ReadEntry(*driver, "d.txt"), std::string(300, '2'));
  EXPECT_EQ(ReadAll(*old), std::string(300, '1'));
}

// Names longer than any fixed buffer are indexed and listed whole, and open by their whole name.
TEST_F(ZipDriverTest, LongEntryNamesAreKeptWhole) {
  const std::string name = "d/" + std::string(600, 'n');
  Shell("python3 -c \"import sys, zipfile; z = zipfile.ZipFile(sys.argv[1], 'w'); z.writestr(sys.argv[2], 'long')"
        "; z.close()\" " + Quote(temp / "long.zip") + " " + name);
  auto driver = MountBytes(ReadFile(temp / "long.zip"));
  EXPECT_EQ(ReadEntry(*driver, name), "long");
  EXPECT_EQ(driver->Open(name.substr(0, 512), FileMode::Read), nullptr);
  const std::vector<DirEntry> listed = driver->Dir("d/", "*", kDirFiles);
  ASSERT_EQ(listed.size(), 1u);
  EXPECT_EQ(listed[0].name, name.substr(2));
}

class ZipPasswordTest : public ZipDriverTest {
protected:
  void SetUp() override {
    ZipDriverTest::SetUp();
    Files({{"a.txt", "secret text\n"}, {"sub/numbers.txt", Shell("seq 1 5000")}, {"empty.txt", ""}});
    Shell("head -c 20000 /dev/urandom > " + Quote(temp / "src/sub/random.bin"));
  }
};

// The system's unzip layer is built without decryption, so the driver decrypts itself: encrypted
// entries, stored and deflated, open with the password and give unzip's bytes.
TEST_F(ZipPasswordTest, EncryptedEntriesOpenWithThePassword) {
  for (const std::string options : {"-P secret", "-0 -P secret"}) {
    const std::string archive = InfoZip(std::to_string(options.size()) + ".zip", options);
    auto driver = MountBytes(ReadFile(archive), "secret");
    for (const std::string& name : UnzipFiles(archive))
      EXPECT_TRUE(ReadEntry(*driver, name) == Unzip(archive, name, "secret")) << options << " " << name;
    EXPECT_EQ(TakeLog().size(), 4u);  // one unpacking line per entry, no error
  }
}

TEST_F(ZipPasswordTest, EncryptedEntriesNeedTheRightPassword) {
  for (const std::string options : {"-P secret", "-0 -P secret"}) {
    const std::string archive = InfoZip(std::to_string(options.size()) + ".zip", options);
    const std::string bytes = ReadFile(archive);
    for (const std::string password : {"", "wrong"}) {
      auto driver = MountBytes(bytes, password);
      for (const std::string& name : UnzipFiles(archive)) {
        EXPECT_EQ(driver->Open(name, FileMode::Read), nullptr) << options << " " << name;
        const std::vector<LogLine> log = TakeLog();
        ASSERT_EQ(log.size(), 2u);
        EXPECT_EQ(log[0], LogLine("debug", "Mapping unzipped '" + name + "' to memory..."));
        // A wrong password passes the one-byte header check once in 256 times; the CRC catches it.
        const bool read_failed = !password.empty() && log[1].second == "Failed to read file '" + name + "'";
        if (!read_failed) {
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
  void ExpectNoWrongBytes(ZipFileDriver& driver, const std::string& what) {
    for (const char* name : {"deflated.txt", "last.txt", "stored.txt"}) {
      if (std::shared_ptr<FileHandle> handle = driver.Open(name, FileMode::Read)) {
        EXPECT_TRUE(ReadAll(*handle) == temp.Get(std::string("src/") + name)) << what << " " << name;
      }
    }
  }

  // The entry's sizes in both its headers.
  void SetSizes(std::string& zip, const std::string& name, uint32_t compressed, uint32_t size) {
    const Layout& entry = layout.at(name);
    Put32(zip, entry.central + 20, compressed);
    Put32(zip, entry.central + 24, size);
    Put32(zip, entry.local + 18, compressed);
    Put32(zip, entry.local + 22, size);
  }

  std::string good;
  std::map<std::string, Layout> layout;
};

TEST_F(ZipDamageTest, TruncatedArchiveIsRefused) {
  // Without its end record the archive is nothing.
  for (const size_t cut : {size_t(0), size_t(4), size_t(30), layout["deflated.txt"].data + 20,
                           layout["stored.txt"].central, good.size() - 22}) {
    auto driver = std::make_shared<ZipFileDriver>(nullptr);
    EXPECT_FALSE(driver->SetArchive(InMemory(good.substr(0, cut)))) << cut;
    ExpectNoWrongBytes(*driver, "cut at " + std::to_string(cut));
  }
  // minizip reads the missing tail of the end record as zeros, which may still describe the rest.
  for (const size_t cut : {good.size() - 10, good.size() - 1}) {
    auto driver = std::make_shared<ZipFileDriver>(InMemory(good.substr(0, cut)));
    ExpectNoWrongBytes(*driver, "cut at " + std::to_string(cut));
  }
}

TEST_F(ZipDamageTest, BrokenCentralDirectoryHidesTheEntries) {
  for (const std::string name : {"deflated.txt", "last.txt"}) {
    std::string zip = good;
    zip[layout[name].central + 2] = 'X';
    auto driver = std::make_shared<ZipFileDriver>(InMemory(zip));
    ExpectNoWrongBytes(*driver, name);
    EXPECT_EQ(driver->Open(name, FileMode::Read), nullptr);
  }
}

TEST_F(ZipDamageTest, FlippedByteInDeflatedDataFailsTheCrc) {
  std::string zip = good;
  zip[layout["deflated.txt"].data + layout["deflated.txt"].compressed / 2] ^= 0x10;
  auto driver = MountBytes(zip);
  EXPECT_EQ(driver->Open("deflated.txt", FileMode::Read), nullptr);
  EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"debug", "Mapping unzipped 'deflated.txt' to memory..."},
                                             {"error", "Failed to read file 'deflated.txt'"}}));
  EXPECT_TRUE(driver->memory_driver->GetFileNames().empty());
  EXPECT_TRUE(driver->unpacked.empty());
  ExpectNoWrongBytes(*driver, "flipped");
}

TEST_F(ZipDamageTest, UncompressedSizeThatLiesIsRefused) {
  const uint32_t compressed = layout["deflated.txt"].compressed;
  const uint32_t size = uint32_t(temp.Get("src/deflated.txt").size());
  const std::string unpacking = "Mapping unzipped 'deflated.txt' to memory...";
  struct Case {
    uint32_t size;
    std::string error;
  };
  for (const Case& lie : {Case{size + 100, "Failed to read file 'deflated.txt'"},
                          Case{0x7ffffff0u, "Failed to allocate decompression space for 'deflated.txt'"},
                          Case{0xfffffff0u, "Failed to allocate decompression space for 'deflated.txt'"}}) {
    std::string zip = good;
    SetSizes(zip, "deflated.txt", compressed, lie.size);
    auto driver = MountBytes(zip);
    EXPECT_EQ(driver->Open("deflated.txt", FileMode::Read), nullptr);
    EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"debug", unpacking}, {"error", lie.error}})) << lie.size;
    ExpectNoWrongBytes(*driver, std::to_string(lie.size));
  }
  // The central directory alone lying disagrees with the local header.
  std::string zip = good;
  Put32(zip, layout["deflated.txt"].central + 24, size + 100);
  auto driver = MountBytes(zip);
  EXPECT_EQ(driver->Open("deflated.txt", FileMode::Read), nullptr);
  ExpectNoWrongBytes(*driver, "central only");
}

TEST_F(ZipDamageTest, StoredEntryWithImpossibleSizesIsRefused) {
  const uint32_t size = layout["stored.txt"].compressed;
  for (const auto& [compressed, uncompressed] : {std::pair<uint32_t, uint32_t>{size, size + 1},
                                                 {size + 1, size},
                                                 {uint32_t(good.size()), uint32_t(good.size())},
                                                 {0x7ffffff0u, 0x7ffffff0u}}) {
    std::string zip = good;
    SetSizes(zip, "stored.txt", compressed, uncompressed);
    auto driver = MountBytes(zip);
    EXPECT_EQ(driver->Open("stored.txt", FileMode::Read), nullptr) << compressed << " " << uncompressed;
    EXPECT_EQ(TakeLog(), (std::vector<LogLine>{{"error", "Failed to read file 'stored.txt'"}}));
    ExpectNoWrongBytes(*driver, std::to_string(compressed));
  }
}

// Sizes that agree with each other but not with the layout: the window would show the next
// header's bytes, or miss the entry's tail. A stored entry must end where the next record begins.
TEST_F(ZipDamageTest, StoredEntryWithSizesThatLieIsRefused) {
  const uint32_t size = layout["stored.txt"].compressed;
  for (const uint32_t lie : {size + 10, size - 10}) {
    std::string zip = good;
    SetSizes(zip, "stored.txt", lie, lie);
    auto driver = MountBytes(zip);
    EXPECT_EQ(driver->Open("stored.txt", FileMode::Read), nullptr) << lie;
    ExpectNoWrongBytes(*driver, std::to_string(lie));
  }
}

TEST_F(ZipDriverTest, ThreadsReadEveryEntryAtOnce) {
  std::map<std::string, std::string> files;
  for (int i = 0; i < 8; ++i) {
    files["s" + std::to_string(i) + ".bin"] = std::string(4000 + i, char('a' + i));
    files["d/" + std::to_string(i) + ".txt"] = Shell("seq " + std::to_string(i) + " 3000");
  }
  Files(files);
  std::string exceptions;
  for (int i = 0; i < 8; ++i) exceptions += " s" + std::to_string(i) + ".bin=STORED";
  auto driver = MountBytes(ReadFile(PythonZip("t.zip", "DEFLATED", exceptions)));
  tv::log_system = nullptr;  // thousands of lines say nothing here

  std::vector<int> wrong(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 50; ++round) {
        for (const auto& [name, content] : files) {
          std::shared_ptr<FileHandle> handle = driver->Open(name, FileMode::Read);
          if (!handle || ReadAll(*handle) != content) ++wrong[t];
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(4, 0));
  EXPECT_TRUE(driver->unpacked.empty());
  EXPECT_TRUE(driver->memory_driver->GetFileNames().empty());
}

} // namespace
