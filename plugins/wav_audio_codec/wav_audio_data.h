#pragma once
// A WAV (RIFF, integer PCM) file as an audio stream. Open reads the headers only, walking the
// chunks by seeking over their payloads; GetFrame then hands out up to one second of samples per
// call, exactly as they lie in the file. Opened through the module's `filesystem`.

#include <memory>

#include "audio/audio_data.h"
#include "file/file_handle.h"

namespace tv {

class WAVAudioData : public AudioData {
public:
  AudioFormat GetFormat() override;
  bool Open(const std::string& path) override;
  void Close() override;
  int IsEnded() override;
  bool Seek(time_ns t) override;
  uint32_t GetFrame(void* buffer, time_ns& frame_time) override;
  uint32_t GetFrameSize() override;
  uint32_t GetDataSize() override;

  std::shared_ptr<FileHandle> handle;
  uint32_t data_offset = 0;  // position of the first sample byte in the file
  uint32_t data_size = 0;    // bytes of samples, as the header claims them
  // Kept as is when the file has no "fmt " chunk.
  AudioFormat format{0, 2, 48000, 16, 0};

private:
  bool SkipForward(uint32_t count);
};

} // namespace tv
