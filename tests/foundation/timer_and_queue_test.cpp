// The timer thread's rounds and the cross-thread call queue.

#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "foundation/call_queue.h"
#include "foundation/timer_thread.h"

namespace tv {
namespace {

constexpr time_ns kMs = 1000000;

TEST(TimerThread, ARepeatingTimerThatFellBehindCatchesUp) {
  timer_thread timer("Timer");
  int calls = 0;
  timer.add_repeating([&] { ++calls; }, 5 * kMs, 5 * kMs);
  timer.advance(2 * kMs);
  EXPECT_EQ(calls, 0);
  timer.advance(3 * kMs);
  EXPECT_EQ(calls, 1);
  // A stall of 20 ms: four periods are due, and run in a row.
  timer.advance(20 * kMs);
  EXPECT_EQ(calls, 5);
  EXPECT_EQ(timer.repeating[0].remaining, 5 * kMs);
}

TEST(TimerThread, DelayedCallsRunOnceWhenDue) {
  timer_thread timer("Timer");
  std::vector<int> order;
  timer.add_delayed([&] { order.push_back(1); }, 10 * kMs);
  timer.add_delayed([&] { order.push_back(2); }, 4 * kMs);
  timer.advance(5 * kMs);
  EXPECT_EQ(order, std::vector<int>{2});
  timer.advance(5 * kMs);
  timer.advance(50 * kMs);
  EXPECT_EQ(order, (std::vector<int>{2, 1}));
  EXPECT_TRUE(timer.delayed.empty());
}

TEST(TimerThread, RemovingATimerShiftsLaterIds) {
  timer_thread timer("Timer");
  int a = 0, b = 0;
  EXPECT_EQ(timer.add_repeating([&] { ++a; }, kMs, kMs), 0);
  EXPECT_EQ(timer.add_repeating([&] { ++b; }, kMs, kMs), 1);
  timer.remove_repeating(0);
  timer.advance(kMs);
  EXPECT_EQ(a, 0);
  EXPECT_EQ(b, 1);
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
  while (calls.load() < 3 && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  timer.stop();
  EXPECT_GE(calls.load(), 3);
  std::lock_guard<std::mutex> lock(m);
  EXPECT_EQ(name, "Timer");
  EXPECT_TRUE(timer.repeating.empty());
}

TEST(CallQueue, ProcessRunsCallsQueuedByCallsInTheSameProcess) {
  call_queue_mt queue;
  std::vector<int> order;
  queue.Queue([&] {
    order.push_back(1);
    queue.Queue([&] { order.push_back(3); });
  });
  queue.Queue([&] { order.push_back(2); });
  queue.Process();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
  queue.Process();
  EXPECT_EQ(order.size(), 3u);
}

TEST(CallQueue, CallsFromManyThreadsAllRunOnTheProcessingThread) {
  call_queue_mt queue;
  std::atomic<int> ran{0};
  const std::thread::id processor = std::this_thread::get_id();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) queue.Queue([&] {
          EXPECT_EQ(std::this_thread::get_id(), processor);
          ++ran;
        });
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
