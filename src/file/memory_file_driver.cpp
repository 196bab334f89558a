#include "file/memory_file_driver.h"

#include <algorithm>
#include <cstring>

namespace tv {
namespace {

IOMemoryHandle* MemoryHandleOf(FileHandle& handle) { return dynamic_cast<IOMemoryHandle*>(&handle); }

} // namespace

uint32_t MemoryFileDriver::GetCaps() { return 15; }

std::shared_ptr<FileHandle> MemoryFileDriver::Open(const std::string& path, FileMode mode) {
  if (mode != FileMode::Read && mode != FileMode::Write) return nullptr;
  std::shared_ptr<MemoryFile> file;
  {
    std::lock_guard<std::mutex> lock(mutex);
    auto found = std::find_if(files.begin(), files.end(), [&](const auto& f) { return f->name == path; });
    if (found != files.end()) {
      file = *found;
    } else if (mode == FileMode::Write) {
      file = std::make_shared<MemoryFile>();
      file->name = path;
      files.push_back(file);
    } else {
      return nullptr;
    }
  }
  auto handle = std::make_shared<IOMemoryHandle>(shared_from_this());
  handle->file = std::move(file);
  handle->mode = mode;
  return handle;
}

void MemoryFileDriver::Close(FileHandle&) {}

bool MemoryFileDriver::Delete(const std::string& path) {
  std::lock_guard<std::mutex> lock(mutex);
  std::erase_if(files, [&](const auto& f) { return f->name == path; });
  return true;
}

int32_t MemoryFileDriver::Tell(FileHandle& handle) {
  IOMemoryHandle* own = MemoryHandleOf(handle);
  if (own == nullptr || !own->file) return -1;
  return int32_t(own->position);
}

int32_t MemoryFileDriver::Seek(FileHandle& handle, int32_t offset, SeekRef ref) {
  IOMemoryHandle* own = MemoryHandleOf(handle);
  if (own == nullptr || !own->file) return -1;
  std::lock_guard<std::mutex> lock(own->file->mutex);
  const int64_t size = own->file->size;
  int64_t target = ref == SeekRef::Start ? offset : ref == SeekRef::Current ? int64_t(own->position) + offset : size - offset;
  own->position = uint32_t(std::clamp<int64_t>(target, 0, size));
  return 0;
}

uint32_t MemoryFileDriver::Size(FileHandle& handle) {
  IOMemoryHandle* own = MemoryHandleOf(handle);
  if (own == nullptr || !own->file) return 0;
  std::lock_guard<std::mutex> lock(own->file->mutex);
  return own->file->size;
}

bool MemoryFileDriver::IsEOF(FileHandle& handle) {
  IOMemoryHandle* own = MemoryHandleOf(handle);
  if (own == nullptr || !own->file) return true;
  std::lock_guard<std::mutex> lock(own->file->mutex);
  return own->position >= own->file->size;
}

uint32_t MemoryFileDriver::Read(FileHandle& handle, void* buffer, uint32_t size) {
  IOMemoryHandle* own = MemoryHandleOf(handle);
  if (own == nullptr || !own->file || own->mode != FileMode::Read) return 0;
  MemoryFile& file = *own->file;
  std::lock_guard<std::mutex> lock(file.mutex);
  if (own->position >= file.size) return 0;
  const uint32_t count = std::min(size, file.size - own->position);
  if (count != 0) std::memcpy(buffer, file.data.data() + own->position, count);
  own->position += count;
  return count;
}

uint32_t MemoryFileDriver::Write(FileHandle& handle, const void* data, uint32_t size) {
  IOMemoryHandle* own = MemoryHandleOf(handle);
  if (own == nullptr || !own->file || own->mode != FileMode::Write) return 0;
  MemoryFile& file = *own->file;
  std::lock_guard<std::mutex> lock(file.mutex);
  const uint64_t end = uint64_t(own->position) + size;
  if (end > INT32_MAX) return 0;  // files stay below 2 GiB
  // Grow with slack, so that a stream of small writes doesn't reallocate each time.
  if (end > file.data.size()) file.data.resize(size_t(end) + 16384);
  if (size != 0) std::memcpy(file.data.data() + own->position, data, size);
  own->position = uint32_t(end);
  file.size = std::max(file.size, own->position);
  return size;
}

bool MemoryFileDriver::MkDir(const std::string&) { return false; }

std::vector<std::string> MemoryFileDriver::GetFileNames() {
  std::lock_guard<std::mutex> lock(mutex);
  std::vector<std::string> names;
  names.reserve(files.size());
  for (const auto& file : files) names.push_back(file->name);
  return names;
}

} // namespace tv
