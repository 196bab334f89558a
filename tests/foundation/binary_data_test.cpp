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

// Storage grows to the next whole block above the end; size is the highest position written, so
// an overwrite inside leaves it and a write beyond raises it.
TEST(BinaryData, WritesGrowStorageAndSize) {
  tv::BinaryData buffer;
  buffer.Write("0123456789", 10);
  EXPECT_EQ(buffer.data.size(), 8192u);
  buffer.cursor = 2;
  buffer.Write("ab", 2);
  EXPECT_EQ(buffer.cursor, 4u);
  EXPECT_EQ(buffer.size, 10u);
  EXPECT_EQ(std::memcmp(buffer.data.data(), "01ab456789", 10), 0);
  // An end exactly on a block boundary still gets a whole spare block.
  const std::vector<uint8_t> block(8182, 2);
  buffer.cursor = 10;
  buffer.Write(block.data(), uint32_t(block.size()));
  EXPECT_EQ(buffer.size, 8192u);
  EXPECT_EQ(buffer.data.size(), 16384u);
  EXPECT_EQ(buffer.data[8191], 2);
}

// Only written bytes are readable, however far storage reaches: a read past size fails without
// moving the cursor or touching the output.
TEST(BinaryData, ReadStopsAtSize) {
  tv::BinaryData buffer;
  buffer.Write("abcdef", 6);
  buffer.cursor = 4;
  char out[4] = {'x', 'x', 'x', 'x'};
  EXPECT_FALSE(buffer.Read(out, 3));
  EXPECT_EQ(buffer.cursor, 4u);
  EXPECT_EQ(out[0], 'x');
  EXPECT_TRUE(buffer.Read(out, 2));
  EXPECT_EQ(std::memcmp(out, "ef", 2), 0);
  EXPECT_EQ(buffer.cursor, 6u);
  EXPECT_FALSE(buffer.Read(out, 1));
  EXPECT_TRUE(buffer.Read(out, 0));
}

// Each typed read takes exactly its width: one byte short fails in place, the exact fit round-trips.
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
}

TEST(BinaryData, TypedReadsCheckTheirWidthAndStoreLittleEndian) {
  ExpectTypedReadOfWidth(uint32_t(0xa1b2c3d4), 4);
  ExpectTypedReadOfWidth(-2.5f, 4);
  ExpectTypedReadOfWidth(tv::Vector2(1.5f, -2), 8);
  ExpectTypedReadOfWidth(tv::Vector3(1, 2, 3), 12);
  ExpectTypedReadOfWidth(tv::Color(0.25f, 0.5f, 0.75f, 1), 16);
  ExpectTypedReadOfWidth(tv::Vector4(4, 3, 2, 1), 16);
  ExpectTypedReadOfWidth(tv::Matrix4(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12), 48);
  tv::BinaryData buffer;
  buffer.Write(uint32_t(0x04030201));
  buffer.Write(1.0f);
  const uint8_t expected[8] = {1, 2, 3, 4, 0x00, 0x00, 0x80, 0x3f};
  ASSERT_EQ(buffer.size, 8u);
  EXPECT_EQ(std::memcmp(buffer.data.data(), expected, 8), 0);
}

} // namespace
