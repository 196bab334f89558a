#include "file/file_handle.h"

#include "file/file_driver.h"

namespace tv {

BaseFileHandle::~BaseFileHandle() = default;

FileHandle::FileHandle(std::shared_ptr<FileDriver> driver) : driver(std::move(driver)) {}

FileHandle::~FileHandle() { CloseThroughDriver(); }

void FileHandle::CloseThroughDriver() {
  if (driver) driver->Close(*this);
  driver.reset();
}

uint32_t FileHandle::GetSize() {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return driver ? driver->Size(*this) : 0;
}

void FileHandle::Rewind() { Seek(0, SeekRef::Start); }

bool FileHandle::IsEOF() {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return driver ? driver->IsEOF(*this) : true;
}

uint32_t FileHandle::Tell() {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return driver ? uint32_t(driver->Tell(*this)) : uint32_t(-1);
}

int FileHandle::Seek(int offset, SeekRef ref) {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return driver ? driver->Seek(*this, offset, ref) : -1;
}

uint32_t FileHandle::Read(void* buffer, uint32_t size) {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return driver ? driver->Read(*this, buffer, size) : 0;
}

uint32_t FileHandle::Write(const void* data, uint32_t size) {
  std::lock_guard<std::recursive_mutex> lock(mutex);
  return driver ? driver->Write(*this, data, size) : 0;
}

} // namespace tv
