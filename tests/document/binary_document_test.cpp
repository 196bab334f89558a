// The binary document form: the file image the writer makes, byte for byte, and what the reader
// gives back from it.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/document_scope.h"
#include "document/binary_document_support.h"
#include "file/filesystem.h"
#include "file/log_capture.h"
#include "file/std_file_driver.h"
#include "file/temp_folder.h"
#include "foundation/globals.h"

namespace {

using tv_test::Bytes;
using tv_test::FromHex;
using tv_test::ImageOf;
using tv_test::LoadBytes;
using tv_test::LogLine;

class BinaryDocumentTest : public tv_test::LogCaptureTest {};

TEST(BinaryDocumentWriter, WorkedExampleComesOutByteForByte) {
  tv::BinaryDocumentWriter writer;
  ASSERT_TRUE(writer.EnterScope("a"));
  ASSERT_TRUE(writer.Write("b", 7));
  ASSERT_TRUE(writer.ExitScope());
  EXPECT_EQ(ImageOf(writer), FromHex({0x4E, 0x42, 0x49, 0x4E, 0x0E, 0x00, 0x00, 0x00,  // head, body size
                                      0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00,        // scope "a", length 7
                                      0x01, 0x00, 0x02, 0x07, 0x00, 0x00, 0x00,        // int "b" = 7
                                      0x61, 0x00, 0x62, 0x00}));                       // dictionary
}

TEST(BinaryDocumentWriter, EveryKindHasItsTagAndPayload) {
  tv::BinaryDocumentWriter writer;
  tv::BinaryData block;
  block.Write("xyz", 3);
  ASSERT_TRUE(writer.Write("t", true));
  ASSERT_TRUE(writer.Write("i", -2));
  ASSERT_TRUE(writer.Write("u", 0x01020304u));
  ASSERT_TRUE(writer.Write("f", 1.0f));
  ASSERT_TRUE(writer.Write("s", std::string("t")));  // a value equal to a name shares its entry
  ASSERT_TRUE(writer.Write("d", block));
  EXPECT_EQ(ImageOf(writer),
            FromHex({0x4E, 0x42, 0x49, 0x4E, 40, 0, 0, 0,                 //
                     0, 0, 1, 1,                                         // bool t
                     1, 0, 2, 0xFE, 0xFF, 0xFF, 0xFF,                    // int i = -2
                     2, 0, 3, 4, 3, 2, 1,                                // unsigned u
                     3, 0, 4, 0x00, 0x00, 0x80, 0x3F,                    // float f = 1
                     4, 0, 5, 0, 0,                                      // string s = entry 0
                     5, 0, 6, 3, 0, 0, 0, 'x', 'y', 'z',                 // binary d
                     't', 0, 'i', 0, 'u', 0, 'f', 0, 's', 0, 'd', 0}));
}

TEST(BinaryDocumentWriter, DictionaryHoldsEachTextOnceInOrderOfFirstUse) {
  tv::BinaryDocumentWriter writer;
  for (const char* node_name : {"first", "second"}) {
    ASSERT_TRUE(writer.EnterScope("Node"));
    ASSERT_TRUE(writer.Write("Name", std::string(node_name)));
    ASSERT_TRUE(writer.Write("Kind", std::string("Node")));
    ASSERT_TRUE(writer.ExitScope());
  }
  ASSERT_TRUE(writer.Write("Empty", std::string()));
  ASSERT_TRUE(writer.Write("Again", std::string()));
  EXPECT_EQ(writer.dictionary,
            (std::vector<std::string>{"Node", "Name", "first", "Kind", "second", "Empty", "", "Again"}));

  const Bytes image = ImageOf(writer);
  static const char kTail[] = "Node\0Name\0first\0Kind\0second\0Empty\0\0Again";
  const std::string expected_tail(kTail, sizeof(kTail));  // with the literal's own byte 0 last
  ASSERT_GE(image.size(), expected_tail.size());
  EXPECT_EQ(std::string(image.end() - ptrdiff_t(expected_tail.size()), image.end()), expected_tail);

  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  std::string empty = "unchanged";
  ASSERT_TRUE(reader.Read("Again", empty));
  EXPECT_EQ(empty, "");
  std::vector<std::string> names;
  ASSERT_TRUE(reader.EnterFirstChild());
  do {
    std::string name, kind;
    ASSERT_TRUE(reader.Read("Name", name));
    ASSERT_TRUE(reader.Read("Kind", kind));
    EXPECT_EQ(kind, "Node");
    names.push_back(name);
  } while (reader.EnterNextSibling());
  EXPECT_EQ(names, (std::vector<std::string>{"first", "second"}));
}

// A document with scopes, every kind of value and a block, as a serializer would make it.
void WriteSample(tv::DocumentWriter& writer) {
  writer.Write("Version", 3u);
  {
    tv::DocumentScope nodes(writer, "Nodes");
    for (int i = 0; i < 3; ++i) {
      tv::DocumentScope node(writer, "Node");
      writer.Write("Index", i);
      writer.Write("Name", "node " + std::to_string(i));
      writer.Write("Visible", i != 1);
      writer.Write("Weight", 0.5f * float(i));
      tv::BinaryData block;
      const uint32_t words[2] = {uint32_t(i), 0xdeadbeef};
      block.Write(words, 8);
      writer.Write("Data", block);
    }
    tv::DocumentScope empty(writer, "Empty");
  }
  writer.Write("Tail", std::string("end"));
}

TEST(BinaryDocumentWriter, SameDocumentWrittenTwiceIsByteIdentical) {
  tv::BinaryDocumentWriter first, second;
  WriteSample(first);
  WriteSample(second);
  EXPECT_EQ(ImageOf(first), ImageOf(second));

  // And the image that Save(BinaryData) makes for one writer does not change when asked again.
  EXPECT_EQ(ImageOf(first), ImageOf(first));
}

TEST(BinaryDocumentWriter, AppendsTheImageAtTheBuffersCursor) {
  tv::BinaryDocumentWriter writer;
  writer.Write("v", 1);
  tv::BinaryData buffer;
  buffer.Write("ABCDEF", 6);
  buffer.cursor = 2;
  ASSERT_TRUE(writer.Save(buffer));
  const Bytes image = ImageOf(writer);
  EXPECT_EQ(buffer.size, 2 + image.size());
  EXPECT_EQ(buffer.cursor, buffer.size);
  EXPECT_EQ(std::memcmp(buffer.data.data(), "AB", 2), 0);
  EXPECT_EQ(std::memcmp(buffer.data.data() + 2, image.data(), image.size()), 0);
}

TEST(BinaryDocumentWriter, BodyGrowsInStepsAndBlocksInOne) {
  tv::BinaryDocumentWriter writer;
  writer.Write("a", 1);
  EXPECT_EQ(writer.body.size(), 32768u);
  EXPECT_EQ(writer.position, 7u);
  tv::BinaryData block;
  std::vector<uint8_t> bytes(100000, 7);
  block.Write(bytes.data(), uint32_t(bytes.size()));
  ASSERT_TRUE(writer.Write("b", block));
  // Name, tag and length fit the present body; the block then adds 32768 plus its size at once.
  EXPECT_EQ(writer.body.size(), 32768u + 32768u + 100000u);
  EXPECT_EQ(writer.position, 7u + 7u + 100000u);
}

TEST(BinaryDocumentWriter, ExitScopeWithNothingEnteredFails) {
  tv::BinaryDocumentWriter writer;
  EXPECT_FALSE(writer.ExitScope());
  ASSERT_TRUE(writer.EnterScope("a"));
  EXPECT_TRUE(writer.ExitScope());
  EXPECT_FALSE(writer.ExitScope());
  EXPECT_TRUE(writer.IsBinary());
}

TEST(BinaryDocumentWriter, TextWithAByteZeroIsRefused) {
  tv::BinaryDocumentWriter writer;
  EXPECT_FALSE(writer.Write("s", std::string("a\0b", 3)));
  EXPECT_EQ(writer.position, 0u);
  EXPECT_TRUE(writer.dictionary.empty());
}

TEST(BinaryDocumentReader, GivesBackEveryKindAndScope) {
  tv::BinaryDocumentWriter writer;
  WriteSample(writer);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  EXPECT_TRUE(reader.IsBinary());
  EXPECT_EQ(reader.GetScopeName(), "root");
  unsigned version = 0;
  ASSERT_TRUE(reader.Read("Version", version));
  EXPECT_EQ(version, 3u);

  ASSERT_TRUE(tv::EnterScope(reader, "Nodes"));
  EXPECT_EQ(tv::CountChildScopes(reader), 4);
  EXPECT_EQ(tv::CountScopes(reader, "Node"), 3);
  ASSERT_TRUE(reader.EnterFirstChild());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(reader.GetScopeName(), "Node");
    int index = -1;
    std::string name;
    bool visible = false;
    float weight = -1;
    tv::BinaryData block;
    ASSERT_TRUE(reader.Read("Index", index));
    ASSERT_TRUE(reader.Read("Name", name));
    ASSERT_TRUE(reader.Read("Visible", visible));
    ASSERT_TRUE(reader.Read("Weight", weight));
    ASSERT_TRUE(reader.Read("Data", block));
    EXPECT_EQ(index, i);
    EXPECT_EQ(name, "node " + std::to_string(i));
    EXPECT_EQ(visible, i != 1);
    EXPECT_EQ(weight, 0.5f * float(i));
    uint32_t words[2] = {};
    ASSERT_EQ(block.size, 8u);
    ASSERT_TRUE(block.Read(words, 8));
    EXPECT_EQ(words[0], uint32_t(i));
    EXPECT_EQ(words[1], 0xdeadbeefu);
    ASSERT_TRUE(reader.EnterNextSibling());
  }
  EXPECT_EQ(reader.GetScopeName(), "Empty");
  // A length of 0: a scope without children.
  EXPECT_FALSE(reader.EnterFirstChild());
  EXPECT_EQ(reader.GetScopeName(), "Empty");
  EXPECT_FALSE(reader.EnterNextSibling());
  EXPECT_EQ(reader.GetScopeName(), "Nodes");
  ASSERT_TRUE(reader.ExitScope());
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_FALSE(reader.ExitScope());
  EXPECT_FALSE(reader.EnterNextSibling());
  std::string tail;
  ASSERT_TRUE(reader.Read("Tail", tail));
  EXPECT_EQ(tail, "end");
}

TEST(BinaryDocumentReader, ExtremeValuesSurvive) {
  tv::BinaryDocumentWriter writer;
  writer.Write("min", std::numeric_limits<int>::min());
  writer.Write("max", std::numeric_limits<unsigned>::max());
  writer.Write("inf", -std::numeric_limits<float>::infinity());
  writer.Write("zero", -0.0f);
  writer.Write("nan", std::numeric_limits<float>::quiet_NaN());
  writer.Write("utf8", std::string("gr\xc3\xbc\xc3\x9f dich"));
  writer.Write("with space", 1);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  int i = 0;
  unsigned u = 0;
  float f = 0;
  std::string s;
  ASSERT_TRUE(reader.Read("min", i));
  EXPECT_EQ(i, std::numeric_limits<int>::min());
  ASSERT_TRUE(reader.Read("max", u));
  EXPECT_EQ(u, std::numeric_limits<unsigned>::max());
  ASSERT_TRUE(reader.Read("inf", f));
  EXPECT_EQ(f, -std::numeric_limits<float>::infinity());
  ASSERT_TRUE(reader.Read("zero", f));
  EXPECT_TRUE(f == 0 && std::signbit(f));
  ASSERT_TRUE(reader.Read("nan", f));
  EXPECT_TRUE(std::isnan(f));
  ASSERT_TRUE(reader.Read("utf8", s));
  EXPECT_EQ(s, "gr\xc3\xbc\xc3\x9f dich");
  ASSERT_TRUE(reader.Read("with space", i));
  EXPECT_EQ(i, 1);
}

TEST(BinaryDocumentReader, OnlyTheFirstValueOfANameCountsWhateverItsKind) {
  tv::BinaryDocumentWriter writer;
  writer.Write("v", 1);
  writer.Write("v", true);
  writer.Write("v", 2);
  writer.Write("n", 5);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  int number = 0;
  ASSERT_TRUE(reader.Read("v", number));
  EXPECT_EQ(number, 1);
  // The first "v" is an int: the bool behind it is never tried.
  bool flag = false;
  EXPECT_FALSE(reader.Read("v", flag));
  // A bool read of an int element fails though both have a payload, and leaves the target alone.
  flag = true;
  EXPECT_FALSE(reader.Read("n", flag));
  EXPECT_TRUE(flag);
  unsigned other = 77;
  EXPECT_FALSE(reader.Read("n", other));
  EXPECT_EQ(other, 77u);
  EXPECT_FALSE(reader.Read("missing", number));
  EXPECT_EQ(number, 1);
}

TEST(BinaryDocumentReader, NarrowReadsComeFromTheBase) {
  tv::BinaryDocumentWriter writer;
  writer.Write("big", 300u);
  writer.Write("small", uint8_t(200));
  writer.Write("negative", int16_t(-300));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  uint8_t byte = 9;
  EXPECT_FALSE(reader.Read("big", byte));
  EXPECT_EQ(byte, 9);
  ASSERT_TRUE(reader.Read("small", byte));
  EXPECT_EQ(byte, 200);
  int16_t word = 0;
  ASSERT_TRUE(reader.Read("negative", word));
  EXPECT_EQ(word, -300);
  int8_t tiny = 0;
  EXPECT_FALSE(reader.Read("negative", tiny));
}

TEST(BinaryDocumentReader, BlockReadAppendsAtTheTargetCursorAndRewinds) {
  tv::BinaryDocumentWriter writer;
  tv::BinaryData block;
  block.Write("1234", 4);
  block.cursor = 1;  // no effect on what is written
  writer.Write("block", block);
  writer.Write("empty", tv::BinaryData());
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));

  tv::BinaryData target;
  target.Write("abcdef", 6);
  target.cursor = 4;
  ASSERT_TRUE(reader.Read("block", target));
  EXPECT_EQ(target.size, 8u);
  EXPECT_EQ(target.cursor, 0u);
  EXPECT_EQ(std::memcmp(target.data.data(), "abcd1234", 8), 0);

  tv::BinaryData empty;
  ASSERT_TRUE(reader.Read("empty", empty));
  EXPECT_EQ(empty.size, 0u);
  EXPECT_EQ(empty.cursor, 0u);
}

TEST(BinaryDocumentReader, EmptyDocumentIsEightBytesAndLoads) {
  tv::BinaryDocumentWriter writer;
  const Bytes image = ImageOf(writer);
  EXPECT_EQ(image, FromHex({0x4E, 0x42, 0x49, 0x4E, 0, 0, 0, 0}));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  EXPECT_EQ(reader.strings.size(), 1u);
  EXPECT_FALSE(reader.EnterFirstChild());
  int value = 0;
  EXPECT_FALSE(reader.Read("a", value));
}

TEST(BinaryDocumentReader, ScopeLeftOpenAtSaveHoldsNothingAndItsContentBelongsToTheParent) {
  tv::BinaryDocumentWriter writer;
  writer.EnterScope("open");
  writer.Write("inside", 5);
  const Bytes image = ImageOf(writer);
  // The length field after the scope's name and tag is still 0.
  EXPECT_EQ(Bytes(image.begin() + 8, image.begin() + 15), FromHex({0, 0, 0, 0, 0, 0, 0}));

  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ASSERT_TRUE(reader.EnterFirstChild());
  EXPECT_EQ(reader.GetScopeName(), "open");
  EXPECT_FALSE(reader.EnterFirstChild());
  int value = 0;
  EXPECT_FALSE(reader.Read("inside", value));
  ASSERT_TRUE(reader.ExitScope());
  ASSERT_TRUE(reader.Read("inside", value));
  EXPECT_EQ(value, 5);
}

TEST(BinaryDocumentReader, UnknownTagIsSkippedWithItsName) {
  // "u" has tag 7 and no payload; "x" behind it is parsed as the next element.
  const Bytes image = FromHex({0x4E, 0x42, 0x49, 0x4E, 10, 0, 0, 0,  //
                               0, 0, 7,                                // unknown tag
                               1, 0, 2, 5, 0, 0, 0,                    // int x = 5
                               'u', 0, 'x', 0});
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  int value = 0;
  ASSERT_TRUE(reader.Read("x", value));
  EXPECT_EQ(value, 5);
  EXPECT_FALSE(reader.Read("u", value));
  std::string text;
  EXPECT_FALSE(reader.Read("u", text));
  EXPECT_FALSE(reader.EnterFirstChild());
}

TEST(BinaryDocumentReader, ListsTheValuesOfTheCurrentScopeInFileOrder) {
  // Root: a scope between two values, a repeated name, an unknown tag (7) and a block.
  const Bytes image = FromHex({0x4E, 0x42, 0x49, 0x4E, 36, 0, 0, 0,  //
                               0, 0, 2, 1, 0, 0, 0,                     // int a = 1
                               1, 0, 0, 4, 0, 0, 0,                     // scope s {
                               2, 0, 1, 1,                              //   bool b = true }
                               0, 0, 5, 3, 0,                           // string a = "x"
                               4, 0, 7,                                 // unknown tag
                               2, 0, 6, 3, 0, 0, 0, 9, 8, 7,            // binary b, 3 bytes
                               'a', 0, 's', 0, 'b', 0, 'x', 0, 'u', 0});
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  std::vector<tv::DocumentValueInfo> values = {{"stale", tv::DocumentValueInt}};
  ASSERT_TRUE(reader.ListValues(values));
  const std::vector<std::pair<std::string, tv::DocumentValueKind>> expected = {{"a", tv::DocumentValueInt},
                                                                               {"a", tv::DocumentValueString},
                                                                               {"u", tv::DocumentValueOther},
                                                                               {"b", tv::DocumentValueBinary}};
  ASSERT_EQ(values.size(), expected.size());
  for (size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].name, expected[i].first) << i;
    EXPECT_EQ(values[i].kind, expected[i].second) << i;
  }
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(reader.ListValues(values));
  ASSERT_EQ(values.size(), 1u);
  EXPECT_EQ(values[0].name, "b");
  EXPECT_EQ(values[0].kind, tv::DocumentValueBool);
}

TEST(BinaryDocumentReader, ListsEveryKindTheWriterMakes) {
  tv::BinaryDocumentWriter writer;
  writer.Write("flag", false);
  writer.Write("int", -3);
  writer.Write("unsigned", 3u);
  writer.Write("float", 0.5f);
  writer.Write("string", "");
  writer.Write("block", tv::BinaryData());
  writer.Write(std::string("with space\xc3\xbc").c_str(), 1);
  writer.EnterScope("empty");
  writer.ExitScope();
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  std::vector<tv::DocumentValueInfo> values;
  ASSERT_TRUE(reader.ListValues(values));
  ASSERT_EQ(values.size(), 7u);
  const tv::DocumentValueKind kinds[] = {tv::DocumentValueBool,  tv::DocumentValueInt,    tv::DocumentValueUnsigned,
                                         tv::DocumentValueFloat, tv::DocumentValueString, tv::DocumentValueBinary,
                                         tv::DocumentValueInt};
  for (size_t i = 0; i < values.size(); ++i) EXPECT_EQ(values[i].kind, kinds[i]) << values[i].name;
  EXPECT_EQ(values[6].name, "with space\xc3\xbc");
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(reader.ListValues(values));
  EXPECT_TRUE(values.empty());
}

TEST(BinaryDocumentReader, ATextHeldTwiceInTheDictionaryIsStillFoundByText) {
  // No writer makes this: "a" is entries 0 and 1. The first element is named by entry 1.
  const Bytes image = FromHex({0x4E, 0x42, 0x49, 0x4E, 14, 0, 0, 0,  //
                               1, 0, 2, 5, 0, 0, 0,                    // int a (entry 1) = 5
                               0, 0, 2, 6, 0, 0, 0,                    // int a (entry 0) = 6
                               'a', 0, 'a', 0});
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  int value = 0;
  ASSERT_TRUE(reader.Read("a", value));
  EXPECT_EQ(value, 5);
}

TEST(BinaryDocumentReader, ANameIsMatchedByItsTextWhateverBufferHoldsIt) {
  tv::BinaryDocumentWriter writer;
  writer.Write("x", 1);
  writer.Write("y", 2);
  writer.Write("yy", 3);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  // One buffer whose text changes between reads, as a caller's reused string does.
  char name[3] = "x";
  int value = 0;
  ASSERT_TRUE(reader.Read(name, value));
  EXPECT_EQ(value, 1);
  name[0] = 'y';
  ASSERT_TRUE(reader.Read(name, value));
  EXPECT_EQ(value, 2);
  name[1] = 'y';
  ASSERT_TRUE(reader.Read(name, value));
  EXPECT_EQ(value, 3);
  name[0] = 'z';
  EXPECT_FALSE(reader.Read(name, value));
  name[1] = 0;
  EXPECT_FALSE(reader.Read(name, value));
  name[0] = 'x';
  ASSERT_TRUE(reader.Read(name, value));
  EXPECT_EQ(value, 1);
  // A prefix of a longer name is another name.
  name[0] = 'y';
  ASSERT_TRUE(reader.Read(name, value));
  EXPECT_EQ(value, 2);
}

TEST(BinaryDocumentReader, LoadAgainStartsOverAtTheRoot) {
  tv::BinaryDocumentWriter first;
  first.EnterScope("a");
  first.Write("v", 1);
  first.ExitScope();
  tv::BinaryDocumentWriter second;
  second.Write("w", 2);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(first)));
  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(LoadBytes(reader, ImageOf(second)));
  EXPECT_EQ(reader.GetScopeName(), "root");
  int value = 0;
  ASSERT_TRUE(reader.Read("w", value));
  EXPECT_EQ(value, 2);
  EXPECT_FALSE(reader.Read("v", value));
  // A failed load leaves nothing behind.
  ASSERT_FALSE(LoadBytes(reader, FromHex({'N', 'B', 'I', 'N'})));
  EXPECT_FALSE(reader.Read("w", value));
}

TEST_F(BinaryDocumentTest, SavesAndLoadsThroughTheFileSystem) {
  tv_test::TempFolder folder;
  tv::Filesystem files;
  files.Mount(std::make_shared<tv::StdFileDriver>());
  tv::filesystem = &files;

  tv::BinaryDocumentWriter writer;
  WriteSample(writer);
  ASSERT_TRUE(writer.Save(folder / "sample.bin"));
  const std::string on_disk = folder.Get("sample.bin");
  const Bytes image = ImageOf(writer);
  EXPECT_EQ(Bytes(on_disk.begin(), on_disk.end()), image);

  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(reader.Load(folder / "sample.bin"));
  EXPECT_EQ(reader.image, image);
  std::string tail;
  ASSERT_TRUE(reader.Read("Tail", tail));
  EXPECT_EQ(tail, "end");

  EXPECT_FALSE(reader.Load(folder / "missing.bin"));
  EXPECT_FALSE(writer.Save(folder / "no_such_folder/x.bin"));
  tv::filesystem = nullptr;
  EXPECT_FALSE(reader.Load(folder / "sample.bin"));
}

// Names and values from one numbering: "k" plus `values` distinct texts.
void WriteDistinctTexts(tv::BinaryDocumentWriter& writer, int values) {
  for (int i = 0; i < values; ++i) ASSERT_TRUE(writer.Write("k", std::to_string(i)));
}

TEST_F(BinaryDocumentTest, DictionaryOverflowFailsEveryTextEvenAKnownOne) {
  tv::BinaryDocumentWriter writer;
  WriteDistinctTexts(writer, 65534);
  ASSERT_EQ(writer.dictionary.size(), 65535u);
  EXPECT_TRUE(tv_test::TakeLog().empty());

  const uint32_t position = writer.position;
  EXPECT_FALSE(writer.Write("k", std::string("0")));  // both texts are known
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<LogLine>{{"error", "String dictionary overflow"}}));
  EXPECT_EQ(writer.position, position);
  EXPECT_FALSE(writer.Write("k", 1));
  EXPECT_FALSE(writer.EnterScope("k"));
  EXPECT_TRUE(writer.scope_stack.empty());
  EXPECT_FALSE(writer.Write("fresh", std::string("text")));
  EXPECT_EQ(tv_test::TakeLog().size(), 3u);
  EXPECT_EQ(writer.dictionary.size(), 65535u);
  EXPECT_EQ(writer.position, position);
}

TEST_F(BinaryDocumentTest, PartialElementStaysWhenTheValueTextOverflows) {
  tv::BinaryDocumentWriter writer;
  WriteDistinctTexts(writer, 65533);
  ASSERT_EQ(writer.dictionary.size(), 65534u);
  const uint32_t position = writer.position;
  // The new name takes the last entry; its value then finds the dictionary full.
  EXPECT_FALSE(writer.Write("name", std::string("value")));
  EXPECT_EQ(writer.position, position + 3);
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<LogLine>{{"error", "String dictionary overflow"}}));
}

TEST_F(BinaryDocumentTest, FullDictionaryIsWrittenButRefusedOnLoad) {
  tv::BinaryDocumentWriter writer;
  WriteDistinctTexts(writer, 65534);
  ASSERT_EQ(writer.dictionary.size(), 65535u);
  const Bytes image = ImageOf(writer);
  EXPECT_TRUE(tv_test::TakeLog().empty());

  tv::BinaryDocumentReader reader;
  EXPECT_FALSE(LoadBytes(reader, image));
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<LogLine>{{"error", "String dictionary too large to load"}}));
  EXPECT_TRUE(reader.GetCurrentChildren().empty());
}

TEST_F(BinaryDocumentTest, OneTextFewerLoads) {
  tv::BinaryDocumentWriter writer;
  WriteDistinctTexts(writer, 65533);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  EXPECT_EQ(reader.strings.size(), 65535u);
  EXPECT_EQ(reader.GetCurrentChildren().size(), 65533u);
  std::string first;
  ASSERT_TRUE(reader.Read("k", first));
  EXPECT_EQ(first, "0");
  EXPECT_TRUE(tv_test::TakeLog().empty());
}

} // namespace
