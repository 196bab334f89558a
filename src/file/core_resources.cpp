#include "file/core_resources.h"

#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "file/zip_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log.h"

extern "C" const uint8_t tv_core_archive_data[];
extern "C" const uint8_t tv_core_archive_end[];

namespace tv {

std::span<const uint8_t> GetCoreArchive() {
  return std::span<const uint8_t>(tv_core_archive_data, size_t(tv_core_archive_end - tv_core_archive_data));
}

bool MountCoreResources() {
  if (filesystem == nullptr) return false;
  if (filesystem->FindMount("@core/") != nullptr) {
    debug("Not mounting internal core resources since '@core/' is already mounted");
    return false;
  }
  auto memory = std::make_shared<MemoryFileDriver>();
  const std::span<const uint8_t> archive = GetCoreArchive();
  {
    std::shared_ptr<FileHandle> writer = memory->Open("core.zip", FileMode::Write);
    writer->Write(archive.data(), uint32_t(archive.size()));
  }
  auto driver = std::make_shared<ZipFileDriver>(memory->Open("core.zip", FileMode::Read), std::string());
  return filesystem->Mount(driver, "@core/");
}

} // namespace tv
