#include "foundation/log_system.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "foundation/format.h"
#include "foundation/globals.h"
#include "foundation/timer_thread.h"

namespace tv {

void LogTail::Append(std::string_view text) {
  if (text.size() > kCapacity) text = text.substr(text.size() - kCapacity);
  const uint32_t n = uint32_t(text.size());
  const uint32_t room = kCapacity - size;
  if (n > room) {
    const uint32_t drop = n - room;
    std::memmove(buffer, buffer + drop, size - drop);
    size -= drop;
  }
  std::memcpy(buffer + size, text.data(), n);
  size += n;
  buffer[size] = '\0';
}

uint32_t LogLevelMask(const std::string& type) {
  if (type == "warn") return 2;
  if (type == "error") return 4;
  if (type == "debug") return 8;
  return 65535;
}

// "seconds:mmm:uuu:nnn", the text of format("%1:%2:%3:%4") with three padded groups, written
// digit by digit: it is built for every line.
std::string FormatLogTimestamp(time_ns since_start) {
  const bool negative = since_start < 0;
  uint64_t magnitude = negative ? 0 - uint64_t(since_start) : uint64_t(since_start);
  char buffer[40];
  char* p = buffer + sizeof(buffer);
  for (int group = 0; group < 3; ++group) {
    for (int digit = 0; digit < 3; ++digit) {
      *--p = char('0' + magnitude % 10);
      magnitude /= 10;
    }
    *--p = ':';
  }
  do {
    *--p = char('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  if (negative) *--p = '-';
  return std::string(p, buffer + sizeof(buffer));
}

std::string FormatLogLine(const std::string& timestamp, const std::string& message, const std::string& type,
                          const std::string& details, uint32_t filter, bool print_details) {
  std::string line;
  if ((filter & LogLevelMask(type)) == 0) return line;
  line.reserve(timestamp.size() + message.size() + type.size() + 8);
  line += "(";
  line += timestamp;
  line += ") ";
  if (!type.empty()) {
    line += type;
    line += ": ";
  }
  line += message;
  if (print_details && !details.empty()) {
    line += "\n  Details:\n";
    line += details;
  }
  line += "\n";
  return line;
}

void ConsolePrint(const std::string& timestamp, const std::string& message, const std::string& type,
                  const std::string& details, uint32_t filter, bool print_details) {
  const std::string line = FormatLogLine(timestamp, message, type, details, filter, print_details);
  if (line.empty()) return;
  std::fwrite(line.data(), 1, line.size(), stdout);
  std::fflush(stdout);
}

void DiscardLogLine(const std::string&, const std::string&, const std::string&, const std::string&, uint32_t, bool) {}

void LogSystem::Write(const std::string& message, const std::string& type, const std::string& details) {
  if (message.empty()) return;
  const std::string timestamp = FormatLogTimestamp(time_since_start());
  print(timestamp, message, type, details, filter.load(std::memory_order_relaxed),
        print_details.load(std::memory_order_relaxed));
  {
    std::lock_guard<std::mutex> lock(tail_mutex);
    tail.Append(message);
    tail.Append("\n");
  }
  {
    std::lock_guard<std::mutex> lock(queue_mutex);
    bool listening;
    {
      std::lock_guard<std::mutex> signal_lock(on_entries.mutex);
      listening = !on_entries.slots.empty();
    }
    // Entries written while nobody listens are lost to listeners.
    if (listening) queue.push_back(LogEntry{message, type, details});
  }
  // The flush timer is made once, by the first writer that finds a timer thread. A writer inside a
  // timer call leaves it to the next: the timer's mutex is held there.
  if (flush_timer.load() == -1 && timer_thread != nullptr && !timer_thread::in_timer_call()) {
    int32_t expected = -1;
    if (flush_timer.compare_exchange_strong(expected, -2))
      flush_timer.store(timer_thread->add_repeating([this] { Flush(); }, 5000000, 5000000));
  }
}

void LogSystem::Flush() {
  std::vector<LogEntry> entries;
  {
    std::lock_guard<std::mutex> lock(queue_mutex);
    entries.swap(queue);
  }
  on_entries.Emit(entries);
}

void LogSystem::Shutdown() {
  const int32_t timer = flush_timer.exchange(-1);
  if (timer >= 0 && timer_thread != nullptr) timer_thread->remove_repeating(timer);
  Flush();
  std::lock_guard<std::mutex> lock(queue_mutex);
  std::lock_guard<std::mutex> signal_lock(on_entries.mutex);
  on_entries.slots.clear();
  queue.clear();
}

std::string LogSystem::GetTail() {
  std::lock_guard<std::mutex> lock(tail_mutex);
  return std::string(tail.View());
}

} // namespace tv
