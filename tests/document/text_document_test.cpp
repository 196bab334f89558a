// The two text forms: what both promise alike (typed tests over XML and JSON), then each mapping:
// the printed text, strict numbers, root values, files written by another tool, and what each
// parser refuses.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include "document/document_scope.h"
#include "document_test_support.h"

using namespace tv;
using tv_test::ChildNames;
using tv_test::ExpectScript;
using tv_test::KindsThatRead;
using tv_test::WriteScript;

namespace {

template <typename Form>
class TextDocument : public tv_test::DocumentTest {
protected:
  static constexpr bool kXML = std::is_same_v<Form, tv_test::XMLForm>;
  // Loads what `writer` holds into `reader`, as text.
  void Reload() { ASSERT_TRUE(reader.LoadFromString(writer.SaveToString())) << writer.SaveToString(); }
  typename Form::Writer writer;
  typename Form::Reader reader;
};
using Forms = ::testing::Types<tv_test::XMLForm, tv_test::JSONForm>;
TYPED_TEST_SUITE(TextDocument, Forms);

std::string Fixture(const std::string& name) {
  std::ifstream in(std::string(TV_SOURCE_DIR) + "/tests/data/documents/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Every kind at its extremes, empty and repeated scopes, and 60 levels of nesting (well inside the
// XML parser's limit) come back from the saved file and from the text; Save writes exactly the
// text, without the printer's NUL. Strings that a printer must escape or leave alone, too (a lone
// carriage return is left out: XML parsers make it a line feed).
TYPED_TEST(TextDocument, WrittenDocumentsComeBackWhole) {
  std::string nested;
  for (int level = 0; level < 60; ++level) {
    nested += "Level{Depth=" + std::to_string(level);
    for (int slot = 0; slot < 3; ++slot) nested += " Slot{Index=" + std::to_string(level * 10 + slot) + "}";
    nested += " ";
  }
  nested += std::string(60, '}');
  const std::string scripts[] = {
      "Values{Zero=0 IntMin=-2147483648 IntMax=2147483647 UintMax=4294967295u UintZero=0u Yes=true No=false "
      "Negative=-2.5f Whole=3f Largest=3.40282347e+38f Lowest=-3.40282347e+38f Small=-0.125f}",
      "A{Which=1} A{Which=2 Inner{}} Empty{}",
      nested,
  };
  const std::string path = std::string("doc.") + TypeParam::kExtension;
  for (const std::string& script : scripts) {
    typename TypeParam::Writer out;
    ASSERT_TRUE(WriteScript(out, script));
    ASSERT_TRUE(out.Save(path));
    EXPECT_EQ(this->temp.Get(path), out.SaveToString());
    typename TypeParam::Reader from_file, from_text;
    ASSERT_TRUE(from_file.Load(path));
    ExpectScript(from_file, script);
    ASSERT_TRUE(from_text.LoadFromString(out.SaveToString()));
    ExpectScript(from_text, script);
  }

  const std::pair<const char*, std::string> strings[] = {
      {"Empty", ""},
      {"Markup", "<a href=\"x\">&amp; 'q' ]]></a>"},
      {"Controls", "tab\there\nnew line, back\\slash"},
      {"Unicode", "Caf\xC3\xA9 \xE2\x88\x91 \xF0\x9F\x98\x80"},
      {"Spaces", "  padded  "},
  };
  DocumentScope scope(this->writer, "S");
  for (const auto& [name, value] : strings) this->writer.Write(name, value);
  scope.Close();
  this->Reload();
  ASSERT_TRUE(EnterScope(this->reader, "S"));
  for (const auto& [name, value] : strings) {
    std::string text;
    EXPECT_TRUE(this->reader.Read(name, text)) << name;
    EXPECT_EQ(text, value) << name;
  }
}

// At the edges: an empty reader stands at the root with nothing in it, a failed EnterFirstChild
// stays, EnterNextSibling past the last child returns to the parent, Read looks only in the
// current scope, and a second scope of one name is a new scope.
TYPED_TEST(TextDocument, ScopeContractHoldsAtTheEdges) {
  EXPECT_EQ(this->reader.GetScopeName(), "root");
  EXPECT_FALSE(this->reader.EnterFirstChild());
  EXPECT_FALSE(this->reader.EnterNextSibling());
  EXPECT_FALSE(this->reader.ExitScope());
  EXPECT_EQ(KindsThatRead(this->reader, "Anything"), "");
  EXPECT_FALSE(this->writer.ExitScope());

  ASSERT_TRUE(WriteScript(this->writer, "A{Which=1} A{Which=2 Inner{}}"));
  this->Reload();
  int which = 0;
  ASSERT_TRUE(this->reader.EnterFirstChild());
  EXPECT_FALSE(this->reader.EnterFirstChild());
  EXPECT_TRUE(this->reader.Read("Which", which) && which == 1);
  ASSERT_TRUE(this->reader.EnterNextSibling());
  ASSERT_TRUE(this->reader.EnterFirstChild());
  EXPECT_FALSE(this->reader.EnterNextSibling());
  EXPECT_TRUE(this->reader.Read("Which", which) && which == 2);
  EXPECT_FALSE(this->reader.EnterNextSibling());
  EXPECT_EQ(this->reader.GetScopeName(), "root");
  EXPECT_EQ(KindsThatRead(this->reader, "Which"), "");
  EXPECT_FALSE(this->reader.Read(nullptr, which));
}

// A value reads only as the kinds that hold it: JSON strictly, XML as whatever its text parses as.
// Missing values, scopes and blocks read as nothing, and leave the target unchanged.
TYPED_TEST(TextDocument, ValuesReadOnlyAsTheKindsThatHoldThem) {
  EXPECT_FALSE(this->writer.IsBinary());
  // The block is refused and nothing is written in its place.
  EXPECT_FALSE(WriteScript(this->writer, "T{Block=#616263 Text='words' Flag=true Negative=-1 Fraction=0.5f "
                                         "Big=3000000000u Inner{}}"));
  this->Reload();
  EXPECT_FALSE(this->reader.IsBinary());
  const bool xml = TestFixture::kXML;
  const std::pair<const char*, std::string> rows[] = {
      {"Text", "s"},          {"Flag", xml ? "bs" : "b"},          {"Negative", xml ? "ifs" : "i"},
      {"Fraction", xml ? "fs" : "f"}, {"Big", xml ? "ufs" : "u"}, {"Missing", ""},
      {"Inner", ""},          {"Block", ""},
  };
  ASSERT_TRUE(EnterPath(this->reader, "T"));
  for (const auto& [name, kinds] : rows) EXPECT_EQ(KindsThatRead(this->reader, name), kinds) << name;
}

// Narrow writes widen; narrow reads go through the int or unsigned read and refuse values out of
// their range, leaving the target unchanged.
TYPED_TEST(TextDocument, NarrowReadsAreRangeChecked) {
  this->writer.Write("A", int8_t(-128));
  this->writer.Write("B", int16_t(32767));
  this->writer.Write("C", uint8_t(255));
  this->writer.Write("D", uint16_t(65535));
  WriteScript(this->writer, "E=128 F=-129 G=32768 H=-32769 I=256u J=65536u K=-1");
  this->Reload();
  const std::pair<const char*, const char*> rows[] = {
      {"A", "s8 s16 "}, {"B", "s16 u16 "}, {"C", "s16 u8 u16 "}, {"D", "u16 "}, {"E", "s16 u8 u16 "},
      {"F", "s16 "},    {"G", "u16 "},     {"H", ""},            {"I", "s16 u16 "}, {"J", ""}, {"K", "s8 s16 "},
  };
  for (const auto& [name, expected] : rows) {
    int8_t s8 = 5;
    int16_t s16 = 5;
    uint8_t u8 = 5;
    uint16_t u16 = 5;
    std::string taken;
    if (this->reader.Read(name, s8)) taken += "s8 "; else EXPECT_EQ(s8, 5);
    if (this->reader.Read(name, s16)) taken += "s16 "; else EXPECT_EQ(s16, 5);
    if (this->reader.Read(name, u8)) taken += "u8 "; else EXPECT_EQ(u8, 5);
    if (this->reader.Read(name, u16)) taken += "u16 "; else EXPECT_EQ(u16, 5);
    EXPECT_EQ(taken, expected) << name;
  }
}

// Files that can't be read or written fail; only the file system speaks, the document classes
// add no message of their own.
TYPED_TEST(TextDocument, UnreadableAndUnwritableFilesFail) {
  EXPECT_FALSE(this->reader.Load(std::string("missing.") + TypeParam::kExtension));
  EXPECT_EQ(this->reader.GetScopeName(), "root");
  for (const tv_test::LogLine& line : tv_test::TakeLog()) EXPECT_EQ(line.first, "warn") << line.second;
  this->writer.Write("Value", 1);
  std::filesystem::create_directory(this->temp / "folder");
  EXPECT_FALSE(this->writer.Save("folder"));
  tv::filesystem = nullptr;
  EXPECT_FALSE(this->writer.Save("nowhere.txt"));
  EXPECT_FALSE(this->reader.Load("nowhere.txt"));
}

// Loading again starts over at the root, and a failed load leaves nothing of the document before.
TYPED_TEST(TextDocument, LoadingAgainStartsOver) {
  typename TypeParam::Writer second;
  ASSERT_TRUE(WriteScript(this->writer, "First{Value=1}"));
  ASSERT_TRUE(WriteScript(second, "Second{}"));
  this->Reload();
  ASSERT_TRUE(this->reader.EnterFirstChild());
  ASSERT_TRUE(this->reader.LoadFromString(second.SaveToString()));
  ExpectScript(this->reader, "Second{}");

  this->Reload();
  ASSERT_TRUE(this->reader.EnterFirstChild());
  const std::string text = this->writer.SaveToString();
  EXPECT_FALSE(this->reader.LoadFromString(text.substr(0, text.size() / 2)));
  EXPECT_EQ(this->reader.GetScopeName(), "root");
  EXPECT_FALSE(this->reader.ExitScope());
  ExpectScript(this->reader, "");
  EXPECT_EQ(KindsThatRead(this->reader, "Value"), "");
}

class XMLDocument : public tv_test::DocumentTest {
protected:
  XMLDocumentWriter writer;
  XMLDocumentReader reader;
};

// Elements indented by 4 spaces, values as escaped attribute text ("%.8g" for floats), and root
// values in a "Document" element made at the first such write.
TEST_F(XMLDocument, WritesIndentedElementsWithValuesAsAttributeText) {
  writer.EnterScope("Scene");
  writer.Write("Name", "a<b & \"c\"");
  // The lone } leaves "Scene"; the root values behind it make the "Document" element then.
  ASSERT_TRUE(WriteScript(writer, "Node{Index=-3 Count=4000000000u Scale=0.1f Third=0.333333343f "
                                  "Huge=16777217f On=true Off=false} } Version=2 Kind='scene'"));
  EXPECT_EQ(writer.SaveToString(),
            "<Scene Name=\"a&lt;b &amp; &quot;c&quot;\">\n"
            "    <Node Index=\"-3\" Count=\"4000000000\" Scale=\"0.1\" Third=\"0.33333334\" Huge=\"16777216\" "
            "On=\"true\" Off=\"false\"/>\n"
            "</Scene>\n"
            "\n"  // the printer's blank line between top-level elements
            "<Document Version=\"2\" Kind=\"scene\"/>\n");
}

// Root values are read from the first top-level element named exactly "Document", which is also
// an ordinary scope; a document with no root value has no such element.
TEST_F(XMLDocument, RootValuesLiveInTheDocumentElement) {
  ASSERT_TRUE(WriteScript(writer, "Version=2 Scene{Version=5} Title='t'"));
  ASSERT_TRUE(writer.Save("root.xml"));
  ASSERT_TRUE(reader.Load("root.xml"));
  ExpectScript(reader, "Version=2 Title='t' Document{Version=2 Title='t'} Scene{Version=5}");

  XMLDocumentWriter scopes_only;
  ASSERT_TRUE(WriteScript(scopes_only, "Scene{Version=5}"));
  EXPECT_EQ(scopes_only.SaveToString().find("Document"), std::string::npos);
  ASSERT_TRUE(reader.LoadFromString(scopes_only.SaveToString()));
  ExpectScript(reader, "Scene{Version=5}");
  EXPECT_EQ(KindsThatRead(reader, "Version"), "");

  ASSERT_TRUE(reader.LoadFromString("<DocumentX A=\"1\"/><Other><Document A=\"2\"/></Other>"
                                    "<document A=\"3\"/><Document A=\"4\"/><Document A=\"5\"/>"));
  int a = 0;
  EXPECT_TRUE(reader.Read("A", a));
  EXPECT_EQ(a, 4);
}

// Declarations, comments and text are scopes named "**invalid**" that hold nothing.
TEST_F(XMLDocument, NodesOtherThanElementsAreInvalidScopes) {
  ASSERT_TRUE(reader.LoadFromString("<?xml version=\"1.0\"?>\n<A v=\"1\"/>\n<!-- between -->\n<B>some text<C/></B>"));
  ExpectScript(reader, "**invalid**{} A{v=1} **invalid**{} B{**invalid**{} C{}}");
  EXPECT_EQ(CountChildScopes(reader), 4);
  EXPECT_EQ(CountScopes(reader, "**invalid**"), 2);
  ASSERT_TRUE(EnterPath(reader, "B/**invalid**"));
  EXPECT_EQ(KindsThatRead(reader, "v"), "");
}

// Files written by Python's ElementTree, with a declaration, a comment, text, entities and tab
// indentation; the second copy has a byte order mark and CRLF line ends.
TEST_F(XMLDocument, ReadsFilesWrittenByAnotherTool) {
  for (const char* name : {"python_scene.xml", "python_scene_bom.xml"}) {
    SCOPED_TRACE(name);
    temp.Put(name, Fixture(name));
    ASSERT_TRUE(reader.Load(name));
    ExpectScript(reader, "**invalid**{} Scene{Version=2 **invalid**{}"
                         " Node{Name='node 0' Index=0 Weight=0f Visible=true}"
                         " Node{Name='node 1' Index=1 Weight=0.25f Visible=false **invalid**{}}"
                         " Node{Name='node 2' Index=2 Weight=0.5f Visible=true}"
                         " Document{Title='Caf\xC3\xA9 \"quoted\" <tag> & 'apos'' Offset=-7.25f}}");
  }
}

// Numbers and bools must be the whole text, in decimal, in range; floats include nan and inf.
TEST_F(XMLDocument, NumbersAndBoolsMustBeWholeDecimalText) {
  const std::pair<const char*, const char*> rows[] = {
      {"12", "iufs"},         {" 12\t", "iufs"},     {"+12", "iufs"},         {"-12", "ifs"},
      {"12abc", "s"},         {"1 2", "s"},          {"", "s"},               {"+-1", "s"},
      {"0x10", "s"},          {"2147483647", "iufs"}, {"2147483648", "ufs"},  {"-2147483648", "ifs"},
      {"-2147483649", "fs"},  {"4294967295", "ufs"}, {"4294967296", "fs"},    {"1.5", "fs"},
      {"-1e-3", "fs"},        {"3.4028235e+38", "fs"}, {"1e39", "s"},         {"true", "bs"},
      {"false", "bs"},        {"True", "s"},         {"1", "iufs"},           {"nan", "fs"},
      {"-inf", "fs"},
  };
  for (const auto& [text, kinds] : rows) {
    ASSERT_TRUE(reader.LoadFromString(std::string("<Document v=\"") + text + "\"/>"));
    EXPECT_EQ(KindsThatRead(reader, "v"), kinds) << '"' << text << '"';
  }
  ASSERT_TRUE(WriteScript(writer, "Values{n=nanf i=-inff}"));
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ExpectScript(reader, "Values{n=nanf i=-inff}");
}

// Names that are no XML names make text that does not parse back; malformed text, nesting past
// the parser's limit and a byte order mark alone are refused and leave an empty reader; text in
// memory ends at its first NUL.
TEST_F(XMLDocument, WhatTheParserRefuses) {
  XMLDocumentWriter bad_scope, bad_value;
  bad_scope.EnterScope("two words");
  bad_value.Write("bad name", 1);
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text = "<A>" + text + "</A>";
    return text;
  };
  const std::string texts[] = {"",           "   \n",         "<A>",          "<A></B>",     "<A x=1/>",
                               "<A x=\"1\" x=\"2\"/>", "<A x=\"1/>", "<!-- open",  "<A/><",       "<A><![CDATA[x</A>",
                               "\xEF\xBB\xBF", nested(200),  std::string(100000, '<'),
                               bad_scope.SaveToString(), bad_value.SaveToString()};
  for (const std::string& text : texts) {
    SCOPED_TRACE(text.substr(0, 40));
    ASSERT_TRUE(reader.LoadFromString("<A/>"));
    EXPECT_FALSE(reader.LoadFromString(text));
    EXPECT_EQ(reader.GetScopeName(), "root");
    EXPECT_FALSE(reader.EnterFirstChild());
  }
  EXPECT_TRUE(reader.LoadFromString(nested(90)));
  ASSERT_TRUE(reader.LoadFromString(std::string("<Document v=\"1\"/>\0<broken", 26)));
  ExpectScript(reader, "v=1 Document{v=1}");
}

class JSONDocument : public tv_test::DocumentTest {
protected:
  JSONDocumentWriter writer;
  JSONDocumentReader reader;
};

// Tab indentation, repeated keys in writing order, floats rounded up to 4 places and printed with
// a fraction, escapes; of two values of one name a reader takes the first.
TEST_F(JSONDocument, PrintsTabIndentedObjectsWithRepeatedKeysInWritingOrder) {
  EXPECT_EQ(writer.SaveToString(), "{}");
  ASSERT_TRUE(WriteScript(writer, "Version=2 Slot{V=1f} Slot{V=0.1f Empty{}} Count=4000000000u On=false"));
  writer.Write("Name", "a\"b\\c\n\x01");
  writer.Write("Name", "again");
  EXPECT_EQ(writer.SaveToString(),
            "{\n"
            "\t\"Version\": 2,\n"
            "\t\"Slot\": {\n"
            "\t\t\"V\": 1.0\n"
            "\t},\n"
            "\t\"Slot\": {\n"
            "\t\t\"V\": 0.1001,\n"
            "\t\t\"Empty\": {}\n"
            "\t},\n"
            "\t\"Count\": 4000000000,\n"
            "\t\"On\": false,\n"
            "\t\"Name\": \"a\\\"b\\\\c\\n\\u0001\",\n"
            "\t\"Name\": \"again\"\n"
            "}");
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  std::string name;
  EXPECT_TRUE(reader.Read("Name", name));
  EXPECT_EQ(name, "a\"b\\c\n\x01");
}

// A float is written as ceil(v * 10000) / 10000 in double: rounded up, towards zero when negative.
TEST_F(JSONDocument, FloatsAreRoundedUpToFourDecimalPlaces) {
  const struct {
    float value;
    const char* text;
  } rows[] = {{0.5f, "0.5"},     {0.1f, "0.1001"}, {1.00001f, "1.0001"}, {-1.00001f, "-1.0"},
              {7.0f, "7.0"},     {2.25f, "2.25"},  {1e-9f, "0.0001"}};
  for (const auto& row : rows) {
    JSONDocumentWriter one;
    one.Write("v", row.value);
    EXPECT_EQ(one.SaveToString(), std::string("{\n\t\"v\": ") + row.text + "\n}");
    ASSERT_TRUE(reader.LoadFromString(one.SaveToString()));
    ExpectScript(reader, std::string("v=") + row.text + "f");
  }
  EXPECT_FALSE(writer.Write("Inf", INFINITY));
  EXPECT_FALSE(writer.Write("Nan", NAN));
  EXPECT_FALSE(writer.Write("Low", -INFINITY));
  EXPECT_EQ(writer.SaveToString(), "{}");
}

// How a number is written decides the reads that take it and the kind it is listed as.
TEST_F(JSONDocument, NumberKindsFollowHowTheNumberIsWritten) {
  const struct {
    const char* name;
    const char* kinds;
    DocumentValueKind kind;
  } rows[] = {
      {"One", "iu", DocumentValueInt},       {"OneF", "f", DocumentValueFloat},   {"Neg", "i", DocumentValueInt},
      {"Exp", "f", DocumentValueFloat},      {"Big", "u", DocumentValueUnsigned}, {"Huge", "", DocumentValueOther},
      {"Min", "i", DocumentValueInt},        {"Below", "", DocumentValueOther},   {"Far", "", DocumentValueOther},
      {"NegZero", "iu", DocumentValueInt},
  };
  ASSERT_TRUE(reader.LoadFromString(
      "{\"One\": 1, \"OneF\": 1.0, \"Neg\": -1, \"Exp\": 1e2, \"Big\": 2147483648, \"Huge\": 4294967296, "
      "\"Min\": -2147483648, \"Below\": -2147483649, \"Far\": 1e300, \"NegZero\": -0}"));
  std::vector<DocumentValueInfo> values;
  ASSERT_TRUE(reader.ListValues(values));
  ASSERT_EQ(values.size(), std::size(rows));
  for (size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(KindsThatRead(reader, rows[i].name), rows[i].kinds) << rows[i].name;
    EXPECT_EQ(values[i].name, rows[i].name);
    EXPECT_EQ(values[i].kind, rows[i].kind) << rows[i].name;
  }
  ExpectScript(reader, "One=1 OneF=1f Neg=-1 Exp=100f Big=2147483648u Huge=? Min=-2147483648 Below=? Far=? NegZero=0");
}

// The child loop visits every member that is an object, by position (equal objects are still
// different members), and skips arrays, null and strings; arrays and null are no readable values.
TEST_F(JSONDocument, SiblingWalkVisitsEveryObjectMemberInOrder) {
  ASSERT_TRUE(reader.LoadFromString("{\"A\": {}, \"x\": 1, \"A\": {}, \"B\": [{\"C\": {}}], \"n\": null, "
                                    "\"A\": {\"k\": 3}, \"s\": \"{}\", \"D\": {\"A\": {}}}"));
  ExpectScript(reader, "x=1 B=? n=? s='{}' A{} A{} A{k=3} D{A{}}");
  EXPECT_EQ(CountScopes(reader, "A"), 3);
}

TEST_F(JSONDocument, AnyTextIsAName) {
  const std::vector<std::string> names = {"two words", "quote\"d", "Caf\xC3\xA9", "", "slash/and\\back", "{[<"};
  for (const std::string& name : names) {
    DocumentScope scope(writer, name.c_str());
    writer.Write(name.c_str(), name);
  }
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  EXPECT_EQ(ChildNames(reader), names);
  for (const std::string& name : names) {
    ASSERT_TRUE(EnterScope(reader, name));
    std::string value;
    EXPECT_TRUE(reader.Read(name.c_str(), value));
    EXPECT_EQ(value, name);
    reader.ExitScope();
  }
}

// A file written by Python's json module: 4-space indentation, \u escapes with a surrogate pair,
// an array, null, and keys repeated by a custom object. The second copy has a byte order mark and
// CRLF line ends, as editors on Windows save it.
TEST_F(JSONDocument, ReadsFilesWrittenByAnotherTool) {
  for (const char* name : {"python_scene.json", "python_scene_bom.json"}) {
    SCOPED_TRACE(name);
    temp.Put(name, Fixture(name));
    ASSERT_TRUE(reader.Load(name));
    ExpectScript(reader, "Version=2 Title='Caf\xC3\xA9 \"quoted\" <tag> & \\ back\tslash \xF0\x9F\x98\x80' "
                         "Offset=-7.25f Huge=4294967295u Tags=? Nothing=? Scene{Comment='between'"
                         " Node{Name='node 0' Index=0 Weight=0f Visible=true}"
                         " Node{Name='node 1' Index=1 Weight=0.25f Visible=false}"
                         " Node{Name='node 2' Index=2 Weight=0.5f Visible=true}}");
  }
}

// Strict JSON only: no trailing commas, comments, single quotes, NaN, numbers out of double range,
// leading zeros or trailing text; a refused text leaves an empty reader. Text ends at its first NUL.
TEST_F(JSONDocument, TextThatIsNoStrictJSONIsRefused) {
  const std::string texts[] = {"",       "   ",          "{",          "{\"a\": 1,}",   "{\"a\": 1} x",
                               "{} {}",  "{\"a\": 1 /* note */}", "// note\n{}", "{'a': 1}", "{\"a\": NaN}",
                               "{\"a\": 1e400}", "{\"a\": \"open}", "{\"a\": 01}", "\xEF\xBB\xBF"};
  for (const std::string& text : texts) {
    SCOPED_TRACE(text);
    ASSERT_TRUE(reader.LoadFromString("{\"a\": 1, \"S\": {}}"));
    EXPECT_FALSE(reader.LoadFromString(text));
    EXPECT_EQ(reader.GetScopeName(), "root");
    ExpectScript(reader, "");
  }
  ASSERT_TRUE(reader.LoadFromString(std::string("{\"a\": 1}\0{broken", 15)));
  ExpectScript(reader, "a=1");
}

// White space around tokens is fine; a root that is no object loads as an empty document. Strings
// keep escaped NULs and \u escapes as UTF-8.
TEST_F(JSONDocument, WhiteSpaceOtherRootsAndEscapes) {
  ASSERT_TRUE(reader.LoadFromString(" \r\n\t{ \"a\" :\r\n 1 ,\"S\":{ } }\n\n "));
  ExpectScript(reader, "a=1 S{}");
  for (const char* text : {"[{\"a\": 1}]", "3", "\"text\"", "null"}) {
    ASSERT_TRUE(reader.LoadFromString(text));
    ExpectScript(reader, "");
  }
  ASSERT_TRUE(reader.LoadFromString("{\"S\": \"a\\u0000b\", \"U\": \"\\u00e9\\ud83d\\ude00\"}"));
  std::string text;
  EXPECT_TRUE(reader.Read("S", text));
  EXPECT_EQ(text, std::string("a\0b", 3));
  EXPECT_TRUE(reader.Read("U", text));
  EXPECT_EQ(text, "\xC3\xA9\xF0\x9F\x98\x80");
}

// Nesting is limited before the parser recurses (the root object is the first level), arrays
// included; brackets inside strings are text; what the writer makes within the limit comes back.
TEST_F(JSONDocument, NestingIsLimitedBeforeTheParserRecurses) {
  const auto nested = [](int depth, const char* open, const char* close) {
    std::string text;
    for (int i = 0; i < depth; ++i) text = open + text + close;
    return text;
  };
  EXPECT_TRUE(reader.LoadFromString("{" + nested(kMaxJSONDepth - 1, "\"A\": {", "}") + "}"));
  EXPECT_EQ(CountChildScopes(reader), 1);
  EXPECT_FALSE(reader.LoadFromString("{" + nested(kMaxJSONDepth, "\"A\": {", "}") + "}"));
  EXPECT_FALSE(reader.LoadFromString(std::string(1000000, '[')));
  EXPECT_FALSE(reader.LoadFromString("{\"a\": " + nested(kMaxJSONDepth + 5, "[", "]") + "}"));
  EXPECT_TRUE(reader.LoadFromString("{\"a\": \"\\\"" + std::string(5000, '[') + "\"}"));
  ExpectScript(reader, "a='\"" + std::string(5000, '[') + "'");

  const std::string deep = nested(500, "A{", "}");
  ASSERT_TRUE(WriteScript(writer, deep));
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ExpectScript(reader, deep);
}

} // namespace
