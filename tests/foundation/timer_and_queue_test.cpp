// The timer thread's rounds and the cross-thread call queue.

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/call_queue.h"
#include "foundation/timer_thread.h"

namespace tv {
namespace {

constexpr time_ns kMs = 1000000;

// A repeating timer that fell behind catches up, period by period; delayed calls run once when due;
// removing a timer shifts the ids of later ones.
TEST(TimerThread, RoundsRunWhatIsDue) {
  timer_thread timer("Timer");
  std::vector<int> calls;
  EXPECT_EQ(timer.add_repeating([&] { calls.push_back(0); }, 5 * kMs, 5 * kMs), 0);
  EXPECT_EQ(timer.add_repeating([&] { calls.push_back(9); }, kMs, kMs), 1);
  timer.remove_repeating(1);
  timer.add_repeating([&] { calls.push_back(1); }, 20 * kMs, 20 * kMs);
  timer.remove_repeating(0);
  timer.add_delayed([&] { calls.push_back(3); }, 10 * kMs);
  timer.add_delayed([&] { calls.push_back(2); }, 4 * kMs);
  timer.advance(5 * kMs);
  EXPECT_EQ(calls, std::vector<int>{2});
  timer.advance(5 * kMs);
  EXPECT_EQ(calls, (std::vector<int>{2, 3}));
  EXPECT_TRUE(timer.delayed.empty());
  // A stall of 70 ms: four periods are due, and run in a row.
  timer.advance(70 * kMs);
  EXPECT_EQ(calls, (std::vector<int>{2, 3, 1, 1, 1, 1}));
  EXPECT_EQ(timer.repeating[0].remaining, 20 * kMs);
}

TEST(TimerThread, RunsCallsOnItsNamedThread) {
  timer_thread timer("Timer");
  std::atomic<int> calls{0};
  std::string name;
  std::mutex m;
  timer.add_repeating(
      [&] {
        char buffer[16] = {};
        pthread_getname_np(pthread_self(), buffer, sizeof(buffer));
        std::lock_guard<std::mutex> lock(m);
        name = buffer;
        ++calls;
      },
      kMs, 0);
  timer.start(kMs / 2);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (calls.load() < 3 && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  timer.stop();
  EXPECT_GE(calls.load(), 3);
  std::lock_guard<std::mutex> lock(m);
  EXPECT_EQ(name, "Timer");
  EXPECT_TRUE(timer.repeating.empty());
}

// Process runs calls queued from any thread on the processing thread, including calls queued by
// calls of the same Process, each once.
TEST(CallQueue, ProcessRunsEveryQueuedCallOnce) {
  call_queue_mt queue;
  std::vector<int> order;
  queue.Queue([&] {
    order.push_back(1);
    queue.Queue([&] { order.push_back(3); });
  });
  queue.Queue([&] { order.push_back(2); });
  queue.Process();
  queue.Process();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));

  std::atomic<int> ran{0};
  const std::thread::id processor = std::this_thread::get_id();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) queue.Queue([&] { ran += std::this_thread::get_id() == processor ? 1 : 1000000; });
    });
  for (std::thread& thread : threads) thread.join();
  queue.Process();
  EXPECT_EQ(ran.load(), 4000);
}

TEST(MainThread, OnlyTheMainThreadProcessesItsCalls) {
  SetMainThread(std::this_thread::get_id());
  EXPECT_TRUE(IsMainThread());
  int ran = 0;
  PostToMainThread([&] { ++ran; });
  std::thread other([&] {
    EXPECT_FALSE(IsMainThread());
    ProcessMainThreadCalls();
  });
  other.join();
  EXPECT_EQ(ran, 0);
  ProcessMainThreadCalls();
  EXPECT_EQ(ran, 1);
}

} // namespace
} // namespace tv
