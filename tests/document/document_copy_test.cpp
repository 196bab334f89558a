// Copying documents between the three forms through the interface: what survives every step, what
// a copy leaves out on purpose, and what it refuses.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/document_copy.h"
#include "document/json_document_reader.h"
#include "document/json_document_writer.h"
#include "document/xml_document_reader.h"
#include "document/xml_document_writer.h"

namespace {

// One line per scope ("/"-joined path) and one per value (path, name, kind and value), in walk
// order; scopes named `skip` are left out with what they hold.
void Dump(tv::DocumentReader& reader, const std::string& path, std::vector<std::string>& out,
          const std::vector<std::string>& skip) {
  std::vector<tv::DocumentValueInfo> values;
  EXPECT_TRUE(reader.ListValues(values));
  for (const tv::DocumentValueInfo& info : values) {
    const char* name = info.name.c_str();
    std::string text = "?";
    bool flag;
    int number;
    unsigned natural;
    float real;
    std::string string;
    tv::BinaryData block;
    char buffer[32];
    switch (info.kind) {
    case tv::DocumentValueBool:
      if (reader.Read(name, flag)) text = flag ? "bool true" : "bool false";
      break;
    case tv::DocumentValueInt:
      if (reader.Read(name, number)) text = "int " + std::to_string(number);
      break;
    case tv::DocumentValueUnsigned:
      if (reader.Read(name, natural)) text = "unsigned " + std::to_string(natural);
      break;
    case tv::DocumentValueFloat:
      if (reader.Read(name, real)) {
        std::snprintf(buffer, sizeof(buffer), "float %.9g", double(real));
        text = buffer;
      }
      break;
    case tv::DocumentValueString:
      if (reader.Read(name, string)) text = "string '" + string + "'";
      break;
    case tv::DocumentValueBinary:
      if (reader.Read(name, block)) text = "binary " + std::string(block.data.begin(), block.data.begin() + block.size);
      break;
    default: text = "other"; break;
    }
    out.push_back(path + " " + info.name + " = " + text);
  }
  if (!reader.EnterFirstChild()) return;
  do {
    const std::string name = reader.GetScopeName();
    if (std::find(skip.begin(), skip.end(), name) != skip.end()) continue;
    out.push_back(path + "/" + name);
    Dump(reader, path + "/" + name, out, skip);
  } while (reader.EnterNextSibling());
}

std::vector<std::string> Dump(tv::DocumentReader& reader, const std::vector<std::string>& skip = {}) {
  std::vector<std::string> out;
  Dump(reader, "root", out, skip);
  EXPECT_EQ(reader.GetScopeName(), "root");
  return out;
}

// Copies `reader` into a writer of each form and loads what it made.
void CopyInto(tv::DocumentReader& reader, tv::BinaryDocumentReader& out) {
  tv::BinaryDocumentWriter writer;
  std::string error;
  ASSERT_TRUE(tv::CopyDocument(reader, writer, error)) << error;
  EXPECT_EQ(error, "");
  tv::BinaryData image;
  ASSERT_TRUE(writer.Save(image));
  ASSERT_TRUE(out.Load(image));
}
template <typename Reader, typename Writer>
void CopyInto(tv::DocumentReader& reader, Reader& out, std::string* text = nullptr) {
  Writer writer;
  std::string error;
  ASSERT_TRUE(tv::CopyDocument(reader, writer, error)) << error;
  const std::string saved = writer.SaveToString();
  if (text != nullptr) *text = saved;
  ASSERT_TRUE(out.LoadFromString(saved)) << saved;
}
void CopyInto(tv::DocumentReader& reader, tv::JSONDocumentReader& out) {
  CopyInto<tv::JSONDocumentReader, tv::JSONDocumentWriter>(reader, out);
}
void CopyInto(tv::DocumentReader& reader, tv::XMLDocumentReader& out, std::string* text = nullptr) {
  CopyInto<tv::XMLDocumentReader, tv::XMLDocumentWriter>(reader, out, text);
}

std::string CopyError(tv::DocumentReader& reader, tv::DocumentWriter& writer) {
  std::string error;
  EXPECT_FALSE(tv::CopyDocument(reader, writer, error));
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

TEST(DocumentCopy, XMLThroughBinaryAndJSONBackToXMLKeepsEveryScopeAndValue) {
  tv::XMLDocumentReader source;
  ASSERT_TRUE(source.LoadFromString(kSceneXML));
  // Comments and the declaration are no data; "Document" is the root's values a second time.
  const std::vector<std::string> original = Dump(source, {"**invalid**"});
  const std::vector<std::string> content = Dump(source, {"**invalid**", "Document"});
  ASSERT_EQ(original.size(), 27u);
  EXPECT_EQ(original[0], "root Version = int 3");
  EXPECT_EQ(original[1], "root Title = string 'caf\xc3\xa9 & \"bar\"'");

  tv::BinaryDocumentReader binary;
  CopyInto(source, binary);
  EXPECT_EQ(Dump(binary), content);
  tv::JSONDocumentReader json;
  CopyInto(binary, json);
  EXPECT_EQ(Dump(json), content);
  tv::XMLDocumentReader xml;
  std::string text;
  CopyInto(json, xml, &text);
  EXPECT_EQ(Dump(xml), original);
  EXPECT_EQ(text.find("<Document"), 0u) << text;

  // Straight to XML again: the same text as by way of the other forms.
  tv::XMLDocumentReader again;
  ASSERT_TRUE(again.LoadFromString(kSceneXML));
  std::string direct;
  tv::XMLDocumentReader direct_reader;
  CopyInto(again, direct_reader, &direct);
  EXPECT_EQ(direct, text);
}

TEST(DocumentCopy, EveryKindAndBinaryBlocksSurviveBetweenBinaryDocuments) {
  tv::BinaryDocumentWriter writer;
  tv::BinaryData block;
  block.Write("\x00\x01raw\xff", 6);
  writer.Write("Flag", true);
  writer.Write("Low", std::numeric_limits<int>::min());
  writer.Write("High", std::numeric_limits<unsigned>::max());
  writer.Write("Small", 0.1f);  // no text form keeps it to the bit
  writer.Write("Name", std::string("with space"));
  writer.Write("Block", block);
  writer.Write("Empty block", tv::BinaryData());
  writer.EnterScope("with space");
  writer.EnterScope("Inner");
  writer.ExitScope();
  writer.ExitScope();
  tv::BinaryData image;
  ASSERT_TRUE(writer.Save(image));
  tv::BinaryDocumentReader source;
  ASSERT_TRUE(source.Load(image));

  tv::BinaryDocumentReader copy;
  CopyInto(source, copy);
  EXPECT_EQ(Dump(copy), Dump(source));
  tv::BinaryDocumentWriter rewriter;
  std::string error;
  ASSERT_TRUE(tv::CopyDocument(copy, rewriter, error));
  tv::BinaryData reimage;
  ASSERT_TRUE(rewriter.Save(reimage));
  EXPECT_EQ(std::vector<uint8_t>(reimage.data.begin(), reimage.data.begin() + reimage.size),
            std::vector<uint8_t>(image.data.begin(), image.data.begin() + image.size));
}

TEST(DocumentCopy, ABinaryBlockGoingToATextFormIsRefused) {
  tv::BinaryDocumentWriter writer;
  writer.Write("Count", 3u);
  writer.EnterScope("Mesh");
  writer.EnterScope("Stream");
  tv::BinaryData block;
  block.Write("abcd", 4);
  writer.Write("Positions", block);
  writer.ExitScope();
  writer.ExitScope();
  tv::BinaryData image;
  ASSERT_TRUE(writer.Save(image));
  tv::BinaryDocumentReader source;
  ASSERT_TRUE(source.Load(image));

  tv::JSONDocumentWriter json;
  EXPECT_EQ(CopyError(source, json), "'Positions' in 'Mesh/Stream' is a binary block, which only a binary document can hold");
  ASSERT_TRUE(source.Load(image));
  tv::XMLDocumentWriter xml;
  EXPECT_EQ(CopyError(source, xml), "'Positions' in 'Mesh/Stream' is a binary block, which only a binary document can hold");
}

TEST(DocumentCopy, ValuesGoFirstAndOnlyTheFirstOfANameIsCopied) {
  tv::JSONDocumentReader source;
  ASSERT_TRUE(source.LoadFromString("{\"A\": {\"x\": 1}, \"v\": 1, \"v\": true, \"B\": {}, \"w\": 0.5, \"A\": {}}"));
  tv::BinaryDocumentReader copy;
  CopyInto(source, copy);
  EXPECT_EQ(Dump(copy), (std::vector<std::string>{"root v = int 1", "root w = float 0.5", "root/A", "root/A x = int 1",
                                                  "root/B", "root/A"}));
}

TEST(DocumentCopy, TheRootValuesScopeIsLeftOutOnlyWhereItRepeatsTheRootValues) {
  const struct {
    const char* json;
    std::vector<std::string> copied;
  } cases[] = {
      {"{\"a\": 1, \"Document\": {\"a\": 1}}", {"root a = int 1"}},
      {"{\"a\": 1, \"Document\": {\"a\": 2}}", {"root a = int 1", "root/Document", "root/Document a = int 2"}},
      {"{\"a\": 1, \"Document\": {\"a\": 1, \"C\": {}}}",
       {"root a = int 1", "root/Document", "root/Document a = int 1", "root/Document/C"}},
      // Only the first "Document", and only at the start scope.
      {"{\"Document\": {}, \"Document\": {}, \"S\": {\"Document\": {}}}", {"root/Document", "root/S", "root/S/Document"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json);
    tv::JSONDocumentReader source;
    ASSERT_TRUE(source.LoadFromString(c.json));
    tv::BinaryDocumentReader copy;
    CopyInto(source, copy);
    EXPECT_EQ(Dump(copy), c.copied);
  }
}

TEST(DocumentCopy, WhatNoReadTakesIsRefusedWithItsPlace) {
  const struct {
    const char* json;
    const char* error;
  } cases[] = {
      {"{\"S\": {\"T\": {\"List\": [1, 2]}}}", "'List' in 'S/T' is of a kind that no read takes (such as a JSON array)"},
      {"{\"Nothing\": null}", "'Nothing' in the root scope is of a kind that no read takes (such as a JSON array)"},
      {"{\"X\": {}, \"X\": 5}", "'X' in the root scope cannot be read: a scope of that name stands before it"},
      {"{\"A\\u0000B\": 1}", "a value name in the root scope holds a NUL byte"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json);
    tv::JSONDocumentReader source;
    ASSERT_TRUE(source.LoadFromString(c.json));
    tv::BinaryDocumentWriter writer;
    EXPECT_EQ(CopyError(source, writer), c.error);
  }
}

TEST(DocumentCopy, AWriteTheWriterRefusesEndsTheCopy) {
  // JSON has no form for a float that is not finite.
  tv::BinaryDocumentWriter writer;
  writer.EnterScope("Light");
  writer.Write("Range", std::numeric_limits<float>::infinity());
  writer.ExitScope();
  tv::BinaryData image;
  ASSERT_TRUE(writer.Save(image));
  tv::BinaryDocumentReader source;
  ASSERT_TRUE(source.Load(image));
  tv::JSONDocumentWriter json;
  EXPECT_EQ(CopyError(source, json), "cannot write 'Range' in 'Light'");
}

TEST(DocumentCopy, DeepDocumentsAreCopiedWithoutRecursion) {
  std::string text;
  for (int i = 0; i < 900; ++i) text += "{\"A\": ";
  text += "{\"Bottom\": true}";
  for (int i = 0; i < 900; ++i) text += "}";
  tv::JSONDocumentReader source;
  ASSERT_TRUE(source.LoadFromString("{\"Top\": " + text + "}"));
  tv::BinaryDocumentReader copy;
  CopyInto(source, copy);
  int depth = 0;
  while (copy.EnterFirstChild()) ++depth;
  EXPECT_EQ(depth, 901);  // Top and 900 times A
  bool bottom = false;
  EXPECT_TRUE(copy.Read("Bottom", bottom));
  EXPECT_TRUE(bottom);
}

} // namespace
