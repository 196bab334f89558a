// The two text forms: what both promise (typed tests over XML and JSON, with the data of each form
// side by side where they differ), then what each mapping alone does.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include "document/document_scope.h"
#include "document_test_support.h"

using namespace tv;
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

std::string Nested(int depth, const std::string& open, const std::string& close, std::string inside = "") {
  for (int i = 0; i < depth; ++i) inside = open + inside + close;
  return inside;
}

// Every kind at its extremes, strings that a printer must escape or leave alone (a lone carriage
// return is left out: XML parsers make it a line feed), empty and repeated scopes, and deep nesting
// come back from the saved file and from the text; Save writes exactly the text, without the
// printer's NUL.
TYPED_TEST(TextDocument, WrittenDocumentsComeBackWhole) {
  std::string nested;
  for (int level = 0; level < (TestFixture::kXML ? 60 : 500); ++level) {  // well inside XML's nesting limit
    nested += "Level{Depth=" + std::to_string(level);
    for (int slot = 0; slot < 3; ++slot) nested += " Slot{Index=" + std::to_string(level * 10 + slot) + "}";
    nested += " ";
  }
  nested += std::string(TestFixture::kXML ? 60 : 500, '}');
  const std::string scripts[] = {
      "Values{Zero=0 IntMin=-2147483648 IntMax=2147483647 UintMax=4294967295u UintZero=0u Yes=true No=false "
      "Negative=-2.5f Whole=3f Largest=3.40282347e+38f Lowest=-3.40282347e+38f Small=-0.125f}",
      "Strings{Empty='' Markup='<a href=\"x\">&amp; 'q']]></a>' Controls='tab\there\nnew line, back\\slash' "
      "Unicode='Caf\xC3\xA9 \xE2\x88\x91 \xF0\x9F\x98\x80' Spaces='  padded  '}",
      "A{Which=1} A{Which=2 Inner{}} Empty{}",
      nested,
  };
  const std::string path = TestFixture::kXML ? "doc.xml" : "doc.json";
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
}

// An empty reader stands at the root with nothing in it, and so does one whose load failed;
// loading again starts over at the root. A failed EnterFirstChild stays, EnterNextSibling past the
// last child returns to the parent, Read looks only in the current scope, ExitScope at the root
// fails, a second scope of one name is a new scope, and a scope is no value. Blocks are refused
// and nothing is written in their place.
TYPED_TEST(TextDocument, ScopeContractHoldsAtTheEdgesAndOverLoads) {
  EXPECT_EQ(this->reader.GetScopeName(), "root");
  EXPECT_FALSE(this->reader.EnterNextSibling());
  ExpectScript(this->reader, "");
  EXPECT_FALSE(this->writer.ExitScope());
  EXPECT_FALSE(this->writer.IsBinary() || this->reader.IsBinary());
  EXPECT_FALSE(WriteScript(this->writer, "A{Which=1 Block=#616263} A{Which=2 Inner{}}"));
  this->Reload();
  int which = 0;
  ASSERT_TRUE(this->reader.EnterFirstChild());
  EXPECT_FALSE(this->reader.EnterFirstChild());
  EXPECT_TRUE(this->reader.Read("Which", which) && which == 1);
  EXPECT_EQ(KindsThatRead(this->reader, "Block"), "");
  ASSERT_TRUE(this->reader.EnterNextSibling());
  EXPECT_EQ(KindsThatRead(this->reader, "Inner"), "");
  ASSERT_TRUE(this->reader.EnterFirstChild());
  EXPECT_FALSE(this->reader.EnterNextSibling());
  EXPECT_TRUE(this->reader.Read("Which", which) && which == 2);
  EXPECT_FALSE(this->reader.EnterNextSibling());
  EXPECT_EQ(KindsThatRead(this->reader, "Which"), "");
  EXPECT_FALSE(this->reader.Read(nullptr, which));

  typename TypeParam::Writer second;
  ASSERT_TRUE(WriteScript(second, "Second{}"));
  ASSERT_TRUE(this->reader.EnterFirstChild());
  ASSERT_TRUE(this->reader.LoadFromString(second.SaveToString()));
  ExpectScript(this->reader, "Second{}");
  ASSERT_TRUE(this->reader.EnterFirstChild());
  const std::string text = this->writer.SaveToString();
  EXPECT_FALSE(this->reader.LoadFromString(text.substr(0, text.size() / 2)));
  EXPECT_EQ(this->reader.GetScopeName(), "root");
  EXPECT_FALSE(this->reader.ExitScope());
  ExpectScript(this->reader, "");
}

// The reads that take a value, and the kind it is listed as (that of the first read that takes
// it): XML numbers and bools must be the whole text, in decimal and in range, and are text as
// well; JSON is strict, a number without fraction or exponent is no float, and numbers beyond 32
// bits are no value a read takes. Rows give the JSON literal (XML takes it without quotes) and
// the kinds in each form, null where the text is not of that form.
TYPED_TEST(TextDocument, ValuesReadAsTheKindsTheirTextHolds) {
  const struct {
    const char* text;
    const char *xml, *json;
  } rows[] = {
      {"12", "iufs", "iu"},       {"-12", "ifs", "i"},           {"\"words\"", "s", "s"},
      {"true", "bs", "b"},        {"false", "bs", "b"},          {"1.5", "fs", "f"},
      {"1.0", "fs", "f"},         {"1e2", "fs", "f"},            {"-1e-3", "fs", "f"},
      {"2147483647", "iufs", "iu"}, {"2147483648", "ufs", "u"},  {"-2147483648", "ifs", "i"},
      {"-2147483649", "fs", ""},  {"4294967295", "ufs", "u"},    {"4294967296", "fs", ""},
      {"3.4028235e+38", "fs", "f"}, {"1e39", "s", nullptr},      {"1e300", nullptr, ""},
      {"-0", nullptr, "iu"},      {" 12\t", "iufs", nullptr},    {"+12", "iufs", nullptr},
      {"12abc", "s", nullptr},    {"1 2", "s", nullptr},         {"\"\"", "s", "s"},
      {"+-1", "s", nullptr},      {"0x10", "s", nullptr},        {"True", "s", nullptr},
      {"nan", "fs", nullptr},     {"-inf", "fs", nullptr},       {"null", nullptr, ""},
      {"[1]", nullptr, ""},
  };
  for (const auto& row : rows) {
    const char* kinds = TestFixture::kXML ? row.xml : row.json;
    if (kinds == nullptr) continue;
    std::string text = row.text;
    if (text[0] == '"') text = text.substr(1, text.size() - 2);
    ASSERT_TRUE(this->reader.LoadFromString(TestFixture::kXML ? "<Document v=\"" + text + "\"/>"
                                                              : std::string("{\"v\": ") + row.text + "}"));
    EXPECT_EQ(KindsThatRead(this->reader, "v"), kinds) << '"' << row.text << '"';
    std::vector<DocumentValueInfo> values;
    ASSERT_TRUE(this->reader.ListValues(values));
    ASSERT_EQ(values.size(), 1u);
    const size_t kind = std::string("biufs").find(kinds[0]);  // in the order of the kinds
    EXPECT_EQ(values[0].kind, kind == std::string::npos ? DocumentValueOther : DocumentValueKind(kind)) << row.text;
  }
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
    const std::string taken =
        std::string(this->reader.Read(name, s8) ? "s8 " : "") + (this->reader.Read(name, s16) ? "s16 " : "") +
        (this->reader.Read(name, u8) ? "u8 " : "") + (this->reader.Read(name, u16) ? "u16 " : "");
    EXPECT_EQ(taken, expected) << name;
    // The refused reads left their targets; no row's value is 5.
    EXPECT_EQ((s8 == 5) + (s16 == 5) + (u8 == 5) + (u16 == 5), 4 - std::count(taken.begin(), taken.end(), ' ')) << name;
  }
}

// Files written by Python (ElementTree, json): XML with a declaration, a comment, text, entities
// and tab indentation; JSON with 4-space indentation, \u escapes with a surrogate pair, an array,
// null, and keys repeated by a custom object. The second copy of each has a byte order mark and
// CRLF line ends, as editors on Windows save them.
TYPED_TEST(TextDocument, ReadsFilesWrittenByAnotherTool) {
  const std::string xml_scene =
      "**invalid**{} Scene{Version=2 **invalid**{} Node{Name='node 0' Index=0 Weight=0f Visible=true}"
      " Node{Name='node 1' Index=1 Weight=0.25f Visible=false **invalid**{}} Node{Name='node 2' Index=2 Weight=0.5f "
      "Visible=true} Document{Title='Caf\xC3\xA9 \"quoted\" <tag> & 'apos'' Offset=-7.25f}}";
  const std::string json_scene =
      "Version=2 Title='Caf\xC3\xA9 \"quoted\" <tag> & \\ back\tslash \xF0\x9F\x98\x80' Offset=-7.25f "
      "Huge=4294967295u Tags=? Nothing=? Scene{Comment='between' Node{Name='node 0' Index=0 Weight=0f Visible=true}"
      " Node{Name='node 1' Index=1 Weight=0.25f Visible=false} Node{Name='node 2' Index=2 Weight=0.5f Visible=true}}";
  for (const std::string name : {"python_scene", "python_scene_bom"}) {
    const std::string file = name + (TestFixture::kXML ? ".xml" : ".json");
    std::ifstream in(std::string(TV_SOURCE_DIR) + "/tests/data/documents/" + file, std::ios::binary);
    this->temp.Put(file, std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()));
    ASSERT_TRUE(this->reader.Load(file)) << file;
    ExpectScript(this->reader, TestFixture::kXML ? xml_scene : json_scene);
  }
}

// Malformed text, nesting past the parser's limit and a byte order mark alone are refused and
// leave an empty reader; nesting just within the limit loads; text in memory ends at its first NUL.
TYPED_TEST(TextDocument, WhatTheParserRefuses) {
  XMLDocumentWriter bad_scope, bad_value;  // names that are no XML names
  bad_scope.EnterScope("two words");
  bad_value.Write("bad name", 1);
  const std::vector<std::string> xml = {
      "",     "   \n",     "<A>",    "<A></B>", "<A x=1/>", "<A x=\"1\" x=\"2\"/>", "<A x=\"1/>", "<!-- open", "<A/><",
      "<A><![CDATA[x</A>", "\xEF\xBB\xBF", Nested(200, "<A>", "</A>"), std::string(100000, '<'),
      bad_scope.SaveToString(), bad_value.SaveToString()};
  const std::vector<std::string> json = {
      "",          "   ",      "{",        "{\"a\": 1,}", "{\"a\": 1} x", "{} {}", "{\"a\": 1 /* note */}",
      "// note\n{}",
      "{'a': 1}",  "{\"a\": NaN}", "{\"a\": 1e400}", "{\"a\": \"open}", "{\"a\": 01}", "\xEF\xBB\xBF",
      "{" + Nested(kMaxJSONDepth, "\"A\": {", "}") + "}", std::string(1000000, '['),
      "{\"a\": " + Nested(kMaxJSONDepth + 5, "[", "]") + "}"};  // the root object is the first level
  for (const std::string& text : TestFixture::kXML ? xml : json) {
    SCOPED_TRACE(text.substr(0, 40));
    ASSERT_TRUE(this->reader.LoadFromString(TestFixture::kXML ? "<Document a=\"1\"/><S/>" : "{\"a\": 1, \"S\": {}}"));
    EXPECT_FALSE(this->reader.LoadFromString(text));
    EXPECT_EQ(this->reader.GetScopeName(), "root");
    ExpectScript(this->reader, "");
  }
  EXPECT_TRUE(this->reader.LoadFromString(TestFixture::kXML ? Nested(90, "<A>", "</A>")
                                                            : "{" + Nested(kMaxJSONDepth - 1, "\"A\": {", "}") + "}"));
  ASSERT_TRUE(this->reader.LoadFromString(TestFixture::kXML ? std::string("<Document a=\"1\"/>\0<broken", 26)
                                                            : std::string("{\"a\": 1}\0{broken", 15)));
  ExpectScript(this->reader, TestFixture::kXML ? "a=1 Document{a=1}" : "a=1");
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
  ASSERT_TRUE(WriteScript(writer, "Values{n=nanf i=-inff}"));
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ASSERT_TRUE(EnterScope(reader, "Values"));
  ExpectScript(reader, "n=nanf i=-inff");
}

// Root values are read from the first top-level element named exactly "Document", which is also
// an ordinary scope; a document with no root value has no such element. Declarations, comments
// and text are scopes named "**invalid**" that hold nothing.
TEST_F(XMLDocument, RootValuesAndNodesOtherThanElements) {
  ASSERT_TRUE(WriteScript(writer, "Version=2 Scene{Version=5} Title='t'"));
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  ExpectScript(reader, "Version=2 Title='t' Document{Version=2 Title='t'} Scene{Version=5}");
  XMLDocumentWriter scopes_only;
  ASSERT_TRUE(WriteScript(scopes_only, "Scene{Version=5}"));
  EXPECT_EQ(scopes_only.SaveToString().find("Document"), std::string::npos);
  ASSERT_TRUE(reader.LoadFromString("<DocumentX A=\"1\"/><Other><Document A=\"2\"/></Other>"
                                    "<document A=\"3\"/><Document A=\"4\"/><Document A=\"5\"/>"));
  int a = 0;
  EXPECT_TRUE(reader.Read("A", a));
  EXPECT_EQ(a, 4);

  ASSERT_TRUE(reader.LoadFromString("<?xml version=\"1.0\"?>\n<A v=\"1\"/>\n<!-- between -->\n<B>some text<C/></B>"));
  ExpectScript(reader, "**invalid**{} A{v=1} **invalid**{} B{**invalid**{} C{}}");
  EXPECT_EQ(CountChildScopes(reader), 4);
  EXPECT_EQ(CountScopes(reader, "**invalid**"), 2);
  ASSERT_TRUE(EnterPath(reader, "B/**invalid**"));
  EXPECT_EQ(KindsThatRead(reader, "v"), "");
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

// A float is written as ceil(v * 10000) / 10000 in double: rounded up, towards zero when negative;
// floats without a JSON form are not written.
TEST_F(JSONDocument, FloatsAreRoundedUpToFourDecimalPlaces) {
  const std::pair<float, const char*> rows[] = {{0.5f, "0.5"}, {0.1f, "0.1001"}, {1.00001f, "1.0001"},
                                                {-1.00001f, "-1.0"}, {7.0f, "7.0"}, {2.25f, "2.25"},
                                                {1e-9f, "0.0001"}};
  for (const auto& [value, text] : rows) {
    JSONDocumentWriter one;
    one.Write("v", value);
    EXPECT_EQ(one.SaveToString(), std::string("{\n\t\"v\": ") + text + "\n}");
    ASSERT_TRUE(reader.LoadFromString(one.SaveToString()));
    ExpectScript(reader, std::string("v=") + text + "f");
  }
  EXPECT_FALSE(writer.Write("Inf", INFINITY));
  EXPECT_FALSE(writer.Write("Nan", NAN));
  EXPECT_FALSE(writer.Write("Low", -INFINITY));
  EXPECT_EQ(writer.SaveToString(), "{}");
}

// The child loop visits every member that is an object, by position (equal objects are still
// different members), and skips arrays, null and strings. White space around tokens is fine; a
// root that is no object loads as an empty document; brackets inside strings are text; strings
// keep escaped NULs and \u escapes as UTF-8.
TEST_F(JSONDocument, MembersWhiteSpaceOtherRootsAndEscapes) {
  ASSERT_TRUE(reader.LoadFromString("{\"A\": {}, \"x\": 1, \"A\": {}, \"B\": [{\"C\": {}}], \"n\": null, "
                                    "\"A\": {\"k\": 3}, \"s\": \"{}\", \"D\": {\"A\": {}}}"));
  ExpectScript(reader, "x=1 B=? n=? s='{}' A{} A{} A{k=3} D{A{}}");
  EXPECT_EQ(CountScopes(reader, "A"), 3);
  ASSERT_TRUE(reader.LoadFromString(" \r\n\t{ \"a\" :\r\n 1 ,\"S\":{ } }\n\n "));
  ExpectScript(reader, "a=1 S{}");
  for (const char* text : {"[{\"a\": 1}]", "3", "\"text\"", "null"}) {
    ASSERT_TRUE(reader.LoadFromString(text));
    ExpectScript(reader, "");
  }
  ASSERT_TRUE(reader.LoadFromString("{\"a\": \"\\\"" + std::string(5000, '[') + "\"}"));
  ExpectScript(reader, "a='\"" + std::string(5000, '[') + "'");
  ASSERT_TRUE(reader.LoadFromString("{\"S\": \"a\\u0000b\", \"U\": \"\\u00e9\\ud83d\\ude00\"}"));
  std::string text;
  EXPECT_TRUE(reader.Read("S", text));
  EXPECT_EQ(text, std::string("a\0b", 3));
  EXPECT_TRUE(reader.Read("U", text));
  EXPECT_EQ(text, "\xC3\xA9\xF0\x9F\x98\x80");
}

} // namespace
