#include "file/std_file_driver.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "file/path.h"
#include "foundation/string_utils.h"

namespace tv {
namespace {

std::FILE* StreamOf(FileHandle& handle) {
  auto* own = dynamic_cast<CFileHandle*>(&handle);
  return own ? own->stream : nullptr;
}

} // namespace

StdFileDriver::StdFileDriver(std::string base_path, bool sandbox)
    : base_path(std::move(base_path)), sandbox(sandbox) {}

void StdFileDriver::SetBasePath(std::string new_base_path, bool new_sandbox) {
  base_path = std::move(new_base_path);
  sandbox = new_sandbox;
}

std::string StdFileDriver::GetFullPath(const std::string& path) const {
  return base_path.empty() ? path : base_path + "/" + path;
}

// Walks the path's pieces and tells whether ".." ever climbs above where it started. Leading and
// doubled separators count as nothing, since the full path is the base folder joined with `path`.
bool StdFileDriver::Escapes(const std::string& path) const {
  if (!sandbox) return false;
  int depth = 0;
  for (const std::string& piece : split(NativePath(path, false), "/")) {
    if (piece.empty() || piece == ".") continue;
    if (piece == "..") {
      if (--depth < 0) return true;
    } else {
      ++depth;
    }
  }
  return false;
}

std::string StdFileDriver::MapToAbsolute(const std::string& path) { return GetFullPath(path); }

std::string StdFileDriver::MapToRelative(const std::string& path) {
  const bool case_sensitive = (GetCaps() & kCapsCaseSensitive) != 0;
  if (!base_path.empty() && starts_with(path, base_path, case_sensitive)) return path.substr(base_path.size());
  return path;
}

uint32_t StdFileDriver::GetCaps() { return 46; }

std::shared_ptr<FileHandle> StdFileDriver::Open(const std::string& path, FileMode mode) {
  if (Escapes(path)) return nullptr;
  if (mode != FileMode::Read && mode != FileMode::Write) return nullptr;
  auto handle = std::make_shared<CFileHandle>(shared_from_this());
  const std::string full = CleanPath(GetFullPath(path));
  handle->stream = std::fopen(full.c_str(), mode == FileMode::Read ? "rb" : "wb");
  if (handle->stream == nullptr) return nullptr;
  // fopen opens a folder for reading on this platform; a folder is not a file.
  struct stat info;
  if (fstat(fileno(handle->stream), &info) != 0 || S_ISDIR(info.st_mode)) return nullptr;
  return handle;
}

void StdFileDriver::Close(FileHandle& handle) {
  auto* own = dynamic_cast<CFileHandle*>(&handle);
  if (own == nullptr) return;
  std::lock_guard<std::recursive_mutex> lock(handle.mutex);
  if (own->stream != nullptr) std::fclose(own->stream);
  own->stream = nullptr;
}

bool StdFileDriver::Delete(const std::string& path) {
  if (Escapes(path)) return false;
  // unlink, not remove: a folder is not a file to delete.
  return unlink(CleanPath(GetFullPath(path)).c_str()) == 0;
}

int32_t StdFileDriver::Tell(FileHandle& handle) {
  std::lock_guard<std::recursive_mutex> lock(handle.mutex);
  std::FILE* stream = StreamOf(handle);
  if (stream == nullptr) return -1;
  const long position = std::ftell(stream);
  return position < 0 || position > INT32_MAX ? -1 : int32_t(position);
}

int32_t StdFileDriver::Seek(FileHandle& handle, int32_t offset, SeekRef ref) {
  std::lock_guard<std::recursive_mutex> lock(handle.mutex);
  std::FILE* stream = StreamOf(handle);
  if (stream == nullptr) return -1;
  const int whence = ref == SeekRef::Start ? SEEK_SET : ref == SeekRef::Current ? SEEK_CUR : SEEK_END;
  return std::fseek(stream, offset, whence);
}

uint32_t StdFileDriver::Size(FileHandle& handle) {
  std::lock_guard<std::recursive_mutex> lock(handle.mutex);
  std::FILE* stream = StreamOf(handle);
  if (stream == nullptr) return 0;
  const long position = std::ftell(stream);
  std::fseek(stream, 0, SEEK_END);
  const long end = std::ftell(stream);
  std::fseek(stream, position, SEEK_SET);
  return end < 0 ? 0 : uint32_t(std::min<long>(end, UINT32_MAX));
}

bool StdFileDriver::IsEOF(FileHandle& handle) {
  std::lock_guard<std::recursive_mutex> lock(handle.mutex);
  std::FILE* stream = StreamOf(handle);
  if (stream == nullptr) return true;
  const long position = std::ftell(stream);
  return position < 0 || uint32_t(std::min<long>(position, UINT32_MAX)) >= Size(handle);
}

uint32_t StdFileDriver::Read(FileHandle& handle, void* buffer, uint32_t size) {
  std::lock_guard<std::recursive_mutex> lock(handle.mutex);
  std::FILE* stream = StreamOf(handle);
  if (stream == nullptr || size == 0) return 0;
  return uint32_t(std::fread(buffer, 1, size, stream));
}

uint32_t StdFileDriver::Write(FileHandle& handle, const void* data, uint32_t size) {
  std::lock_guard<std::recursive_mutex> lock(handle.mutex);
  std::FILE* stream = StreamOf(handle);
  if (stream == nullptr || size == 0) return 0;
  return std::fwrite(data, size, 1, stream) == 1 ? size : 0;
}

std::vector<DirEntry> StdFileDriver::Dir(const std::string& path, const std::string& wildcard, uint32_t filter) {
  std::vector<DirEntry> entries;
  if (Escapes(path)) return entries;
  const std::string clean = CleanPath(GetFullPath(path));
  const std::string folder = clean.empty() ? std::string(".") : clean;
  DIR* dir = opendir(folder.c_str());
  if (dir == nullptr) return entries;
  const std::string pattern = wildcard.empty() ? "*" : wildcard;
  while (const dirent* item = readdir(dir)) {
    const std::string name = item->d_name;
    if (name == "." || name == "..") continue;
    if (!match_wildcard(name, pattern)) continue;
    bool is_dir = item->d_type == DT_DIR;
    if (item->d_type == DT_UNKNOWN || item->d_type == DT_LNK) {
      struct stat info;
      is_dir = stat((folder + "/" + name).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
    }
    const uint32_t type = is_dir ? DirEntry::kDirectory : DirEntry::kFile;
    if (filter == kDirAll || filter == type) entries.push_back(DirEntry{type, name});
  }
  closedir(dir);
  std::sort(entries.begin(), entries.end(), [](const DirEntry& a, const DirEntry& b) { return a.name < b.name; });
  return entries;
}

bool StdFileDriver::MkDir(const std::string& path) {
  if (Escapes(path)) return false;
  return mkdir(CleanPath(GetFullPath(path)).c_str(), 0777) == 0;
}

bool StdFileDriver::IsDir(const std::string& path) {
  if (Escapes(path)) return false;
  struct stat info;
  return stat(CleanPath(GetFullPath(path)).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

} // namespace tv
