// `torvane doc` as a user runs it: documents of the three forms printed as a tree of scopes and
// typed values, forms guessed from extension or first bytes, documents converted between the forms
// and back, and one clear line for what it can't print or convert, with no output file left
// behind.

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "document/binary_document_writer.h"
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
      {"doc cat --format xml x", "torvane doc: --format belongs to doc convert; see torvane doc --help"},
      {"doc cat " + Put("model.bin", "NBIN"), "torvane doc: '" + Path("model.bin") + "' is no well-formed binary document"},
      // Neither XML nor JSON by its first byte, so tried as binary.
      {"doc cat " + Put("notes.txt", "plain words"),
       "torvane doc: the format of '" + Path("notes.txt") + "' is not known, and it is no well-formed binary document"},
      {"doc cat " + Put("bad.geo", std::string("NBIN\x09\0\0\0\0\0\0\0\0", 13)),
       "torvane doc: '" + Path("bad.geo") + "' is no well-formed binary document"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const Result result = Torvane(c.args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Complaints(result.err), (std::vector<std::string>{c.complaint}));
  }
}

TEST_F(TorvaneDoc, PrintsABinaryDocumentOfAnyName) {
  // Made by the engine's own writer; the name says nothing, the first bytes "NBIN" do.
  tv::BinaryDocumentWriter writer;
  writer.Write("Version", 2u);
  writer.EnterScope("Mesh");
  writer.Write("Name", std::string("cube\n"));
  tv::BinaryData positions;
  positions.Write("0123456789ab", 12);
  writer.Write("Positions", positions);
  writer.Write("Scale", -0.5f);
  writer.Write("Count", -8);
  writer.Write("Count", 9);
  writer.Write("Closed", true);
  writer.EnterScope("Empty");
  writer.ExitScope();
  writer.ExitScope();
  tv::BinaryData image;
  ASSERT_TRUE(writer.Save(image));
  const std::string file = Put("cube.geo", std::string(image.data.begin(), image.data.begin() + image.size));

  const Result result = Torvane("doc cat " + file);
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out,
            "root\n"
            "  Version: unsigned = 2\n"
            "  Mesh\n"
            "    Name: string = \"cube\\n\"\n"
            "    Positions: binary = 12 bytes\n"
            "    Scale: float = -0.5\n"
            "    Count: int = -8\n"
            "    Count: repeated, a reader finds the first\n"
            "    Closed: bool = true\n"
            "    Empty\n");
}

// A scene as a person writes it, with a comment, root values and every kind XML text reads as.
const char* const kSceneXML =
    "<?xml version=\"1.0\"?>\n"
    "<!-- made by hand -->\n"
    "<Document Version=\"3\" Title=\"a &amp; b\"/>\n"
    "<Scene Name=\"Demo\">\n"
    "  <Node Visible=\"true\" Scale=\"1.25\" Count=\"-4\" Big=\"3000000000\" Empty=\"\"/>\n"
    "  <Node><Transform x=\"0.5\" y=\"-2\"/></Node>\n"
    "</Scene>\n";

// What cat prints of the scene in every form, less the comment and declaration; the root's values
// show again under "Document" where the form is XML.
const char* const kSceneTree =
    "root\n"
    "  Version: int = 3\n"
    "  Title: string = \"a & b\"\n"
    "%s"
    "  Scene\n"
    "    Name: string = \"Demo\"\n"
    "    Node\n"
    "      Visible: bool = true\n"
    "      Scale: float = 1.25\n"
    "      Count: int = -4\n"
    "      Big: unsigned = 3000000000\n"
    "      Empty: string = \"\"\n"
    "    Node\n"
    "      Transform\n"
    "        x: float = 0.5\n"
    "        y: int = -2\n";

std::string SceneTree(bool xml) {
  const std::string document = xml ? "  Document\n    Version: int = 3\n    Title: string = \"a & b\"\n" : "";
  std::string tree = kSceneTree;
  tree.replace(tree.find("%s"), 2, document);
  return tree;
}

TEST_F(TorvaneDoc, ConvertsBetweenTheThreeFormsAndBack) {
  Put("scene.xml", kSceneXML);
  const std::vector<std::vector<std::string>> chains = {
      {"scene.xml", "a.bin", "a.json", "a.xml"},
      {"scene.xml", "b.json", "b.bin", "b.xml"},
      {"scene.xml", "c.xml", "c.json", "c.bin", "c2.json", "c2.xml"},
  };
  for (const std::vector<std::string>& chain : chains) {
    for (size_t i = 1; i < chain.size(); ++i) {
      SCOPED_TRACE(chain[i - 1] + " -> " + chain[i]);
      const Result convert = Torvane("doc convert '" + Path(chain[i - 1]) + "' '" + Path(chain[i]) + "'");
      ASSERT_EQ(convert.status, 0) << convert.err;
      EXPECT_EQ(convert.out, "");
      EXPECT_EQ(Complaints(convert.err), std::vector<std::string>{});
      const Result cat = Torvane("doc cat '" + Path(chain[i]) + "'");
      ASSERT_EQ(cat.status, 0) << cat.err;
      EXPECT_EQ(cat.out, SceneTree(chain[i].ends_with(".xml")));
    }
  }
  EXPECT_EQ(ReadText(Path("a.bin")).substr(0, 4), "NBIN");
  EXPECT_EQ(ReadText(Path("a.json")).substr(0, 1), "{");
  // The same XML text whichever forms it went through.
  EXPECT_EQ(ReadText(Path("a.xml")), ReadText(Path("b.xml")));
  EXPECT_EQ(ReadText(Path("a.xml")), ReadText(Path("c2.xml")));
  EXPECT_EQ(ReadText(Path("a.xml")).rfind("<Document Version=\"3\" Title=\"a &amp; b\"/>\n", 0), 0u);
}

TEST_F(TorvaneDoc, TheOutputFormComesFromTheOptionElseTheExtension) {
  const std::string in = Put("scene.xml", kSceneXML);
  const struct {
    std::string args;
    std::string out;
    std::string head;
  } cases[] = {
      {"--format binary", "scene.dat", "NBIN"},
      {"--format=json", "scene.xml", "{"},
      {"--format xml", "scene.json", "<Document"},
      {"", "level.scn", "{"},
      {"", "level.MAT", "{"},
      {"", "mesh.Bin", "NBIN"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args + " " + c.out);
    const std::string out = Path("out_" + c.out);
    const Result result = Torvane("doc convert " + c.args + " " + in + " '" + out + "'");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(ReadText(out).substr(0, c.head.size()), c.head);
    // Read back by its extension or, where that says nothing or the wrong thing, by its first bytes.
    if (c.out == "scene.xml" || c.out == "scene.json") continue;
    const Result cat = Torvane("doc cat '" + out + "'");
    ASSERT_EQ(cat.status, 0) << cat.err;
    EXPECT_EQ(cat.out, SceneTree(false));
  }
}

// Every file in the test's folder but the captured output of the last run.
std::set<std::string> FilesIn(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name != "stdout.txt" && name != "stderr.txt") names.insert(name);
  }
  return names;
}

TEST_F(TorvaneDoc, RefusesAConversionWithOneLineAndLeavesNoOutput) {
  tv::BinaryDocumentWriter writer;
  writer.EnterScope("Mesh");
  tv::BinaryData block;
  block.Write("abcd", 4);
  writer.Write("Positions", block);
  writer.ExitScope();
  tv::BinaryData image;
  ASSERT_TRUE(writer.Save(image));
  const std::string mesh = Put("mesh.bin", std::string(image.data.begin(), image.data.begin() + image.size));
  const std::string spaced = Put("spaced.json", "{\"a b\": 1}");
  const std::string empty = Put("empty.json", "{}");
  const std::string scene = Put("scene.xml", kSceneXML);
  Put("kept.json", "old content");
  const std::set<std::string> before = FilesIn(folder_);

  const struct {
    std::string args;
    std::string complaint;
  } cases[] = {
      {"doc convert", "torvane doc: missing IN or OUT; see torvane doc --help"},
      {"doc convert " + scene, "torvane doc: missing IN or OUT; see torvane doc --help"},
      {"doc convert a b c", "torvane doc: too many operands; see torvane doc --help"},
      {"doc convert " + scene + " x.json --format", "torvane doc: --format wants xml, json or binary"},
      {"doc convert " + scene + " x.json --format yaml", "torvane doc: --format wants xml, json or binary, not 'yaml'"},
      {"doc convert " + scene + " x.json --format=BIN", "torvane doc: --format wants xml, json or binary, not 'BIN'"},
      {"doc convert " + scene + " '" + Path("out.txt") + "'",
       "torvane doc: the format of '" + Path("out.txt") + "' is not known; name it .xml, .json or .bin, or give --format"},
      {"doc convert '" + Path("missing.xml") + "' '" + Path("out.json") + "'",
       "torvane doc: cannot open '" + Path("missing.xml") + "'"},
      {"doc convert " + Put("broken.json", "{\"a\": 1,}") + " '" + Path("out.xml") + "'",
       "torvane doc: '" + Path("broken.json") + "' is no well-formed JSON document"},
      {"doc convert " + Put("notes.txt", "plain words") + " '" + Path("out.xml") + "'",
       "torvane doc: the format of '" + Path("notes.txt") + "' is not known, and it is no well-formed binary document"},
      {"doc convert " + mesh + " '" + Path("kept.json") + "'",
       "torvane doc: cannot convert '" + Path("mesh.bin") +
           "': 'Positions' in 'Mesh' is a binary block, which only a binary document can hold"},
      {"doc convert " + mesh + " '" + Path("out.xml") + "'",
       "torvane doc: cannot convert '" + Path("mesh.bin") +
           "': 'Positions' in 'Mesh' is a binary block, which only a binary document can hold"},
      {"doc convert " + spaced + " '" + Path("out.xml") + "'",
       "torvane doc: cannot convert '" + Path("spaced.json") +
           "': the XML made from it does not load again (XML names can't hold spaces and the like, and a document"
           " of nothing has no XML form)"},
      {"doc convert " + empty + " '" + Path("out.xml") + "'",
       "torvane doc: cannot convert '" + Path("empty.json") +
           "': the XML made from it does not load again (XML names can't hold spaces and the like, and a document"
           " of nothing has no XML form)"},
      {"doc convert " + scene + " '" + Path("no/such/folder/out.json") + "'",
       "torvane doc: cannot write '" + Path("no/such/folder/out.json") + "'"},
      {"doc convert " + scene + " '" + Path("kept.json") + "/out.json'",
       "torvane doc: cannot write '" + Path("kept.json") + "/out.json'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const Result result = Torvane(c.args);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Complaints(result.err), (std::vector<std::string>{c.complaint}));
  }
  // No output, no temporary file, and the file that stood at OUT untouched.
  std::set<std::string> after = FilesIn(folder_);
  after.erase("broken.json");
  after.erase("notes.txt");
  EXPECT_EQ(after, before);
  EXPECT_EQ(ReadText(Path("kept.json")), "old content");
}

TEST_F(TorvaneDoc, AConversionReplacesAnOlderOutputWhole) {
  const std::string scene = Put("scene.xml", kSceneXML);
  Put("scene.json", std::string(100000, 'x'));
  const Result result = Torvane("doc convert " + scene + " '" + Path("scene.json") + "'");
  ASSERT_EQ(result.status, 0) << result.err;
  const Result cat = Torvane("doc cat '" + Path("scene.json") + "'");
  ASSERT_EQ(cat.status, 0) << cat.err;
  EXPECT_EQ(cat.out, SceneTree(false));
  EXPECT_EQ(FilesIn(folder_), (std::set<std::string>{"scene.json", "scene.xml"}));
  // Converting a file onto itself reads it whole first.
  const Result self = Torvane("doc convert '" + Path("scene.json") + "' '" + Path("scene.json") + "'");
  ASSERT_EQ(self.status, 0) << self.err;
  EXPECT_EQ(Torvane("doc cat '" + Path("scene.json") + "'").out, SceneTree(false));
}

TEST_F(TorvaneDoc, HelpDescribesTheCommand) {
  const Result help = Torvane("doc --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.out.rfind("usage: torvane doc cat FILE\n"
                           "       torvane doc convert IN OUT [--format xml|json|binary]\n",
                           0),
            0u)
      << help.out;
  const Result main_help = Torvane("--help");
  EXPECT_NE(main_help.out.find("  doc cat FILE\n"), std::string::npos) << main_help.out;
  EXPECT_NE(main_help.out.find("  doc convert IN OUT [--format xml|json|binary]\n"), std::string::npos)
      << main_help.out;
}

} // namespace
} // namespace tv::test
