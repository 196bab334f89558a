#pragma once
// Shared set-up of the WAV tests: a host's log (lines recorded word for word) and file system,
// installed in this module's globals for the length of a test.

#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "file/filesystem.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "wav_audio_data.h"

namespace tv::test {

inline std::mutex g_wav_lines_mutex;
inline std::vector<std::pair<std::string, std::string>> g_wav_lines;  // (type, message)

inline void RecordWavLine(const std::string&, const std::string& message, const std::string& type,
                          const std::string&, uint32_t, bool) {
  std::lock_guard<std::mutex> lock(g_wav_lines_mutex);
  g_wav_lines.emplace_back(type, message);
}

class WavFixture : public ::testing::Test {
protected:
  void SetUp() override {
    g_wav_lines.clear();
    log_.print = &RecordWavLine;
    log_system = &log_;
    filesystem = &filesystem_;
  }
  void TearDown() override {
    log_system = nullptr;
    filesystem = nullptr;
  }

  bool Logged(const std::string& type, const std::string& message) const {
    for (const auto& line : g_wav_lines)
      if (line.first == type && line.second == message) return true;
    return false;
  }
  size_t CountComplaints() const {
    size_t count = 0;
    for (const auto& line : g_wav_lines) count += line.first == "warn" || line.first == "error" ? 1 : 0;
    return count;
  }

  LogSystem log_;
  Filesystem filesystem_;
};

struct DecodedStream {
  std::vector<uint8_t> bytes;
  std::vector<time_ns> frame_times;
  std::vector<uint32_t> frame_sizes;
};

// Drains a stream the way a consumer does: until IsEnded, or until an empty frame.
inline DecodedStream DecodeAll(AudioData& stream) {
  DecodedStream out;
  std::vector<uint8_t> buffer(stream.GetFrameSize());
  while (!stream.IsEnded()) {
    time_ns frame_time = -1;
    const uint32_t got = stream.GetFrame(buffer.data(), frame_time);
    if (got == 0) break;
    out.bytes.insert(out.bytes.end(), buffer.begin(), buffer.begin() + got);
    out.frame_times.push_back(frame_time);
    out.frame_sizes.push_back(got);
  }
  return out;
}

} // namespace tv::test
