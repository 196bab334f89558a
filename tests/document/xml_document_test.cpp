// The XML form: elements and attributes, the "Document" element at the root, nodes of every kind
// as scopes, strict numbers in text, and what the parser refuses.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <iterator>
#include <string>
#include <vector>

#include "document/document_scope.h"
#include "document_fixture.h"

using namespace tv;
using tv_test::ChildNames;

namespace {

class XMLDocument : public tv_test::DocumentTest {};

std::string Fixture(const std::string& name) {
  std::ifstream in(std::string(TV_SOURCE_DIR) + "/tests/data/documents/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST_F(XMLDocument, WritesIndentedElementsWithValuesAsAttributeText) {
  XMLDocumentWriter writer;
  writer.EnterScope("Scene");
  writer.Write("Name", "a<b & \"c\"");
  writer.EnterScope("Node");
  writer.Write("Index", -3);
  writer.Write("Count", 4000000000u);
  writer.Write("Scale", 0.1f);
  writer.Write("Third", 1.0f / 3.0f);
  writer.Write("Huge", 16777217.0f);
  writer.Write("On", true);
  writer.Write("Off", false);
  writer.ExitScope();
  writer.ExitScope();
  writer.Write("Version", 2);  // at the root: a "Document" element, made now, beside "Scene"
  writer.Write("Kind", "scene");
  EXPECT_EQ(writer.SaveToString(),
            "<Scene Name=\"a&lt;b &amp; &quot;c&quot;\">\n"
            "    <Node Index=\"-3\" Count=\"4000000000\" Scale=\"0.1\" Third=\"0.33333334\" Huge=\"16777216\" "
            "On=\"true\" Off=\"false\"/>\n"
            "</Scene>\n"
            "\n"  // the printer's blank line between top-level elements
            "<Document Version=\"2\" Kind=\"scene\"/>\n");
}

TEST_F(XMLDocument, RootValuesComeBackFromTheDocumentElement) {
  XMLDocumentWriter writer;
  writer.Write("Version", 2);
  writer.EnterScope("Scene");
  writer.Write("Version", 5);
  writer.ExitScope();
  writer.Write("Title", "t");
  ASSERT_TRUE(writer.Save("root.xml"));

  XMLDocumentReader reader;
  ASSERT_TRUE(reader.Load("root.xml"));
  int version = 0;
  std::string title;
  EXPECT_TRUE(reader.Read("Version", version));
  EXPECT_EQ(version, 2);
  EXPECT_TRUE(reader.Read("Title", title));
  EXPECT_EQ(title, "t");
  // The element is also an ordinary top-level scope.
  EXPECT_EQ(ChildNames(reader), (std::vector<std::string>{"Document", "Scene"}));
}

TEST_F(XMLDocument, ScopesWithoutRootValuesMakeNoDocumentElement) {
  XMLDocumentWriter writer;
  writer.EnterScope("Scene");
  writer.Write("Version", 5);
  writer.ExitScope();
  const std::string text = writer.SaveToString();
  EXPECT_EQ(text.find("Document"), std::string::npos) << text;

  XMLDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(text));
  int version = 0;
  EXPECT_FALSE(reader.Read("Version", version));
  std::vector<DocumentValueInfo> values;
  EXPECT_TRUE(reader.ListValues(values));
  EXPECT_TRUE(values.empty());
}

TEST_F(XMLDocument, RootValuesAreTakenFromTheFirstTopLevelElementNamedExactlyDocument) {
  XMLDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString("<DocumentX A=\"1\"/><Other><Document A=\"2\"/></Other>"
                                    "<document A=\"3\"/><Document A=\"4\"/><Document A=\"5\"/>"));
  int a = 0;
  EXPECT_TRUE(reader.Read("A", a));
  EXPECT_EQ(a, 4);
}

TEST_F(XMLDocument, CommentsTextAndDeclarationsAreScopesNamedInvalid) {
  XMLDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString("<?xml version=\"1.0\"?>\n<A v=\"1\"/>\n<!-- between -->\n<B>some text<C/></B>"));
  EXPECT_EQ(ChildNames(reader), (std::vector<std::string>{"**invalid**", "A", "**invalid**", "B"}));
  EXPECT_EQ(CountChildScopes(reader), 4);
  EXPECT_EQ(CountScopes(reader, "**invalid**"), 2);

  ASSERT_TRUE(EnterScope(reader, "B"));
  EXPECT_EQ(ChildNames(reader), (std::vector<std::string>{"**invalid**", "C"}));
  ASSERT_TRUE(reader.EnterFirstChild());
  EXPECT_EQ(reader.GetScopeName(), "**invalid**");
  std::string text = "unchanged";
  EXPECT_FALSE(reader.Read("v", text));
  EXPECT_EQ(text, "unchanged");
  std::vector<DocumentValueInfo> values;
  EXPECT_TRUE(reader.ListValues(values));
  EXPECT_TRUE(values.empty());
  EXPECT_FALSE(reader.EnterFirstChild());
}

// Files written by Python's ElementTree, with a declaration, a comment, text, entities and tab
// indentation; the second copy has a byte order mark and CRLF line ends.
TEST_F(XMLDocument, ReadsFilesWrittenByAnotherTool) {
  for (const char* name : {"python_scene.xml", "python_scene_bom.xml"}) {
    SCOPED_TRACE(name);
    temp.Put(name, Fixture(name));
    XMLDocumentReader reader;
    ASSERT_TRUE(reader.Load(name));
    EXPECT_EQ(ChildNames(reader), (std::vector<std::string>{"**invalid**", "Scene"}));
    int version = 0;
    EXPECT_FALSE(reader.Read("Version", version));  // the "Document" element is not at the top
    ASSERT_TRUE(EnterScope(reader, "Scene"));
    EXPECT_TRUE(reader.Read("Version", version));
    EXPECT_EQ(version, 2);
    EXPECT_EQ(ChildNames(reader),
              (std::vector<std::string>{"**invalid**", "Node", "Node", "Node", "Document"}));
    ASSERT_TRUE(EnterScope(reader, "Node"));
    for (int i = 0; i < 3; ++i) {
      SCOPED_TRACE(i);
      std::string node_name;
      int index = -1;
      float weight = -1;
      bool visible = i % 2 != 0;
      EXPECT_TRUE(reader.Read("Name", node_name));
      EXPECT_EQ(node_name, "node " + std::to_string(i));
      EXPECT_TRUE(reader.Read("Index", index));
      EXPECT_EQ(index, i);
      EXPECT_TRUE(reader.Read("Weight", weight));
      EXPECT_EQ(weight, i / 4.0f);
      EXPECT_TRUE(reader.Read("Visible", visible));
      EXPECT_EQ(visible, i % 2 == 0);
      EXPECT_EQ(CountChildScopes(reader), i == 1 ? 1 : 0);  // the text of node 1
      ASSERT_TRUE(reader.EnterNextSibling());
    }
    ASSERT_EQ(reader.GetScopeName(), "Document");
    std::string title;
    float offset = 0;
    EXPECT_TRUE(reader.Read("Title", title));
    EXPECT_EQ(title, "Caf\xC3\xA9 \"quoted\" <tag> & 'apos'");
    EXPECT_TRUE(reader.Read("Offset", offset));
    EXPECT_EQ(offset, -7.25f);
  }
}

TEST_F(XMLDocument, FloatsThatAreNotFiniteComeBackAsWritten) {
  XMLDocumentWriter writer;
  ASSERT_TRUE(writer.Write("n", std::numeric_limits<float>::quiet_NaN()));
  ASSERT_TRUE(writer.Write("i", -std::numeric_limits<float>::infinity()));
  XMLDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  float n = 0, i = 0;
  ASSERT_TRUE(reader.Read("n", n));
  ASSERT_TRUE(reader.Read("i", i));
  EXPECT_TRUE(std::isnan(n));
  EXPECT_EQ(i, -std::numeric_limits<float>::infinity());
}

TEST_F(XMLDocument, NumbersAndBoolsMustBeWholeDecimalText) {
  struct Case {
    const char* text;
    bool as_int, as_unsigned, as_float, as_bool;
  };
  const Case cases[] = {
      {"12", true, true, true, false},
      {" 12\t", true, true, true, false},
      {"+12", true, true, true, false},
      {"-12", true, false, true, false},
      {"12abc", false, false, false, false},
      {"1 2", false, false, false, false},
      {"", false, false, false, false},
      {"+-1", false, false, false, false},
      {"0x10", false, false, false, false},
      {"2147483647", true, true, true, false},
      {"2147483648", false, true, true, false},
      {"-2147483648", true, false, true, false},
      {"-2147483649", false, false, true, false},
      {"4294967295", false, true, true, false},
      {"4294967296", false, false, true, false},
      {"1.5", false, false, true, false},
      {"-1e-3", false, false, true, false},
      {"3.4028235e+38", false, false, true, false},
      {"1e39", false, false, false, false},
      {"true", false, false, false, true},
      {"false", false, false, false, true},
      {"True", false, false, false, false},
      {"1", true, true, true, false},
      {"nan", false, false, true, false},
      {"-inf", false, false, true, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string("\"") + c.text + "\"");
    XMLDocumentReader reader;
    ASSERT_TRUE(reader.LoadFromString(std::string("<Document v=\"") + c.text + "\"/>"));
    int number = 99;
    unsigned whole = 99;
    float real = 99;
    bool flag = false;
    EXPECT_EQ(reader.Read("v", number), c.as_int);
    EXPECT_EQ(reader.Read("v", whole), c.as_unsigned);
    EXPECT_EQ(reader.Read("v", real), c.as_float);
    EXPECT_EQ(reader.Read("v", flag), c.as_bool);
    if (!c.as_int) {
      EXPECT_EQ(number, 99);
    }
    if (!c.as_unsigned) {
      EXPECT_EQ(whole, 99u);
    }
    if (!c.as_float) {
      EXPECT_EQ(real, 99.0f);
    }
    std::string text;
    EXPECT_TRUE(reader.Read("v", text));  // every value is text as well
  }
}

TEST_F(XMLDocument, NamesThatAreNoXMLNamesDoNotParseBack) {
  XMLDocumentWriter writer;
  writer.EnterScope("two words");
  writer.ExitScope();
  XMLDocumentReader reader;
  EXPECT_FALSE(reader.LoadFromString(writer.SaveToString()));

  XMLDocumentWriter value_writer;
  value_writer.Write("bad name", 1);
  EXPECT_FALSE(reader.LoadFromString(value_writer.SaveToString()));
}

TEST_F(XMLDocument, NestingBeyondTheParserLimitIsRefused) {
  const auto nested = [](int depth) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += "<A>";
    for (int i = 0; i < depth; ++i) text += "</A>";
    return text;
  };
  XMLDocumentReader reader;
  EXPECT_TRUE(reader.LoadFromString(nested(90)));
  EXPECT_FALSE(reader.LoadFromString(nested(200)));
  EXPECT_FALSE(reader.LoadFromString(std::string(100000, '<')));
  EXPECT_FALSE(reader.EnterFirstChild());
}

TEST_F(XMLDocument, MalformedTextIsRefused) {
  const char* texts[] = {"",          "   \n",           "<A>",          "<A></B>",       "<A x=1/>",
                         "<A x=\"1\" x=\"2\"/>", "<A x=\"1/>", "<!-- open", "<A/><",          "<A><![CDATA[x</A>",
                         "\xEF\xBB\xBF"};
  for (const char* text : texts) {
    SCOPED_TRACE(text);
    XMLDocumentReader reader;
    EXPECT_FALSE(reader.LoadFromString(text));
    EXPECT_EQ(reader.GetScopeName(), "root");
    EXPECT_FALSE(reader.EnterFirstChild());
  }
}

TEST_F(XMLDocument, TextInMemoryEndsAtItsFirstNul) {
  XMLDocumentReader reader;
  EXPECT_TRUE(reader.LoadFromString(std::string("<Document v=\"1\"/>\0<broken", 26)));
  int v = 0;
  EXPECT_TRUE(reader.Read("v", v));
  EXPECT_EQ(v, 1);
}

} // namespace
