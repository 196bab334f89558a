#pragma once
// The one file system of the process: routes each path to a driver.
//
// A path that begins with a mounted prefix goes to that mount's driver with the prefix cut off;
// mounts are searched in mounting order and the first whose prefix starts the path wins (the
// comparison is exact). Any other path is tried on the root drivers in turn.
//
// Neither list is locked: mount and unmount at start-up or while no thread opens files. Handles
// may then be opened and used on any thread.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "file/file_driver.h"

namespace tv {

class BinaryData;

struct FileMount {
  std::string prefix;
  std::shared_ptr<FileDriver> driver;
};

class Filesystem {
public:
  Filesystem();

  // As a root driver. False (and an error line) if this driver is a root driver already.
  bool Mount(std::shared_ptr<FileDriver> driver);
  // On a prefix. False (and an error line) if exactly this prefix is mounted already.
  bool Mount(std::shared_ptr<FileDriver> driver, const std::string& prefix);
  // Removes every occurrence of the driver, from the mounts and from the root drivers.
  void Unmount(const std::shared_ptr<FileDriver>& driver);
  // Unmounts the driver of the mount that matches `prefix`.
  void Unmount(const std::string& prefix);

  // The first mount whose prefix starts `path`, or null.
  const FileMount* FindMount(const std::string& path) const;
  std::string GetPrefix(const std::string& path) const;
  std::shared_ptr<FileDriver> GetDriver(const std::string& path) const;
  std::string CutPrefix(const std::string& path) const;

  // A handle, or empty after a warning line. A mounted path never falls back to the root drivers.
  std::shared_ptr<FileHandle> Open(const std::string& path, FileMode mode);
  bool Exists(const std::string& path);
  // Delete, IsDir, MkDir and Dir work on mounted paths only (false or empty otherwise).
  bool Delete(const std::string& path);
  bool IsDir(const std::string& path);
  bool MkDir(const std::string& path);
  std::vector<DirEntry> Dir(const std::string& path, const std::string& wildcard, uint32_t filter);

  uint32_t FileSize(const std::string& path);
  std::string FileToString(const std::string& path);
  // True when every byte was read.
  bool FileToData(const std::string& path, std::vector<uint8_t>& data);
  // Appends the file at `buffer.size`; true when every byte was read.
  bool FileToData(const std::string& path, BinaryData& buffer);
  // True when all was written.
  bool DataToFile(const std::string& path, const void* data, uint32_t size);
  bool StringToFile(const std::string& path, const std::string& text);
  bool CopyFile(const std::string& from, const std::string& to);
  // Copy, then delete `from` through its mount; false if `from` isn't on a mount.
  bool MoveFile(const std::string& from, const std::string& to);

  std::string MapToAbsolute(const std::string& path);
  std::string MapToRelative(const std::string& path);

  std::vector<FileMount> mounts;
  std::vector<std::shared_ptr<FileDriver>> root_drivers;
};

} // namespace tv
