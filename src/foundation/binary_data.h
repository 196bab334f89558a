#pragma once
// A growable byte buffer with a read/write cursor: file images and binary blocks.

#include <cstdint>
#include <type_traits>
#include <vector>

namespace tv {

class BinaryData {
public:
  // Copies `count` bytes at `cursor`, growing `data` in steps of 8192 bytes, and advances.
  void Write(const void* bytes, uint32_t count);
  // Copies `count` bytes from `cursor` when they lie below `size`; otherwise false, nothing moved.
  bool Read(void* bytes, uint32_t count);
  // Typed forms: the value's bytes as they lie in memory, which is the little-endian file order
  // on every target the core builds for. A read checks `cursor` + sizeof(T) against `size` and
  // answers false without moving, `out` unchanged. Any plain value type fits, among them the
  // widths the file formats use: 4 (unsigned, float), 8 (Vector2), 12 (Vector3), 16 (Color,
  // Vector4), 48 (Matrix4). Kept generic so this layer needn't know the math types.
  template <typename T>
    requires std::is_trivially_copyable_v<T>
  bool Read(T& out) {
    return Read(&out, uint32_t(sizeof(T)));
  }
  template <typename T>
    requires std::is_trivially_copyable_v<T>
  void Write(const T& value) {
    Write(&value, uint32_t(sizeof(T)));
  }
  // Makes room for `capacity` bytes, rounded up to the next multiple of 8192 above it.
  void Reserve(uint64_t capacity);

  std::vector<uint8_t> data;
  uint32_t size = 0;    // count of valid bytes: the highest position ever written
  uint32_t cursor = 0;  // position of the next read or write
};

} // namespace tv
