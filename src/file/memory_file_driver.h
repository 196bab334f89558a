#pragma once
// Named byte buffers as files. A file lives until Delete; closing a handle keeps it.
// Writing to an existing file overwrites in place from position 0 and never truncates.

#include <mutex>
#include <string>
#include <vector>

#include "file/file_driver.h"

namespace tv {

struct MemoryFile {
  std::string name;
  std::vector<uint8_t> data;  // may be longer than the content
  uint32_t size = 0;          // bytes of content
  // Handles on one file may live on different threads: a write may move `data` under a reader.
  std::mutex mutex;
};

class IOMemoryHandle : public FileHandle {
public:
  using FileHandle::FileHandle;
  std::shared_ptr<MemoryFile> file;
  uint32_t position = 0;
  FileMode mode = FileMode::Read;
};

class MemoryFileDriver : public FileDriver {
public:
  uint32_t GetCaps() override;
  std::shared_ptr<FileHandle> Open(const std::string& path, FileMode mode) override;
  void Close(FileHandle& handle) override;
  bool Delete(const std::string& path) override;
  int32_t Tell(FileHandle& handle) override;
  int32_t Seek(FileHandle& handle, int32_t offset, SeekRef ref) override;
  uint32_t Size(FileHandle& handle) override;
  bool IsEOF(FileHandle& handle) override;
  uint32_t Read(FileHandle& handle, void* buffer, uint32_t size) override;
  uint32_t Write(FileHandle& handle, const void* data, uint32_t size) override;
  bool MkDir(const std::string& path) override;

  // Names of all files, in order of creation.
  std::vector<std::string> GetFileNames();

  std::mutex mutex;
  std::vector<std::shared_ptr<MemoryFile>> files;
};

} // namespace tv
