#include "file/file_handle_segment.h"

#include <algorithm>
#include <climits>

namespace tv {

FileHandleSegment::FileHandleSegment(std::shared_ptr<FileDriver> driver, FileHandle* source, uint32_t offset,
                                     uint32_t size)
    : FileHandle(std::move(driver)), source(source), offset(offset), size(size) {}

uint32_t FileHandleSegment::GetSize() { return size; }

bool FileHandleSegment::IsEOF() {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return cursor >= size;
}

uint32_t FileHandleSegment::Tell() {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return cursor;
}

int FileHandleSegment::Seek(int seek_offset, SeekRef ref) {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  int64_t target = ref == SeekRef::Start ? seek_offset
                   : ref == SeekRef::Current ? int64_t(cursor) + seek_offset
                                             : int64_t(size) - seek_offset;
  if (target < 0 || target > int64_t(size)) {
    cursor = 0;
    return -1;
  }
  cursor = uint32_t(target);
  return 0;
}

// Moves bytes at offset + cursor of the source through `transfer`, then puts the source back.
template <typename Transfer>
uint32_t FileHandleSegment::AtCursor(uint32_t count, Transfer transfer) {
  std::lock_guard<std::recursive_mutex> own_lock(mutex);
  std::lock_guard<std::recursive_mutex> source_lock(source->mutex);
  const uint64_t at = uint64_t(offset) + cursor;
  if (cursor >= size || at > INT32_MAX) return 0;
  const uint32_t remembered = source->Tell();
  uint32_t moved = 0;
  if (source->Seek(int(at), SeekRef::Start) == 0) {
    moved = transfer(std::min(count, size - cursor));
    cursor += moved;
  }
  source->Seek(int(remembered), SeekRef::Start);
  return moved;
}

uint32_t FileHandleSegment::Read(void* buffer, uint32_t count) {
  return AtCursor(count, [&](uint32_t n) { return source->Read(buffer, n); });
}

uint32_t FileHandleSegment::Write(const void* data, uint32_t count) {
  return AtCursor(count, [&](uint32_t n) { return source->Write(data, n); });
}

} // namespace tv
