// The host program's archive commands as a user runs them: `torvane zip` on archives that Info-ZIP
// zip writes, compared with what unzip lists and extracts, and `torvane core`.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "foundation/string_utils.h"

namespace tv::test {
namespace {

std::vector<std::string> Lines(const std::string& text) { return split(text, "\n"); }

std::vector<std::string> Sorted(std::vector<std::string> lines) {
  std::sort(lines.begin(), lines.end());
  return lines;
}

// What the command itself says on standard error; log lines go there too.
std::vector<std::string> Complaints(const std::string& err) {
  std::vector<std::string> lines = Lines(err);
  std::erase_if(lines, [](const std::string& line) { return line.rfind("torvane ", 0) != 0; });
  return lines;
}

class TorvaneArchive : public CliTest {
protected:
  void SetUp() override {
    CliTest::SetUp();
    Shell("mkdir -p src/sub/deep src/empty && cd src && printf 'alpha\\n' > a.txt && : > empty.txt"
          " && seq 1 50000 > sub/numbers.txt && printf 'bravo\\n' > sub/b.txt"
          " && head -c 200000 /dev/urandom > sub/deep/c.bin"
          " && zip -q -r ../all.zip . && zip -q -r -P secret ../enc.zip .");
  }
  // Standard output of a command run in the test's folder; the test fails if the command does.
  std::string Shell(const std::string& command) {
    std::string out;
    FILE* pipe = popen(("cd '" + folder_ + "' && " + command).c_str(), "r");
    char buffer[1 << 16];
    for (size_t got; pipe != nullptr && (got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;)
      out.append(buffer, got);
    EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command;
    return out;
  }

};

TEST_F(TorvaneArchive, ZipLsListsWhatUnzipLists) {
  const Result all = Torvane("zip ls '" + Path("all.zip") + "' -r");
  ASSERT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(Sorted(Lines(all.out)), Sorted(Lines(Shell("unzip -Z1 all.zip"))));

  // One folder, its files filtered; its folders are shown whatever the filter.
  const Result sub = Torvane("zip ls '" + Path("all.zip") + "' sub '*.txt'");
  ASSERT_EQ(sub.status, 0) << sub.err;
  EXPECT_EQ(Sorted(Lines(sub.out)), (std::vector<std::string>{"b.txt", "deep/", "numbers.txt"}));

  const Result none = Torvane("zip ls '" + Path("all.zip") + "' nowhere");
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(Complaints(none.err), std::vector<std::string>{"torvane zip: no folder 'nowhere/' in the archive"});
}

TEST_F(TorvaneArchive, ZipCatPrintsWhatUnzipPrints) {
  for (const std::string& entry : Lines(Shell("unzip -Z1 all.zip"))) {
    if (entry.back() == '/') continue;
    const Result cat = Torvane("zip cat '" + Path("all.zip") + "' '" + entry + "'");
    EXPECT_EQ(cat.status, 0) << entry << cat.err;
    EXPECT_TRUE(cat.out == Shell("unzip -p all.zip '" + entry + "'")) << entry;
  }
}

TEST_F(TorvaneArchive, ZipCatOpensEncryptedEntriesWithThePassword) {
  for (const std::string entry : {"a.txt", "sub/numbers.txt", "sub/deep/c.bin"}) {
    const Result cat = Torvane("zip cat '" + Path("enc.zip") + "' " + entry + " --password secret");
    EXPECT_EQ(cat.status, 0) << entry << cat.err;
    EXPECT_TRUE(cat.out == Shell("unzip -P secret -p enc.zip " + entry)) << entry;
  }
}

TEST_F(TorvaneArchive, BadInputFailsWithOneLine) {
  Shell("echo 'not a zip archive' > bad.zip");
  const std::string bad_zip = Path("bad.zip");
  struct Case {
    std::string args;
    std::string complaint;
  };
  const Case cases[] = {
      {"zip ls '" + bad_zip + "'", "torvane zip: '" + bad_zip + "' is not a zip archive this driver can read"},
      {"zip cat '" + Path("none.zip") + "' a.txt", "torvane zip: cannot open '" + Path("none.zip") + "'"},
      {"zip cat '" + Path("all.zip") + "' none.txt", "torvane zip: cannot read 'none.txt' from the archive"},
      {"zip cat '" + Path("enc.zip") + "' a.txt", "torvane zip: cannot read 'a.txt' from the archive"},
      {"zip cat '" + Path("enc.zip") + "' a.txt --password wrong", "torvane zip: cannot read 'a.txt' from the archive"},
      {"zip ls", "torvane zip: missing operands; see torvane zip --help"},
      {"core cat none.txt", "torvane core: cannot read 'none.txt' from the archive"},
  };
  for (const Case& bad : cases) {
    const Result result = Torvane(bad.args);
    EXPECT_EQ(result.status, 1) << bad.args;
    EXPECT_EQ(result.out, "") << bad.args;
    EXPECT_EQ(Complaints(result.err), std::vector<std::string>{bad.complaint}) << bad.args;
  }
}

TEST_F(TorvaneArchive, CoreLsAndCatShowTheBuiltInArchive) {
  const Result top = Torvane("core ls");
  ASSERT_EQ(top.status, 0) << top.err;
  EXPECT_EQ(top.out, "version.txt\nsha1.txt\nfonts/\nmaterials/\n");
  const Result all = Torvane("core ls -r");
  ASSERT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.out, "version.txt\nsha1.txt\nfonts/\nfonts/default.ttf\nmaterials/\nmaterials/default.mat\n");

  const Result material = Torvane("core cat materials/default.mat");
  ASSERT_EQ(material.status, 0) << material.err;
  EXPECT_EQ(material.out, "<Material Shader=\"@core/surfaces/diffuse_specular.isl\"/>\n");
  EXPECT_EQ(Torvane("core cat version.txt").out.size(), 5u);
}

} // namespace
} // namespace tv::test
