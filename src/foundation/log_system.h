#pragma once
// The process's log: prints each entry at once, keeps the newest 8 KiB of text for crash reports,
// and queues entries for listeners, which get them in batches from a flush.
//
// Write() may be called from any thread. `print` runs on the writing thread without a lock.

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "foundation/clock.h"
#include "foundation/signal.h"

namespace tv {

struct LogEntry {
  std::string message;
  std::string type;
  std::string details;
};

// The newest text written, always a terminated C string, so that a crash handler can read it
// without taking a lock.
struct LogTail {
  static constexpr uint32_t kCapacity = 8192;

  // Appends `text`; when it does not fit, the oldest bytes are dropped. Of a text longer than the
  // capacity only its last kCapacity bytes are kept.
  void Append(std::string_view text);
  std::string_view View() const { return std::string_view(buffer, size); }

  char buffer[kCapacity + 1] = {};
  uint32_t size = 0;
};

using LogPrintFunction = void (*)(const std::string& timestamp, const std::string& message,
                                  const std::string& type, const std::string& details, uint32_t filter,
                                  bool print_details);

// Level mask of a type text: "warn" 2, "error" 4, "debug" 8, anything else (and "") 65535.
uint32_t LogLevelMask(const std::string& type);

// "seconds:mmm:uuu:nnn", for example "12:034:005:600".
std::string FormatLogTimestamp(time_ns since_start);

// The console line of an entry, line end included; empty when `filter` doesn't let its level through.
std::string FormatLogLine(const std::string& timestamp, const std::string& message, const std::string& type,
                          const std::string& details, uint32_t filter, bool print_details);

// The initial `print`: one line on standard output when `filter` lets the level through.
void ConsolePrint(const std::string& timestamp, const std::string& message, const std::string& type,
                  const std::string& details, uint32_t filter, bool print_details);

// A `print` that prints nothing, for hosts that keep the console to themselves (tail and listeners
// still get every entry).
void DiscardLogLine(const std::string& timestamp, const std::string& message, const std::string& type,
                    const std::string& details, uint32_t filter, bool print_details);

class LogSystem {
public:
  LogSystem() = default;
  LogSystem(const LogSystem&) = delete;
  LogSystem& operator=(const LogSystem&) = delete;

  // An empty message does nothing at all.
  void Write(const std::string& message, const std::string& type, const std::string& details);

  void SetLogFilter(uint32_t mask) { filter.store(mask, std::memory_order_relaxed); }
  void SetLogDetails(bool on) { print_details.store(on, std::memory_order_relaxed); }

  // Hands the queued entries to the listeners on the calling thread (emits even when empty).
  // The timer thread calls it every 5 ms once the first entry is written.
  void Flush();
  // Stops the log: cancels the flush timer, flushes once more, then disconnects every listener
  // and drops what is queued.
  void Shutdown();

  // Copy of the tail text, taken under its lock.
  std::string GetTail();

  LogPrintFunction print = &ConsolePrint;
  Signal<void(const std::vector<LogEntry>&)> on_entries;
  std::mutex queue_mutex;
  std::vector<LogEntry> queue;
  std::mutex tail_mutex;
  LogTail tail;
  std::atomic<uint32_t> filter{6};
  std::atomic<bool> print_details{false};
  // Id of the repeating flush timer on the `timer_thread` global; -1 while none runs (without a
  // timer thread, listeners get entries only through Flush()).
  std::atomic<int32_t> flush_timer{-1};
};

} // namespace tv
