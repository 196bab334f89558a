// Copying documents between the three forms through the interface: what survives every step, what
// a copy leaves out on purpose, and what it refuses.

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "document/document_copy.h"
#include "document_test_support.h"

using namespace tv;
using tv_test::ExpectScript;
using tv_test::WriteScript;

namespace {

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
      {"{\"S\": {\"T\": {\"List\": [1, 2]}}}", "'List' in 'S/T' is of a kind that no read takes (such as a JSON array)"},
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
