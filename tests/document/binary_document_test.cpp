// The binary document form: the file image the writer makes, byte for byte; what the reader gives
// back from it and where its reads by name look; and hostile images, each refused whole without a
// read outside the image (the sanitizer build proves the second half).

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "document/document_scope.h"
#include "document_test_support.h"

namespace {

using tv_test::Bytes;
using tv_test::ExpectScript;
using tv_test::ImageOf;
using tv_test::ImageOfScript;
using tv_test::LoadBytes;
using tv_test::LogLine;
using tv_test::WriteScript;

// Scopes three deep, every kind, blocks, repeated and empty scopes, as a serializer makes them.
const std::string kSample =
    "Version=3u Tail='end' Nodes{Node{Index=0 Name='node 0' Visible=true Weight=0f Data=#00000000efbeadde}"
    " Node{Index=1 Name='node 1' Visible=false Weight=0.5f Data=#01000000efbeadde}"
    " Node{Index=2 Name='node 2' Visible=true Weight=1f Data=#02000000efbeadde} Empty{}}";

uint32_t U32At(const Bytes& image, size_t at) {
  uint32_t value = 0;
  std::memcpy(&value, image.data() + at, 4);
  return value;
}

// Visits every element of the current scope and below, reading each name in every kind; returns
// the successful reads and visited scopes, so that the work can't be skipped.
size_t ReadEverything(tv::BinaryDocumentReader& reader) {
  size_t count = 0;
  for (const tv::BinaryDocumentNode& node : reader.GetCurrentChildren()) {
    const std::string name(reinterpret_cast<const char*>(reader.strings[node.name]));
    int8_t i8;
    uint16_t u16;
    count += tv_test::KindsThatRead(reader, name.c_str()).size() + reader.Read(name.c_str(), i8) +
             reader.Read(name.c_str(), u16);
  }
  if (reader.EnterFirstChild()) {
    do {
      count += 1 + ReadEverything(reader);
    } while (reader.EnterNextSibling());
  }
  return count;
}

// The worked example, every kind's tag and payload, and the empty document, byte for byte; Save
// appends the image at the buffer's cursor.
TEST(BinaryDocumentWriter, WorkedExampleAndEveryKindComeOutByteForByte) {
  EXPECT_EQ(ImageOfScript("a{b=7}"), (Bytes{0x4E, 0x42, 0x49, 0x4E, 0x0E, 0x00, 0x00, 0x00,  // head, body size
                                            0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00,        // scope "a", length 7
                                            0x01, 0x00, 0x02, 0x07, 0x00, 0x00, 0x00,        // int "b" = 7
                                            0x61, 0x00, 0x62, 0x00}));                       // dictionary
  // A string value equal to a name shares its entry.
  EXPECT_EQ(ImageOfScript("t=true i=-2 u=16909060u f=1f s='t' d=#78797a"),
            (Bytes{0x4E, 0x42, 0x49, 0x4E, 40, 0, 0, 0,      //
                   0, 0, 1, 1,                              // bool t
                   1, 0, 2, 0xFE, 0xFF, 0xFF, 0xFF,         // int i = -2
                   2, 0, 3, 4, 3, 2, 1,                     // unsigned u
                   3, 0, 4, 0x00, 0x00, 0x80, 0x3F,         // float f = 1
                   4, 0, 5, 0, 0,                           // string s = entry 0
                   5, 0, 6, 3, 0, 0, 0, 'x', 'y', 'z',      // binary d
                   't', 0, 'i', 0, 'u', 0, 'f', 0, 's', 0, 'd', 0}));
  EXPECT_EQ(ImageOfScript(""), (Bytes{0x4E, 0x42, 0x49, 0x4E, 0, 0, 0, 0}));

  tv::BinaryDocumentWriter writer;
  WriteScript(writer, kSample);
  const Bytes image = ImageOf(writer);
  tv::BinaryData buffer;
  buffer.Write("ABCDEF", 6);
  buffer.cursor = 2;
  ASSERT_TRUE(writer.Save(buffer));
  EXPECT_EQ(buffer.size, 2 + image.size());
  EXPECT_EQ(buffer.cursor, buffer.size);
  Bytes expected = {'A', 'B'};
  expected.insert(expected.end(), image.begin(), image.end());
  EXPECT_EQ(Bytes(buffer.data.begin(), buffer.data.begin() + buffer.size), expected);
}

// Names and string values share one dictionary, each text once in order of first use; an empty
// text is a single byte 0.
TEST(BinaryDocumentWriter, DictionaryHoldsEachTextOnceInOrderOfFirstUse) {
  const std::string script = "Empty='' Again='' Node{Name='first' Kind='Node'} Node{Name='second' Kind='Node'}";
  tv::BinaryDocumentWriter writer;
  ASSERT_TRUE(WriteScript(writer, script));
  EXPECT_EQ(writer.dictionary,
            (std::vector<std::string>{"Empty", "", "Again", "Node", "Name", "first", "Kind", "second"}));
  const Bytes image = ImageOf(writer);
  static const char kTail[] = "Empty\0\0Again\0Node\0Name\0first\0Kind\0second";  // and the literal's 0
  EXPECT_EQ(std::string(image.end() - sizeof(kTail), image.end()), std::string(kTail, sizeof(kTail)));
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ExpectScript(reader, script);
}

// The body grows in steps of 32768 bytes, and by a block's size plus one step at once; ExitScope
// with nothing entered fails; text holding a byte 0 is refused before anything is written.
TEST(BinaryDocumentWriter, BodyGrowthAndRefusedCalls) {
  tv::BinaryDocumentWriter writer;
  EXPECT_TRUE(writer.IsBinary());
  EXPECT_FALSE(writer.ExitScope());
  EXPECT_FALSE(writer.Write("s", std::string("a\0b", 3)));
  EXPECT_TRUE(writer.position == 0 && writer.dictionary.empty());
  ASSERT_TRUE(WriteScript(writer, "a{}"));
  EXPECT_FALSE(writer.ExitScope());
  EXPECT_EQ(writer.body.size(), 32768u);
  tv::BinaryData block;
  block.Write(std::vector<uint8_t>(100000, 7).data(), 100000);
  ASSERT_TRUE(writer.Write("b", block));
  EXPECT_EQ(writer.body.size(), 32768u + 32768u + 100000u);
  EXPECT_EQ(writer.position, 7u + 7u + 100000u);
}

// Every kind and scope comes back, extremes and odd names included; an empty scope has no child.
TEST(BinaryDocumentReader, GivesBackEveryKindAndScope) {
  const std::string extremes = "min=-2147483648 max=4294967295u inf=-inff zero=-0f nan=nanf "
                               "utf8='gr\xc3\xbc\xc3\x9f dich' with space=1 empty=# S{}";
  for (const std::string& script : {kSample, extremes}) {
    tv::BinaryDocumentReader reader;
    ASSERT_TRUE(LoadBytes(reader, ImageOfScript(script)));
    EXPECT_TRUE(reader.IsBinary());
    ExpectScript(reader, script);
  }
}

// A block read appends at the target's cursor, then rewinds it.
TEST(BinaryDocumentReader, BlockReadAppendsAtTheTargetCursorAndRewinds) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript("block=#31323334")));
  tv::BinaryData target;
  target.Write("abcdef", 6);
  target.cursor = 4;
  ASSERT_TRUE(reader.Read("block", target));
  EXPECT_EQ(target.size, 8u);
  EXPECT_EQ(target.cursor, 0u);
  EXPECT_EQ(std::memcmp(target.data.data(), "abcd1234", 8), 0);
}

// An empty document loads with its last byte as the dictionary's only 0; a scope left open at
// Save has length 0, and what was written inside it belongs to the parent.
TEST(BinaryDocumentReader, EmptyDocumentAndScopeLeftOpen) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript("")));
  EXPECT_EQ(reader.strings.size(), 1u);
  ExpectScript(reader, "");
  const Bytes image = ImageOfScript("open{inside=5");
  EXPECT_EQ(Bytes(image.begin() + 8, image.begin() + 15), (Bytes{0, 0, 0, 0, 0, 0, 0}));
  ASSERT_TRUE(LoadBytes(reader, image));
  ExpectScript(reader, "inside=5 open{}");
}

// Hand-made files: an unknown tag is a 3-byte element skipped with its name and listed as Other;
// a text held twice in the dictionary is still found by its text. Values list in file order.
TEST(BinaryDocumentReader, UnknownTagsAndRepeatedTextsInHandMadeFiles) {
  const Bytes image = {0x4E, 0x42, 0x49, 0x4E, 36, 0, 0, 0,  //
                       0, 0, 2, 1, 0, 0, 0,                     // int a = 1
                       1, 0, 0, 4, 0, 0, 0,                     // scope s {
                       2, 0, 1, 1,                              //   bool b = true }
                       0, 0, 5, 3, 0,                           // string a = "x"
                       4, 0, 7,                                 // unknown tag
                       2, 0, 6, 3, 0, 0, 0, 9, 8, 7,            // binary b, 3 bytes
                       'a', 0, 's', 0, 'b', 0, 'x', 0, 'u', 0};
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  std::vector<tv::DocumentValueInfo> values = {{"stale", tv::DocumentValueInt}};
  ASSERT_TRUE(reader.ListValues(values));
  std::string listed;
  for (const tv::DocumentValueInfo& value : values) listed += value.name + std::to_string(value.kind) + " ";
  EXPECT_EQ(listed, "a1 a4 u6 b5 ");
  EXPECT_EQ(tv_test::KindsThatRead(reader, "u"), "");
  EXPECT_EQ(tv_test::KindsThatRead(reader, "b"), "x");
  ASSERT_TRUE(reader.EnterFirstChild());
  ExpectScript(reader, "b=true");

  const Bytes twice = {0x4E, 0x42, 0x49, 0x4E, 14, 0, 0, 0,  //
                       1, 0, 2, 5, 0, 0, 0,                    // int a (entry 1) = 5
                       0, 0, 2, 6, 0, 0, 0,                    // int a (entry 0) = 6
                       'a', 0, 'a', 0};
  ASSERT_TRUE(LoadBytes(reader, twice));
  int value = 0;
  EXPECT_TRUE(reader.Read("a", value));
  EXPECT_EQ(value, 5);
}

// Reads by name start where the last read of the scope stopped, yet each finds the first element
// of its name in any order of reads; a scope keeps its own place. Names are matched by their text,
// never by the address that holds it, and a reader loaded again forgets the names before.
TEST(BinaryDocumentReader, ReadsInAnyOrderFindTheFirstOfEachName) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript("a=1 b=2 a=3f c=4 yy=7 s{a=5} d=6")));
  EXPECT_EQ(tv_test::KindsThatRead(reader, "a"), "i");  // the float "a" behind is never tried
  char name[8];
  const std::pair<const char*, int> reads[] = {{"c", 4}, {"a", 1}, {"d", 6}, {"b", 2}, {"a", 1}, {"a", 1},
                                               {"c", 4}, {"zz", -1}, {"y", -1}, {"d", 6}, {"yy", 7}, {"b", 2}};
  for (const auto& [text, expected] : reads) {
    std::strcpy(name, text);
    int value = -1;
    EXPECT_EQ(reader.Read(name, value), expected >= 0) << text;
    EXPECT_EQ(value, expected) << text;
  }
  ASSERT_TRUE(reader.EnterFirstChild());
  ExpectScript(reader, "a=5");
  ASSERT_TRUE(reader.ExitScope());
  int value = 0;
  EXPECT_TRUE(reader.Read("a", value));
  EXPECT_EQ(value, 1);

  ASSERT_TRUE(reader.EnterFirstChild());
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript("d=9")));
  EXPECT_EQ(reader.GetScopeName(), "root");
  ExpectScript(reader, "d=9");
  EXPECT_FALSE(LoadBytes(reader, Bytes{'N', 'B', 'I', 'N'}));
  ExpectScript(reader, "");
}

class BinaryDictionary : public tv_test::LogCaptureTest {
protected:
  // Names and values from one numbering: "k" plus `values` distinct texts.
  static void WriteDistinctTexts(tv::BinaryDocumentWriter& writer, int values) {
    for (int i = 0; i < values; ++i) ASSERT_TRUE(writer.Write("k", std::to_string(i)));
  }
};

// Once the dictionary holds 65535 entries every text fails, even a known one, and every later
// write or scope; what was written before stays.
TEST_F(BinaryDictionary, OverflowFailsEveryTextEvenAKnownOne) {
  tv::BinaryDocumentWriter writer;
  WriteDistinctTexts(writer, 65534);
  ASSERT_EQ(writer.dictionary.size(), 65535u);
  EXPECT_TRUE(tv_test::TakeLog().empty());
  const uint32_t position = writer.position;
  EXPECT_FALSE(writer.Write("k", std::string("0")));
  EXPECT_FALSE(writer.Write("k", 1));
  EXPECT_FALSE(writer.EnterScope("k"));
  EXPECT_TRUE(writer.scope_stack.empty());
  EXPECT_FALSE(writer.Write("fresh", std::string("text")));
  EXPECT_EQ(tv_test::TakeLog(), std::vector<LogLine>(4, LogLine{"error", "String dictionary overflow"}));
  EXPECT_EQ(writer.dictionary.size(), 65535u);
  EXPECT_EQ(writer.position, position);

  // A full dictionary is written, and refused on load.
  tv::BinaryDocumentReader reader;
  EXPECT_FALSE(LoadBytes(reader, ImageOf(writer)));
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<LogLine>{{"error", "String dictionary too large to load"}}));
  EXPECT_TRUE(reader.GetCurrentChildren().empty());
}

// A name that takes the last entry leaves its element behind when its value then overflows; one
// text fewer than the writer's limit is the most a reader loads.
TEST_F(BinaryDictionary, TheLastEntryAndTheReadersLimit) {
  tv::BinaryDocumentWriter writer;
  WriteDistinctTexts(writer, 65533);
  ASSERT_EQ(writer.dictionary.size(), 65534u);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOf(writer)));
  EXPECT_EQ(reader.strings.size(), 65535u);
  EXPECT_EQ(reader.GetCurrentChildren().size(), 65533u);
  std::string first;
  ASSERT_TRUE(reader.Read("k", first));
  EXPECT_EQ(first, "0");
  EXPECT_TRUE(tv_test::TakeLog().empty());

  const uint32_t position = writer.position;
  EXPECT_FALSE(writer.Write("name", std::string("value")));
  EXPECT_EQ(writer.position, position + 3);
  EXPECT_EQ(tv_test::TakeLog(), (std::vector<LogLine>{{"error", "String dictionary overflow"}}));
}

// Every element kind, nested scopes and an empty one; every dictionary entry is used by the body.
const std::string kMalformedSample =
    "flag=true tail='' outer{count=-4 label='text' inner{size=12u scale=0.25f block=#626c6f636b empty{}}}";
// The "outer" scope's length field: behind the head, the bool "flag" (4 bytes) and the string
// "tail" (5 bytes), and the scope's own name and tag.
constexpr size_t kOuterLength = 8 + 4 + 5 + 3;

// A refused load leaves an empty reader at the root.
void ExpectRefused(const Bytes& image) {
  tv::BinaryDocumentReader reader;
  EXPECT_FALSE(LoadBytes(reader, image));
  EXPECT_TRUE(reader.GetCurrentChildren().empty());
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_FALSE(reader.EnterFirstChild());
  EXPECT_EQ(tv_test::KindsThatRead(reader, "flag"), "");
}

TEST(BinaryDocumentMalformed, EveryTruncationAndExtraByteIsRefused) {
  const Bytes image = ImageOfScript(kMalformedSample);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, image));
  ExpectScript(reader, kMalformedSample);
  for (size_t length = 0; length < image.size(); ++length) {
    SCOPED_TRACE(length);
    ExpectRefused(Bytes(image.begin(), image.begin() + ptrdiff_t(length)));
  }
  Bytes trailing = image;
  trailing.push_back('z');  // extra bytes that do not end in a byte 0
  ExpectRefused(trailing);
}

// Each field that places or names something, set out of place: magic, final byte 0, body size,
// scope length, block length and dictionary indices (of a name, then of a string value).
TEST(BinaryDocumentMalformed, FieldsOutOfPlaceAreRefused) {
  const Bytes image = ImageOfScript(kMalformedSample);
  const uint32_t body = U32At(image, 4), outer = U32At(image, kOuterLength);
  tv::BinaryDocumentReader probe;
  ASSERT_TRUE(LoadBytes(probe, image));
  const uint32_t entries = uint32_t(probe.strings.size() - 1);
  const size_t block_length = kOuterLength + 4 + 7 + 5 + 3 + 4 + 7 + 7 + 3;  // behind count, label, size, scale
  ASSERT_EQ(U32At(image, block_length), 5u);
  const struct {
    size_t at;
    int width;
    uint32_t value;
  } rows[] = {
      {3, 1, 'X'},          {image.size() - 1, 1, 'x'},
      {4, 4, body + 1},     {4, 4, body - 1},            {4, 4, uint32_t(image.size())},
      {4, 4, uint32_t(image.size() - 7)}, {4, 4, 0xFFFFFFFFu}, {4, 4, 0xFFFFFFF8u},
      {kOuterLength, 4, outer + 1}, {kOuterLength, 4, outer + 100}, {kOuterLength, 4, outer - 1},
      {kOuterLength, 4, 0xFFFFFFFFu}, {kOuterLength, 4, 0xFFFFFFFCu},
      {block_length, 4, 13}, {block_length, 4, 0xFFFFFFFFu}, {block_length, 4, 0x80000000u},  // 12 ends "inner"
      {8, 2, entries},      {8, 2, entries + 1},         {8, 2, 0xFFFF},
      {15, 2, entries},     {15, 2, 0xFFFF},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "at " << row.at << " value " << row.value);
    Bytes corrupt = image;
    std::memcpy(corrupt.data() + row.at, &row.value, size_t(row.width));
    ExpectRefused(corrupt);
  }
}

// An element that runs past the end of its range, in the body or in a scope, is refused; with the
// right length the same bytes load.
TEST(BinaryDocumentMalformed, ElementCutAtItsRangeEndIsRefused) {
  ExpectRefused({'N', 'B', 'I', 'N', 3, 0, 0, 0, 0, 0, 1, 'a', 0});
  ExpectRefused({'N', 'B', 'I', 'N', 11, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 2, 1, 'a', 0});
  tv::BinaryDocumentReader reader;
  EXPECT_TRUE(LoadBytes(reader, {'N', 'B', 'I', 'N', 14, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0, 0, 2, 1, 0, 0, 0, 'a', 0}));
}

TEST(BinaryDocumentMalformed, NestingBeyondTheLimitIsRefused) {
  const auto nested = [](uint32_t depth) {
    std::string script = "leaf=1";
    for (uint32_t i = 0; i < depth; ++i) script = "n{" + script + "}";
    return script;
  };
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, ImageOfScript(nested(tv::BinaryDocumentReader::kMaxScopeDepth))));
  ExpectScript(reader, nested(tv::BinaryDocumentReader::kMaxScopeDepth));
  ExpectRefused(ImageOfScript(nested(tv::BinaryDocumentReader::kMaxScopeDepth + 1)));
}

// Every byte of a good image set to a few values: whatever loads is walked whole.
TEST(BinaryDocumentMalformed, SingleByteCorruptionsNeverReadOutsideTheImage) {
  const Bytes image = ImageOfScript(kMalformedSample);
  size_t loaded = 0;
  for (size_t at = 0; at < image.size(); ++at) {
    for (const uint8_t value : {uint8_t(0), uint8_t(1), uint8_t(7), uint8_t(0x80), uint8_t(0xFF),
                                uint8_t(image[at] + 1), uint8_t(image[at] - 1)}) {
      Bytes corrupt = image;
      corrupt[at] = value;
      tv::BinaryDocumentReader reader;
      if (!LoadBytes(reader, corrupt)) continue;
      ++loaded;
      ReadEverything(reader);
      EXPECT_EQ(reader.GetScopeName(), "root");
    }
  }
  EXPECT_GT(loaded, 0u);  // changed values and names still make good files
}

// A buffer whose size runs past its storage: only its real bytes are taken, the image and the
// zero padding of its storage, which reads as empty dictionary entries.
TEST(BinaryDocumentMalformed, BufferSizeBeyondItsStorageIsClamped) {
  tv::BinaryData data = tv_test::ToData(ImageOfScript(kMalformedSample));
  data.size = uint32_t(data.data.size() + 100);
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(reader.Load(data));
  EXPECT_EQ(reader.image.size(), data.data.size());
  ASSERT_TRUE(tv::EnterScope(reader, "outer"));
  ExpectScript(reader, "count=-4 label='text' inner{size=12u scale=0.25f block=#626c6f636b empty{}}");
}

} // namespace
