// Hostile binary documents: every malformed file is refused whole, and nothing outside the image
// is read (the sanitizer build proves the second half).

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"
#include "document/binary_document_support.h"
#include "document/document_scope.h"

namespace {

using tv_test::Bytes;
using tv_test::FromHex;
using tv_test::ImageOf;
using tv_test::LoadBytes;

// Every element kind, nested scopes and an empty one; every dictionary entry is used by the body.
Bytes SampleImage() {
  tv::BinaryDocumentWriter writer;
  writer.Write("flag", true);
  {
    tv::DocumentScope outer(writer, "outer");
    writer.Write("count", -4);
    {
      tv::DocumentScope inner(writer, "inner");
      writer.Write("size", 12u);
      writer.Write("scale", 0.25f);
      tv::BinaryData block;
      block.Write("blockdata", 9);
      writer.Write("block", block);
      tv::DocumentScope empty(writer, "empty");
    }
    writer.Write("label", std::string("text"));
  }
  writer.Write("tail", std::string());
  return ImageOf(writer);
}

void PutU32(Bytes& image, size_t at, uint32_t value) {
  for (int i = 0; i < 4; ++i) image[at + size_t(i)] = uint8_t(value >> (8 * i));
}

// A refused load leaves an empty reader at the root.
void ExpectRefused(const Bytes& image) {
  tv::BinaryDocumentReader reader;
  EXPECT_FALSE(LoadBytes(reader, image));
  EXPECT_TRUE(reader.GetCurrentChildren().empty());
  EXPECT_EQ(reader.GetScopeName(), "root");
  EXPECT_FALSE(reader.EnterFirstChild());
  bool flag = false;
  EXPECT_FALSE(reader.Read("flag", flag));
}

TEST(BinaryDocumentMalformed, EveryTruncationIsRefused) {
  const Bytes image = SampleImage();
  {
    tv::BinaryDocumentReader reader;
    ASSERT_TRUE(LoadBytes(reader, image));
    EXPECT_GT(tv_test::ReadEverything(reader), 10u);
  }
  for (size_t length = 0; length < image.size(); ++length) {
    SCOPED_TRACE(length);
    ExpectRefused(Bytes(image.begin(), image.begin() + ptrdiff_t(length)));
  }
}

TEST(BinaryDocumentMalformed, HeadAndEndChecks) {
  Bytes image = SampleImage();
  ExpectRefused({});
  ExpectRefused(FromHex({'N', 'B', 'I', 'N', 0, 0, 0}));  // short head

  Bytes wrong_magic = image;
  wrong_magic[3] = 'X';
  ExpectRefused(wrong_magic);

  Bytes no_final_zero = image;
  no_final_zero.pop_back();
  no_final_zero.push_back('x');
  ExpectRefused(no_final_zero);

  // Extra bytes behind the dictionary that do not end in a byte 0.
  Bytes trailing = image;
  trailing.push_back('z');
  ExpectRefused(trailing);
}

TEST(BinaryDocumentMalformed, BodySizeOutOfPlaceIsRefused) {
  const Bytes image = SampleImage();
  uint32_t body_size = 0;
  std::memcpy(&body_size, image.data() + 4, 4);
  for (uint32_t wrong : {body_size + 1, body_size - 1, uint32_t(image.size()), uint32_t(image.size() - 7),
                         0xFFFFFFFFu, 0xFFFFFFF8u}) {
    SCOPED_TRACE(wrong);
    Bytes corrupt = image;
    PutU32(corrupt, 4, wrong);
    ExpectRefused(corrupt);
  }
}

// The sample's "outer" scope: name, tag and length field at 8 + 4 (behind the bool "flag").
constexpr size_t kOuterLength = 8 + 4 + 3;

TEST(BinaryDocumentMalformed, ScopeLengthBeyondItsRangeIsRefused) {
  const Bytes image = SampleImage();
  uint32_t length = 0;
  std::memcpy(&length, image.data() + kOuterLength, 4);
  for (uint32_t wrong : {length + 1, length + 100, 0xFFFFFFFFu, 0xFFFFFFFCu, length - 1}) {
    SCOPED_TRACE(wrong);
    Bytes corrupt = image;
    PutU32(corrupt, kOuterLength, wrong);
    ExpectRefused(corrupt);
  }
}

TEST(BinaryDocumentMalformed, IndexWithoutDictionaryEntryIsRefused) {
  const Bytes image = SampleImage();
  // The name of "flag", then the string value of "tail" (the last element: its index is the
  // image's last two body bytes).
  uint32_t body_size = 0;
  std::memcpy(&body_size, image.data() + 4, 4);
  tv::BinaryDocumentReader probe;
  ASSERT_TRUE(LoadBytes(probe, image));
  const uint16_t entries = uint16_t(probe.strings.size() - 1);
  for (const size_t at : {size_t(8), size_t(8 + body_size - 2)}) {
    for (const uint16_t index : {entries, uint16_t(entries + 1), uint16_t(0xFFFF)}) {
      SCOPED_TRACE(testing::Message() << at << " " << index);
      Bytes corrupt = image;
      corrupt[at] = uint8_t(index);
      corrupt[at + 1] = uint8_t(index >> 8);
      ExpectRefused(corrupt);
    }
  }
}

TEST(BinaryDocumentMalformed, BlockLengthPastTheEndIsRefused) {
  tv::BinaryDocumentWriter writer;
  tv::BinaryData block;
  block.Write("abcd", 4);
  writer.Write("b", block);
  const Bytes image = ImageOf(writer);
  for (uint32_t wrong : {5u, 6u, 0xFFFFFFFFu, 0x80000000u}) {
    Bytes corrupt = image;
    PutU32(corrupt, 8 + 3, wrong);
    ExpectRefused(corrupt);
  }
}

TEST(BinaryDocumentMalformed, ElementCutAtItsRangeEndIsRefused) {
  // The body holds a bool element whose payload byte lies behind the body's end, in the
  // dictionary: a body of 3 bytes ends inside the element.
  ExpectRefused(FromHex({'N', 'B', 'I', 'N', 3, 0, 0, 0, 0, 0, 1, 'a', 0}));
  // A scope of length 4 holding an int element of 7 bytes.
  ExpectRefused(FromHex({'N', 'B', 'I', 'N', 11, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 2, 1, 'a', 0}));
  // The same bytes with the right length load.
  tv::BinaryDocumentReader reader;
  EXPECT_TRUE(LoadBytes(reader, FromHex({'N', 'B', 'I', 'N', 14, 0, 0, 0, 0, 0, 0, 7, 0, 0, 0, 0, 0, 2, 1, 0, 0,
                                         0, 'a', 0})));
}

// `depth` scopes, each the only child of the one before.
Bytes NestedImage(uint32_t depth) {
  tv::BinaryDocumentWriter writer;
  for (uint32_t i = 0; i < depth; ++i) writer.EnterScope("n");
  writer.Write("leaf", 1);
  for (uint32_t i = 0; i < depth; ++i) writer.ExitScope();
  return ImageOf(writer);
}

TEST(BinaryDocumentMalformed, NestingBeyondTheLimitIsRefused) {
  tv::BinaryDocumentReader reader;
  ASSERT_TRUE(LoadBytes(reader, NestedImage(tv::BinaryDocumentReader::kMaxScopeDepth)));
  for (uint32_t i = 0; i < tv::BinaryDocumentReader::kMaxScopeDepth; ++i) ASSERT_TRUE(reader.EnterFirstChild());
  int leaf = 0;
  EXPECT_TRUE(reader.Read("leaf", leaf));
  ExpectRefused(NestedImage(tv::BinaryDocumentReader::kMaxScopeDepth + 1));
}

// Every byte of a good image set to a few values: whatever loads is walked whole.
TEST(BinaryDocumentMalformed, SingleByteCorruptionsNeverReadOutsideTheImage) {
  const Bytes image = SampleImage();
  size_t loaded = 0;
  for (size_t at = 0; at < image.size(); ++at) {
    for (const uint8_t value : {uint8_t(0), uint8_t(1), uint8_t(7), uint8_t(0x80), uint8_t(0xFF),
                                uint8_t(image[at] + 1), uint8_t(image[at] - 1)}) {
      Bytes corrupt = image;
      corrupt[at] = value;
      tv::BinaryDocumentReader reader;
      if (!LoadBytes(reader, corrupt)) continue;
      ++loaded;
      tv_test::ReadEverything(reader);
      EXPECT_EQ(reader.GetScopeName(), "root");
    }
  }
  // Changed values and names still make good files, so a part of them loads.
  EXPECT_GT(loaded, 0u);
}

TEST(BinaryDocumentMalformed, BufferSizeBeyondItsStorageIsClamped) {
  tv::BinaryData data = tv_test::ToData(SampleImage());
  data.size = uint32_t(data.data.size() + 100);  // a broken buffer: size past its bytes
  tv::BinaryDocumentReader reader;
  // Only the buffer's real bytes are taken: the image and the zero padding of its storage, which
  // reads as empty dictionary entries.
  ASSERT_TRUE(reader.Load(data));
  EXPECT_EQ(reader.image.size(), data.data.size());
  std::string label;
  ASSERT_TRUE(tv::EnterScope(reader, "outer"));
  ASSERT_TRUE(reader.Read("label", label));
  EXPECT_EQ(label, "text");
}

} // namespace
