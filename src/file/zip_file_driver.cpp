#include "file/zip_file_driver.h"

#include <minizip/unzip.h>

#include <climits>
#include <new>
#include <vector>

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

// Compressed bytes lie inside the archive, and deflate can't shrink data by more than about
// 1032:1; a header claiming more lies, and believing it would mean allocating gigabytes for a few
// bytes of input.
bool SizesAreCredible(uint64_t compressed, uint64_t size, int method, uint64_t archive_size) {
  if (size > uint64_t(INT32_MAX) || compressed > archive_size) return false;
  if (method == Z_DEFLATED) return size <= compressed * 1032 + 64;
  return true;
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

// Traditional zip encryption: the last of the 12 header bytes, decrypted, must equal the high byte
// of the entry's CRC (or of its time, for entries written with a data descriptor). minizip itself
// doesn't check, and would inflate garbage from a wrong password.
bool PasswordMatches(FileHandle& archive, uint64_t header_position, const unz_file_info& info,
                     const std::string& password) {
  uint8_t header[12] = {};
  {
    std::lock_guard<std::recursive_mutex> lock(archive.mutex);
    const uint32_t remembered = archive.Tell();
    const bool read = header_position <= uint64_t(INT32_MAX) &&
                      archive.Seek(int(header_position), SeekRef::Start) == 0 && archive.Read(header, 12) == 12;
    archive.Seek(int(remembered), SeekRef::Start);
    if (!read) return false;
  }
  const z_crc_t* table = get_crc_table();
  uint32_t keys[3] = {305419896u, 591751049u, 878082192u};
  auto update = [&](uint8_t c) {
    keys[0] = table[(keys[0] ^ c) & 0xff] ^ (keys[0] >> 8);
    keys[1] = (keys[1] + (keys[0] & 0xff)) * 134775813u + 1;
    keys[2] = table[(keys[2] ^ (keys[1] >> 24)) & 0xff] ^ (keys[2] >> 8);
  };
  for (const char c : password) update(uint8_t(c));
  uint8_t plain = 0;
  for (const uint8_t cipher : header) {
    const uint32_t temp = (keys[2] & 0xffff) | 2;
    plain = cipher ^ uint8_t((temp * (temp ^ 1)) >> 8);
    update(plain);
  }
  const uint8_t expected = (info.flag & 8) != 0 ? uint8_t(info.dosDate >> 8) : uint8_t(info.crc >> 24);
  return plain == expected;
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
  if (!handle) return true;

  archive_owner = std::move(handle);
  archive_handle = archive_owner.get();
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
  for (int status = unzGoToFirstFile(zip); status == UNZ_OK; status = unzGoToNextFile(zip)) {
    char name[513];
    unz_file_info info;
    unz_file_pos position;
    if (unzGetCurrentFileInfo(zip, &info, name, sizeof(name) - 1, nullptr, 0, nullptr, 0) != UNZ_OK) break;
    if (unzGetFilePos(zip, &position) != UNZ_OK) break;
    name[sizeof(name) - 1] = '\0';
    // The first of several entries with one name wins, as a scan from the start would find it.
    index_.try_emplace(name, EntryPosition{position.pos_in_zip_directory, position.num_of_file});
  }
}

bool ZipFileDriver::Locate(const std::string& name) {
  const auto found = index_.find(name);
  if (found == index_.end()) return false;
  unz_file_pos position{uLong(found->second.directory_offset), uLong(found->second.entry_number)};
  return unzGoToFilePos(static_cast<unzFile>(archive), &position) == UNZ_OK;
}

uint32_t ZipFileDriver::GetCaps() { return 11; }

std::shared_ptr<FileHandle> ZipFileDriver::MapStored(const std::string& path, uint64_t compressed, uint64_t size) {
  unzFile zip = static_cast<unzFile>(archive);
  if (unzOpenCurrentFile(zip) != UNZ_OK) {
    error(format("Failed to open file '%1'").arg(path));
    return nullptr;
  }
  const uint64_t position = unzGetCurrentFileZStreamPos64(zip);
  unzCloseCurrentFile(zip);
  // A stored entry is its own bytes: sizes that disagree, or a window past the archive's end, lie.
  if (compressed != size || position + size > archive_handle->GetSize()) {
    error(format("Failed to read file '%1'").arg(path));
    return nullptr;
  }
  debug(format("Mapping zip segment to '%1' @%2").arg(path).arg(position));
  return std::make_shared<ZipSegment>(shared_from_this(), archive_owner, uint32_t(position), uint32_t(size));
}

bool ZipFileDriver::Unpack(const std::string& path, const unz_file_info& info) {
  unzFile zip = static_cast<unzFile>(archive);
  const uint64_t size = info.uncompressed_size;
  debug(format("Mapping unzipped '%1' to memory...").arg(path));
  std::vector<uint8_t> buffer;
  if (SizesAreCredible(info.compressed_size, size, int(info.compression_method), archive_handle->GetSize())) {
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
    // Without a password (or with a wrong one) an encrypted entry can't be opened.
    bool matches = false;
    if (!password.empty() && unzOpenCurrentFile(zip) == UNZ_OK) {
      const uint64_t header = unzGetCurrentFileZStreamPos64(zip);
      unzCloseCurrentFile(zip);
      matches = PasswordMatches(*archive_handle, header, info, password);
    }
    if (!matches) {
      error(format("Failed to open file '%1'").arg(path));
      return false;
    }
  }
  const int opened = password.empty() ? unzOpenCurrentFile(zip) : unzOpenCurrentFilePassword(zip, password.c_str());
  if (opened != UNZ_OK) {
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
  std::shared_ptr<FileHandle> writer = memory_driver->Open(path, FileMode::Write);
  return writer && writer->Write(buffer.data(), uint32_t(size)) == size;
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
    if (!Locate(clean)) return nullptr;
    unz_file_info info;
    if (unzGetCurrentFileInfo(zip, &info, nullptr, 0, nullptr, 0, nullptr, 0) != UNZ_OK) {
      error(format("Failed to open file '%1'").arg(path));
      return nullptr;
    }
    const bool encrypted = (info.flag & 1) != 0;
    if (info.compression_method == 0 && !encrypted)
      return MapStored(clean, info.compressed_size, info.uncompressed_size);
    // Encrypted entries, stored ones included, go through unpacking: their bytes need decrypting.
    if (!Unpack(clean, info)) return nullptr;
    inner = memory_driver->Open(clean, FileMode::Read);
    if (!inner) return nullptr;
  }

  auto handle = std::make_shared<ZipHandle>(shared_from_this());
  handle->inner = std::move(inner);
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
    memory_driver->Delete(path);
    unpacked.erase(path);
  }
  own->mapped = false;
  own->entry = nullptr;
  own->inner.reset();
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
  for (int status = unzGoToFirstFile(zip); status == UNZ_OK; status = unzGoToNextFile(zip)) {
    char name[513];
    unz_file_info info;
    if (unzGetCurrentFileInfo(zip, &info, name, sizeof(name) - 1, nullptr, 0, nullptr, 0) != UNZ_OK) break;
    name[sizeof(name) - 1] = '\0';
    const std::string full = name;
    if (!starts_with(full, path)) continue;
    const std::string rest = lstrip(full.substr(path.size()), "/");
    const size_t slash = rest.find('/');
    if (slash != std::string::npos) {
      if (filter == kDirFiles) continue;
      const std::string folder = rest.substr(0, slash);
      bool listed = false;
      for (const DirEntry& entry : entries) listed = listed || entry.name == folder;
      if (!listed) entries.push_back(DirEntry{DirEntry::kDirectory, folder});
    } else if (filter != kDirDirectories && !rest.empty() && match_wildcard(rest, wildcard)) {
      entries.push_back(DirEntry{DirEntry::kFile, rest});
    }
  }
  return entries;
}

} // namespace tv
