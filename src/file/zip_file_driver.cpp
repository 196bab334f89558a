#include "file/zip_file_driver.h"

#include <minizip/unzip.h>

#include <algorithm>
#include <climits>
#include <new>
#include <vector>

#include "file/detail/zip_crypto.h"
#include "file/file_handle_segment.h"
#include "file/path.h"
#include "foundation/log.h"
#include "foundation/string_utils.h"

namespace tv {
namespace {

// minizip streams are the archive's FileHandle; the driver owns it, so open hands it back and
// close does nothing.
voidpf ZCALLBACK OpenStream(voidpf opaque, const char*, int) { return opaque; }

uLong ZCALLBACK ReadStream(voidpf, voidpf stream, void* buffer, uLong size) {
  if (size > UINT32_MAX) size = UINT32_MAX;
  return static_cast<FileHandle*>(stream)->Read(buffer, uint32_t(size));
}

uLong ZCALLBACK WriteStream(voidpf, voidpf stream, const void* data, uLong size) {
  if (size > UINT32_MAX) size = UINT32_MAX;
  return static_cast<FileHandle*>(stream)->Write(data, uint32_t(size));
}

long ZCALLBACK TellStream(voidpf, voidpf stream) {
  return long(int32_t(static_cast<FileHandle*>(stream)->Tell()));
}

long ZCALLBACK SeekStream(voidpf, voidpf stream, uLong offset, int origin) {
  if (offset > uLong(INT32_MAX)) return -1;
  const SeekRef ref = origin == ZLIB_FILEFUNC_SEEK_SET   ? SeekRef::Start
                      : origin == ZLIB_FILEFUNC_SEEK_CUR ? SeekRef::Current
                                                         : SeekRef::End;
  return static_cast<FileHandle*>(stream)->Seek(int(offset), ref) == 0 ? 0 : -1;
}

int ZCALLBACK CloseStream(voidpf, voidpf) { return 0; }
int ZCALLBACK ErrorStream(voidpf, voidpf) { return 0; }

// Compressed bytes lie inside the archive; a stored entry is no larger than its bytes, and no
// method shrinks data by more than deflate's 1032:1. A header claiming more lies, and believing it
// would mean allocating gigabytes for a few bytes of input.
bool SizesAreCredible(uint64_t compressed, uint64_t size, int method, uint64_t archive_size) {
  if (size > uint64_t(INT32_MAX) || compressed > archive_size) return false;
  if (method == 0) return size <= compressed;
  return size <= compressed * 1032 + 64;
}

// A window of the archive that keeps the archive's handle alive, even if the driver moves on to
// another archive while the window is open.
class ZipSegment : public FileHandleSegment {
public:
  ZipSegment(std::shared_ptr<FileDriver> driver, std::shared_ptr<FileHandle> archive, uint32_t offset,
             uint32_t size)
      : FileHandleSegment(std::move(driver), archive.get(), offset, size), archive_(std::move(archive)) {}

private:
  std::shared_ptr<FileHandle> archive_;
};

ZipHandle* ZipHandleOf(FileHandle& handle) { return dynamic_cast<ZipHandle*>(&handle); }

// `count` bytes of the archive at `position`, read under the handle's lock and with its position
// put back, as a segment does.
bool ReadRaw(FileHandle& archive, uint64_t position, uint64_t count, std::vector<uint8_t>& out) {
  if (position + count > uint64_t(INT32_MAX)) return false;
  out.resize(size_t(count));
  std::lock_guard<std::recursive_mutex> lock(archive.mutex);
  const uint32_t remembered = archive.Tell();
  const bool read = archive.Seek(int(position), SeekRef::Start) == 0 && archive.Read(out.data(), uint32_t(count)) == count;
  archive.Seek(int(remembered), SeekRef::Start);
  return read;
}

// The current entry's info and whole name (names may be longer than any fixed buffer).
bool CurrentEntry(unzFile zip, unz_file_info& info, std::string& name) {
  if (unzGetCurrentFileInfo(zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK) return false;
  name.assign(info.size_filename + 1, '\0');
  if (unzGetCurrentFileInfo(zip, &info, name.data(), uLong(name.size()), nullptr, 0, nullptr, 0) != UNZ_OK) return false;
  name.resize(info.size_filename);
  return true;
}

} // namespace

ZipFileDriver::ZipFileDriver(std::shared_ptr<FileHandle> archive_handle_in, const std::string& password_in)
    : file_functions(new zlib_filefunc_def{}), memory_driver(std::make_shared<MemoryFileDriver>()) {
  SetArchive(std::move(archive_handle_in), password_in);
}

ZipFileDriver::~ZipFileDriver() {
  SetArchive(nullptr);
  unpacked.clear();
  memory_driver.reset();
  delete static_cast<zlib_filefunc_def*>(file_functions);
}

bool ZipFileDriver::SetArchive(std::shared_ptr<FileHandle> handle, const std::string& new_password) {
  std::lock_guard<std::mutex> lock(mutex);
  if (archive != nullptr) unzClose(static_cast<unzFile>(archive));
  archive = nullptr;
  archive_handle = nullptr;
  archive_owner.reset();
  index_.clear();
  boundaries_.clear();
  archive_size_ = 0;
  // Entries unpacked from the old archive stay with the handles open on them; the new archive's
  // entries must never be served from there.
  if (!unpacked.empty()) {
    retired_.push_back(RetiredStore{memory_driver, std::move(unpacked)});
    unpacked.clear();
    memory_driver = std::make_shared<MemoryFileDriver>();
  }
  if (!handle) return true;

  archive_owner = std::move(handle);
  archive_handle = archive_owner.get();
  archive_size_ = archive_handle->GetSize();
  password = new_password;
  auto* functions = static_cast<zlib_filefunc_def*>(file_functions);
  *functions = zlib_filefunc_def{&OpenStream, &ReadStream, &WriteStream, &TellStream,
                                 &SeekStream, &CloseStream, &ErrorStream, archive_handle};
  archive = unzOpen2("archive", functions);
  if (archive != nullptr) IndexEntries();
  return archive != nullptr;
}

void ZipFileDriver::IndexEntries() {
  unzFile zip = static_cast<unzFile>(archive);
  uint64_t directory_start = UINT64_MAX;
  for (int status = unzGoToFirstFile(zip); status == UNZ_OK; status = unzGoToNextFile(zip)) {
    unz_file_info info;
    unz_file_pos position;
    std::string name;
    if (!CurrentEntry(zip, info, name) || unzGetFilePos(zip, &position) != UNZ_OK) break;
    // The first of several entries with one name wins, as a scan from the start would find it.
    index_.try_emplace(name, EntryPosition{position.pos_in_zip_directory, position.num_of_file});
    // The local header's offset stands at byte 42 of the entry's directory record.
    std::vector<uint8_t> record;
    if (ReadRaw(*archive_handle, position.pos_in_zip_directory, 46, record))
      boundaries_.push_back(uint64_t(record[42]) | uint64_t(record[43]) << 8 | uint64_t(record[44]) << 16 |
                            uint64_t(record[45]) << 24);
    directory_start = std::min<uint64_t>(directory_start, position.pos_in_zip_directory);
  }
  if (directory_start != UINT64_MAX) boundaries_.push_back(directory_start);
  std::sort(boundaries_.begin(), boundaries_.end());
}

bool ZipFileDriver::Locate(const EntryPosition& entry) {
  unz_file_pos position{uLong(entry.directory_offset), uLong(entry.entry_number)};
  return unzGoToFilePos(static_cast<unzFile>(archive), &position) == UNZ_OK;
}

uint32_t ZipFileDriver::GetCaps() { return 11; }

std::shared_ptr<FileHandle> ZipFileDriver::MapStored(const std::string& path, uint64_t compressed, uint64_t size,
                                                     uint64_t flag, EntryPosition& entry) {
  unzFile zip = static_cast<unzFile>(archive);
  if (unzOpenCurrentFile(zip) != UNZ_OK) {
    error(format("Failed to open file '%1'").arg(path));
    return nullptr;
  }
  const uint64_t position = unzGetCurrentFileZStreamPos64(zip);
  unzCloseCurrentFile(zip);
  // A stored entry is its own bytes, and they end where the next entry's header (or the
  // directory) begins, but for a data descriptor. Sizes that disagree, or a window that runs into
  // what follows or stops short of it, lie.
  const uint64_t end = position + size;
  const auto next = std::lower_bound(boundaries_.begin(), boundaries_.end(), position);
  const uint64_t limit = next != boundaries_.end() ? *next : archive_size_;
  const uint64_t gap = limit >= end ? limit - end : UINT64_MAX;
  const bool descriptor = (flag & 8) != 0 && (gap == 12 || gap == 16 || gap == 20 || gap == 24);
  if (compressed != size || end > archive_size_ || (gap != 0 && !descriptor)) {
    error(format("Failed to read file '%1'").arg(path));
    return nullptr;
  }
  entry.stored_at = position;
  entry.stored_size = size;
  return MapSegment(path, entry);
}

std::shared_ptr<FileHandle> ZipFileDriver::MapSegment(const std::string& path, const EntryPosition& entry) {
  debug(format("Mapping zip segment to '%1' @%2").arg(path).arg(entry.stored_at));
  return std::make_shared<ZipSegment>(shared_from_this(), archive_owner, uint32_t(entry.stored_at),
                                      uint32_t(entry.stored_size));
}

bool ZipFileDriver::Unpack(const std::string& path, const unz_file_info& info) {
  unzFile zip = static_cast<unzFile>(archive);
  const uint64_t size = info.uncompressed_size;
  debug(format("Mapping unzipped '%1' to memory...").arg(path));
  std::vector<uint8_t> buffer;
  if (SizesAreCredible(info.compressed_size, size, int(info.compression_method), archive_size_)) {
    try {
      buffer.resize(size_t(size));
    } catch (const std::bad_alloc&) {
    }
  }
  if (buffer.size() != size) {
    error(format("Failed to allocate decompression space for '%1'").arg(path));
    return false;
  }
  if ((info.flag & 1) != 0) {
    if (!UnpackEncrypted(path, info, buffer)) return false;
  } else {
    if (unzOpenCurrentFile(zip) != UNZ_OK) {
      error(format("Failed to open file '%1'").arg(path));
      return false;
    }
    const int got = size == 0 ? 0 : unzReadCurrentFile(zip, buffer.data(), unsigned(size));
    // Closing checks the CRC of what was read: damaged data fails here.
    const int closed = unzCloseCurrentFile(zip);
    if (got < 0 || uint64_t(got) != size || closed != UNZ_OK) {
      error(format("Failed to read file '%1'").arg(path));
      return false;
    }
  }
  std::shared_ptr<FileHandle> writer = memory_driver->Open(path, FileMode::Write);
  return writer && writer->Write(buffer.data(), uint32_t(size)) == size;
}

bool ZipFileDriver::UnpackEncrypted(const std::string& path, const unz_file_info& info, std::vector<uint8_t>& plain) {
  unzFile zip = static_cast<unzFile>(archive);
  // Opened without a password, the entry's stream starts at its encryption header.
  std::vector<uint8_t> raw;
  bool have_raw = false;
  if (!password.empty() && unzOpenCurrentFile(zip) == UNZ_OK) {
    const uint64_t start = unzGetCurrentFileZStreamPos64(zip);
    unzCloseCurrentFile(zip);
    have_raw = ReadRaw(*archive_handle, start, info.compressed_size, raw);
  }
  const uint8_t check = (info.flag & 8) != 0 ? uint8_t(info.dosDate >> 8) : uint8_t(info.crc >> 24);
  const detail::DecryptResult result =
      have_raw ? detail::DecryptEntry(raw, password, check, int(info.compression_method), uint32_t(info.crc),
                                      uint32_t(info.uncompressed_size), plain)
               : detail::DecryptResult::WrongPassword;
  if (result == detail::DecryptResult::Ok) return true;
  if (result == detail::DecryptResult::Damaged)
    error(format("Failed to read file '%1'").arg(path));
  else
    error(format("Failed to open file '%1'").arg(path));
  return false;
}

std::shared_ptr<FileHandle> ZipFileDriver::Open(const std::string& path, FileMode mode) {
  std::lock_guard<std::mutex> lock(mutex);
  if (archive == nullptr) {
    error("Cannot open file with no archive support");
    return nullptr;
  }
  if (mode != FileMode::Read) return nullptr;
  const std::string clean = CleanPath(path);

  std::shared_ptr<FileHandle> inner = memory_driver->Open(clean, FileMode::Read);
  if (!inner) {
    unzFile zip = static_cast<unzFile>(archive);
    const auto found = index_.find(clean);
    if (found == index_.end()) return nullptr;
    EntryPosition& entry = found->second;
    if (entry.stored_at != UINT64_MAX) return MapSegment(clean, entry);
    if (!Locate(entry)) return nullptr;
    unz_file_info info;
    if (unzGetCurrentFileInfo(zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK) {
      error(format("Failed to open file '%1'").arg(path));
      return nullptr;
    }
    const bool encrypted = (info.flag & 1) != 0;
    if (info.compression_method == 0 && !encrypted)
      return MapStored(clean, info.compressed_size, info.uncompressed_size, info.flag, entry);
    // Encrypted entries, stored ones included, go through unpacking: their bytes need decrypting.
    if (!Unpack(clean, info)) return nullptr;
    inner = memory_driver->Open(clean, FileMode::Read);
    if (!inner) return nullptr;
  }

  auto handle = std::make_shared<ZipHandle>(shared_from_this());
  handle->inner = std::move(inner);
  handle->store = memory_driver;
  UnpackedEntry& entry = unpacked.try_emplace(clean, UnpackedEntry{clean, 0}).first->second;
  ++entry.use_count;
  handle->entry = &entry;
  handle->mapped = true;
  return handle;
}

void ZipFileDriver::Close(FileHandle& handle) {
  ZipHandle* own = ZipHandleOf(handle);
  if (own == nullptr) return;  // a stored entry's window needs nothing
  std::lock_guard<std::mutex> lock(mutex);
  std::lock_guard<std::recursive_mutex> handle_lock(handle.mutex);
  if (own->mapped && own->entry != nullptr && --own->entry->use_count == 0) {
    const std::string path = own->entry->path;
    own->inner.reset();
    if (own->store == memory_driver) {
      memory_driver->Delete(path);
      unpacked.erase(path);
    } else {
      // An entry of an archive this driver has since left.
      for (auto it = retired_.begin(); it != retired_.end(); ++it) {
        if (it->memory != own->store) continue;
        it->memory->Delete(path);
        it->entries.erase(path);
        if (it->entries.empty()) retired_.erase(it);
        break;
      }
    }
  }
  own->mapped = false;
  own->entry = nullptr;
  own->inner.reset();
  own->store.reset();
}

bool ZipFileDriver::Delete(const std::string&) { return false; }
bool ZipFileDriver::MkDir(const std::string&) { return false; }

int32_t ZipFileDriver::Tell(FileHandle& handle) {
  ZipHandle* own = ZipHandleOf(handle);
  return own && own->inner ? int32_t(own->inner->Tell()) : -1;
}

int32_t ZipFileDriver::Seek(FileHandle& handle, int32_t offset, SeekRef ref) {
  ZipHandle* own = ZipHandleOf(handle);
  return own && own->inner ? own->inner->Seek(offset, ref) : -1;
}

uint32_t ZipFileDriver::Size(FileHandle& handle) {
  ZipHandle* own = ZipHandleOf(handle);
  return own && own->inner ? own->inner->GetSize() : 0;
}

bool ZipFileDriver::IsEOF(FileHandle& handle) {
  ZipHandle* own = ZipHandleOf(handle);
  return own == nullptr || !own->inner || own->inner->IsEOF();
}

uint32_t ZipFileDriver::Read(FileHandle& handle, void* buffer, uint32_t size) {
  ZipHandle* own = ZipHandleOf(handle);
  return own && own->inner ? own->inner->Read(buffer, size) : 0;
}

uint32_t ZipFileDriver::Write(FileHandle&, const void*, uint32_t) { return 0; }

std::vector<DirEntry> ZipFileDriver::Dir(const std::string& path, const std::string& wildcard, uint32_t filter) {
  std::lock_guard<std::mutex> lock(mutex);
  std::vector<DirEntry> entries;
  unzFile zip = static_cast<unzFile>(archive);
  if (zip == nullptr) return entries;
  // A folder, not a prefix of names: "sub" must not list "sub.txt" or "subway/".
  const std::string folder = path.empty() || path.back() == '/' ? path : path + "/";
  for (int status = unzGoToFirstFile(zip); status == UNZ_OK; status = unzGoToNextFile(zip)) {
    unz_file_info info;
    std::string full;
    if (!CurrentEntry(zip, info, full)) break;
    if (!starts_with(full, folder)) continue;
    const std::string rest = lstrip(full.substr(folder.size()), "/");
    const size_t slash = rest.find('/');
    if (slash != std::string::npos) {
      if (filter == kDirFiles) continue;
      const std::string name = rest.substr(0, slash);
      bool listed = false;
      for (const DirEntry& entry : entries) listed = listed || entry.name == name;
      if (!listed) entries.push_back(DirEntry{DirEntry::kDirectory, name});
    } else if (filter != kDirDirectories && !rest.empty() && match_wildcard(rest, wildcard)) {
      entries.push_back(DirEntry{DirEntry::kFile, rest});
    }
  }
  return entries;
}

} // namespace tv
