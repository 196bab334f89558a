// Positional formatting, the string helpers and the UTF-8/UTF-16 conversions.

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

#include "foundation/format.h"
#include "foundation/string_utils.h"

namespace {

using tv::format;
using Pieces = std::vector<std::string>;

// A computed text against the text it must be.
struct Text {
  std::string got, want;
};

void ExpectTexts(const std::vector<Text>& cases) {
  for (size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE("row " + std::to_string(i) + ": " + cases[i].want);
    EXPECT_EQ(cases[i].got, cases[i].want);
  }
}

// Placeholders are replaced textually, each argument advancing the number even where it has no
// placeholder; integers print in decimal (never as characters), the padded form keeps the sign in front.
TEST(Format, SubstitutionAndNumbers) {
  ExpectTexts({
      {format("%1 and %1").arg("x").str(), "x and x"},
      {format("%2 %1").arg("a").arg("b").str(), "b a"},
      {format("no placeholder").arg(5).str(), "no placeholder"},
      {format("only %2").arg(5).arg("two").str(), "only two"},
      {format("%1 %2").arg("a").str(), "a %2"},
      {format("%1 %10").arg("a").str(), "a a0"},
      {format("%1 %2").arg("<%2>").arg("b").str(), "<b> b"},
      {format("[%1]").arg(static_cast<const char*>(nullptr)).str(), "[]"},
      {format("%1").arg(int32_t(INT32_MIN)).str(), "-2147483648"},
      {format("%1").arg(int64_t(INT64_MIN)).str(), "-9223372036854775808"},
      {format("%1").arg(int64_t(INT64_MAX)).str(), "9223372036854775807"},
      {format("%1").arg(uint8_t(65)).str(), "65"},
      {format("%1").arg(uint16_t(65535)).str(), "65535"},
      {format("%1").arg(uint32_t(UINT32_MAX)).str(), "4294967295"},
      {format("%1").arg(uint64_t(UINT64_MAX)).str(), "18446744073709551615"},
      {format("%1").arg(5, 3, '0').str(), "005"},
      {format("%1").arg(7, 4, ' ').str(), "   7"},
      {format("%1").arg(12345, 3, '0').str(), "12345"},
      {format("%1").arg(-5, 3, '0').str(), "-05"},
  });
  int object = 0;
  for (const void* pointer : {static_cast<const void*>(&object), static_cast<const void*>(nullptr)}) {
    std::ostringstream expected;
    expected << pointer;
    EXPECT_EQ(tv::to_string(pointer), expected.str());
  }
}

// replace_all counts, never rescans a replacement and ignores an empty pattern.
TEST(StringUtils, ReplaceAll) {
  const struct {
    std::string text, from, to, want;
    size_t count;
  } cases[] = {{"aaa", "a", "aa", "aaaaaa", 3}, {"a.b.c", ".", "", "abc", 2}, {"xyxyx", "xyx", "-", "-yx", 1},
               {"abc", "", "x", "abc", 0},      {"abc", "z", "x", "abc", 0}};
  for (auto c : cases) {
    SCOPED_TRACE(c.text + " / " + c.from);
    EXPECT_EQ(tv::replace_all(c.text, c.from, c.to), c.count);
    EXPECT_EQ(c.text, c.want);
  }
}

// Negative positions count from the end, everything is clamped, extremes neither overflow nor wrap.
TEST(StringUtils, SliceLeftRight) {
  constexpr int64_t kMax = INT64_MAX, kMin = INT64_MIN;
  ExpectTexts({
      {tv::slice("hello", -3, 0), "llo"},   {tv::slice("hello", -3, 2), "ll"},  {tv::slice("hello", 1), "ello"},
      {tv::slice("hello", 1, -1), "ell"},   {tv::slice("hello", 0, -5), ""},    {tv::slice("hello", 10), ""},
      {tv::slice("hello", -10, 2), "he"},   {tv::slice("hello", 3, 100), "lo"}, {tv::slice("hello", 3, -4), ""},
      {tv::slice("", -1, -1), ""},          {tv::slice("hello", 2, kMax), "llo"}, {tv::slice("hello", kMax, kMax), ""},
      {tv::slice("hello", kMin, 2), "he"},  {tv::slice("hello", 1, kMin), ""},  {tv::left("hello", kMax), "hello"},
      {tv::right("hello", kMax), "hello"},  {tv::right("hello", kMin), ""},     {tv::left("hello", 2), "he"},
      {tv::left("hello", 0), ""},           {tv::left("hello", -2), ""},        {tv::right("hello", 2), "lo"},
      {tv::right("hello", 9), "hello"},
      // right(n) is slice(-n, 0): 0 keeps the whole text, a negative n skips that many bytes.
      {tv::right("hello", 0), "hello"},     {tv::right("hello", -2), "llo"},
  });
}

// Case folding touches ASCII letters only ('[' and '{' differ by 0x20 too; so do UTF-8 "Ä" and "ä").
TEST(StringUtils, StartsWithAndToLower) {
  EXPECT_TRUE(tv::starts_with("abc", ""));
  EXPECT_TRUE(tv::starts_with("abc", "abc"));
  EXPECT_FALSE(tv::starts_with("abc", "abcd"));
  EXPECT_FALSE(tv::starts_with("abc", "abcd", false));
  EXPECT_FALSE(tv::starts_with("Data/file", "data"));
  EXPECT_TRUE(tv::starts_with("Data/file", "dATA", false));
  EXPECT_FALSE(tv::starts_with("[x", "{", false));
  EXPECT_FALSE(tv::starts_with("\xC3\x84", "\xC3\xA4", false));
  ExpectTexts({{tv::to_lower("HeLLo World"), "hello world"},
               {tv::to_lower("\xC3\x84Z@["), "\xC3\x84z@["},
               {tv::to_lower("ABCDEF", 1, 3), "AbcDEF"},
               {tv::to_lower("ABC", 1, 99), "Abc"},
               {tv::to_lower("ABC", 5), "ABC"}});
}

// A leading separator gives an empty first piece, a trailing one no empty last piece; strip applies
// only to pieces ended by a separator.
TEST(StringUtils, SplitStripReduceAndLineEnds) {
  EXPECT_EQ(tv::split("a,b,c", ","), (Pieces{"a", "b", "c"}));
  EXPECT_EQ(tv::split(",a", ","), (Pieces{"", "a"}));
  EXPECT_EQ(tv::split("a,", ","), (Pieces{"a"}));
  EXPECT_EQ(tv::split("a,,b", ","), (Pieces{"a", "", "b"}));
  EXPECT_EQ(tv::split("a::b", "::"), (Pieces{"a", "b"}));
  EXPECT_TRUE(tv::split("", ",").empty());
  EXPECT_EQ(tv::split(" a , b ,c", ",", " "), (Pieces{"a", "b", "c"}));
  EXPECT_EQ(tv::split("a ,b ", ",", " "), (Pieces{"a", "b "}));
  ExpectTexts({
      {tv::lstrip(" \t\r\nab c \n"), "ab c \n"},
      {tv::rstrip(" ab c \t\r\n"), " ab c"},
      {tv::lstrip("xxaxx", "x"), "axx"},
      {tv::rstrip("xxaxx", "x"), "xxa"},
      {tv::rstrip(" \t "), ""},
      {tv::reduce("  a \t b\r\n\nc  "), "a b c"},
      {tv::reduce("--a-b--", "+", "-"), "a+b"},
      {tv::reduce(" \n "), ""},
      {tv::normalize_eol("a\r\nb\nc\r\n"), "a\nb\nc\n"},
      {tv::normalize_eol("a\r\nb\nc", true), "a\r\nb\r\nc"},  // never "\r\r\n"
      {tv::normalize_eol("lone\rcr"), "lone\rcr"},
  });
}

// "*" backtracks, "?" needs a character, sets and escapes; a malformed pattern (unclosed set,
// trailing escape) fails the whole match.
TEST(StringUtils, MatchWildcard) {
  const struct {
    const char* text;
    const char* pattern;
    bool match;
  } cases[] = {
      {"data/a.dll", "*.dll", true}, {"data/a.dll", "*.DLL", false}, {"data/a.dllx", "*.dll", false},
      {"", "*", true},               {"", "", true},                 {"a", "", false},
      {"abc", "a?c", true},          {"a", "?a", false},             {"ab", "ab?", false},
      {"", "?", false},              {"abcbcd", "a*bcd", true},      {"abcbcdbcd", "a*bcd", true},
      {"xaaab", "*a*b", true},       {"abc", "a**c", true},          {"abcbce", "a*bcd", false},
      {"ab", "[ab]b", true},         {"bb", "[ab]b", true},          {"cb", "[ab]b", false},
      {"a", "[]", false},            {"", "[a]", false},             {"x.c", "*.[ch]", true},
      {"a", "[ab", false},           {"", "[ab", false},             {"a", "*[ab", false},
      {"]", "[\\]", false},          {"a*b", "a\\*b", true},         {"axb", "a\\*b", false},
      {"?", "\\?", true},            {"x", "\\?", false},            {"]", "[\\]]", true},
      {"\\", "[\\\\]", true},        {"a", "[\\]]", false},          {"a\\", "a\\", false},
      {"a", "a\\", false},           {nullptr, "*", false},          {nullptr, "", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.text ? c.text : "(null)") + " ~ " + c.pattern);
    EXPECT_EQ(tv::match_wildcard(c.text, c.pattern), c.match);
  }
}

// what() of the exception `call` throws, or "" when it throws none.
template <typename Call>
std::string ThrownText(Call call) {
  try {
    call();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "";
}

// Every encoding length and the extremes of the code space round-trip; malformed input of either
// side throws its own message.
TEST(Utf, RoundTripsAndRefusesMalformedText) {
  const std::string utf8 = "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";  // 1 to 4 bytes, the last a surrogate pair
  const std::u16string utf16 = u"A\u00E4\u20AC\U0001F600";
  EXPECT_EQ(tv::utf8_to_wchar(utf8), utf16);
  EXPECT_EQ(tv::wchar_to_utf8(utf16), utf8);
  const std::string edges("\x00\x7F\xC2\x80\xEF\xBF\xBF\xF4\x8F\xBF\xBF", 11);
  EXPECT_EQ(tv::utf8_to_wchar(edges), std::u16string(u"\0\u007F\u0080\uFFFF\U0010FFFF", 6));
  EXPECT_EQ(tv::wchar_to_utf8(tv::utf8_to_wchar(edges)), edges);

  const std::pair<std::string, const char*> bad_utf8[] = {
      {"ok\xFF", "Invalid UTF-8"},        {"\x80", "Invalid UTF-8"},           {"\xC0\x80", "Invalid UTF-8"},
      {"\xE2\x28\xA1", "Invalid UTF-8"},  {"\xED\xA0\x80", "Invalid code point"}, {"\xF4\x90\x80\x80", "Invalid code point"},
      {"\xE2\x82", "Not enough space"},
  };
  for (const auto& [text, message] : bad_utf8) {
    SCOPED_TRACE(message);
    EXPECT_EQ(ThrownText([&] { tv::utf8_to_wchar(text); }), message);
  }
  const char16_t lead = 0xD83D, trail = 0xDE00;
  for (const std::u16string& text : {std::u16string(1, lead), std::u16string(1, trail),
                                     u"a" + std::u16string(1, lead) + u"b", std::u16string{trail, lead}})
    EXPECT_EQ(ThrownText([&] { tv::wchar_to_utf8(text); }), "Invalid UTF-16");
}

} // namespace
