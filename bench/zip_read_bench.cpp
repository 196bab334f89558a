// Reading every entry of a 2,000-entry archive through the Filesystem and the zip driver, against
// a plain minizip loop over the same archive (open each entry, read it in pieces, close). Two
// archives: half stored and half deflated, and all stored. Made once with Python's zipfile and kept
// beside the benchmark.

#include <minizip/unzip.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "file/filesystem.h"
#include "file/std_file_driver.h"
#include "file/zip_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "ratio_reporter.h"

namespace {

constexpr int kEntries = 2000;
const char* const kArchives[] = {"mixed", "stored"};

std::string ArchivePath(int which) {
  return std::string(TV_BENCH_DIR) + "/bench-data/zip_" + kArchives[which] + ".zip";
}

bool Exists(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0;
}

// Entries of 4 to 36 KiB of text-like bytes (deflate gets about 3:1 on them).
void MakeArchives() {
  std::system(("mkdir -p '" + std::string(TV_BENCH_DIR) + "/bench-data'").c_str());
  for (int which = 0; which < 2; ++which) {
    if (Exists(ArchivePath(which))) continue;
    const std::string script =
        "import random, zipfile, sys\n"
        "random.seed(7)\n"
        "words = [bytes(random.choice(b'abcdefghij ') for _ in range(random.randint(2, 9))) for _ in range(400)]\n"
        "with zipfile.ZipFile(sys.argv[1], 'w') as z:\n"
        "    for i in range(" + std::to_string(kEntries) + "):\n"
        "        size = 4096 + (i * 7919) % 32768\n"
        "        data = b' '.join(random.choice(words) for _ in range(size // 5))[:size]\n"
        "        method = zipfile.ZIP_DEFLATED if (sys.argv[2] == 'mixed' and i % 2) else zipfile.ZIP_STORED\n"
        "        z.writestr('folder%02d/entry%04d.txt' % (i % 40, i), data, compress_type=method)\n";
    const std::string command =
        "python3 -c \"$TV_SCRIPT\" '" + ArchivePath(which) + "' " + kArchives[which];
    setenv("TV_SCRIPT", script.c_str(), 1);
    if (std::system(command.c_str()) != 0) {
      std::fprintf(stderr, "cannot make %s with python3\n", ArchivePath(which).c_str());
      std::exit(1);
    }
  }
}

struct Mounted {
  Mounted() {
    log.print = &tv::DiscardLogLine;
    tv::log_system = &log;
    tv::filesystem = &files;
    files.Mount(std::make_shared<tv::StdFileDriver>());
    for (int which = 0; which < 2; ++which) {
      auto driver = std::make_shared<tv::ZipFileDriver>(files.Open(ArchivePath(which), tv::FileMode::Read));
      const std::string prefix = std::string("@") + kArchives[which] + "/";
      files.Mount(driver, prefix);
      for (const tv::DirEntry& folder : driver->Dir("", "*", tv::kDirDirectories))
        for (const tv::DirEntry& file : driver->Dir(folder.name, "*", tv::kDirFiles))
          paths[which].push_back(prefix + folder.name + "/" + file.name);
    }
  }
  tv::LogSystem log;
  tv::Filesystem files;
  std::vector<std::string> paths[2];
};

Mounted& Archives() {
  static Mounted mounted;
  return mounted;
}

void BM_DriverReadAll(benchmark::State& state) {
  Mounted& mounted = Archives();
  const std::vector<std::string>& paths = mounted.paths[state.range(0)];
  std::vector<uint8_t> buffer(64 * 1024);
  int64_t bytes = 0;
  for (auto _ : state) {
    bytes = 0;
    for (const std::string& path : paths) {
      std::shared_ptr<tv::FileHandle> handle = mounted.files.Open(path, tv::FileMode::Read);
      for (uint32_t got; (got = handle->Read(buffer.data(), uint32_t(buffer.size()))) != 0;) bytes += got;
    }
    benchmark::DoNotOptimize(buffer.data());
  }
  if (paths.size() != size_t(kEntries)) state.SkipWithError("the archive's listing is incomplete");
  state.SetLabel(kArchives[state.range(0)]);
  state.SetBytesProcessed(bytes * state.iterations());
}

void BM_MinizipLoop(benchmark::State& state) {
  unzFile zip = unzOpen64(ArchivePath(int(state.range(0))).c_str());
  std::vector<uint8_t> buffer(64 * 1024);
  int64_t bytes = 0;
  for (auto _ : state) {
    bytes = 0;
    for (int status = unzGoToFirstFile(zip); status == UNZ_OK; status = unzGoToNextFile(zip)) {
      unzOpenCurrentFile(zip);
      for (int got; (got = unzReadCurrentFile(zip, buffer.data(), unsigned(buffer.size()))) > 0;) bytes += got;
      unzCloseCurrentFile(zip);
    }
    benchmark::DoNotOptimize(buffer.data());
  }
  unzClose(zip);
  state.SetLabel(kArchives[state.range(0)]);
  state.SetBytesProcessed(bytes * state.iterations());
}

BENCHMARK(BM_DriverReadAll)->DenseRange(0, 1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MinizipLoop)->DenseRange(0, 1)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
  MakeArchives();
  Archives();
  using Ratio = tv::bench::RatioReporter::Ratio;
  return tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"driver / minizip loop, 2000 entries half stored half deflated", "BM_DriverReadAll/0/real_time",
             "BM_MinizipLoop/0/real_time", ">= 0.9"},
       Ratio{"driver / minizip loop, 2000 stored entries", "BM_DriverReadAll/1/real_time",
             "BM_MinizipLoop/1/real_time", ">= 1.5"}});
}
