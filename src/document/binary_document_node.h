#pragma once
// One element of a loaded binary document, and the constants of the file format.
//
// File: the magic "NBIN", an unsigned 32-bit body size, the body (the root scope's elements) and
// a dictionary of NUL-terminated strings that holds every name and string value once. All numbers
// are little-endian and unaligned. An element is a 16-bit dictionary index (its name), a tag byte
// and the tag's payload; a scope's payload is a 32-bit length followed by its child elements.

#include <cstdint>
#include <span>

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

// Made for every element when the file is loaded; `value` points into the reader's file image and
// `children` into the reader's array of nodes, both of which outlive the nodes.
class BinaryDocumentNode {
public:
  bool IsScope() const { return tag == BinaryTagScope; }

  // Moves `cursor` forward from where it stands onto the next scope in `list`; false, with
  // `cursor` at the end, if none is left. Shared by the nodes and the reader's root.
  // Inline: the child walk takes it for every scope of a document.
  static bool SkipToScope(std::span<const BinaryDocumentNode> list, uint32_t& cursor) {
    while (cursor < list.size() && !list[cursor].IsScope()) ++cursor;
    return cursor < list.size();
  }

  // Ordered and sized for a small node (40 bytes): a document has one for each element.
  const uint8_t* value = nullptr;  // the payload after its length field, if it has one
  std::span<BinaryDocumentNode> children;  // for scopes, in file order
  uint32_t offset = 0;  // position of the element in the file
  uint32_t size = 0;    // byte count of the payload at `value`
  uint32_t cursor = 0;  // the child walk's position in `children`
  uint16_t name = 0;    // dictionary index
  uint8_t tag = 0;
};

} // namespace tv
