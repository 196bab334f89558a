#pragma once
// Shared by the binary document and serialization tests: file images as byte vectors, loading
// from bytes, and a walk that reads every value of every scope in every kind.

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "document/binary_document_reader.h"
#include "document/binary_document_writer.h"

namespace tv_test {

using Bytes = std::vector<uint8_t>;

inline Bytes ImageOf(const tv::BinaryDocumentWriter& writer) {
  tv::BinaryData image;
  EXPECT_TRUE(writer.Save(image));
  return Bytes(image.data.begin(), image.data.begin() + image.size);
}

inline tv::BinaryData ToData(const Bytes& bytes) {
  tv::BinaryData data;
  data.Write(bytes.data(), uint32_t(bytes.size()));
  return data;
}

inline bool LoadBytes(tv::BinaryDocumentReader& reader, const Bytes& bytes) { return reader.Load(ToData(bytes)); }

inline Bytes FromHex(std::initializer_list<int> values) {
  Bytes bytes;
  for (int value : values) bytes.push_back(uint8_t(value));
  return bytes;
}

// Visits every element of the current scope and below; reads each element's name in all kinds and
// returns a count of the successful reads and visited scopes, so that the work cannot be skipped.
inline size_t ReadEverything(tv::BinaryDocumentReader& reader) {
  size_t count = 0;
  const std::span<const tv::BinaryDocumentNode> children = reader.GetCurrentChildren();
  for (const tv::BinaryDocumentNode& node : children) {
    const std::string name(reinterpret_cast<const char*>(reader.strings[node.name]));
    std::string text;
    float f;
    unsigned u;
    int i;
    bool b;
    int8_t i8;
    uint16_t u16;
    tv::BinaryData block;
    count += reader.Read(name.c_str(), text) + reader.Read(name.c_str(), f) + reader.Read(name.c_str(), u) +
             reader.Read(name.c_str(), i) + reader.Read(name.c_str(), b) + reader.Read(name.c_str(), i8) +
             reader.Read(name.c_str(), u16) + reader.Read(name.c_str(), block);
  }
  if (reader.EnterFirstChild()) {
    do {
      count += 1 + ReadEverything(reader);
    } while (reader.EnterNextSibling());
  }
  return count;
}

} // namespace tv_test
