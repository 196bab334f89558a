// Decoding 10-minute WAV files through the loaded wav_audio_codec plugin, against a plain read()
// loop over the same file (the limit: bytes can't come faster than the kernel hands them out) and
// against libsndfile reading the same frames. Files are made by sox once and kept beside the
// benchmark; every run reads them from the page cache.

#include <fcntl.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "audio/audio_codec.h"
#include "file/filesystem.h"
#include "file/std_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "plugin/core_globals.h"
#include "plugin/imgui_signals.h"
#include "plugin/plugin_description.h"
#include "plugin/shared_library.h"
#include "ratio_reporter.h"

namespace {

struct Shape {
  const char* name;
  int rate, channels, bits;
};
constexpr Shape kShapes[] = {{"stereo16_44k", 44100, 2, 16}, {"six24_48k", 48000, 6, 24}};

std::string DataFolder() { return std::string(TV_BENCH_DIR) + "/bench-data"; }
std::string FileOf(const Shape& shape) { return DataFolder() + "/" + shape.name + ".wav"; }

uint64_t FileSize(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 ? uint64_t(info.st_size) : 0;
}

void MakeFiles() {
  std::system(("mkdir -p '" + DataFolder() + "'").c_str());
  for (const Shape& shape : kShapes) {
    const uint64_t expected = uint64_t(shape.rate) * shape.channels * (shape.bits / 8) * 600;
    if (FileSize(FileOf(shape)) >= expected) continue;
    const std::string command = "sox -q -R -n -t wavpcm -r " + std::to_string(shape.rate) + " -c " +
                                std::to_string(shape.channels) + " -b " + std::to_string(shape.bits) +
                                " -e signed-integer '" + FileOf(shape) + "' synth 600 whitenoise vol 0.5";
    if (std::system(command.c_str()) != 0) {
      std::fprintf(stderr, "cannot make %s with sox\n", FileOf(shape).c_str());
      std::exit(1);
    }
  }
}

// The host's side: services in this module's globals, and the plugin mapped and bound.
struct PluginHost {
  PluginHost() {
    log.print = &tv::DiscardLogLine;
    tv::log_system = &log;
    tv::filesystem = &files;
    tv::audio_codecs = &codecs;
    tv::imgui_signals = &signals;
    files.Mount(std::make_shared<tv::StdFileDriver>());
    const std::string path = std::string(TV_BENCH_DIR) + "/wav_audio_codec.so";
    if (!plugin.Open(path)) {
      std::fprintf(stderr, "cannot map %s: %s\n", path.c_str(), plugin.GetError().c_str());
      std::exit(1);
    }
    const tv::CoreGlobals table = tv::GetCoreGlobals();
    auto load = reinterpret_cast<tv::PluginLoadFunction>(plugin.GetSymbol("PluginLoad"));
    if (load == nullptr || load(&table) != 0 || codecs.count("WAV") == 0) {
      std::fprintf(stderr, "the WAV plugin did not load\n");
      std::exit(1);
    }
  }
  ~PluginHost() {
    codecs.clear();
    signals.on_context_change.DisconnectAll();
  }

  tv::LogSystem log;
  tv::Filesystem files;
  tv::AudioCodecRegistry codecs;
  tv::ImGuiSignals signals;
  tv::DlSharedLibrary plugin;
};

PluginHost& Host() {
  static PluginHost host;
  return host;
}

void BM_PluginDecode(benchmark::State& state) {
  const Shape& shape = kShapes[state.range(0)];
  tv::AudioCodec& codec = *Host().codecs["WAV"];
  std::vector<uint8_t> buffer;
  uint64_t bytes = 0;
  for (auto _ : state) {
    std::shared_ptr<tv::AudioData> stream = codec.Open(FileOf(shape));
    buffer.resize(stream->GetFrameSize());
    uint64_t total = 0;
    while (!stream->IsEnded()) {
      tv::time_ns frame_time = 0;
      const uint32_t got = stream->GetFrame(buffer.data(), frame_time);
      if (got == 0) break;
      total += got;
    }
    bytes = total;
    benchmark::DoNotOptimize(buffer.data());
  }
  state.SetLabel(shape.name);
  state.SetBytesProcessed(int64_t(bytes) * state.iterations());
}

// The same file in the same one-second pieces, with nothing in between.
void BM_ReadLoop(benchmark::State& state) {
  const Shape& shape = kShapes[state.range(0)];
  std::vector<uint8_t> buffer(size_t(shape.rate) * shape.channels * (shape.bits / 8));
  uint64_t bytes = 0;
  for (auto _ : state) {
    const int fd = open(FileOf(shape).c_str(), O_RDONLY);
    uint64_t total = 0;
    for (;;) {
      const ssize_t got = read(fd, buffer.data(), buffer.size());
      if (got <= 0) break;
      total += uint64_t(got);
    }
    close(fd);
    bytes = total;
    benchmark::DoNotOptimize(buffer.data());
  }
  state.SetLabel(shape.name);
  state.SetBytesProcessed(int64_t(bytes) * state.iterations());
}

// libsndfile reading the same frames, one second at a time, in its native width for the file.
void BM_Sndfile(benchmark::State& state) {
  const Shape& shape = kShapes[state.range(0)];
  std::vector<int32_t> ints(size_t(shape.rate) * shape.channels);
  std::vector<int16_t> shorts(ints.size());
  uint64_t bytes = 0;
  for (auto _ : state) {
    SF_INFO info{};
    SNDFILE* file = sf_open(FileOf(shape).c_str(), SFM_READ, &info);
    if (file == nullptr) {
      state.SkipWithError("libsndfile cannot open the file");
      return;
    }
    uint64_t frames = 0;
    for (;;) {
      const sf_count_t got = shape.bits == 16 ? sf_readf_short(file, shorts.data(), shape.rate)
                                              : sf_readf_int(file, ints.data(), shape.rate);
      if (got <= 0) break;
      frames += uint64_t(got);
    }
    sf_close(file);
    bytes = frames * shape.channels * (shape.bits / 8);
    benchmark::DoNotOptimize(ints.data());
    benchmark::DoNotOptimize(shorts.data());
  }
  state.SetLabel(shape.name);
  state.SetBytesProcessed(int64_t(bytes) * state.iterations());
}

BENCHMARK(BM_PluginDecode)->DenseRange(0, 1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadLoop)->DenseRange(0, 1)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sndfile)->DenseRange(0, 1)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

// Reads every file once, so that each benchmark finds them in the page cache and not the first
// one alone pays for the disk.
void WarmPageCache() {
  std::vector<char> buffer(1 << 20);
  for (const Shape& shape : kShapes) {
    const int fd = open(FileOf(shape).c_str(), O_RDONLY);
    while (fd >= 0 && read(fd, buffer.data(), buffer.size()) > 0) {}
    if (fd >= 0) close(fd);
  }
}

int main(int argc, char** argv) {
  MakeFiles();
  WarmPageCache();
  Host();
  using Ratio = tv::bench::RatioReporter::Ratio;
  return tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"plugin decode / read() loop, 16-bit stereo 44.1 kHz", "BM_PluginDecode/0/real_time", "BM_ReadLoop/0/real_time",
             ">= 0.9"},
       Ratio{"plugin decode / read() loop, 24-bit 6 ch 48 kHz", "BM_PluginDecode/1/real_time", "BM_ReadLoop/1/real_time",
             ">= 0.9"},
       Ratio{"plugin decode / libsndfile, 16-bit stereo 44.1 kHz", "BM_PluginDecode/0/real_time", "BM_Sndfile/0/real_time",
             "> 1"},
       Ratio{"plugin decode / libsndfile, 24-bit 6 ch 48 kHz", "BM_PluginDecode/1/real_time", "BM_Sndfile/1/real_time",
             "> 1"},
       Ratio{"libsndfile / read() loop, 16-bit stereo 44.1 kHz (peer's own figure)", "BM_Sndfile/0/real_time",
             "BM_ReadLoop/0/real_time", ""},
       Ratio{"libsndfile / read() loop, 24-bit 6 ch 48 kHz (peer's own figure)", "BM_Sndfile/1/real_time",
             "BM_ReadLoop/1/real_time", ""}});
}
