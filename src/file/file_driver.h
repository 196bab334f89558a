#pragma once
// A file driver serves paths of its own namespace (a folder, a set of memory files, an archive).
// The Filesystem routes paths to drivers; handles call back into the driver that made them.
// The order of the virtual operations is part of the module contract: keep it.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "file/file_handle.h"

namespace tv {

struct DirEntry {
  static constexpr uint32_t kFile = 1;
  static constexpr uint32_t kDirectory = 2;
  uint32_t type = kFile;
  std::string name;
};

// Filter argument of Dir(): files, directories or both.
constexpr uint32_t kDirFiles = 1;
constexpr uint32_t kDirDirectories = 2;
constexpr uint32_t kDirAll = 3;

// Caps bit 0: names are case sensitive.
constexpr uint32_t kCapsCaseSensitive = 1;

// Drivers must be owned by a std::shared_ptr: every handle holds one to its driver, and Open
// throws std::bad_weak_ptr otherwise.
class FileDriver : public std::enable_shared_from_this<FileDriver> {
public:
  virtual ~FileDriver();
  // SHA-1 of the whole file in 40 lower-case hex digits; empty if it can't be read whole.
  virtual std::string FileHash(const std::string& path);
  virtual std::string MapToAbsolute(const std::string& path);
  virtual std::string MapToRelative(const std::string& path);
  virtual uint32_t GetCaps() = 0;
  virtual std::shared_ptr<FileHandle> Open(const std::string& path, FileMode mode) = 0;
  virtual void Close(FileHandle& handle) = 0;
  virtual bool Delete(const std::string& path) = 0;
  virtual int32_t Tell(FileHandle& handle) = 0;
  virtual int32_t Seek(FileHandle& handle, int32_t offset, SeekRef ref) = 0;
  virtual uint32_t Size(FileHandle& handle) = 0;
  virtual bool IsEOF(FileHandle& handle) = 0;
  virtual uint32_t Read(FileHandle& handle, void* buffer, uint32_t size) = 0;
  virtual uint32_t Write(FileHandle& handle, const void* data, uint32_t size) = 0;
  virtual std::vector<DirEntry> Dir(const std::string& path, const std::string& wildcard, uint32_t filter);
  virtual bool MkDir(const std::string& path) = 0;
  virtual bool IsDir(const std::string& path);
  // Reserved driver options; no driver of the core has any.
  virtual std::shared_ptr<void> GetOption(uint32_t option);
  virtual std::string GetOptionText(uint32_t option);
};

} // namespace tv
