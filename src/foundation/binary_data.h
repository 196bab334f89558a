#pragma once
// A growable byte buffer with a read/write cursor: file images and binary blocks.

#include <cstdint>
#include <vector>

namespace tv {

class BinaryData {
public:
  // Copies `count` bytes at `cursor`, growing `data` in steps of 8192 bytes, and advances.
  void Write(const void* bytes, uint32_t count);
  // Copies `count` bytes from `cursor` when they lie below `size`; otherwise false, nothing moved.
  bool Read(void* bytes, uint32_t count);
  // Makes room for `capacity` bytes, rounded up to the next multiple of 8192 above it.
  void Reserve(uint64_t capacity);

  std::vector<uint8_t> data;
  uint32_t size = 0;    // count of valid bytes: the highest position ever written
  uint32_t cursor = 0;  // position of the next read or write
};

} // namespace tv
