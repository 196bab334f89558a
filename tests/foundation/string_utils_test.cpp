#include <gtest/gtest.h>

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

} // namespace
