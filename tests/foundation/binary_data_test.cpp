#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "foundation/binary_data.h"
#include "math/color.h"
#include "math/matrix4.h"
#include "math/vector2.h"
#include "math/vector3.h"
#include "math/vector4.h"

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

// Each typed read takes exactly its width: one byte short of it fails in place, the exact fit
// succeeds and lands at the end.
template <typename T>
void ExpectTypedReadOfWidth(const T& value, uint32_t width) {
  SCOPED_TRACE(width);
  ASSERT_EQ(sizeof(T), width);
  tv::BinaryData buffer;
  buffer.Write(value);
  EXPECT_EQ(buffer.size, width);

  tv::BinaryData short_buffer;
  short_buffer.Write(buffer.data.data(), width - 1);
  short_buffer.cursor = 0;
  T untouched{};
  EXPECT_FALSE(short_buffer.Read(untouched));
  EXPECT_EQ(short_buffer.cursor, 0u);
  EXPECT_TRUE(untouched == T{});

  buffer.cursor = 0;
  T out{};
  ASSERT_TRUE(buffer.Read(out));
  EXPECT_TRUE(out == value);
  EXPECT_EQ(buffer.cursor, width);
  EXPECT_FALSE(buffer.Read(out));
}

TEST(BinaryData, TypedReadsCheckTheirWidthAgainstSize) {
  ExpectTypedReadOfWidth(uint32_t(0xa1b2c3d4), 4);
  ExpectTypedReadOfWidth(-2.5f, 4);
  ExpectTypedReadOfWidth(tv::Vector2(1.5f, -2), 8);
  ExpectTypedReadOfWidth(tv::Vector3(1, 2, 3), 12);
  ExpectTypedReadOfWidth(tv::Color(0.25f, 0.5f, 0.75f, 1), 16);
  ExpectTypedReadOfWidth(tv::Vector4(4, 3, 2, 1), 16);
  ExpectTypedReadOfWidth(tv::Matrix4(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12), 48);
}

TEST(BinaryData, TypedValuesAreStoredLittleEndian) {
  tv::BinaryData buffer;
  buffer.Write(uint32_t(0x04030201));
  buffer.Write(1.0f);
  const uint8_t expected[8] = {1, 2, 3, 4, 0x00, 0x00, 0x80, 0x3f};
  ASSERT_EQ(buffer.size, 8u);
  EXPECT_EQ(std::memcmp(buffer.data.data(), expected, 8), 0);
}

} // namespace
