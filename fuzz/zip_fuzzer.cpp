// Arbitrary bytes as a zip archive in memory: open, list every level, open and read the entries.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "file/memory_file_driver.h"
#include "file/zip_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"

namespace {

struct Services {
  Services() {
    log.print = &tv::DiscardLogLine;
    tv::log_system = &log;
  }
  tv::LogSystem log;
};

void Walk(tv::ZipFileDriver& zip, const std::string& folder, int depth, int& budget) {
  for (const tv::DirEntry& entry : zip.Dir(folder, "*", tv::kDirAll)) {
    if (--budget < 0) return;
    const std::string path = folder.empty() ? entry.name : folder + "/" + entry.name;
    if (entry.type == tv::DirEntry::kDirectory) {
      if (depth < 4) Walk(zip, path, depth + 1, budget);
      continue;
    }
    std::shared_ptr<tv::FileHandle> first = zip.Open(path, tv::FileMode::Read);
    std::shared_ptr<tv::FileHandle> second = zip.Open(path, tv::FileMode::Read);
    if (!first) continue;
    uint8_t buffer[4096];
    while (first->Read(buffer, sizeof(buffer)) != 0) {}
    first->Seek(1, tv::SeekRef::Start);
    first->Read(buffer, 16);
    first->Seek(3, tv::SeekRef::End);
    first->Read(buffer, 16);
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Services services;
  auto memory = std::make_shared<tv::MemoryFileDriver>();
  {
    std::shared_ptr<tv::FileHandle> writer = memory->Open("in.zip", tv::FileMode::Write);
    writer->Write(data, uint32_t(size));
  }
  auto zip = std::make_shared<tv::ZipFileDriver>(memory->Open("in.zip", tv::FileMode::Read));
  int budget = 64;
  Walk(*zip, "", 0, budget);
  zip->Open("missing", tv::FileMode::Read);
  zip->Open("x", tv::FileMode::Write);
  zip->SetArchive(nullptr);
  return 0;
}
