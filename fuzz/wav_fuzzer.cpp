// Arbitrary bytes as a WAV file: open, decode, seek and decode again, all through the file system.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "file/filesystem.h"
#include "file/memory_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "wav_audio_codec.h"

namespace {

struct Services {
  Services() {
    log.print = &tv::DiscardLogLine;
    tv::log_system = &log;
    tv::filesystem = &files;
    files.Mount(memory);
  }
  tv::LogSystem log;
  tv::Filesystem files;
  std::shared_ptr<tv::MemoryFileDriver> memory = std::make_shared<tv::MemoryFileDriver>();
};

// A frame is one second of audio; a hostile header can claim gigabytes. Decode only what a real
// consumer could hold.
constexpr uint32_t kLargestFrame = 8u << 20;

void Drain(tv::AudioData& stream, std::vector<uint8_t>& buffer, int frames) {
  for (int i = 0; i < frames && !stream.IsEnded(); ++i) {
    tv::time_ns frame_time = 0;
    if (stream.GetFrame(buffer.data(), frame_time) == 0) break;
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static Services services;
  services.memory->Delete("in.wav");
  if (!services.files.DataToFile("in.wav", data, uint32_t(size)) && size != 0) return 0;

  tv::WAVAudioCodec codec;
  std::shared_ptr<tv::AudioData> stream = codec.Open("in.wav");
  if (!stream) return 0;
  stream->GetFormat();
  stream->GetDataSize();
  const uint32_t frame_size = stream->GetFrameSize();
  if (frame_size == 0 || frame_size > kLargestFrame) return 0;
  std::vector<uint8_t> buffer(frame_size);
  Drain(*stream, buffer, 16);

  // Seek to times taken from the input itself, including negative and huge ones.
  int64_t t = 0;
  std::memcpy(&t, data + (size >= 8 ? size - 8 : 0), size >= 8 ? 8 : 0);
  for (const int64_t when : {t, -t, t / 3, int64_t(0)}) {
    stream->Seek(when);
    Drain(*stream, buffer, 2);
  }
  stream->Close();
  stream->IsEnded();
  return 0;
}
