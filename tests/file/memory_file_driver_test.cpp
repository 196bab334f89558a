#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "file/memory_file_driver.h"

using namespace tv;

namespace {

class MemoryFileDriverTest : public ::testing::Test {
protected:
  void Put(const std::string& name, const std::string& content) {
    auto handle = memory->Open(name, FileMode::Write);
    ASSERT_NE(handle, nullptr);
    ASSERT_EQ(handle->Write(content.data(), uint32_t(content.size())), content.size());
  }
  std::string Get(const std::string& name) {
    auto handle = memory->Open(name, FileMode::Read);
    if (!handle) return "<missing>";
    std::string text(handle->GetSize(), '\0');
    text.resize(handle->Read(text.data(), uint32_t(text.size())));
    return text;
  }

  std::shared_ptr<MemoryFileDriver> memory = std::make_shared<MemoryFileDriver>();
};

} // namespace

TEST_F(MemoryFileDriverTest, ReportsCapsAndHasNoFolders) {
  EXPECT_EQ(memory->GetCaps(), 15u);
  EXPECT_FALSE(memory->MkDir("folder"));
}

TEST_F(MemoryFileDriverTest, ReadOfMissingNameIsEmptyAndWriteCreates) {
  EXPECT_EQ(memory->Open("a", FileMode::Read), nullptr);
  EXPECT_TRUE(memory->GetFileNames().empty());
  Put("a", "hello");
  EXPECT_EQ(memory->GetFileNames(), std::vector<std::string>{"a"});
  EXPECT_EQ(Get("a"), "hello");
}

TEST_F(MemoryFileDriverTest, RewriteOverwritesInPlaceWithoutTruncating) {
  Put("a", "abcde");
  Put("a", "XY");
  EXPECT_EQ(Get("a"), "XYcde");
  EXPECT_EQ(memory->GetFileNames().size(), 1u);
}

TEST_F(MemoryFileDriverTest, ReadAndWriteOnlyInTheirOwnMode) {
  Put("a", "abc");
  char byte = 0;
  auto writer = memory->Open("a", FileMode::Write);
  EXPECT_EQ(writer->Read(&byte, 1), 0u);
  auto reader = memory->Open("a", FileMode::Read);
  EXPECT_EQ(reader->Write("Z", 1), 0u);
  EXPECT_EQ(reader->Tell(), 0u);
  EXPECT_EQ(Get("a"), "abc");
}

TEST_F(MemoryFileDriverTest, SeekClampsToContent) {
  Put("a", "0123456789");
  auto handle = memory->Open("a", FileMode::Read);
  EXPECT_EQ(handle->Seek(50, SeekRef::Start), 0);
  EXPECT_EQ(handle->Tell(), 10u);
  EXPECT_TRUE(handle->IsEOF());
  EXPECT_EQ(handle->Seek(3, SeekRef::End), 0);
  EXPECT_EQ(handle->Tell(), 7u);
  EXPECT_FALSE(handle->IsEOF());
  EXPECT_EQ(handle->Seek(-20, SeekRef::Current), 0);
  EXPECT_EQ(handle->Tell(), 0u);
  EXPECT_EQ(handle->Seek(-1, SeekRef::Start), 0);
  EXPECT_EQ(handle->Tell(), 0u);
  EXPECT_EQ(handle->Seek(2, SeekRef::Start), 0);
  char bytes[3] = {};
  EXPECT_EQ(handle->Read(bytes, 3), 3u);
  EXPECT_EQ(std::string(bytes, 3), "234");
}

TEST_F(MemoryFileDriverTest, WriteAfterSeekExtendsSize) {
  Put("a", "abc");
  auto handle = memory->Open("a", FileMode::Write);
  EXPECT_EQ(handle->Seek(0, SeekRef::End), 0);
  EXPECT_EQ(handle->Write("de", 2), 2u);
  EXPECT_EQ(handle->GetSize(), 5u);
  EXPECT_EQ(Get("a"), "abcde");
}

TEST_F(MemoryFileDriverTest, CloseKeepsContentUntilDelete) {
  Put("a", "kept");
  EXPECT_EQ(Get("a"), "kept");
  EXPECT_EQ(Get("a"), "kept");
  EXPECT_TRUE(memory->Delete("a"));
  EXPECT_EQ(memory->Open("a", FileMode::Read), nullptr);
  EXPECT_TRUE(memory->Delete("never"));
}

TEST_F(MemoryFileDriverTest, DeleteRemovesEveryFileOfThatName) {
  Put("first", "1");
  for (int i = 0; i < 2; ++i) {
    auto twin = std::make_shared<MemoryFile>();
    twin->name = "twin";
    memory->files.push_back(twin);
  }
  Put("last", "2");
  EXPECT_TRUE(memory->Delete("twin"));
  EXPECT_EQ(memory->GetFileNames(), (std::vector<std::string>{"first", "last"}));
}

TEST_F(MemoryFileDriverTest, NamesListedInCreationOrder) {
  for (const char* name : {"z", "a", "m"}) Put(name, name);
  Put("a", "again");
  EXPECT_EQ(memory->GetFileNames(), (std::vector<std::string>{"z", "a", "m"}));
}
