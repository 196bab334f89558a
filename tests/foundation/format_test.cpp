#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <sstream>

#include "foundation/format.h"

namespace {

using tv::format;

TEST(Format, ReplacesEveryOccurrenceByNumber) {
  EXPECT_EQ(format("%1 and %1").arg("x").str(), "x and x");
  EXPECT_EQ(format("%2 %1").arg("a").arg("b").str(), "b a");
}

TEST(Format, EachArgumentAdvancesTheIndexEvenWithoutAPlaceholder) {
  EXPECT_EQ(format("no placeholder").arg(5).str(), "no placeholder");
  EXPECT_EQ(format("only %2").arg(5).arg("two").str(), "only two");
  EXPECT_EQ(format("%1 %2").arg("a").str(), "a %2");  // missing arguments leave the text
}

TEST(Format, SubstitutionIsTextual) {
  // "%10" contains "%1", which is replaced first.
  EXPECT_EQ(format("%1 %10").arg("a").str(), "a a0");
  // A value that contains the next placeholder is filled in by the next argument.
  EXPECT_EQ(format("%1 %2").arg("<%2>").arg("b").str(), "<b> b");
  EXPECT_EQ(format("[%1]").arg(static_cast<const char*>(nullptr)).str(), "[]");
}

TEST(Format, SignedIntegersPrintInDecimal) {
  EXPECT_EQ(format("%1").arg(0).str(), "0");
  EXPECT_EQ(format("%1").arg(int32_t(-7)).str(), "-7");
  EXPECT_EQ(format("%1").arg(int32_t(INT32_MIN)).str(), "-2147483648");
  EXPECT_EQ(format("%1").arg(int64_t(INT64_MIN)).str(), "-9223372036854775808");
  EXPECT_EQ(format("%1").arg(int64_t(INT64_MAX)).str(), "9223372036854775807");
}

TEST(Format, UnsignedIntegersPrintInDecimalNotAsCharacters) {
  EXPECT_EQ(format("%1").arg(uint8_t(200)).str(), "200");
  EXPECT_EQ(format("%1").arg(uint8_t(65)).str(), "65");
  EXPECT_EQ(format("%1").arg(uint16_t(65535)).str(), "65535");
  EXPECT_EQ(format("%1").arg(uint32_t(UINT32_MAX)).str(), "4294967295");
  EXPECT_EQ(format("%1").arg(uint64_t(UINT64_MAX)).str(), "18446744073709551615");
}

TEST(Format, PaddedFormFillsToWidthWithoutTruncating) {
  EXPECT_EQ(format("%1").arg(34, 3, '0').str(), "034");
  EXPECT_EQ(format("%1").arg(5, 3, '0').str(), "005");
  EXPECT_EQ(format("%1").arg(7, 4, ' ').str(), "   7");
  EXPECT_EQ(format("%1").arg(12345, 3, '0').str(), "12345");
}

// "%03d" puts the sign before the zeros, and the padded form behaves alike.
TEST(Format, PaddedFormKeepsTheSignInFront) {
  EXPECT_EQ(format("%1").arg(-5, 3, '0').str(), "-05");
}

TEST(Format, PointerPrintsLikeAnOutputStream) {
  int object = 0;
  for (const void* pointer : {static_cast<const void*>(&object), static_cast<const void*>(nullptr)}) {
    std::ostringstream expected;
    expected << pointer;
    EXPECT_EQ(tv::to_string(pointer), expected.str());
  }
}

} // namespace
