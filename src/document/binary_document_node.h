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

// Made for every element when the file is loaded, in the reader's one array of nodes. A document
// has a node for each element and the load writes them all, so their size is most of its cost: 8
// bytes, and the value itself for the fixed-size tags, so that reads never go back to the image.
class BinaryDocumentNode {
public:
  bool IsScope() const { return tag == BinaryTagScope; }

  uint16_t name = 0;  // dictionary index
  uint8_t tag = 0;
  // No earlier sibling has this name: the node that a read by this name finds.
  bool first_of_name = false;
  // By tag: the byte of a bool; the 32 bits of an int, unsigned or float; the dictionary index of
  // a string; for a scope, its number in the reader's table of child ranges; for a binary block,
  // the position of its bytes in the image, behind their length. 0 for an unknown tag.
  uint32_t payload = 0;
};
static_assert(sizeof(BinaryDocumentNode) == 8);

} // namespace tv
