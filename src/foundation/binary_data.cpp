#include "foundation/binary_data.h"

#include <cstring>

namespace tv {

void BinaryData::Reserve(uint64_t capacity) {
  const uint64_t rounded = capacity / 8192 * 8192 + 8192;
  if (rounded > data.size()) data.resize(size_t(rounded));
}

void BinaryData::Write(const void* bytes, uint32_t count) {
  const uint64_t end = uint64_t(cursor) + count;
  Reserve(end);
  if (count != 0) std::memcpy(data.data() + cursor, bytes, count);
  cursor = uint32_t(end);
  if (cursor > size) size = cursor;
}

bool BinaryData::Read(void* bytes, uint32_t count) {
  if (uint64_t(cursor) + count > size) return false;
  if (count != 0) std::memcpy(bytes, data.data() + cursor, count);
  cursor += count;
  return true;
}

} // namespace tv
