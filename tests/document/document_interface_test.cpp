// The interface's helpers (counting and finding scopes, paths, the writer's scope guard), choosing
// the form of a document by extension and first bytes, and copying documents between the forms:
// what survives every step, what a copy leaves out on purpose, and what it refuses.

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "document/document_copy.h"
#include "document/document_open.h"
#include "document/document_scope.h"
#include "document_test_support.h"

using namespace tv;
using tv_test::ExpectScript;
using tv_test::WriteScript;

namespace {

// Three levels with repeated names and a value "At" at each stop.
constexpr const char* kTree =
    "{\"At\": \"root\", \"A\": {\"At\": \"A1\", \"B\": {\"At\": \"B1\"}}, \"X\": {\"At\": \"X\"},"
    " \"A\": {\"At\": \"A2\", \"B\": {\"At\": \"B2\", \"C\": {\"At\": \"C\"}}, \"B\": {\"At\": \"B3\"}}}";

std::string At(DocumentReader& reader) {
  std::string at;
  reader.Read("At", at);
  return at;
}

// EnterPath takes the first scope of each name from the current scope; on a miss it leaves what
// it entered. Counting moves nothing.
TEST(DocumentScopeHelpers, PathsAndCountsFromTheRoot) {
  const struct {
    const char* path;
    bool found;
    const char* at;
    int children, b_scopes;
  } rows[] = {
      {"X", true, "X", 0, 0},          {"A", true, "A1", 1, 1},
      {"A/B", true, "B1", 0, 0},       {"A/B/C", false, "root", 3, 0},  // the first A/B has no C
      {"Missing/B", false, "root", 3, 0},
  };
  JSONDocumentReader reader;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    ASSERT_TRUE(reader.LoadFromString(kTree));
    EXPECT_EQ(EnterPath(reader, row.path), row.found);
    EXPECT_EQ(At(reader), row.at);
    EXPECT_EQ(CountChildScopes(reader), row.children);
    EXPECT_EQ(CountScopes(reader, "B"), row.b_scopes);
    EXPECT_EQ(At(reader), row.at);
  }
  EXPECT_EQ(CountScopes(reader, "A"), 2);
  ASSERT_TRUE(EnterScope(reader, "A"));
  EXPECT_FALSE(EnterScope(reader, "C"));
  EXPECT_EQ(At(reader), "A1");
}

// Paths are relative to the current scope; ExitScopes stops, false, at the root.
TEST(DocumentScopeHelpers, RelativePathsAndExitScopes) {
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(kTree));
  EXPECT_TRUE(ExitScopes(reader, 0));
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(reader.EnterNextSibling());
  ASSERT_TRUE(reader.EnterNextSibling());
  ASSERT_TRUE(EnterPath(reader, "B/C"));
  EXPECT_EQ(At(reader), "C");
  EXPECT_TRUE(ExitScopes(reader, 2));
  EXPECT_EQ(At(reader), "A2");
  EXPECT_FALSE(ExitScopes(reader, 3));
  EXPECT_EQ(reader.GetScopeName(), "root");

  JSONDocumentWriter writer;
  ASSERT_TRUE(EnterPath(writer, "P/Q/R"));
  writer.Write("Deep", 1);
  EXPECT_TRUE(ExitScopes(writer, 2));
  EXPECT_TRUE(ExitScopes(writer, 0));
  EXPECT_FALSE(ExitScopes(writer, 2));
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  tv_test::ExpectScript(reader, "P{Q{R{Deep=1}}}");
}

// A JSON writer that refuses scopes named "Bad" and counts the calls to leave a scope.
class RefusingWriter : public JSONDocumentWriter {
public:
  bool EnterScope(const char* name) override {
    return std::string(name) != "Bad" && JSONDocumentWriter::EnterScope(name);
  }
  bool ExitScope() override {
    ++exits;
    return JSONDocumentWriter::ExitScope();
  }
  int exits = 0;
};

// EnterPath on a writer leaves what it entered when a part is refused. The guard leaves its scope
// exactly once, at Close or destruction; a refused scope is never left, and Close tells whether
// the writer agreed.
TEST(DocumentScopeGuard, LeavesWhatItEnteredOnce) {
  RefusingWriter writer;
  EXPECT_FALSE(EnterPath(writer, "P/Q/Bad/R"));
  EXPECT_EQ(writer.exits, 2);
  {
    DocumentScope scope(writer, "A");
    EXPECT_TRUE(scope.IsEntered());
    EXPECT_TRUE(scope.Close());
    EXPECT_FALSE(scope.IsEntered());
    EXPECT_FALSE(scope.Close());
    DocumentScope outer(writer, "B");
    DocumentScope inner(writer, "C");
  }
  EXPECT_EQ(writer.exits, 5);
  {
    DocumentScope outer(writer, "D");
    DocumentScope refused(writer, "Bad");
    EXPECT_FALSE(refused.IsEntered());
    EXPECT_FALSE(refused.Close());
    writer.Write("In", 1);
  }
  EXPECT_EQ(writer.exits, 6);
  DocumentScope scope(writer, "E");
  ASSERT_TRUE(writer.ExitScope());  // someone else left it already
  EXPECT_FALSE(scope.Close());
  EXPECT_EQ(writer.exits, 8);
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ExpectScript(reader, "P{Q{}} A{} B{C{}} D{In=1} E{}");
}

class DocumentOpen : public tv_test::DocumentTest {};

// Writing goes by the extension alone, case aside; reading takes the three form extensions without
// opening the file.
TEST_F(DocumentOpen, ExtensionsDecideWithoutOpeningTheFile) {
  const std::pair<std::string, DocumentFormat> writing[] = {
      {"a.bin", DocumentFormatBinary}, {"a.json", DocumentFormatJSON},  {"a.scn", DocumentFormatJSON},
      {"a.mat", DocumentFormatJSON},   {"a.anm", DocumentFormatJSON},   {"a.xml", DocumentFormatXML},
      {"A.XML", DocumentFormatXML},    {"d/s.Scn", DocumentFormatJSON}, {"a.xml.bak", DocumentFormatUnknown},
      {"a", DocumentFormatUnknown},    {"a.", DocumentFormatUnknown},   {"dir.json/a", DocumentFormatUnknown},
      {"dir.json\\a", DocumentFormatUnknown}, {".json", DocumentFormatJSON}, {"a.txt", DocumentFormatUnknown},
  };
  for (const auto& [path, format] : writing) EXPECT_EQ(GuessDocumentFormatForWriting(path), format) << path;
  temp.Put("json_in_disguise.xml", "{}");
  const std::pair<std::string, DocumentFormat> reading[] = {
      {"missing.bin", DocumentFormatBinary}, {"missing.JSON", DocumentFormatJSON},
      {"missing.Xml", DocumentFormatXML},    {"json_in_disguise.xml", DocumentFormatXML}};
  for (const auto& [path, format] : reading) EXPECT_EQ(GuessDocumentFormatForReading(path), format) << path;
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

// Other files are judged by their first bytes, with no white space skipped; text in memory by its
// first byte alone. A missing file is reported and Unknown.
TEST_F(DocumentOpen, OtherFilesAreJudgedByTheirFirstBytes) {
  const std::pair<std::string, DocumentFormat> rows[] = {
      {"{}", DocumentFormatJSON},     {"{\"Scene\": {}}", DocumentFormatJSON},
      {"<Scene/>", DocumentFormatXML}, {"<?", DocumentFormatXML},
      {std::string("NBIN\0\0\0\0", 8), DocumentFormatBinary}, {"NBIN", DocumentFormatBinary},
      {"NBIX", DocumentFormatUnknown}, {"Nothing at all", DocumentFormatUnknown},
      {"NBI", DocumentFormatUnknown},  {" {}", DocumentFormatUnknown},
      {"\xEF\xBB\xBF<A/>", DocumentFormatUnknown}, {"{", DocumentFormatUnknown},  // under 2 bytes
      {"", DocumentFormatUnknown},
  };
  for (const auto& [content, format] : rows) {
    temp.Put("file.scn", content);
    EXPECT_EQ(GuessDocumentFormatForReading("file.scn"), format) << content;
  }
  EXPECT_TRUE(tv_test::TakeLog().empty());
  EXPECT_EQ(GuessDocumentFormat("{\"a\": 1}"), DocumentFormatJSON);
  EXPECT_EQ(GuessDocumentFormat("<a/>"), DocumentFormatXML);
  for (const char* text : {" <a/>", "NBIN", ""}) EXPECT_EQ(GuessDocumentFormat(text), DocumentFormatUnknown);

  EXPECT_EQ(GuessDocumentFormatForReading("nowhere.scn"), DocumentFormatUnknown);
  const std::vector<tv_test::LogLine> lines = tv_test::TakeLog();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(),
            (tv_test::LogLine{"error", "Unable to determine document 'nowhere.scn' type, file not found"}));
  tv::filesystem = nullptr;
  EXPECT_EQ(GuessDocumentFormatForReading("nowhere.mat"), DocumentFormatUnknown);
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<tv_test::LogLine>{
                                    {"error", "Unable to determine document 'nowhere.mat' type, file not found"}}));
}

template <typename T>
std::string FormOf(const std::unique_ptr<T>& made) {
  if (!made) return "none";
  if (made->IsBinary()) return "binary";
  return dynamic_cast<XMLDocumentReader*>(made.get()) || dynamic_cast<XMLDocumentWriter*>(made.get()) ? "xml" : "json";
}

// The class of the form, given or guessed; nothing for a form that is none or can't be told.
// Callers then make the binary class (and the document files tests show they do).
TEST_F(DocumentOpen, OpensTheClassOfTheFormAndNothingForOthers) {
  temp.Put("other.dat", "plain text");
  temp.Put("level.scn", "<Scene/>");
  const struct {
    const char* path;
    DocumentFormat format;
    const char *reader, *writer;
  } rows[] = {
      {"a.xml", DocumentFormatUnknown, "xml", "xml"},       {"a.json", DocumentFormatUnknown, "json", "json"},
      {"a.BIN", DocumentFormatUnknown, "binary", "binary"}, {"level.scn", DocumentFormatUnknown, "xml", "json"},
      {"a.xml", DocumentFormatJSON, "json", "json"},        {"a.json", DocumentFormatXML, "xml", "xml"},
      {"a.json", DocumentFormatBinary, "binary", "binary"}, {"other.dat", DocumentFormatUnknown, "none", "none"},
      {"a.xml", DocumentFormat(7), "none", "none"},         {"a.xml", DocumentFormat(-1), "none", "none"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(FormOf(OpenDocumentReader(row.path, row.format)), row.reader) << row.path << " " << row.format;
    EXPECT_EQ(FormOf(OpenDocumentWriter(row.path, row.format)), row.writer) << row.path << " " << row.format;
  }
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

void Copy(DocumentReader& source, DocumentWriter& writer) {
  std::string error;
  EXPECT_TRUE(CopyDocument(source, writer, error)) << error;
  EXPECT_EQ(error, "");
}
void CopyToBinary(DocumentReader& source, BinaryDocumentReader& out) {
  BinaryDocumentWriter writer;
  Copy(source, writer);
  ASSERT_TRUE(tv_test::LoadBytes(out, tv_test::ImageOf(writer)));
}
std::string CopyError(DocumentReader& source, DocumentWriter& writer) {
  std::string error;
  EXPECT_FALSE(CopyDocument(source, writer, error));
  return error;
}

// A scene file as a person writes it: declaration, comments, root values, repeated scopes, every
// kind XML text can be read as, escapes and UTF-8.
const char* const kSceneXML =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!-- level one -->\n"
    "<Document Version=\"3\" Title=\"caf\xc3\xa9 &amp; &quot;bar&quot;\" Ratio=\"0.25\"/>\n"
    "<Scene Name=\"Demo\" Enabled=\"true\">\n"
    "  <Node Visible=\"false\" Count=\"-4\" Mask=\"4000000000\" Scale=\"1.5\" Empty=\"\"/>\n"
    "  <Node Count=\"2\"><Transform x=\"-0.75\" y=\"12\" z=\"1e-2\"/><Tags/></Node>\n"
    "  <!-- between nodes -->\n"
    "  <Node Label=\"tab\there\"/>\n"
    "</Scene>\n"
    "<Settings Quality=\"high\"/>\n";

// XML to binary to JSON and back to XML keeps every scope and value with the kind its text reads
// as; comments and the declaration are no data, and "Document" is only the root's values again.
TEST(DocumentCopy, XMLThroughBinaryAndJSONBackToXMLKeepsEveryScopeAndValue) {
  const std::string root = "Version=3 Title='caf\xc3\xa9 & \"bar\"' Ratio=0.25f";
  const std::string content = root +
                              " Scene{Name='Demo' Enabled=true"
                              " Node{Visible=false Count=-4 Mask=4000000000u Scale=1.5f Empty=''}"
                              " Node{Count=2 Transform{x=-0.75f y=12 z=0.01f} Tags{}} Node{Label='tab\there'}}"
                              " Settings{Quality='high'}";
  XMLDocumentReader source;
  ASSERT_TRUE(source.LoadFromString(kSceneXML));
  BinaryDocumentReader binary;
  CopyToBinary(source, binary);
  ExpectScript(binary, content);
  JSONDocumentWriter to_json;
  Copy(binary, to_json);
  JSONDocumentReader json;
  ASSERT_TRUE(json.LoadFromString(to_json.SaveToString()));
  ExpectScript(json, content);
  XMLDocumentWriter to_xml;
  Copy(json, to_xml);
  XMLDocumentReader xml;
  ASSERT_TRUE(xml.LoadFromString(to_xml.SaveToString()));
  ExpectScript(xml, root + " Document{" + root + "}" + content.substr(root.size()));

  // Straight to XML: the same text as by way of the other forms.
  XMLDocumentWriter direct;
  Copy(source, direct);
  EXPECT_EQ(direct.SaveToString(), to_xml.SaveToString());
}

// Between binary documents every kind survives to the bit, blocks and odd names included, and a
// copy of the copy is the same file image.
TEST(DocumentCopy, BinaryToBinaryKeepsEveryKindAndTheImage) {
  const std::string script = "Flag=true Low=-2147483648 High=4294967295u Small=0.1f Name='with space' "
                             "Block=#0001726177ff Empty block=# with space{Inner{}}";
  BinaryDocumentWriter writer;
  ASSERT_TRUE(WriteScript(writer, script));
  BinaryDocumentReader source, copy;
  ASSERT_TRUE(tv_test::LoadBytes(source, tv_test::ImageOf(writer)));
  CopyToBinary(source, copy);
  ExpectScript(copy, script);
  BinaryDocumentWriter again;
  Copy(copy, again);
  EXPECT_EQ(tv_test::ImageOf(again), tv_test::ImageOf(writer));
}

// Values go first, only the first value of a name is copied, and scopes keep their order.
TEST(DocumentCopy, ValuesGoFirstAndOnlyTheFirstOfANameIsCopied) {
  JSONDocumentReader source;
  ASSERT_TRUE(source.LoadFromString("{\"A\": {\"x\": 1}, \"v\": 1, \"v\": true, \"B\": {}, \"w\": 0.5, \"A\": {}}"));
  BinaryDocumentReader copy;
  CopyToBinary(source, copy);
  ExpectScript(copy, "v=1 w=0.5f A{x=1} B{} A{}");
}

// The first "Document" scope at the start scope is left out only where it repeats the root values.
TEST(DocumentCopy, TheRootValuesScopeIsLeftOutOnlyWhereItRepeatsTheRootValues) {
  const std::pair<const char*, const char*> rows[] = {
      {"{\"a\": 1, \"Document\": {\"a\": 1}}", "a=1"},
      {"{\"a\": 1, \"Document\": {\"a\": 2}}", "a=1 Document{a=2}"},
      {"{\"a\": 1, \"Document\": {\"a\": 1, \"C\": {}}}", "a=1 Document{a=1 C{}}"},
      {"{\"Document\": {}, \"Document\": {}, \"S\": {\"Document\": {}}}", "Document{} S{Document{}}"},
  };
  for (const auto& [json, copied] : rows) {
    JSONDocumentReader source;
    ASSERT_TRUE(source.LoadFromString(json));
    BinaryDocumentReader copy;
    CopyToBinary(source, copy);
    ExpectScript(copy, copied);
  }
}

// What a target can't hold, or no read takes, or the writer refuses ends the copy with its place.
TEST(DocumentCopy, WhatCantBeCopiedIsRefusedWithItsPlace) {
  const std::pair<const char*, const char*> rows[] = {
      {"{\"S\": {\"T\": {\"List\": [1, 2]}}}",
       "'List' in 'S/T' is of a kind that no read takes (such as a JSON array)"},
      {"{\"Nothing\": null}", "'Nothing' in the root scope is of a kind that no read takes (such as a JSON array)"},
      {"{\"X\": {}, \"X\": 5}", "'X' in the root scope cannot be read: a scope of that name stands before it"},
      {"{\"A\\u0000B\": 1}", "a value name in the root scope holds a NUL byte"},
  };
  for (const auto& [json, error] : rows) {
    JSONDocumentReader source;
    ASSERT_TRUE(source.LoadFromString(json));
    BinaryDocumentWriter writer;
    EXPECT_EQ(CopyError(source, writer), error);
  }

  BinaryDocumentWriter with_block;
  ASSERT_TRUE(WriteScript(with_block, "Count=3u Mesh{Stream{Positions=#61626364}}"));
  BinaryDocumentReader source;
  JSONDocumentWriter json;
  XMLDocumentWriter xml;
  for (DocumentWriter* text_form : std::initializer_list<DocumentWriter*>{&json, &xml}) {
    ASSERT_TRUE(tv_test::LoadBytes(source, tv_test::ImageOf(with_block)));
    EXPECT_EQ(CopyError(source, *text_form),
              "'Positions' in 'Mesh/Stream' is a binary block, which only a binary document can hold");
  }
  // JSON has no form for a float that is not finite.
  BinaryDocumentWriter infinite;
  ASSERT_TRUE(WriteScript(infinite, "Light{Range=inff}"));
  ASSERT_TRUE(tv_test::LoadBytes(source, tv_test::ImageOf(infinite)));
  JSONDocumentWriter refusing;
  EXPECT_EQ(CopyError(source, refusing), "cannot write 'Range' in 'Light'");
}

TEST(DocumentCopy, DeepDocumentsAreCopiedWithoutRecursion) {
  std::string text = "{\"Bottom\": true}";
  for (int i = 0; i < 900; ++i) text = "{\"A\": " + text + "}";
  JSONDocumentReader source;
  ASSERT_TRUE(source.LoadFromString("{\"Top\": " + text + "}"));
  BinaryDocumentReader copy;
  CopyToBinary(source, copy);
  int depth = 0;
  while (copy.EnterFirstChild()) ++depth;
  EXPECT_EQ(depth, 901);  // Top and 900 times A
  ExpectScript(copy, "Bottom=true");
}

} // namespace
