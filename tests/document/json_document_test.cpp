// The JSON form: the printed text, floats rounded up to 4 places, strict number kinds, repeated
// keys, the sibling walk, and what the parser refuses.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "document/document_scope.h"
#include "document_fixture.h"

using namespace tv;
using tv_test::ChildNames;

namespace {

class JSONDocument : public tv_test::DocumentTest {
protected:
  void ExpectPythonScene(const std::string& path);
};

std::string Fixture(const std::string& name) {
  std::ifstream in(std::string(TV_SOURCE_DIR) + "/tests/data/documents/" + name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST_F(JSONDocument, PrintsTabIndentedObjectsWithRepeatedKeysInWritingOrder) {
  JSONDocumentWriter writer;
  EXPECT_EQ(writer.SaveToString(), "{}");
  writer.Write("Version", 2);
  writer.EnterScope("Slot");
  writer.Write("V", 1.0f);
  writer.ExitScope();
  writer.EnterScope("Slot");
  writer.Write("V", 0.1f);
  writer.EnterScope("Empty");
  writer.ExitScope();
  writer.ExitScope();
  writer.Write("Count", 4000000000u);
  writer.Write("On", false);
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
  ASSERT_TRUE(writer.Save("printed.json"));
  EXPECT_EQ(temp.Get("printed.json"), writer.SaveToString());

  // Of two values of one name a reader takes the first.
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.Load("printed.json"));
  std::string name;
  EXPECT_TRUE(reader.Read("Name", name));
  EXPECT_EQ(name, "a\"b\\c\n\x01");
}

TEST_F(JSONDocument, FloatsAreRoundedUpToFourDecimalPlaces) {
  const struct {
    const char* name;
    float value;
    const char* text;
    double stored;
  } cases[] = {
      {"Half", 0.5f, "0.5", 0.5},
      {"Tenth", 0.1f, "0.1001", 0.1001},  // the float nearest 0.1 is a little above it
      {"Above", 1.00001f, "1.0001", 1.0001},
      {"Negative", -1.00001f, "-1.0", -1.0},  // rounded up is towards zero
      {"Whole", 7.0f, "7.0", 7.0},
      {"Exact", 2.25f, "2.25", 2.25},
      {"Tiny", 1e-9f, "0.0001", 0.0001},
  };
  JSONDocumentWriter writer;
  for (const auto& c : cases) writer.Write(c.name, c.value);
  const std::string text = writer.SaveToString();
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(text));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_NE(text.find(std::string("\"") + c.name + "\": " + c.text + (c.name == std::string("Tiny") ? "\n" : ",\n")),
              std::string::npos)
        << text;
    float value = 0;
    EXPECT_TRUE(reader.Read(c.name, value));
    EXPECT_EQ(value, float(c.stored));
  }
}

TEST_F(JSONDocument, NumberKindsFollowHowTheNumberIsWritten) {
  struct Case {
    const char* name;
    bool as_int, as_unsigned, as_float;
    DocumentValueKind kind;
  };
  const Case cases[] = {
      {"One", true, true, false, DocumentValueInt},        {"OneF", false, false, true, DocumentValueFloat},
      {"Neg", true, false, false, DocumentValueInt},       {"Exp", false, false, true, DocumentValueFloat},
      {"Big", false, true, false, DocumentValueUnsigned},  {"Huge", false, false, false, DocumentValueOther},
      {"Min", true, false, false, DocumentValueInt},       {"Below", false, false, false, DocumentValueOther},
      {"Far", false, false, false, DocumentValueOther},    {"NegZero", true, true, false, DocumentValueInt},
  };
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(
      "{\"One\": 1, \"OneF\": 1.0, \"Neg\": -1, \"Exp\": 1e2, \"Big\": 2147483648, \"Huge\": 4294967296, "
      "\"Min\": -2147483648, \"Below\": -2147483649, \"Far\": 1e300, \"NegZero\": -0}"));
  std::vector<DocumentValueInfo> values;
  ASSERT_TRUE(reader.ListValues(values));
  ASSERT_EQ(values.size(), std::size(cases));
  for (size_t i = 0; i < std::size(cases); ++i) {
    const Case& c = cases[i];
    SCOPED_TRACE(c.name);
    int number = 99;
    unsigned whole = 99;
    float real = 99;
    EXPECT_EQ(reader.Read(c.name, number), c.as_int);
    EXPECT_EQ(reader.Read(c.name, whole), c.as_unsigned);
    EXPECT_EQ(reader.Read(c.name, real), c.as_float);
    if (!c.as_float) {
      EXPECT_EQ(real, 99.0f);
    }
    EXPECT_EQ(values[i].name, c.name);
    EXPECT_EQ(values[i].kind, c.kind);
  }
  float real = 0;
  ASSERT_TRUE(reader.Read("OneF", real));
  EXPECT_EQ(real, 1.0f);
}

TEST_F(JSONDocument, SiblingWalkVisitsEveryObjectMemberInOrderAndSkipsOthers) {
  JSONDocumentReader reader;
  // Equal objects are still different members: the walk goes by position, not by content.
  ASSERT_TRUE(reader.LoadFromString("{\"A\": {}, \"x\": 1, \"A\": {}, \"B\": [{\"C\": {}}], \"n\": null, "
                                    "\"A\": {\"k\": 3}, \"s\": \"{}\", \"D\": {\"A\": {}}}"));
  EXPECT_EQ(ChildNames(reader), (std::vector<std::string>{"A", "A", "A", "D"}));
  EXPECT_EQ(CountScopes(reader, "A"), 3);
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(reader.EnterNextSibling());
  ASSERT_TRUE(reader.EnterNextSibling());
  int k = 0;
  EXPECT_TRUE(reader.Read("k", k));
  EXPECT_EQ(k, 3);
  // An array holds no scope and no value a reader takes.
  EXPECT_TRUE(reader.ExitScope());
  std::string text;
  EXPECT_FALSE(reader.Read("B", text));
  EXPECT_FALSE(reader.Read("n", text));
  EXPECT_TRUE(reader.Read("s", text));
  EXPECT_EQ(text, "{}");
}

TEST_F(JSONDocument, AnyTextIsAName) {
  const std::vector<std::string> names = {"two words", "quote\"d", "Caf\xC3\xA9", "", "slash/and\\back", "{[<"};
  JSONDocumentWriter writer;
  for (const std::string& name : names) {
    writer.EnterScope(name.c_str());
    writer.Write(name.c_str(), name);
    writer.ExitScope();
  }
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  EXPECT_EQ(ChildNames(reader), names);
  for (const std::string& name : names) {
    SCOPED_TRACE(name);
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
    ExpectPythonScene(name);
  }
}

TEST_F(JSONDocument, TextEndsAtItsFirstNul) {
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(std::string("{\"a\": 1}\0{broken", 15)));
  int a = 0;
  EXPECT_TRUE(reader.Read("a", a));
  EXPECT_EQ(a, 1);
}

void JSONDocument::ExpectPythonScene(const std::string& path) {
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.Load(path));
  int version = 0;
  unsigned huge = 0;
  float offset = 0;
  std::string title;
  EXPECT_TRUE(reader.Read("Version", version));
  EXPECT_EQ(version, 2);
  EXPECT_TRUE(reader.Read("Huge", huge));
  EXPECT_EQ(huge, 4294967295u);
  EXPECT_TRUE(reader.Read("Offset", offset));
  EXPECT_EQ(offset, -7.25f);
  EXPECT_TRUE(reader.Read("Title", title));
  EXPECT_EQ(title, "Caf\xC3\xA9 \"quoted\" <tag> & \\ back\tslash \xF0\x9F\x98\x80");
  EXPECT_EQ(ChildNames(reader), (std::vector<std::string>{"Scene"}));
  ASSERT_TRUE(EnterPath(reader, "Scene/Node"));
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    int index = -1;
    float weight = -1;
    bool visible = i % 2 != 0;
    EXPECT_TRUE(reader.Read("Index", index));
    EXPECT_EQ(index, i);
    // Python writes 0.0 for the zero weight, so it is a float too.
    EXPECT_TRUE(reader.Read("Weight", weight));
    EXPECT_EQ(weight, i / 4.0f);
    EXPECT_TRUE(reader.Read("Visible", visible));
    EXPECT_EQ(visible, i % 2 == 0);
    EXPECT_EQ(reader.EnterNextSibling(), i < 2);
  }
  EXPECT_EQ(reader.GetScopeName(), "Scene");
}

TEST_F(JSONDocument, TextThatIsNoStrictJSONIsRefused) {
  const std::vector<std::string> texts = {
      "",
      "   ",
      "{",
      "{\"a\": 1,}",
      "{\"a\": 1} x",
      "{} {}",
      "{\"a\": 1 /* note */}",
      "// note\n{}",
      "{'a': 1}",
      "{\"a\": NaN}",
      "{\"a\": 1e400}",
      "{\"a\": \"open}",
      "{\"a\": 01}",
      "\xEF\xBB\xBF",
  };
  for (const std::string& text : texts) {
    SCOPED_TRACE(text);
    JSONDocumentReader reader;
    EXPECT_FALSE(reader.LoadFromString(text));
    EXPECT_EQ(reader.GetScopeName(), "root");
    EXPECT_FALSE(reader.EnterFirstChild());
    int a = 5;
    EXPECT_FALSE(reader.Read("a", a));
    EXPECT_EQ(a, 5);
  }
}

TEST_F(JSONDocument, WhiteSpaceAroundTokensIsFineAndARootThatIsNoObjectLoadsEmpty) {
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString(" \r\n\t{ \"a\" :\r\n 1 ,\"S\":{ } }\n\n "));
  int a = 0;
  EXPECT_TRUE(reader.Read("a", a));
  EXPECT_EQ(a, 1);
  for (const char* text : {"[{\"a\": 1}]", "3", "\"text\"", "null"}) {
    SCOPED_TRACE(text);
    ASSERT_TRUE(reader.LoadFromString(text));
    EXPECT_FALSE(reader.EnterFirstChild());
    EXPECT_FALSE(reader.Read("a", a));
    std::vector<DocumentValueInfo> values;
    EXPECT_TRUE(reader.ListValues(values));
    EXPECT_TRUE(values.empty());
  }
}

TEST_F(JSONDocument, FloatsWithoutJSONFormAreNotWritten) {
  JSONDocumentWriter writer;
  EXPECT_FALSE(writer.Write("Inf", INFINITY));
  EXPECT_FALSE(writer.Write("Nan", NAN));
  EXPECT_FALSE(writer.Write("Low", -INFINITY));
  EXPECT_EQ(writer.SaveToString(), "{}");
  writer.Write("Fine", 1.5f);
  JSONDocumentReader reader;
  EXPECT_TRUE(reader.LoadFromString(writer.SaveToString()));
}

TEST_F(JSONDocument, NestingIsLimitedBeforeTheParserRecurses) {
  const auto nested = [](int depth, const char* open, const char* close) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += open;
    for (int i = 0; i < depth; ++i) text += close;
    return text;
  };
  JSONDocumentReader reader;
  // The root object counts as the first level.
  EXPECT_TRUE(reader.LoadFromString("{" + nested(kMaxJSONDepth - 1, "\"A\": {", "}") + "}"));
  EXPECT_EQ(CountChildScopes(reader), 1);
  EXPECT_FALSE(reader.LoadFromString("{" + nested(kMaxJSONDepth, "\"A\": {", "}") + "}"));
  EXPECT_FALSE(reader.LoadFromString(std::string(1000000, '[')));
  EXPECT_FALSE(reader.LoadFromString("{\"a\": " + nested(kMaxJSONDepth + 5, "[", "]") + "}"));
  // Brackets inside strings, escaped quotes included, are text.
  EXPECT_TRUE(reader.LoadFromString("{\"a\": \"\\\"" + std::string(5000, '[') + "\"}"));
  std::string text;
  EXPECT_TRUE(reader.Read("a", text));
  EXPECT_EQ(text.size(), 5001u);

  // What the writer makes at a depth within the limit comes back.
  JSONDocumentWriter writer;
  for (int i = 0; i < 500; ++i) writer.EnterScope("A");
  writer.Write("Bottom", true);
  ASSERT_TRUE(reader.LoadFromString(writer.SaveToString()));
  std::string path = "A";
  for (int i = 1; i < 500; ++i) path += "/A";
  ASSERT_TRUE(EnterPath(reader, path));
  bool bottom = false;
  EXPECT_TRUE(reader.Read("Bottom", bottom));
  EXPECT_TRUE(bottom);
}

TEST_F(JSONDocument, StringsKeepEscapedNulAndUnicode) {
  JSONDocumentReader reader;
  ASSERT_TRUE(reader.LoadFromString("{\"S\": \"a\\u0000b\", \"U\": \"\\u00e9\\ud83d\\ude00\"}"));
  std::string text;
  EXPECT_TRUE(reader.Read("S", text));
  EXPECT_EQ(text, std::string("a\0b", 3));
  EXPECT_TRUE(reader.Read("U", text));
  EXPECT_EQ(text, "\xC3\xA9\xF0\x9F\x98\x80");
}

} // namespace
