// `torvane doc cat` as a user runs it: documents of both text forms printed as a tree of scopes and
// typed values, forms guessed from extension or first bytes, and one clear line for what it can't
// print.

#include <fstream>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "foundation/string_utils.h"

namespace tv::test {
namespace {

// What the command itself says on standard error; log lines go there too.
std::vector<std::string> Complaints(const std::string& err) {
  std::vector<std::string> lines = split(err, "\n");
  std::erase_if(lines, [](const std::string& line) { return line.rfind("torvane ", 0) != 0; });
  return lines;
}

class TorvaneDoc : public CliTest {
protected:
  std::string Put(const std::string& name, const std::string& content) {
    std::ofstream(Path(name), std::ios::binary) << content;
    return "'" + Path(name) + "'";
  }
};

TEST_F(TorvaneDoc, PrintsAnXMLDocumentWithEveryNodeAsAScope) {
  const std::string file = Put("scene.xml",
                               "<?xml version=\"1.0\"?>\n"
                               "<!-- made by hand -->\n"
                               "<Document Version=\"3\" Title=\"a &amp; &quot;b&quot;\"/>\n"
                               "<Scene Name=\"Demo\">\n"
                               "  <Node Visible=\"true\" Scale=\"1.5\" Count=\"-4\" Big=\"3000000000\" Empty=\"\"/>\n"
                               "  text here\n"
                               "</Scene>\n");
  const Result result = Torvane("doc cat " + file);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "root\n"
            "  Version: int = 3\n"
            "  Title: string = \"a & \\\"b\\\"\"\n"
            "  **invalid**\n"
            "  **invalid**\n"
            "  Document\n"
            "    Version: int = 3\n"
            "    Title: string = \"a & \\\"b\\\"\"\n"
            "  Scene\n"
            "    Name: string = \"Demo\"\n"
            "    Node\n"
            "      Visible: bool = true\n"
            "      Scale: float = 1.5\n"
            "      Count: int = -4\n"
            "      Big: unsigned = 3000000000\n"
            "      Empty: string = \"\"\n"
            "    **invalid**\n");
}

TEST_F(TorvaneDoc, PrintsAJSONDocumentWithItsKindsRepeatsAndEscapes) {
  // A scene file of an unknown extension: judged JSON by its first byte.
  const std::string file = Put("level.scn",
                               "{\"Version\": 3, \"Name\": \"x\\ny\\u0001\", \"F\": 0.25, \"U\": 3000000000,"
                               " \"Tags\": [1, 2], \"Scene\": {\"X\": 5, \"X\": 6, \"Node\": {\"X\": 1},"
                               " \"Node\": {\"X\": 2}, \"Empty\": {}}}");
  const Result result = Torvane("doc cat " + file);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "root\n"
            "  Version: int = 3\n"
            "  Name: string = \"x\\ny\\x01\"\n"
            "  F: float = 0.25\n"
            "  U: unsigned = 3000000000\n"
            "  Tags: other\n"
            "  Scene\n"
            "    X: int = 5\n"
            "    X: repeated, a reader finds the first\n"
            "    Node\n"
            "      X: int = 1\n"
            "    Node\n"
            "      X: int = 2\n"
            "    Empty\n");
}

TEST_F(TorvaneDoc, PrintsDeepDocumentsWithoutRecursion) {
  std::string text;
  for (int i = 0; i < 900; ++i) text += "{\"A\": ";
  text += "{\"Bottom\": true}";
  for (int i = 0; i < 900; ++i) text += "}";
  const Result result = Torvane("doc cat " + Put("deep.json", "{\"Top\": " + text + "}"));
  ASSERT_EQ(result.status, 0) << result.err;
  const std::vector<std::string> lines = split(result.out, "\n");
  ASSERT_EQ(lines.size(), 903u);  // root, Top, 900 times A, the value
  EXPECT_EQ(lines[902], std::string(2 * 902, ' ') + "Bottom: bool = true");
}

TEST_F(TorvaneDoc, RefusesWhatItCannotPrintWithOneLine) {
  const struct {
    std::string args;
    std::string complaint;
  } cases[] = {
      {"doc", "torvane doc: missing operands; see torvane doc --help"},
      {"doc ls x", "torvane doc: unknown verb 'ls'; see torvane doc --help"},
      {"doc cat", "torvane doc: missing FILE; see torvane doc --help"},
      {"doc cat a b", "torvane doc: too many operands; see torvane doc --help"},
      {"doc cat --raw x", "torvane doc: unknown option '--raw'; see torvane doc --help"},
      {"doc cat " + Path("missing.json"), "torvane doc: cannot open '" + Path("missing.json") + "'"},
      {"doc cat " + Put("broken.json", "{\"a\": 1,}"),
       "torvane doc: '" + Path("broken.json") + "' is no well-formed JSON document"},
      {"doc cat " + Put("broken.scn", "<A><B></A>"),
       "torvane doc: '" + Path("broken.scn") + "' is no well-formed XML document"},
      {"doc cat " + Put("model.bin", "NBIN"), "torvane doc: the format of '" + Path("model.bin") + "' is not known"},
      {"doc cat " + Put("notes.txt", "plain words"),
       "torvane doc: the format of '" + Path("notes.txt") + "' is not known"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const Result result = Torvane(c.args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Complaints(result.err), (std::vector<std::string>{c.complaint}));
  }
}

TEST_F(TorvaneDoc, HelpDescribesTheCommand) {
  const Result help = Torvane("doc --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: torvane doc cat FILE\n", 0), 0u) << help.out;
  const Result main_help = Torvane("--help");
  EXPECT_NE(main_help.out.find("  doc cat FILE\n"), std::string::npos) << main_help.out;
}

} // namespace
} // namespace tv::test
