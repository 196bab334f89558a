#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "file/file_handle_segment.h"
#include "file/memory_file_driver.h"

using namespace tv;

namespace {

class HandleTest : public ::testing::Test {
protected:
  std::shared_ptr<FileHandle> Make(const std::string& content) {
    memory->Open("f", FileMode::Write)->Write(content.data(), uint32_t(content.size()));
    return memory->Open("f", FileMode::Read);
  }
  static std::string Read(FileHandle& handle, uint32_t count) {
    std::string text(count, '\0');
    text.resize(handle.Read(text.data(), count));
    return text;
  }

  std::shared_ptr<MemoryFileDriver> memory = std::make_shared<MemoryFileDriver>();
};

} // namespace

TEST_F(HandleTest, RewindSeeksToStart) {
  auto handle = Make("abcdef");
  EXPECT_EQ(Read(*handle, 4), "abcd");
  handle->Rewind();
  EXPECT_EQ(handle->Tell(), 0u);
  EXPECT_EQ(Read(*handle, 2), "ab");
}

TEST_F(HandleTest, SegmentReadsWithinWindowAndRestoresSource) {
  auto source = Make("0123456789ABCDEF");
  source->Seek(3, SeekRef::Start);
  FileHandleSegment segment(nullptr, source.get(), 4, 6);
  EXPECT_EQ(segment.GetSize(), 6u);
  EXPECT_EQ(Read(segment, 2), "45");
  EXPECT_EQ(segment.Tell(), 2u);
  EXPECT_EQ(Read(segment, 100), "6789");
  EXPECT_TRUE(segment.IsEOF());
  EXPECT_EQ(Read(segment, 1), "");
  EXPECT_EQ(source->Tell(), 3u);
  EXPECT_EQ(Read(*source, 1), "3");
  segment.Rewind();
  EXPECT_EQ(Read(segment, 1), "4");
}

TEST_F(HandleTest, SegmentSeek) {
  auto source = Make("0123456789");
  FileHandleSegment segment(nullptr, source.get(), 2, 6);
  EXPECT_EQ(segment.Seek(2, SeekRef::End), 0);
  EXPECT_EQ(segment.Tell(), 4u);
  EXPECT_EQ(segment.Seek(1, SeekRef::Current), 0);
  EXPECT_EQ(segment.Tell(), 5u);
  EXPECT_EQ(Read(segment, 5), "7");
  EXPECT_EQ(segment.Seek(6, SeekRef::Start), 0);
  EXPECT_TRUE(segment.IsEOF());
  // Outside the window: the cursor goes back to the start.
  EXPECT_EQ(segment.Seek(7, SeekRef::Start), -1);
  EXPECT_EQ(segment.Tell(), 0u);
  segment.Seek(3, SeekRef::Start);
  EXPECT_EQ(segment.Seek(-4, SeekRef::Current), -1);
  EXPECT_EQ(segment.Tell(), 0u);
  EXPECT_EQ(Read(segment, 1), "2");
}

TEST_F(HandleTest, SegmentsOverOneSourceInterleave) {
  auto source = Make("abcdefghijklmnop");
  FileHandleSegment first(nullptr, source.get(), 0, 8);
  FileHandleSegment second(nullptr, source.get(), 8, 8);
  std::string a, b;
  for (int i = 0; i < 4; ++i) {
    a += Read(first, 2);
    b += Read(second, 2);
  }
  EXPECT_EQ(a, "abcdefgh");
  EXPECT_EQ(b, "ijklmnop");
}

TEST_F(HandleTest, SegmentWritesAtOffsetPlusCursor) {
  memory->Open("f", FileMode::Write)->Write("..........", 10);
  auto target = memory->Open("f", FileMode::Write);
  FileHandleSegment segment(nullptr, target.get(), 3, 4);
  segment.Seek(1, SeekRef::Start);
  // Only three bytes remain in the window.
  EXPECT_EQ(segment.Write("XYZW", 4), 3u);
  EXPECT_EQ(segment.Tell(), 4u);
  EXPECT_EQ(target->Tell(), 0u);
  EXPECT_EQ(Read(*memory->Open("f", FileMode::Read), 10), "....XYZ...");
}

TEST_F(HandleTest, ConcurrentReadsOfOneHandleNeverShareBytes) {
  // Each 4-byte record holds its own index; a torn read would duplicate or lose records.
  constexpr uint32_t kRecords = 20000;
  std::vector<uint32_t> values(kRecords);
  std::iota(values.begin(), values.end(), 0u);
  auto handle = Make(std::string(reinterpret_cast<const char*>(values.data()), kRecords * 4));

  std::vector<std::vector<uint32_t>> seen(4);
  std::vector<std::thread> threads;
  for (auto& mine : seen)
    threads.emplace_back([&handle, &mine] {
      uint32_t value = 0;
      while (handle->Read(&value, 4) == 4) mine.push_back(value);
    });
  for (auto& thread : threads) thread.join();

  std::vector<uint32_t> all;
  for (const auto& mine : seen) all.insert(all.end(), mine.begin(), mine.end());
  std::sort(all.begin(), all.end());
  EXPECT_EQ(all, values);
}

TEST_F(HandleTest, ConcurrentSegmentsOverOneSourceReadTheirOwnBytes) {
  std::string content(4 * 4096, '\0');
  for (size_t i = 0; i < content.size(); ++i) content[i] = char('a' + i / 4096);
  auto source = Make(content);

  std::vector<std::string> read(4);
  std::vector<std::thread> threads;
  for (uint32_t part = 0; part < 4; ++part)
    threads.emplace_back([&, part] {
      FileHandleSegment segment(nullptr, source.get(), part * 4096, 4096);
      char chunk[7];
      while (uint32_t got = segment.Read(chunk, sizeof(chunk))) read[part].append(chunk, got);
    });
  for (auto& thread : threads) thread.join();
  for (uint32_t part = 0; part < 4; ++part)
    EXPECT_EQ(read[part], std::string(4096, char('a' + part))) << part;
}
