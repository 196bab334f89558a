// `torvane doc` as a user runs it: documents of the three forms printed as a tree of scopes and
// typed values, forms guessed from extension or first bytes, documents converted between the forms
// and back, and one clear line for what it can't print or convert, with no output file left behind.

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "cli_harness.h"
#include "document/binary_document_writer.h"

namespace tv::test {
namespace {

using TorvaneDoc = CliTest;

// The bytes the engine's own binary writer saves.
std::string Image(BinaryDocumentWriter& writer) {
  BinaryData image;
  EXPECT_TRUE(writer.Save(image));
  return std::string(image.data.begin(), image.data.begin() + image.size);
}

std::set<std::string> FilesIn(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename().string());
  return names;
}

// Each form printed as a tree: every XML node a scope (declaration, comment and text **invalid**,
// the root's values shown at the root and under "Document"); JSON of an unknown extension judged by
// its first byte, with its kinds, repeats and escapes; a binary document of any name by "NBIN"; a
// deep document without recursion.
TEST_F(TorvaneDoc, PrintsEachFormAsATree) {
  BinaryDocumentWriter writer;
  BinaryData positions;
  positions.Write("0123456789ab", 12);
  writer.Write("Version", 2u);
  writer.EnterScope("Mesh");
  writer.Write("Name", std::string("cube\n"));
  writer.Write("Positions", positions);
  writer.Write("Count", -8);
  writer.Write("Count", 9);
  writer.EnterScope("Empty");
  writer.ExitScope();
  writer.ExitScope();
  const struct {
    std::string name, content, tree;
  } cases[] = {
      {"scene.xml",
       "<?xml version=\"1.0\"?>\n<!-- made by hand -->\n<Document Version=\"3\" Title=\"a &amp; &quot;b&quot;\"/>\n"
       "<Scene Name=\"Demo\">\n  <Node Visible=\"true\" Scale=\"1.5\" Count=\"-4\" Big=\"3000000000\" Empty=\"\"/>\n"
       "  text here\n</Scene>\n",
       "root\n  Version: int = 3\n  Title: string = \"a & \\\"b\\\"\"\n  **invalid**\n  **invalid**\n  Document\n"
       "    Version: int = 3\n    Title: string = \"a & \\\"b\\\"\"\n  Scene\n    Name: string = \"Demo\"\n    Node\n"
       "      Visible: bool = true\n      Scale: float = 1.5\n      Count: int = -4\n      Big: unsigned = 3000000000\n"
       "      Empty: string = \"\"\n    **invalid**\n"},
      {"level.scn",
       "{\"Version\": 3, \"Name\": \"x\\ny\\u0001\", \"F\": 0.25, \"U\": 3000000000, \"Tags\": [1, 2], \"Scene\": "
       "{\"X\": 5, \"X\": 6, \"Node\": {\"X\": 1}, \"Node\": {\"X\": 2}, \"Empty\": {}}}",
       "root\n  Version: int = 3\n  Name: string = \"x\\ny\\x01\"\n  F: float = 0.25\n  U: unsigned = 3000000000\n"
       "  Tags: other\n  Scene\n    X: int = 5\n    X: repeated, a reader finds the first\n    Node\n      X: int = 1\n"
       "    Node\n      X: int = 2\n    Empty\n"},
      {"cube.geo", Image(writer),
       "root\n  Version: unsigned = 2\n  Mesh\n    Name: string = \"cube\\n\"\n    Positions: binary = 12 bytes\n"
       "    Count: int = -8\n    Count: repeated, a reader finds the first\n    Empty\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const Result result = Torvane("doc cat " + Put(c.name, c.content));
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out, c.tree);
  }
  std::string text = "{\"Top\": ";
  for (int i = 0; i < 900; ++i) text += "{\"A\": ";
  text += "{\"Bottom\": true}" + std::string(901, '}');
  const std::vector<std::string> lines = Lines(Torvane("doc cat " + Put("deep.json", text)).out);
  ASSERT_EQ(lines.size(), 903u);  // root, Top, 900 times A, the value
  EXPECT_EQ(lines[902], std::string(2 * 902, ' ') + "Bottom: bool = true");
}

// A scene as a person writes it, with a comment, root values and every kind XML text reads as.
const char* const kSceneXML =
    "<?xml version=\"1.0\"?>\n<!-- made by hand -->\n<Document Version=\"3\" Title=\"a &amp; b\"/>\n"
    "<Scene Name=\"Demo\">\n  <Node Visible=\"true\" Scale=\"1.25\" Count=\"-4\" Big=\"3000000000\" Empty=\"\"/>\n"
    "  <Node><Transform x=\"0.5\" y=\"-2\"/></Node>\n</Scene>\n";

// What cat prints of the scene in every form, less the comment and declaration; the root's values
// show again under "Document" where the form is XML.
std::string SceneTree(bool xml) {
  return std::string("root\n  Version: int = 3\n  Title: string = \"a & b\"\n") +
         (xml ? "  Document\n    Version: int = 3\n    Title: string = \"a & b\"\n" : "") +
         "  Scene\n    Name: string = \"Demo\"\n    Node\n      Visible: bool = true\n      Scale: float = 1.25\n"
         "      Count: int = -4\n      Big: unsigned = 3000000000\n      Empty: string = \"\"\n    Node\n"
         "      Transform\n        x: float = 0.5\n        y: int = -2\n";
}

// Conversions between the three forms and back keep the tree, whatever the path, and give the same
// XML text; a conversion replaces an older output whole, and may convert a file onto itself.
TEST_F(TorvaneDoc, ConvertsBetweenTheThreeFormsAndBack) {
  Put("scene.xml", kSceneXML);
  Put("a.bin", std::string(100000, 'x'));
  const std::vector<std::vector<std::string>> chains = {
      {"scene.xml", "a.bin", "a.json", "a.xml"},
      {"scene.xml", "b.json", "b.bin", "b.xml"},
      {"scene.xml", "c.xml", "c.json", "c.bin", "c2.json", "c2.xml", "c2.xml"},
  };
  for (const std::vector<std::string>& chain : chains) {
    for (size_t i = 1; i < chain.size(); ++i) {
      SCOPED_TRACE(chain[i - 1] + " -> " + chain[i]);
      const Result convert = Torvane("doc convert " + Q(chain[i - 1]) + " " + Q(chain[i]));
      ASSERT_EQ(convert.status, 0) << convert.err;
      EXPECT_EQ(convert.out, "");
      EXPECT_EQ(Complaints(convert.err), std::vector<std::string>{});
      EXPECT_EQ(Torvane("doc cat " + Q(chain[i])).out, SceneTree(chain[i].ends_with(".xml")));
    }
  }
  for (const std::string& name : FilesIn(folder_)) EXPECT_NE(name[0], '.') << name;  // no temporary left
  EXPECT_EQ(ReadText(Path("a.bin")).substr(0, 4), "NBIN");
  EXPECT_EQ(ReadText(Path("a.json")).substr(0, 1), "{");
  EXPECT_EQ(ReadText(Path("a.xml")), ReadText(Path("b.xml")));
  EXPECT_EQ(ReadText(Path("a.xml")), ReadText(Path("c2.xml")));
  EXPECT_EQ(ReadText(Path("a.xml")).rfind("<Document Version=\"3\" Title=\"a &amp; b\"/>\n", 0), 0u);
}

// The output form comes from --format, else from the extension whatever its case; read back by the
// extension or, where that says nothing or the wrong thing, by the first bytes.
TEST_F(TorvaneDoc, TheOutputFormComesFromTheOptionElseTheExtension) {
  const std::string in = Put("scene.xml", kSceneXML);
  const struct {
    std::string args, out, head;
  } cases[] = {{"--format binary", "scene.dat", "NBIN"}, {"--format=json", "scene.xml", "{"},
               {"--format xml", "scene.json", "<Document"}, {"", "level.scn", "{"},
               {"", "level.MAT", "{"},                      {"", "mesh.Bin", "NBIN"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args + " " + c.out);
    const std::string out = "out_" + c.out;
    const Result result = Torvane("doc convert " + c.args + " " + in + " " + Q(out));
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(ReadText(Path(out)).substr(0, c.head.size()), c.head);
    if (c.out != "scene.xml" && c.out != "scene.json") {
      EXPECT_EQ(Torvane("doc cat " + Q(out)).out, SceneTree(false));
    }
  }
}

// What can't be printed or converted is refused with one line; a refused conversion leaves no
// output, no temporary file, and the file that stood at OUT untouched.
TEST_F(TorvaneDoc, RefusesWithOneLineAndLeavesNoOutput) {
  BinaryDocumentWriter writer;
  BinaryData block;
  block.Write("abcd", 4);
  writer.EnterScope("Mesh");
  writer.Write("Positions", block);
  writer.ExitScope();
  const std::string mesh = Put("mesh.bin", Image(writer));
  const std::string scene = Put("scene.xml", kSceneXML);
  const std::string help = "; see torvane doc --help";
  const std::string no_xml = "': the XML made from it does not load again (XML names can't hold spaces and the like, "
                             "and a document of nothing has no XML form)";
  ExpectRefusals(
      {{"doc", "torvane doc: missing operands" + help},
       {"doc ls x", "torvane doc: unknown verb 'ls'" + help},
       {"doc cat", "torvane doc: missing FILE" + help},
       {"doc cat a b", "torvane doc: too many operands" + help},
       {"doc cat --raw x", "torvane doc: unknown option '--raw'" + help},
       {"doc cat --format xml x", "torvane doc: --format belongs to doc convert" + help},
       {"doc cat " + Q("missing.json"), "torvane doc: cannot open '" + Path("missing.json") + "'"},
       {"doc cat " + Put("broken.scn", "<A><B></A>"), "torvane doc: '" + Path("broken.scn") + "' is no well-formed XML document"},
       {"doc cat " + Put("model.bin", "NBIN"), "torvane doc: '" + Path("model.bin") + "' is no well-formed binary document"},
       {"doc cat " + Put("bad.geo", std::string("NBIN\x09\0\0\0\0\0\0\0\0", 13)),
        "torvane doc: '" + Path("bad.geo") + "' is no well-formed binary document"}},
      false);
  Put("kept.json", "old content");
  const std::set<std::string> before = FilesIn(folder_);
  ExpectRefusals(
      {{"doc convert " + scene, "torvane doc: missing IN or OUT" + help},
       {"doc convert a b c", "torvane doc: too many operands" + help},
       {"doc convert " + scene + " x.json --format", "torvane doc: --format wants xml, json or binary"},
       {"doc convert " + scene + " x.json --format=BIN", "torvane doc: --format wants xml, json or binary, not 'BIN'"},
       {"doc convert " + scene + " " + Q("out.txt"),
        "torvane doc: the format of '" + Path("out.txt") + "' is not known; name it .xml, .json or .bin, or give --format"},
       {"doc convert " + Q("missing.xml") + " " + Q("out.json"), "torvane doc: cannot open '" + Path("missing.xml") + "'"},
       {"doc convert " + Put("broken.json", "{\"a\": 1,}") + " " + Q("out.xml"),
        "torvane doc: '" + Path("broken.json") + "' is no well-formed JSON document"},
       // Neither XML nor JSON by its first byte, so tried as binary.
       {"doc convert " + Put("notes.txt", "plain words") + " " + Q("out.xml"),
        "torvane doc: the format of '" + Path("notes.txt") + "' is not known, and it is no well-formed binary document"},
       {"doc convert " + mesh + " " + Q("kept.json"), "torvane doc: cannot convert '" + Path("mesh.bin") +
                                                          "': 'Positions' in 'Mesh' is a binary block, which only a binary document can hold"},
       {"doc convert " + Put("spaced.json", "{\"a b\": 1}") + " " + Q("out.xml"),
        "torvane doc: cannot convert '" + Path("spaced.json") + no_xml},
       {"doc convert " + Put("empty.json", "{}") + " " + Q("out.xml"), "torvane doc: cannot convert '" + Path("empty.json") + no_xml},
       {"doc convert " + scene + " " + Q("no/such/folder/out.json"),
        "torvane doc: cannot write '" + Path("no/such/folder/out.json") + "'"},
       {"doc convert " + scene + " " + Q("kept.json/out.json"), "torvane doc: cannot write '" + Path("kept.json/out.json") + "'"}},
      false);
  std::set<std::string> after = FilesIn(folder_);
  for (const char* input : {"broken.json", "notes.txt", "spaced.json", "empty.json"}) after.erase(input);
  EXPECT_EQ(after, before);
  EXPECT_EQ(ReadText(Path("kept.json")), "old content");
}

} // namespace
} // namespace tv::test
