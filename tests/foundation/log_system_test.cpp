#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "foundation/globals.h"
#include "foundation/log.h"
#include "foundation/log_system.h"
#include "foundation/timer_thread.h"

namespace {

struct PrintCall {
  std::string timestamp, message, type, details;
  uint32_t filter;
  bool print_details;
  std::string line;  // what the console would have shown
};
// `print` is a plain function pointer, so the capture has to live in a global.
std::vector<PrintCall> g_print_calls;

void CapturePrint(const std::string& timestamp, const std::string& message, const std::string& type,
                  const std::string& details, uint32_t filter, bool print_details) {
  g_print_calls.push_back({timestamp, message, type, details, filter, print_details,
                           tv::FormatLogLine(timestamp, message, type, details, filter, print_details)});
}

void SilentPrint(const std::string&, const std::string&, const std::string&, const std::string&, uint32_t, bool) {}

class LogSystemTest : public ::testing::Test {
protected:
  void SetUp() override {
    g_print_calls.clear();
    system.print = &CapturePrint;
  }
  void TearDown() override {
    tv::log_system = nullptr;
    tv::timer_thread = nullptr;
  }

  // Connects a listener that keeps every delivered entry as "message|type|details".
  void Listen() {
    system.on_entries.Connect([this](const std::vector<tv::LogEntry>& entries) {
      ++batches;
      for (const tv::LogEntry& e : entries) received.push_back(e.message + "|" + e.type + "|" + e.details);
    });
  }

  tv::LogSystem system;
  std::vector<std::string> received;
  int batches = 0;
};

// Level masks, the timestamp's digit groups, and the line layout including a filter that blocks it.
TEST(LogFormat, MasksTimestampsAndLines) {
  EXPECT_EQ(tv::LogLevelMask("warn"), 2u);
  EXPECT_EQ(tv::LogLevelMask("error"), 4u);
  EXPECT_EQ(tv::LogLevelMask("debug"), 8u);
  EXPECT_EQ(tv::LogLevelMask("info"), 65535u);
  EXPECT_EQ(tv::LogLevelMask(""), 65535u);
  EXPECT_EQ(tv::FormatLogTimestamp(12034005600), "12:034:005:600");
  EXPECT_EQ(tv::FormatLogTimestamp(0), "0:000:000:000");
  EXPECT_EQ(tv::FormatLogTimestamp(1000000001), "1:000:000:001");
  EXPECT_EQ(tv::FormatLogTimestamp(999999999), "0:999:999:999");
  const struct {
    const char* type;
    const char* details;
    uint32_t filter;
    bool print_details;
    const char* line;
  } cases[] = {
      {"", "", 65535, false, "(t) hi\n"},
      {"warn", "more", 2, false, "(t) warn: hi\n"},
      {"error", "more", 4, true, "(t) error: hi\n  Details:\nmore\n"},
      {"warn", "", 2, true, "(t) warn: hi\n"},
      {"debug", "", 6, false, ""},
      {"", "", 0, false, ""},
      {"warn", "", 4, false, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    EXPECT_EQ(tv::FormatLogLine("t", "hi", c.type, c.details, c.filter, c.print_details), c.line);
  }
  ::testing::internal::CaptureStdout();
  tv::ConsolePrint("t", "shown", "error", "d", 4, true);
  tv::ConsolePrint("t", "hidden", "debug", "", 6, false);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "(t) error: shown\n  Details:\nd\n");
}

// The tail keeps the last 8192 bytes, dropping the oldest, and stays NUL-terminated.
TEST_F(LogSystemTest, TailKeepsTheLast8192Bytes) {
  std::string message(10000, ' ');
  for (size_t i = 0; i < message.size(); ++i) message[i] = char('a' + i % 26);
  system.Write(message, "", "");
  EXPECT_EQ(system.GetTail(), message.substr(10000 - 8191) + "\n");
  EXPECT_EQ(std::strlen(system.tail.buffer), 8192u);

  tv::LogSystem many;
  many.print = &SilentPrint;
  std::string all;
  for (int i = 0; i < 400; ++i) {
    const std::string text = "message " + std::to_string(i) + std::string(size_t(i % 37), '#');
    many.Write(text, "", "");
    all += text + "\n";
    ASSERT_EQ(many.GetTail(), all.size() > 8192 ? all.substr(all.size() - 8192) : all) << "after message " << i;
    ASSERT_EQ(std::strlen(many.tail.buffer), many.tail.size);
  }
}

// Print gets each entry with the filter and details setting (filter 0 silences the line but not the
// tail or listeners); entries queue only for a listener and reach it at Flush, in order, once, on
// the flushing thread; an empty message does nothing.
TEST_F(LogSystemTest, PrintQueueAndFlush) {
  system.Write("nobody listens", "warn", "");
  EXPECT_TRUE(system.queue.empty());
  system.SetLogFilter(4);
  system.SetLogDetails(true);
  system.Write("broken", "error", "why");
  ASSERT_EQ(g_print_calls.size(), 2u);
  const PrintCall& call = g_print_calls[1];
  EXPECT_EQ(call.message + "|" + call.type + "|" + call.details, "broken|error|why");
  EXPECT_EQ(call.filter, 4u);
  EXPECT_EQ(call.line, "(" + call.timestamp + ") error: broken\n  Details:\nwhy\n");

  std::thread::id delivered_on;
  system.on_entries.Connect([&](const std::vector<tv::LogEntry>&) { delivered_on = std::this_thread::get_id(); });
  Listen();
  system.Flush();  // an empty queue is still delivered
  EXPECT_EQ(batches, 1);
  system.SetLogFilter(0);
  system.Write("quiet", "error", "d1");
  system.Write("", "error", "details");
  system.Write("two", "", "");
  EXPECT_EQ(g_print_calls.back().line, "");
  EXPECT_EQ(g_print_calls.size(), 4u);
  EXPECT_EQ(system.GetTail(), "nobody listens\nbroken\nquiet\ntwo\n");
  EXPECT_TRUE(received.empty());  // nothing is delivered before a flush

  std::thread flusher([&] { system.Flush(); });
  const std::thread::id flusher_id = flusher.get_id();
  flusher.join();
  EXPECT_EQ(delivered_on, flusher_id);
  EXPECT_EQ(received, (std::vector<std::string>{"quiet|error|d1", "two||"}));
  system.Flush();
  EXPECT_EQ(received.size(), 2u);
}

// The global calls write their type through the global log system, and do nothing without one.
TEST_F(LogSystemTest, GlobalCalls) {
  tv::log("lost");
  tv::error("lost");
  EXPECT_TRUE(g_print_calls.empty());
  Listen();
  tv::log_system = &system;
  tv::log("plain", "custom", "d0");
  tv::log("default");
  tv::warn("w", "d1");
  tv::error("e");
  tv::debug("g", "d3");
  system.Flush();
  EXPECT_EQ(received, (std::vector<std::string>{"plain|custom|d0", "default||", "w|warn|d1", "e|error|", "g|debug|d3"}));
}

// Flushing while several threads write neither loses nor repeats an entry nor reorders one thread's.
TEST_F(LogSystemTest, ConcurrentWritersEachEntryArrivesOnceInThreadOrder) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 2000;
  system.print = &SilentPrint;  // the capture is not thread safe
  Listen();
  std::vector<std::thread> writers;
  for (int t = 0; t < kThreads; ++t)
    writers.emplace_back([this, t] {
      for (int i = 0; i < kMessages; ++i) system.Write(std::to_string(t) + ":" + std::to_string(i), "", "");
    });
  for (int i = 0; i < 50; ++i) system.Flush();
  for (auto& writer : writers) writer.join();
  system.Flush();

  ASSERT_EQ(received.size(), size_t(kThreads * kMessages));
  std::vector<int> next(kThreads, 0);
  for (const std::string& entry : received) {
    const size_t colon = entry.find(':');
    const int thread = std::stoi(entry.substr(0, colon));
    ASSERT_EQ(std::stoi(entry.substr(colon + 1)), next[size_t(thread)]++) << "thread " << thread;
  }
}

// With a timer thread, listeners get their entries on it without anybody flushing; Shutdown flushes
// once more and lets go of the listeners and the timer. A first line written from inside a timer
// call must not add the flush timer under the timer's lock: the next line does.
TEST_F(LogSystemTest, TimerFlushesToListenersUntilShutdown) {
  class tv::timer_thread timer("Timer");  // "class": the global pointer has the same name
  tv::timer_thread = &timer;
  timer.add_delayed([&] { system.Write("from a timer call", "", ""); }, 0);
  timer.advance(0);
  EXPECT_EQ(system.flush_timer.load(), -1);
  std::mutex m;
  std::vector<std::string> seen;
  std::set<std::thread::id> threads;
  system.on_entries.Connect([&](const std::vector<tv::LogEntry>& entries) {
    std::lock_guard<std::mutex> lock(m);
    for (const tv::LogEntry& entry : entries) seen.push_back(entry.message);
    threads.insert(std::this_thread::get_id());
  });
  system.Write("one", "", "");
  EXPECT_EQ(system.flush_timer.load(), 0);
  system.Write("two", "", "");
  timer.start(1000000);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (bool done = false; !done && std::chrono::steady_clock::now() < deadline;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    std::lock_guard<std::mutex> lock(m);
    done = seen.size() == 2;
  }
  {
    std::lock_guard<std::mutex> lock(m);
    EXPECT_EQ(seen, (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(threads.count(std::this_thread::get_id()), 0u);
  }
  system.Write("three", "", "");
  system.Shutdown();
  EXPECT_EQ(system.flush_timer.load(), -1);
  EXPECT_TRUE(timer.repeating.empty());
  EXPECT_EQ(system.on_entries.GetSlotCount(), 0u);
  {
    std::lock_guard<std::mutex> lock(m);
    EXPECT_EQ(seen.back(), "three");
  }
  timer.stop();
}

} // namespace
