#pragma once
// A read-only driver over a zip archive held by any FileHandle (so an archive may itself lie in
// memory), on minizip's unzip layer with an I/O callback table working on the handle.
//
// A stored entry is served as a window of the archive handle: no copy, no unpacking. Any other
// entry is unpacked once, on open, into a private MemoryFileDriver and shared by every handle open
// on it; the bytes go with the last of those handles.
//
// Lock order: the driver's `mutex`, then a handle's mutex. `mutex` serialises every use of the
// archive (minizip keeps a current-entry cursor); reads on open handles don't take it.

#include <map>
#include <memory>
#include <unordered_map>
#include <vector>
#include <mutex>
#include <string>

#include "file/file_driver.h"
#include "file/memory_file_driver.h"

struct unz_file_info_s;

namespace tv {

struct UnpackedEntry {
  std::string path;
  int32_t use_count = 0;
};

// The handle of an unpacked entry: reads from its memory file.
class ZipHandle : public FileHandle {
public:
  using FileHandle::FileHandle;
  ~ZipHandle() override { CloseThroughDriver(); }

  std::shared_ptr<FileHandle> inner;
  UnpackedEntry* entry = nullptr;
  bool mapped = false;
  std::shared_ptr<MemoryFileDriver> store;  // where the unpacked bytes are
};

class ZipFileDriver : public FileDriver {
public:
  // An empty `archive` gives a driver without archive support until SetArchive.
  explicit ZipFileDriver(std::shared_ptr<FileHandle> archive, const std::string& password = std::string());
  ~ZipFileDriver() override;

  // Replaces the archive. False when minizip can't read `archive`; an empty handle only releases
  // the present archive and returns true. Handles already open stay readable.
  bool SetArchive(std::shared_ptr<FileHandle> archive, const std::string& password = std::string());

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
  // Entries below `path` in archive order: files matching `wildcard`, and the first folder level
  // (each folder once, whatever the wildcard).
  std::vector<DirEntry> Dir(const std::string& path, const std::string& wildcard, uint32_t filter) override;
  bool MkDir(const std::string& path) override;

  std::mutex mutex;
  void* file_functions = nullptr;  // minizip's callback table, allocated once
  FileHandle* archive_handle = nullptr;
  std::shared_ptr<FileHandle> archive_owner;
  void* archive = nullptr;  // minizip's unzFile; null: no archive support
  std::string password;
  std::map<std::string, UnpackedEntry> unpacked;
  std::shared_ptr<MemoryFileDriver> memory_driver;

private:
  // Where each entry's header stands in the central directory, by exact name: a lookup by
  // scanning would make opening every entry of a large archive quadratic.
  struct EntryPosition {
    uint64_t directory_offset;
    uint64_t entry_number;
    // A stored entry's bytes in the archive, once its first opening has checked them against the
    // layout; the archive doesn't change while it is set, so later openings map them at once.
    uint64_t stored_at = UINT64_MAX;
    uint64_t stored_size = 0;
  };
  void IndexEntries();
  // Makes `entry` minizip's current entry.
  bool Locate(const EntryPosition& entry);

  std::unordered_map<std::string, EntryPosition> index_;
  // Local header offsets of all entries and the directory's start, sorted: where a stored
  // entry's bytes end.
  std::vector<uint64_t> boundaries_;
  // The archive's size, read with its layout when it is set: asking the handle costs a seek to
  // the end and back, and every opened entry is checked against it.
  uint64_t archive_size_ = 0;
  // Entries still open from archives this driver has left.
  struct RetiredStore {
    std::shared_ptr<MemoryFileDriver> memory;
    std::map<std::string, UnpackedEntry> entries;
  };
  std::vector<RetiredStore> retired_;

  std::shared_ptr<FileHandle> MapStored(const std::string& path, uint64_t compressed, uint64_t size, uint64_t flag,
                                        EntryPosition& entry);
  std::shared_ptr<FileHandle> MapSegment(const std::string& path, const EntryPosition& entry);
  bool Unpack(const std::string& path, const unz_file_info_s& info);
  bool UnpackEncrypted(const std::string& path, const unz_file_info_s& info, std::vector<uint8_t>& plain);
};

} // namespace tv
