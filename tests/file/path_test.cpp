#include <gtest/gtest.h>
#include <unistd.h>

#include "file/path.h"

using namespace tv;

// Every path helper on the separators, dot segments, prefixes and edge cases callers rely on.
TEST(Path, HelpersOnTheirEdgeCases) {
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
#define ROW(call, expected) {#call, call, expected}
  const struct {
    const char* call;
    std::string got, expected;
  } rows[] = {
      ROW(CleanPath("a\\b//c/./d/../e"), "a/b/c/e"),
      ROW(CleanPath("./a"), "a"),
      ROW(CleanPath("a/b/"), "a/b"),
      ROW(CleanPath("a/b/../../c"), "c"),
      ROW(CleanPath("../a"), "../a"),  // a leading ".." has nothing to cancel against
      ROW(CleanPath("x/../../y"), "../y"),
      ROW(CleanPath("C:\\x"), "c:/x"),
      ROW(CleanPath("\\\\server\\share\\x"), "\\\\server/share/x"),
      ROW(CleanPath("/tmp//x/../y/"), "/tmp/y"),
      ROW(CleanPath("a/"), "a/"),  // a single piece stands as it is
      ROW(CleanPath(".."), ".."),
      ROW(CleanPath(""), ""),
      ROW(CutFileExtension("a/b.tar.gz"), "a/b.tar"),
      ROW(CutFileExtension("a.b/c"), "a.b/c"),
      ROW(CutFileExtension("a.b\\c"), "a.b\\c"),
      ROW(CutFileExtension(".hidden"), ".hidden"),
      ROW(CutFileName("a\\b\\c.txt"), "a\\b\\"),
      ROW(CutFileName("b.txt"), "b.txt"),
      ROW(GetFileName("a\\b/c\\d.txt"), "d.txt"),
      ROW(GetFileName("b.txt"), "b.txt"),
      ROW(GetFileName("a/"), ""),
      ROW(NativePath("a/b\\c", true), "a\\b\\c"),
      ROW(NativePath("a/b\\c", false), "a/b/c"),
      ROW(GetCurrentWorkingFolder(), cwd),
  };
#undef ROW
  for (const auto& row : rows) EXPECT_EQ(row.got, row.expected) << row.call;
}
