#include "file/filesystem.h"

#include <algorithm>

#include "file/path.h"
#include "foundation/binary_data.h"
#include "foundation/log.h"
#include "foundation/string_utils.h"

namespace tv {

Filesystem::Filesystem() {
  mounts.reserve(16);
  root_drivers.reserve(4);
}

bool Filesystem::Mount(std::shared_ptr<FileDriver> driver) {
  log(format("Mount root driver %1 (relative to '%2')").arg(to_string(driver.get())).arg(driver->MapToAbsolute("")));
  if (std::find(root_drivers.begin(), root_drivers.end(), driver) != root_drivers.end()) {
    error(format("Driver %1 is already mounted as a root driver on this filesystem").arg(to_string(driver.get())));
    return false;
  }
  root_drivers.push_back(std::move(driver));
  return true;
}

bool Filesystem::Mount(std::shared_ptr<FileDriver> driver, const std::string& prefix) {
  log(format("Mount driver %1 on prefix %2 (relative to '%3')")
          .arg(to_string(driver.get()))
          .arg(prefix)
          .arg(driver->MapToAbsolute("")));
  for (const FileMount& mount : mounts) {
    if (mount.prefix == prefix) {
      error(format("Prefix %1 is already mounted on this filesystem").arg(prefix));
      return false;
    }
  }
  mounts.push_back(FileMount{prefix, std::move(driver)});
  return true;
}

void Filesystem::Unmount(const std::shared_ptr<FileDriver>& driver) {
  // Hold the driver: the erases below may drop the last other reference to it.
  const std::shared_ptr<FileDriver> keep = driver;
  log(format("Unmount driver %1").arg(to_string(keep.get())));
  std::erase_if(mounts, [&](const FileMount& mount) { return mount.driver == keep; });
  std::erase(root_drivers, keep);
}

void Filesystem::Unmount(const std::string& prefix) {
  if (const FileMount* mount = FindMount(prefix)) Unmount(std::shared_ptr<FileDriver>(mount->driver));
}

const FileMount* Filesystem::FindMount(const std::string& path) const {
  for (const FileMount& mount : mounts)
    if (starts_with(path, mount.prefix)) return &mount;
  return nullptr;
}

std::string Filesystem::GetPrefix(const std::string& path) const {
  const FileMount* mount = FindMount(path);
  return mount ? mount->prefix : std::string();
}

std::shared_ptr<FileDriver> Filesystem::GetDriver(const std::string& path) const {
  const FileMount* mount = FindMount(path);
  return mount ? mount->driver : nullptr;
}

std::string Filesystem::CutPrefix(const std::string& path) const {
  const FileMount* mount = FindMount(path);
  return mount ? path.substr(mount->prefix.size()) : path;
}

std::shared_ptr<FileHandle> Filesystem::Open(const std::string& path, FileMode mode) {
  if (const FileMount* mount = FindMount(path)) {
    std::shared_ptr<FileHandle> handle = mount->driver->Open(path.substr(mount->prefix.size()), mode);
    if (!handle)
      warn(format("Failed to open '%1' on driver %2 (prefix match: %3)")
               .arg(path)
               .arg(to_string(mount->driver.get()))
               .arg(mount->prefix));
    return handle;
  }
  for (const std::shared_ptr<FileDriver>& driver : root_drivers)
    if (std::shared_ptr<FileHandle> handle = driver->Open(path, mode)) return handle;
  warn(format("Failed to open '%1' on any mounted file driver").arg(path));
  return nullptr;
}

bool Filesystem::Exists(const std::string& path) { return Open(path, FileMode::Read) != nullptr; }

bool Filesystem::Delete(const std::string& path) {
  const FileMount* mount = FindMount(path);
  return mount ? mount->driver->Delete(path.substr(mount->prefix.size())) : false;
}

bool Filesystem::IsDir(const std::string& path) {
  const FileMount* mount = FindMount(path);
  return mount ? mount->driver->IsDir(path.substr(mount->prefix.size())) : false;
}

bool Filesystem::MkDir(const std::string& path) {
  const FileMount* mount = FindMount(path);
  return mount ? mount->driver->MkDir(path.substr(mount->prefix.size())) : false;
}

std::vector<DirEntry> Filesystem::Dir(const std::string& path, const std::string& wildcard, uint32_t filter) {
  const FileMount* mount = FindMount(path);
  return mount ? mount->driver->Dir(path.substr(mount->prefix.size()), wildcard, filter) : std::vector<DirEntry>();
}

uint32_t Filesystem::FileSize(const std::string& path) {
  std::shared_ptr<FileHandle> handle = Open(path, FileMode::Read);
  return handle ? handle->GetSize() : 0;
}

std::string Filesystem::FileToString(const std::string& path) {
  std::shared_ptr<FileHandle> handle = Open(path, FileMode::Read);
  if (!handle) return std::string();
  std::string text(handle->GetSize(), '\0');
  text.resize(handle->Read(text.data(), uint32_t(text.size())));
  return text;
}

bool Filesystem::FileToData(const std::string& path, std::vector<uint8_t>& data) {
  std::shared_ptr<FileHandle> handle = Open(path, FileMode::Read);
  if (!handle) return false;
  const uint32_t size = handle->GetSize();
  data.resize(size);
  const uint32_t got = handle->Read(data.data(), size);
  data.resize(got);
  return got == size;
}

bool Filesystem::FileToData(const std::string& path, BinaryData& buffer) {
  std::shared_ptr<FileHandle> handle = Open(path, FileMode::Read);
  if (!handle) return false;
  const uint32_t size = handle->GetSize();
  const uint64_t end = uint64_t(buffer.size) + size;
  if (end > UINT32_MAX) return false;
  buffer.Reserve(end);
  const uint32_t got = handle->Read(buffer.data.data() + buffer.size, size);
  buffer.size += got;
  return got == size;
}

bool Filesystem::DataToFile(const std::string& path, const void* data, uint32_t size) {
  std::shared_ptr<FileHandle> handle = Open(path, FileMode::Write);
  if (!handle) return false;
  return handle->Write(data, size) == size;
}

bool Filesystem::StringToFile(const std::string& path, const std::string& text) {
  if (text.size() > UINT32_MAX) return false;
  return DataToFile(path, text.data(), uint32_t(text.size()));
}

bool Filesystem::CopyFile(const std::string& from, const std::string& to) {
  std::vector<uint8_t> data;
  if (!FileToData(from, data)) return false;
  return DataToFile(to, data.data(), uint32_t(data.size()));
}

bool Filesystem::MoveFile(const std::string& from, const std::string& to) {
  if (FindMount(from) == nullptr) return false;
  // Onto itself: copying would succeed and the delete would then lose the file.
  if (CleanPath(from) == CleanPath(to)) return Exists(from);
  if (!CopyFile(from, to)) return false;
  return Delete(from);
}

std::string Filesystem::MapToAbsolute(const std::string& path) {
  if (const FileMount* mount = FindMount(path))
    return CleanPath(mount->driver->MapToAbsolute(path.substr(mount->prefix.size())));
  for (const std::shared_ptr<FileDriver>& driver : root_drivers) {
    if (driver->Open(path, FileMode::Read) || driver->IsDir(path)) return CleanPath(driver->MapToAbsolute(path));
  }
  return path;
}

std::string Filesystem::MapToRelative(const std::string& path) {
  const std::string clean = CleanPath(path);
  for (const std::shared_ptr<FileDriver>& driver : root_drivers) {
    std::string relative = driver->MapToRelative(clean);
    if (!relative.empty() && relative != clean) {
      if (starts_with(relative, "/")) relative.erase(0, 1);
      return relative;
    }
  }
  return clean;
}

} // namespace tv
