#pragma once
// Operating system files below a base folder.
//
// With `sandbox` set, a path that leaves the base folder ("../x", "a/../../x", "..") is refused
// by every operation, without a log line.

#include <cstdio>
#include <string>

#include "file/file_driver.h"

namespace tv {

class CFileHandle : public FileHandle {
public:
  using FileHandle::FileHandle;
  ~CFileHandle() override { CloseThroughDriver(); }
  std::FILE* stream = nullptr;
};

class StdFileDriver : public FileDriver {
public:
  explicit StdFileDriver(std::string base_path = std::string(), bool sandbox = false);

  void SetBasePath(std::string base_path, bool sandbox);

  // Cleaned `base_path + "/" + path`, or `path` when there is no base.
  std::string GetFullPath(const std::string& path) const;

  std::string MapToAbsolute(const std::string& path) override;
  std::string MapToRelative(const std::string& path) override;
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
  // Entries of the folder matching `wildcard`, sorted by name, without "." and "..".
  std::vector<DirEntry> Dir(const std::string& path, const std::string& wildcard, uint32_t filter) override;
  bool MkDir(const std::string& path) override;
  bool IsDir(const std::string& path) override;

  std::string base_path;
  bool sandbox = false;

private:
  bool Escapes(const std::string& path) const;
};

} // namespace tv
