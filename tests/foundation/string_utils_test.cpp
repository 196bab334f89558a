#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <limits>
#include <string>
#include <vector>

#include "foundation/string_utils.h"

namespace {

using Pieces = std::vector<std::string>;

TEST(ReplaceAll, CountsAndNeverRescansAReplacement) {
  std::string text = "aaa";
  EXPECT_EQ(tv::replace_all(text, "a", "aa"), 3u);
  EXPECT_EQ(text, "aaaaaa");

  text = "a.b.c";
  EXPECT_EQ(tv::replace_all(text, ".", ""), 2u);
  EXPECT_EQ(text, "abc");

  text = "xyxyx";
  EXPECT_EQ(tv::replace_all(text, "xyx", "-"), 1u);  // non-overlapping, left to right
  EXPECT_EQ(text, "-yx");
}

TEST(ReplaceAll, EmptyPatternOrNoMatchLeavesTextAlone) {
  std::string text = "abc";
  EXPECT_EQ(tv::replace_all(text, "", "x"), 0u);
  EXPECT_EQ(tv::replace_all(text, "z", "x"), 0u);
  EXPECT_EQ(text, "abc");
}

TEST(Slice, NegativeFromAndCountCountFromTheEnd) {
  EXPECT_EQ(tv::slice("hello", -3, 0), "llo");
  EXPECT_EQ(tv::slice("hello", -3, 2), "ll");
  EXPECT_EQ(tv::slice("hello", 1), "ello");
  EXPECT_EQ(tv::slice("hello", 1, -1), "ell");
  EXPECT_EQ(tv::slice("hello", 0, -5), "");
}

TEST(Slice, OutOfRangeIsClamped) {
  EXPECT_EQ(tv::slice("hello", 10), "");
  EXPECT_EQ(tv::slice("hello", -10, 2), "he");
  EXPECT_EQ(tv::slice("hello", 3, 100), "lo");
  EXPECT_EQ(tv::slice("hello", 3, -4), "");
  EXPECT_EQ(tv::slice("", -1, -1), "");
}

TEST(Slice, ExtremeArgumentsStayInRange) {
  constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
  constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
  EXPECT_EQ(tv::slice("hello", 2, kMax), "llo");
  EXPECT_EQ(tv::slice("hello", kMax, kMax), "");
  EXPECT_EQ(tv::slice("hello", kMin, 2), "he");
  EXPECT_EQ(tv::slice("hello", 1, kMin), "");
  EXPECT_EQ(tv::left("hello", kMax), "hello");
  EXPECT_EQ(tv::right("hello", kMax), "hello");
  EXPECT_EQ(tv::right("hello", kMin), "");
}

TEST(LeftRight, TakeAtMostNBytes) {
  EXPECT_EQ(tv::left("hello", 2), "he");
  EXPECT_EQ(tv::left("hello", 9), "hello");
  EXPECT_EQ(tv::left("hello", 0), "");
  EXPECT_EQ(tv::left("hello", -2), "");
  EXPECT_EQ(tv::right("hello", 2), "lo");
  EXPECT_EQ(tv::right("hello", 9), "hello");
  // right(n) is slice(-n, 0): 0 keeps the whole text, a negative n skips that many bytes.
  EXPECT_EQ(tv::right("hello", 0), "hello");
  EXPECT_EQ(tv::right("hello", -2), "llo");
}

TEST(StartsWith, EmptyAndLongerPrefixes) {
  EXPECT_TRUE(tv::starts_with("abc", ""));
  EXPECT_TRUE(tv::starts_with("", ""));
  EXPECT_TRUE(tv::starts_with("abc", "abc"));
  EXPECT_FALSE(tv::starts_with("abc", "abcd"));
  EXPECT_FALSE(tv::starts_with("abc", "abcd", false));
  EXPECT_FALSE(tv::starts_with("abc", "b"));
}

TEST(StartsWith, CaseInsensitiveFoldsOnlyAsciiLetters) {
  EXPECT_FALSE(tv::starts_with("Data/file", "data"));
  EXPECT_TRUE(tv::starts_with("Data/file", "dATA", false));
  // '[' and '{' differ from each other by 0x20 as 'A' and 'a' do; they must not be folded.
  EXPECT_FALSE(tv::starts_with("[x", "{", false));
  EXPECT_FALSE(tv::starts_with("\xC3\x84", "\xC3\xA4", false));  // Ä vs ä in UTF-8
}

TEST(ToLower, AsciiOnlyWithinTheRange) {
  EXPECT_EQ(tv::to_lower("HeLLo World"), "hello world");
  EXPECT_EQ(tv::to_lower("\xC3\x84Z@["), "\xC3\x84z@[");
  EXPECT_EQ(tv::to_lower("ABCDEF", 1, 3), "AbcDEF");
  EXPECT_EQ(tv::to_lower("ABCDEF", 4), "ABCDef");
  EXPECT_EQ(tv::to_lower("ABC", 1, 99), "Abc");
  EXPECT_EQ(tv::to_lower("ABC", 5), "ABC");
}

TEST(Split, LeadingSeparatorGivesEmptyFirstPieceTrailingGivesNoEmptyLast) {
  EXPECT_EQ(tv::split("a,b,c", ","), (Pieces{"a", "b", "c"}));
  EXPECT_EQ(tv::split(",a", ","), (Pieces{"", "a"}));
  EXPECT_EQ(tv::split("a,", ","), (Pieces{"a"}));
  EXPECT_EQ(tv::split("a,,b", ","), (Pieces{"a", "", "b"}));
  EXPECT_EQ(tv::split("a::b", "::"), (Pieces{"a", "b"}));
  EXPECT_EQ(tv::split("abc", ","), (Pieces{"abc"}));
  EXPECT_TRUE(tv::split("", ",").empty());
}

TEST(Split, StripRemovesTextFromPiecesEndedByASeparator) {
  EXPECT_EQ(tv::split(" a , b ,c", ",", " "), (Pieces{"a", "b", "c"}));
  // The last piece has no separator behind it and is kept as it is.
  EXPECT_EQ(tv::split("a ,b ", ",", " "), (Pieces{"a", "b "}));
}

TEST(Strip, RemovesOnlyTheRequestedEnd) {
  EXPECT_EQ(tv::lstrip(" \t\r\nab c \n"), "ab c \n");
  EXPECT_EQ(tv::rstrip(" ab c \t\r\n"), " ab c");
  EXPECT_EQ(tv::lstrip("xxaxx", "x"), "axx");
  EXPECT_EQ(tv::rstrip("xxaxx", "x"), "xxa");
  EXPECT_EQ(tv::lstrip(" \t "), "");
  EXPECT_EQ(tv::rstrip(" \t "), "");
}

TEST(Strip, ReduceTrimsAndCollapsesInnerRuns) {
  EXPECT_EQ(tv::reduce("  a \t b\r\n\nc  "), "a b c");
  EXPECT_EQ(tv::reduce("a  b", "_"), "a_b");
  EXPECT_EQ(tv::reduce("--a-b--", "+", "-"), "a+b");
  EXPECT_EQ(tv::reduce(" \n "), "");
}

TEST(NormalizeEol, ConvertsBothWays) {
  EXPECT_EQ(tv::normalize_eol("a\r\nb\nc\r\n"), "a\nb\nc\n");
  // Mixed input must not end up with "\r\r\n".
  EXPECT_EQ(tv::normalize_eol("a\r\nb\nc", true), "a\r\nb\r\nc");
  EXPECT_EQ(tv::normalize_eol("lone\rcr"), "lone\rcr");
}

TEST(MatchWildcard, LiteralsStarAndQuestionMark) {
  EXPECT_TRUE(tv::match_wildcard("data/a.dll", "*.dll"));
  EXPECT_FALSE(tv::match_wildcard("data/a.dll", "*.DLL"));
  EXPECT_FALSE(tv::match_wildcard("data/a.dllx", "*.dll"));
  EXPECT_TRUE(tv::match_wildcard("", "*"));
  EXPECT_TRUE(tv::match_wildcard("", ""));
  EXPECT_FALSE(tv::match_wildcard("a", ""));
  EXPECT_TRUE(tv::match_wildcard("abc", "a?c"));
  EXPECT_FALSE(tv::match_wildcard("a", "?a"));
  EXPECT_FALSE(tv::match_wildcard("ab", "ab?"));  // "?" needs a character
  EXPECT_FALSE(tv::match_wildcard("", "?"));
}

TEST(MatchWildcard, StarBacktracks) {
  EXPECT_TRUE(tv::match_wildcard("abcbcd", "a*bcd"));
  EXPECT_TRUE(tv::match_wildcard("abcbcdbcd", "a*bcd"));
  EXPECT_TRUE(tv::match_wildcard("xaaab", "*a*b"));
  EXPECT_TRUE(tv::match_wildcard("abc", "a**c"));
  EXPECT_FALSE(tv::match_wildcard("abcbce", "a*bcd"));
  EXPECT_TRUE(tv::match_wildcard("a/b/c.txt", "a*c.*"));
}

TEST(MatchWildcard, Sets) {
  EXPECT_TRUE(tv::match_wildcard("ab", "[ab]b"));
  EXPECT_TRUE(tv::match_wildcard("bb", "[ab]b"));
  EXPECT_FALSE(tv::match_wildcard("cb", "[ab]b"));
  EXPECT_FALSE(tv::match_wildcard("a", "[]"));
  EXPECT_FALSE(tv::match_wildcard("", "[]"));
  EXPECT_FALSE(tv::match_wildcard("", "[a]"));
  EXPECT_TRUE(tv::match_wildcard("x.c", "*.[ch]"));
}

TEST(MatchWildcard, UnclosedSetFailsTheWholeMatch) {
  EXPECT_FALSE(tv::match_wildcard("a", "[ab"));
  EXPECT_FALSE(tv::match_wildcard("", "[ab"));
  EXPECT_FALSE(tv::match_wildcard("a", "*[ab"));
  EXPECT_FALSE(tv::match_wildcard("]", "[\\]"));  // the escaped "]" does not close it
}

TEST(MatchWildcard, BackslashEscapes) {
  EXPECT_TRUE(tv::match_wildcard("a*b", "a\\*b"));
  EXPECT_FALSE(tv::match_wildcard("axb", "a\\*b"));
  EXPECT_TRUE(tv::match_wildcard("?", "\\?"));
  EXPECT_FALSE(tv::match_wildcard("x", "\\?"));
  EXPECT_TRUE(tv::match_wildcard("]", "[\\]]"));
  EXPECT_TRUE(tv::match_wildcard("\\", "[\\\\]"));
  EXPECT_FALSE(tv::match_wildcard("a", "[\\]]"));
  EXPECT_FALSE(tv::match_wildcard("a\\", "a\\"));  // a trailing escape is malformed
  EXPECT_FALSE(tv::match_wildcard("a", "a\\"));
}

TEST(MatchWildcard, NullTextNeverMatches) {
  EXPECT_FALSE(tv::match_wildcard(static_cast<const char*>(nullptr), "*"));
  EXPECT_FALSE(tv::match_wildcard(static_cast<const char*>(nullptr), ""));
}

// Runs `call` and gives what() of the exception it throws, or "" when it throws none.
template <typename Call>
std::string ThrownText(Call call) {
  try {
    call();
  } catch (const std::exception& error) {
    return error.what();
  }
  return "";
}

TEST(Utf, RoundTripsEveryEncodingLength) {
  // 1, 2, 3 and 4 UTF-8 bytes: "A", "ä", "€", U+1F600; the last needs a surrogate pair.
  const std::string utf8 = "A\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
  const std::u16string utf16 = u"A\u00E4\u20AC\U0001F600";
  ASSERT_EQ(utf16.size(), 5u);
  EXPECT_EQ(utf16[3], char16_t(0xD83D));
  EXPECT_EQ(utf16[4], char16_t(0xDE00));
  EXPECT_EQ(tv::utf8_to_wchar(utf8), utf16);
  EXPECT_EQ(tv::wchar_to_utf8(utf16), utf8);
  // The extremes of the code space, and text with an embedded NUL, survive both ways.
  const std::string edges("\x00\x7F\xC2\x80\xEF\xBF\xBF\xF4\x8F\xBF\xBF", 11);
  EXPECT_EQ(tv::wchar_to_utf8(tv::utf8_to_wchar(edges)), edges);
  EXPECT_EQ(tv::utf8_to_wchar(edges), std::u16string(u"\0\u007F\u0080\uFFFF\U0010FFFF", 6));
  EXPECT_EQ(tv::utf8_to_wchar(""), u"");
  EXPECT_EQ(tv::wchar_to_utf8(u""), "");
}

TEST(Utf, MalformedUtf8Throws) {
  EXPECT_EQ(ThrownText([] { tv::utf8_to_wchar("ok\xFF"); }), "Invalid UTF-8");
  EXPECT_EQ(ThrownText([] { tv::utf8_to_wchar("\x80"); }), "Invalid UTF-8");           // lone continuation
  EXPECT_EQ(ThrownText([] { tv::utf8_to_wchar("\xC0\x80"); }), "Invalid UTF-8");       // overlong NUL
  EXPECT_EQ(ThrownText([] { tv::utf8_to_wchar("\xE2\x28\xA1"); }), "Invalid UTF-8");   // broken continuation
  // Well-formed sequences whose value is no code point: a surrogate, and beyond U+10FFFF.
  EXPECT_EQ(ThrownText([] { tv::utf8_to_wchar("\xED\xA0\x80"); }), "Invalid code point");
  EXPECT_EQ(ThrownText([] { tv::utf8_to_wchar("\xF4\x90\x80\x80"); }), "Invalid code point");
  // A sequence cut off by the end of the text is reported as running out of input.
  EXPECT_EQ(ThrownText([] { tv::utf8_to_wchar("\xE2\x82"); }), "Not enough space");
}

TEST(Utf, UnpairedSurrogatesThrow) {
  EXPECT_EQ(ThrownText([] { tv::wchar_to_utf8(std::u16string(1, char16_t(0xD83D))); }), "Invalid UTF-16");
  EXPECT_EQ(ThrownText([] { tv::wchar_to_utf8(std::u16string(1, char16_t(0xDE00))); }), "Invalid UTF-16");
  EXPECT_EQ(ThrownText([] { tv::wchar_to_utf8(u"a" + std::u16string(1, char16_t(0xD83D)) + u"b"); }),
            "Invalid UTF-16");
  // A trail before its lead is no pair either.
  EXPECT_EQ(ThrownText([] { tv::wchar_to_utf8(std::u16string{char16_t(0xDE00), char16_t(0xD83D)}); }),
            "Invalid UTF-16");
}

} // namespace
