#include <gtest/gtest.h>
#include <unistd.h>

#include "file/path.h"

using namespace tv;

TEST(CleanPath, FoldsSeparatorsAndDotSegments) {
  EXPECT_EQ(CleanPath("a\\b//c/./d/../e"), "a/b/c/e");
  EXPECT_EQ(CleanPath("./a"), "a");
  EXPECT_EQ(CleanPath("a/b/"), "a/b");
}

TEST(CleanPath, ResolvesParentSegments) {
  EXPECT_EQ(CleanPath("a/b/../../c"), "c");
  // A leading ".." has nothing to cancel against and must survive.
  EXPECT_EQ(CleanPath("../a"), "../a");
  EXPECT_EQ(CleanPath("x/../../y"), "../y");
}

TEST(CleanPath, LowerCasesDriveLetter) { EXPECT_EQ(CleanPath("C:\\x"), "c:/x"); }

TEST(CleanPath, KeepsNetworkPrefix) { EXPECT_EQ(CleanPath("\\\\server\\share\\x"), "\\\\server/share/x"); }

TEST(CleanPath, ReturnsSinglePieceAsItStands) {
  EXPECT_EQ(CleanPath("a"), "a");
  EXPECT_EQ(CleanPath("a/"), "a/");
  EXPECT_EQ(CleanPath(".."), "..");
  EXPECT_EQ(CleanPath(""), "");
}

TEST(CleanPath, KeepsRootOfAbsolutePath) { EXPECT_EQ(CleanPath("/tmp//x/../y/"), "/tmp/y"); }

TEST(CutFileExtension, CutsOnlyInLastPiece) {
  EXPECT_EQ(CutFileExtension("a/b.txt"), "a/b");
  EXPECT_EQ(CutFileExtension("a/b.tar.gz"), "a/b.tar");
  EXPECT_EQ(CutFileExtension("a.b/c"), "a.b/c");
  EXPECT_EQ(CutFileExtension("a.b\\c"), "a.b\\c");
  EXPECT_EQ(CutFileExtension("noext"), "noext");
}

TEST(CutFileExtension, NeverLooksAtFirstCharacter) { EXPECT_EQ(CutFileExtension(".hidden"), ".hidden"); }

TEST(CutFileName, KeepsFolderWithSeparator) {
  EXPECT_EQ(CutFileName("a/b.txt"), "a/");
  EXPECT_EQ(CutFileName("a\\b\\c.txt"), "a\\b\\");
  EXPECT_EQ(CutFileName("b.txt"), "b.txt");
}

TEST(GetFileName, ReturnsPartBehindLastSeparator) {
  EXPECT_EQ(GetFileName("a/b.txt"), "b.txt");
  EXPECT_EQ(GetFileName("a\\b/c\\d.txt"), "d.txt");
  EXPECT_EQ(GetFileName("b.txt"), "b.txt");
  EXPECT_EQ(GetFileName("a/"), "");
}

TEST(NativePath, ExchangesSeparatorsBothWays) {
  EXPECT_EQ(NativePath("a/b\\c", true), "a\\b\\c");
  EXPECT_EQ(NativePath("a/b\\c", false), "a/b/c");
}

TEST(GetCurrentWorkingFolder, EqualsGetcwd) {
  char buffer[4096];
  ASSERT_NE(getcwd(buffer, sizeof(buffer)), nullptr);
  EXPECT_EQ(GetCurrentWorkingFolder(), buffer);
}
