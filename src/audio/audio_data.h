#pragma once
// A decoded audio stream: raw frames in the file's own sample layout, with seek.
// Driven by one consumer: GetFormat, then GetFrame until IsEnded, Seek in between as wanted.
// The order of the virtual operations is part of the module contract: keep it.

#include <cstdint>
#include <string>

#include "foundation/clock.h"

namespace tv {

struct AudioFormat {
  uint8_t encoding = 0;  // 0: integer PCM, the only value in use
  uint8_t channels = 0;
  uint32_t frequency = 0;  // sample frames per second
  uint8_t resolution = 0;  // bits per sample
  uint8_t sample_type = 0;
};

class AudioData {
public:
  virtual ~AudioData() = default;
  virtual AudioFormat GetFormat() = 0;
  virtual bool Open(const std::string& path) = 0;
  virtual void Close() = 0;
  // 1 at or past the end of the samples, else 0.
  virtual int IsEnded() = 0;
  virtual bool Seek(time_ns t) = 0;
  // Writes at most GetFrameSize() bytes into `buffer` and sets `frame_time` to the time of the
  // first sample written. Returns the count of bytes written; 0 at the end.
  virtual uint32_t GetFrame(void* buffer, time_ns& frame_time) = 0;
  virtual uint32_t GetFrameSize() = 0;
  virtual void SetOption(uint32_t) {}
  // Bytes of sample data.
  virtual uint32_t GetDataSize() { return 0; }
};

} // namespace tv
