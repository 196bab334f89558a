#pragma once
// Records every log line as (type, message) so that tests can compare them word for word.

#include <gtest/gtest.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "foundation/globals.h"
#include "foundation/log_system.h"

namespace tv_test {

using LogLine = std::pair<std::string, std::string>;  // (type, message)

inline std::mutex g_log_mutex;
inline std::vector<LogLine> g_log_lines;

inline void RecordLogLine(const std::string&, const std::string& message, const std::string& type,
                          const std::string&, uint32_t, bool) {
  std::lock_guard<std::mutex> lock(g_log_mutex);
  g_log_lines.emplace_back(type, message);
}

// The lines recorded so far, which are then forgotten.
inline std::vector<LogLine> TakeLog() {
  std::lock_guard<std::mutex> lock(g_log_mutex);
  return std::exchange(g_log_lines, {});
}

// Fixture that installs a recording log system for the duration of one test.
class LogCaptureTest : public ::testing::Test {
protected:
  void SetUp() override {
    TakeLog();
    recorder.print = &RecordLogLine;
    tv::log_system = &recorder;
  }
  void TearDown() override {
    tv::log_system = nullptr;
    TakeLog();
  }

  tv::LogSystem recorder;
};

} // namespace tv_test
