#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/binary_data.h"

namespace {

TEST(BinaryData, WriteGrowsStorageToTheNextBlockAboveTheEnd) {
  tv::BinaryData buffer;
  const uint8_t byte = 1;
  buffer.Write(&byte, 1);
  EXPECT_EQ(buffer.data.size(), 8192u);

  // An end exactly on a block boundary still gets a whole spare block.
  std::vector<uint8_t> block(8191, 2);
  buffer.Write(block.data(), uint32_t(block.size()));
  EXPECT_EQ(buffer.cursor, 8192u);
  EXPECT_EQ(buffer.data.size(), 16384u);
  EXPECT_EQ(buffer.data[0], 1);
  EXPECT_EQ(buffer.data[8191], 2);
}

TEST(BinaryData, SizeIsTheHighestPositionWritten) {
  tv::BinaryData buffer;
  const char text[] = "0123456789";
  buffer.Write(text, 10);
  EXPECT_EQ(buffer.size, 10u);

  buffer.cursor = 2;
  buffer.Write("ab", 2);
  EXPECT_EQ(buffer.cursor, 4u);
  EXPECT_EQ(buffer.size, 10u);
  EXPECT_EQ(std::memcmp(buffer.data.data(), "01ab456789", 10), 0);

  buffer.cursor = 20;
  buffer.Write("z", 1);
  EXPECT_EQ(buffer.size, 21u);
}

TEST(BinaryData, ReadReturnsWrittenBytesAndAdvances) {
  tv::BinaryData buffer;
  const uint32_t values[2] = {0xdeadbeef, 42};
  buffer.Write(values, sizeof(values));
  buffer.cursor = 0;
  uint32_t first = 0, second = 0;
  ASSERT_TRUE(buffer.Read(&first, 4));
  ASSERT_TRUE(buffer.Read(&second, 4));
  EXPECT_EQ(first, 0xdeadbeefu);
  EXPECT_EQ(second, 42u);
  EXPECT_EQ(buffer.cursor, 8u);
}

TEST(BinaryData, ReadPastSizeFailsWithoutMovingTheCursor) {
  tv::BinaryData buffer;
  buffer.Write("abcdef", 6);
  buffer.cursor = 4;
  char out[4] = {'x', 'x', 'x', 'x'};
  // Storage reaches far beyond size, but only written bytes are readable.
  EXPECT_FALSE(buffer.Read(out, 3));
  EXPECT_EQ(buffer.cursor, 4u);
  EXPECT_EQ(out[0], 'x');
  EXPECT_TRUE(buffer.Read(out, 2));
  EXPECT_EQ(std::memcmp(out, "ef", 2), 0);
  EXPECT_EQ(buffer.cursor, 6u);
  EXPECT_FALSE(buffer.Read(out, 1));
  EXPECT_TRUE(buffer.Read(out, 0));
}

} // namespace
