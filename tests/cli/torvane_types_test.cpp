#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "cli_harness.h"

namespace {

class TorvaneTypes : public tv::test::CliTest {};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
    lines.push_back(text.substr(start, end - start));
  return lines;
}

TEST_F(TorvaneTypes, ListsEveryTypeInNameOrderWithItsAliases) {
  const tv::test::Result listed = Torvane("types");
  ASSERT_EQ(listed.status, 0) << listed.err;
  const std::vector<std::string> lines = Lines(listed.out);
  ASSERT_FALSE(lines.empty());
  ASSERT_EQ(lines[0].rfind("types: ", 0), 0u) << listed.out;
  EXPECT_EQ(std::stoul(lines[0].substr(7)), lines.size() - 1);
  EXPECT_TRUE(std::is_sorted(lines.begin() + 1, lines.end()));
  for (const char* line : {"  Vector2 (tv::tVector2<float>)", "  IntVector2 (tv::tVector2<int>)", "  FloatVector",
                           "  RotationOrder (tv::RotationOrder)", "  None", "  Matrix44Vector"}) {
    SCOPED_TRACE(line);
    EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end());
  }
  // The log stays on standard error.
  EXPECT_NE(listed.err.find("Torvane core 1.1.0"), std::string::npos);
}

TEST_F(TorvaneTypes, ShowsOneTypeFoundByAliasWithFieldsDefaultsAndMethods) {
  const tv::test::Result vector = Torvane("types 'tv::tVector2<int>'");
  ASSERT_EQ(vector.status, 0) << vector.err;
  EXPECT_EQ(vector.out,
            "IntVector2\n"
            "  native name: tv::tVector2<int>\n"
            "  aliases: tv::tVector2<int>\n"
            "  size: 8\n"
            "  kind: value\n"
            "  bases: none\n"
            "  fields: 2\n"
            "    x: Int = 0\n"
            "    y: Int = 0\n");

  const tv::test::Result box = Torvane("types OBB");
  ASSERT_EQ(box.status, 0) << box.err;
  EXPECT_NE(box.out.find("    rotation: Matrix3 = {m00: 1, m01: 0, m02: 0, m10: 0, m11: 1, m12: 0, m20: 0, m21: 0, "
                         "m22: 1}\n"),
            std::string::npos)
      << box.out;

  const tv::test::Result vector3 = Torvane("types Vector3");
  ASSERT_EQ(vector3.status, 0) << vector3.err;
  EXPECT_NE(vector3.out.find("  methods: 1\n    Normalized() -> Vector3\n"), std::string::npos) << vector3.out;

  const tv::test::Result floats = Torvane("types FloatVector");
  ASSERT_EQ(floats.status, 0) << floats.err;
  EXPECT_NE(floats.out.find("  kind: vector of Float\n"), std::string::npos) << floats.out;
}

TEST_F(TorvaneTypes, ShowsEnumValuesWithDefaultBesideYXZ) {
  const tv::test::Result order = Torvane("types RotationOrder");
  ASSERT_EQ(order.status, 0) << order.err;
  EXPECT_NE(order.out.find("  kind: enum\n"), std::string::npos) << order.out;
  EXPECT_NE(order.out.find("  values: 8\n    Default = 4\n    XY = 6\n    XYZ = 5\n    XZY = 3\n    YXZ = 4\n"
                           "    YZX = 1\n    ZXY = 2\n    ZYX = 0\n"),
            std::string::npos)
      << order.out;
}

TEST_F(TorvaneTypes, UnknownNamesAndExtraArgumentsGiveOneLineAndFail) {
  const tv::test::Result unknown = Torvane("types Nonesuch");
  EXPECT_EQ(unknown.status, 1);
  EXPECT_TRUE(unknown.out.empty());
  EXPECT_NE(unknown.err.find("torvane types: unknown type 'Nonesuch'; torvane types lists them\n"), std::string::npos)
      << unknown.err;

  for (const char* args : {"types Vector3 Vector4", "types --bogus"}) {
    SCOPED_TRACE(args);
    const tv::test::Result result = Torvane(args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_TRUE(result.out.empty());
  }
  const tv::test::Result help = Torvane("types --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: torvane types [NAME]\n", 0), 0u) << help.out;
}

} // namespace
