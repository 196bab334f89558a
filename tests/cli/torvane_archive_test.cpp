// `torvane zip` on archives that Info-ZIP zip writes, compared with what unzip lists and extracts,
// and `torvane core` on the built-in archive.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "cli_harness.h"

namespace tv::test {
namespace {

class TorvaneArchive : public CliTest {
protected:
  void SetUp() override {
    CliTest::SetUp();
    Shell("mkdir -p src/sub/deep src/empty && cd src && printf 'alpha\\n' > a.txt && : > empty.txt"
          " && seq 1 50000 > sub/numbers.txt && printf 'bravo\\n' > sub/b.txt"
          " && head -c 200000 /dev/urandom > sub/deep/c.bin && zip -q -r ../all.zip . && zip -q -r -P secret ../enc.zip .");
  }
  // Standard output of a command run in the test's folder.
  std::string Output(const std::string& command) {
    std::string out;
    FILE* pipe = popen(("cd '" + folder_ + "' && " + command).c_str(), "r");
    char buffer[1 << 16];
    for (size_t got; pipe != nullptr && (got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;) out.append(buffer, got);
    EXPECT_TRUE(pipe != nullptr && pclose(pipe) == 0) << command;
    return out;
  }
  static std::vector<std::string> Sorted(std::vector<std::string> lines) {
    std::sort(lines.begin(), lines.end());
    return lines;
  }
};

// ls lists what unzip lists (a folder's files filtered, its folders shown whatever the filter); cat
// prints what unzip prints, encrypted entries given the password.
TEST_F(TorvaneArchive, ZipListsAndPrintsWhatUnzipDoes) {
  const Result all = Torvane("zip ls " + Q("all.zip") + " -r");
  ASSERT_EQ(all.status, 0) << all.err;
  const std::vector<std::string> entries = Lines(Output("unzip -Z1 all.zip"));
  EXPECT_EQ(Sorted(Lines(all.out)), Sorted(entries));
  const Result sub = Torvane("zip ls " + Q("all.zip") + " sub '*.txt'");
  ASSERT_EQ(sub.status, 0) << sub.err;
  EXPECT_EQ(Sorted(Lines(sub.out)), (std::vector<std::string>{"b.txt", "deep/", "numbers.txt"}));

  for (const std::string& entry : entries) {
    if (entry.back() == '/') continue;
    const Result cat = Torvane("zip cat " + Q("all.zip") + " '" + entry + "'");
    EXPECT_EQ(cat.status, 0) << entry << cat.err;
    EXPECT_TRUE(cat.out == Output("unzip -p all.zip '" + entry + "'")) << entry;
  }
  for (const std::string entry : {"a.txt", "sub/numbers.txt", "sub/deep/c.bin"}) {
    const Result cat = Torvane("zip cat " + Q("enc.zip") + " " + entry + " --password secret");
    EXPECT_EQ(cat.status, 0) << entry << cat.err;
    EXPECT_TRUE(cat.out == Output("unzip -P secret -p enc.zip " + entry)) << entry;
  }
}

// Every failure is one line: not an archive, missing archive, entry or folder, no or a wrong password.
TEST_F(TorvaneArchive, BadInputFailsWithOneLine) {
  const std::string bad_zip = Put("bad.zip", "not a zip archive\n");
  const std::string unreadable = "torvane zip: cannot read 'a.txt' from the archive";
  ExpectRefusals({{"zip ls " + bad_zip, "torvane zip: '" + Path("bad.zip") + "' is not a zip archive this driver can read"},
                  {"zip ls " + Q("all.zip") + " nowhere", "torvane zip: no folder 'nowhere/' in the archive"},
                  {"zip cat " + Q("none.zip") + " a.txt", "torvane zip: cannot open '" + Path("none.zip") + "'"},
                  {"zip cat " + Q("all.zip") + " none.txt", "torvane zip: cannot read 'none.txt' from the archive"},
                  {"zip cat " + Q("enc.zip") + " a.txt", unreadable},
                  {"zip cat " + Q("enc.zip") + " a.txt --password wrong", unreadable},
                  {"zip ls", "torvane zip: missing operands; see torvane zip --help"},
                  {"core cat none.txt", "torvane core: cannot read 'none.txt' from the archive"}},
                 false);
}

// The built-in archive: its listing, flat and recursive, and its default material.
TEST_F(TorvaneArchive, CoreLsAndCatShowTheBuiltInArchive) {
  EXPECT_EQ(Torvane("core ls").out, "version.txt\nsha1.txt\nfonts/\nmaterials/\n");
  EXPECT_EQ(Torvane("core ls -r").out,
            "version.txt\nsha1.txt\nfonts/\nfonts/default.ttf\nmaterials/\nmaterials/default.mat\n");
  const Result material = Torvane("core cat materials/default.mat");
  ASSERT_EQ(material.status, 0) << material.err;
  EXPECT_EQ(material.out, "<Material Shader=\"@core/surfaces/diffuse_specular.isl\"/>\n");
  EXPECT_EQ(Torvane("core cat version.txt").out.size(), 5u);
}

} // namespace
} // namespace tv::test
