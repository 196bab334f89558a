#pragma once
// One element of a loaded binary document, and the constants of the file format.
//
// File: the magic "NBIN", an unsigned 32-bit body size, the body (the root scope's elements) and
// a dictionary of NUL-terminated strings that holds every name and string value once. All numbers
// are little-endian and unaligned. An element is a 16-bit dictionary index (its name), a tag byte
// and the tag's payload; a scope's payload is a 32-bit length followed by its child elements.

#include <cstdint>

namespace tv {

// "NBIN" read as a little-endian unsigned 32-bit number.
constexpr uint32_t kBinaryDocumentMagic = 0x4e49424e;
constexpr uint32_t kBinaryDocumentHeadSize = 8;
// Bytes of an element before its payload: name index and tag.
constexpr uint32_t kBinaryElementHeadSize = 3;
// The writer stores at most this many texts: one more would not have a 16-bit index below it.
constexpr uint32_t kBinaryDictionaryLimit = 65535;

enum BinaryDocumentTag : uint8_t {
  BinaryTagScope = 0,     // unsigned 32-bit length, then that many bytes of child elements
  BinaryTagBool = 1,      // 1 byte, not 0 is true
  BinaryTagInt = 2,       // signed 32-bit
  BinaryTagUnsigned = 3,  // unsigned 32-bit
  BinaryTagFloat = 4,     // IEEE 754 single
  BinaryTagString = 5,    // unsigned 16-bit dictionary index
  BinaryTagBinary = 6,    // unsigned 32-bit length, then that many bytes
};

// Whether an element of `tag` has a 32-bit length field before its payload.
inline bool HasLengthField(uint8_t tag) { return tag == BinaryTagScope || tag == BinaryTagBinary; }

// The payload size of an element of `tag` without a length field; 0 for an unknown tag, which is
// skipped as a bare head.
inline uint32_t FixedValueSize(uint8_t tag) {
  switch (tag) {
  case BinaryTagBool: return 1;
  case BinaryTagInt:
  case BinaryTagUnsigned:
  case BinaryTagFloat: return 4;
  case BinaryTagString: return 2;
  default: return 0;
  }
}

// Made for every element when the file is loaded, in the reader's one array of nodes. A node is
// 16 bytes of indices rather than pointers, and keeps no payload size, which the tag or the
// length field in the image gives: a document has a node for each element and the load writes
// them all, so their size is most of its cost.
class BinaryDocumentNode {
public:
  bool IsScope() const { return tag == BinaryTagScope; }
  // Bytes from the element's start to its payload: the head, and the length field if it has one.
  uint32_t ValueOffset() const {
    return offset + kBinaryElementHeadSize + (HasLengthField(tag) ? 4 : 0);
  }

  uint32_t offset = 0;       // position of the element in the file image
  uint32_t first_child = 0;  // for scopes: index of the first child in the reader's nodes
  uint32_t child_count = 0;  // for scopes: the children lie side by side, in file order
  uint16_t name = 0;         // dictionary index
  uint8_t tag = 0;
  // No earlier sibling has this name: the node that a read by this name finds.
  bool first_of_name = false;
};

} // namespace tv
