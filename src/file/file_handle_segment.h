#pragma once
// A window [offset, offset + size) of another handle, read and written through it.
//
// Each operation works under the source's mutex and puts the source's position back, so segments
// can share a source with other readers. The source is not owned: whoever makes a segment keeps
// the source alive for as long as the segment lives (the `driver` passed in may do that).

#include "file/file_handle.h"

namespace tv {

class FileHandleSegment : public FileHandle {
public:
  FileHandleSegment(std::shared_ptr<FileDriver> driver, FileHandle* source, uint32_t offset, uint32_t size);

  uint32_t GetSize() override;
  bool IsEOF() override;
  uint32_t Tell() override;
  // Start sets the cursor, current adds to it, end sets `size - offset`. A cursor past the end is
  // reset to 0 with the result -1.
  int Seek(int offset, SeekRef ref) override;
  uint32_t Read(void* buffer, uint32_t size) override;
  uint32_t Write(const void* data, uint32_t size) override;

  FileHandle* source;
  uint32_t offset;
  uint32_t size;
  uint32_t cursor = 0;

private:
  template <typename Transfer>
  uint32_t AtCursor(uint32_t count, Transfer transfer);
};

} // namespace tv
