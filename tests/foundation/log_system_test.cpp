#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
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

void SilentPrint(const std::string&, const std::string&, const std::string&, const std::string&, uint32_t,
                 bool) {}

class LogSystemTest : public ::testing::Test {
protected:
  void SetUp() override {
    g_print_calls.clear();
    system.print = &CapturePrint;
  }
  void TearDown() override { tv::log_system = nullptr; }

  // Connects a listener that keeps every delivered entry.
  void Listen() {
    system.on_entries.Connect([this](const std::vector<tv::LogEntry>& entries) {
      ++batches;
      received.insert(received.end(), entries.begin(), entries.end());
    });
  }

  tv::LogSystem system;
  std::vector<tv::LogEntry> received;
  int batches = 0;
};

TEST(LogFormat, LevelMaskOfType) {
  EXPECT_EQ(tv::LogLevelMask("warn"), 2u);
  EXPECT_EQ(tv::LogLevelMask("error"), 4u);
  EXPECT_EQ(tv::LogLevelMask("debug"), 8u);
  EXPECT_EQ(tv::LogLevelMask("info"), 65535u);
  EXPECT_EQ(tv::LogLevelMask(""), 65535u);
}

TEST(LogFormat, TimestampIsSecondsThenThreeDigitGroups) {
  EXPECT_EQ(tv::FormatLogTimestamp(12034005600), "12:034:005:600");
  EXPECT_EQ(tv::FormatLogTimestamp(0), "0:000:000:000");
  EXPECT_EQ(tv::FormatLogTimestamp(1000000001), "1:000:000:001");
  EXPECT_EQ(tv::FormatLogTimestamp(999999999), "0:999:999:999");
}

TEST(LogFormat, LineLayout) {
  EXPECT_EQ(tv::FormatLogLine("1:000:000:000", "hi", "", "", 65535, false), "(1:000:000:000) hi\n");
  EXPECT_EQ(tv::FormatLogLine("t", "hi", "warn", "more", 2, false), "(t) warn: hi\n");
  EXPECT_EQ(tv::FormatLogLine("t", "hi", "error", "more", 4, true), "(t) error: hi\n  Details:\nmore\n");
  EXPECT_EQ(tv::FormatLogLine("t", "hi", "warn", "", 2, true), "(t) warn: hi\n");
}

TEST(LogFormat, LineIsEmptyWhenTheFilterBlocksTheLevel) {
  EXPECT_EQ(tv::FormatLogLine("t", "hi", "debug", "", 6, false), "");
  EXPECT_EQ(tv::FormatLogLine("t", "hi", "", "", 0, false), "");
  EXPECT_EQ(tv::FormatLogLine("t", "hi", "warn", "", 4, false), "");
}

TEST(LogFormat, ConsolePrintWritesTheLineToStandardOutput) {
  ::testing::internal::CaptureStdout();
  tv::ConsolePrint("t", "shown", "error", "d", 4, true);
  tv::ConsolePrint("t", "hidden", "debug", "", 6, false);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "(t) error: shown\n  Details:\nd\n");
}

TEST_F(LogSystemTest, TailKeepsTheLast8192BytesAndStaysTerminated) {
  std::string message(10000, ' ');
  for (size_t i = 0; i < message.size(); ++i) message[i] = char('a' + i % 26);
  system.Write(message, "", "");

  EXPECT_EQ(system.GetTail(), message.substr(10000 - 8191) + "\n");
  EXPECT_EQ(system.tail.size, 8192u);
  EXPECT_EQ(std::strlen(system.tail.buffer), system.tail.size);
}

TEST_F(LogSystemTest, TailDropsOldestBytesAcrossManyWrites) {
  std::string all;
  for (int i = 0; i < 400; ++i) {
    const std::string message = "message " + std::to_string(i) + std::string(size_t(i % 37), '#');
    system.Write(message, "", "");
    all += message + "\n";
    const std::string expected = all.size() > 8192 ? all.substr(all.size() - 8192) : all;
    ASSERT_EQ(system.GetTail(), expected) << "after message " << i;
    ASSERT_EQ(std::strlen(system.tail.buffer), system.tail.size);
  }
  EXPECT_GT(all.size(), 8192u);
}

TEST_F(LogSystemTest, EntriesWithoutListenerAreNotQueued) {
  system.Write("nobody listens", "warn", "");
  EXPECT_TRUE(system.queue.empty());
  EXPECT_EQ(system.GetTail(), "nobody listens\n");
  ASSERT_EQ(g_print_calls.size(), 1u);
}

TEST_F(LogSystemTest, FlushDeliversQueuedEntriesInOrderOnTheCallingThread) {
  std::thread::id delivered_on;
  system.on_entries.Connect([&](const std::vector<tv::LogEntry>&) { delivered_on = std::this_thread::get_id(); });
  Listen();
  system.Write("one", "", "d1");
  system.Write("two", "error", "d2");
  EXPECT_EQ(system.queue.size(), 2u);
  EXPECT_TRUE(received.empty());  // nothing is delivered before a flush

  std::thread flusher([&] { system.Flush(); });
  const std::thread::id flusher_id = flusher.get_id();
  flusher.join();

  EXPECT_EQ(delivered_on, flusher_id);
  ASSERT_EQ(received.size(), 2u);
  EXPECT_EQ(received[0].message + "|" + received[0].type + "|" + received[0].details, "one||d1");
  EXPECT_EQ(received[1].message + "|" + received[1].type + "|" + received[1].details, "two|error|d2");
  EXPECT_TRUE(system.queue.empty());
  system.Flush();  // delivered entries are not repeated
  EXPECT_EQ(received.size(), 2u);
}

TEST_F(LogSystemTest, FlushEmitsEvenWhenTheQueueIsEmpty) {
  Listen();
  system.Flush();
  EXPECT_EQ(batches, 1);
  EXPECT_TRUE(received.empty());
}

TEST_F(LogSystemTest, FilterZeroSilencesPrintButNotTailOrListeners) {
  Listen();
  system.SetLogFilter(0);
  system.Write("quiet", "error", "");
  ASSERT_EQ(g_print_calls.size(), 1u);
  EXPECT_EQ(g_print_calls[0].filter, 0u);
  EXPECT_EQ(g_print_calls[0].line, "");
  EXPECT_EQ(system.GetTail(), "quiet\n");
  system.Flush();
  ASSERT_EQ(received.size(), 1u);
  EXPECT_EQ(received[0].message, "quiet");
}

TEST_F(LogSystemTest, PrintGetsTheEntryWithFilterAndDetailsSetting) {
  system.SetLogFilter(4);
  system.SetLogDetails(true);
  system.Write("broken", "error", "why");
  ASSERT_EQ(g_print_calls.size(), 1u);
  const PrintCall& call = g_print_calls[0];
  EXPECT_EQ(call.message, "broken");
  EXPECT_EQ(call.type, "error");
  EXPECT_EQ(call.details, "why");
  EXPECT_EQ(call.filter, 4u);
  EXPECT_TRUE(call.print_details);
  EXPECT_EQ(call.line, "(" + call.timestamp + ") error: broken\n  Details:\nwhy\n");
}

TEST_F(LogSystemTest, EmptyMessageDoesNothing) {
  Listen();
  system.Write("", "error", "details");
  EXPECT_TRUE(g_print_calls.empty());
  EXPECT_EQ(system.GetTail(), "");
  EXPECT_TRUE(system.queue.empty());
}

TEST_F(LogSystemTest, GlobalCallsWriteTheirTypeThroughTheGlobalLogSystem) {
  Listen();
  tv::log_system = &system;
  tv::log("plain", "custom", "d0");
  tv::log("default");
  tv::warn("w", "d1");
  tv::error("e");
  tv::debug("g", "d3");
  system.Flush();
  std::vector<std::string> seen;
  for (const tv::LogEntry& entry : received) seen.push_back(entry.message + "|" + entry.type + "|" + entry.details);
  EXPECT_EQ(seen, (std::vector<std::string>{"plain|custom|d0", "default||", "w|warn|d1", "e|error|", "g|debug|d3"}));
}

TEST_F(LogSystemTest, GlobalCallsWithoutLogSystemDoNothing) {
  tv::log_system = nullptr;
  tv::log("lost");
  tv::warn("lost");
  tv::error("lost");
  tv::debug("lost");
  EXPECT_TRUE(g_print_calls.empty());
  EXPECT_EQ(system.GetTail(), "");
}

TEST_F(LogSystemTest, ConcurrentWritersEachEntryArrivesOnceInThreadOrder) {
  constexpr int kThreads = 4;
  constexpr int kMessages = 2000;
  system.print = &SilentPrint;  // the capture is not thread safe
  Listen();

  std::vector<std::thread> writers;
  for (int t = 0; t < kThreads; ++t) {
    writers.emplace_back([this, t] {
      for (int i = 0; i < kMessages; ++i) system.Write(std::to_string(t) + ":" + std::to_string(i), "", "");
    });
  }
  // Flushing while writers run must neither lose nor repeat entries.
  for (int i = 0; i < 50; ++i) system.Flush();
  for (auto& writer : writers) writer.join();
  system.Flush();

  ASSERT_EQ(received.size(), size_t(kThreads * kMessages));
  std::vector<int> next(kThreads, 0);
  for (const tv::LogEntry& entry : received) {
    const size_t colon = entry.message.find(':');
    ASSERT_NE(colon, std::string::npos);
    const int thread = std::stoi(entry.message.substr(0, colon));
    const int index = std::stoi(entry.message.substr(colon + 1));
    ASSERT_EQ(index, next[size_t(thread)]) << "thread " << thread;
    ++next[size_t(thread)];
  }
  EXPECT_EQ(next, std::vector<int>(kThreads, kMessages));
}

} // namespace

// With a timer thread, listeners get their entries in batches on it without anybody flushing;
// Shutdown flushes once more and then lets go of the listeners.
TEST_F(LogSystemTest, TimerFlushesToListenersUntilShutdown) {
  class tv::timer_thread timer("Timer");  // "class": the global pointer has the same name
  tv::timer_thread = &timer;
  timer.start(1000000);
  std::mutex m;
  std::vector<std::string> seen;
  std::set<std::thread::id> threads;
  system.on_entries.Connect([&](const std::vector<tv::LogEntry>& entries) {
    std::lock_guard<std::mutex> lock(m);
    for (const tv::LogEntry& entry : entries) seen.push_back(entry.message);
    threads.insert(std::this_thread::get_id());
  });
  system.Write("one", "", "");
  system.Write("two", "", "");
  EXPECT_GE(system.flush_timer.load(), 0);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  for (;;) {
    {
      std::lock_guard<std::mutex> lock(m);
      if (seen.size() == 2 || std::chrono::steady_clock::now() > deadline) break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
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
  tv::timer_thread = nullptr;
}

// A first line written from inside a timer call must not try to add a timer under the timer's lock.
TEST_F(LogSystemTest, FirstLineFromATimerCallLeavesTheTimerToLater) {
  class tv::timer_thread timer("Timer");  // "class": the global pointer has the same name
  tv::timer_thread = &timer;
  timer.add_delayed([&] { system.Write("from a timer call", "", ""); }, 0);
  timer.advance(0);
  EXPECT_EQ(system.flush_timer.load(), -1);
  system.Write("from elsewhere", "", "");
  EXPECT_EQ(system.flush_timer.load(), 0);
  system.Shutdown();
  tv::timer_thread = nullptr;
}
