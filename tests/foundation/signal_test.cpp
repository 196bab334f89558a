#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "foundation/signal.h"

namespace {

using IntSignal = tv::Signal<void(int)>;

TEST(Signal, CallsSlotsInConnectionOrderWithTheArguments) {
  tv::Signal<void(int, const std::string&)> signal;
  std::vector<std::string> calls;
  for (const char* name : {"a", "b", "c"})
    signal.Connect([&calls, name](int n, const std::string& s) { calls.push_back(name + std::to_string(n) + s); });
  EXPECT_EQ(signal.GetSlotCount(), 3u);
  signal.Emit(7, std::string("x"));
  EXPECT_EQ(calls, (std::vector<std::string>{"a7x", "b7x", "c7x"}));
}

TEST(Signal, DisconnectRemovesOnlyThatSlotAndRepeatingItIsHarmless) {
  IntSignal signal;
  std::vector<int> calls;
  signal.Connect([&](int) { calls.push_back(1); });
  tv::Connection second = signal.Connect([&](int) { calls.push_back(2); });
  signal.Connect([&](int) { calls.push_back(3); });

  signal.Disconnect(second);
  signal.Disconnect(second);
  signal.Disconnect(nullptr);
  EXPECT_EQ(signal.GetSlotCount(), 2u);
  signal.Emit(0);
  EXPECT_EQ(calls, (std::vector<int>{1, 3}));
}

TEST(Signal, DisconnectAllLeavesAUsableEmptySignal) {
  IntSignal signal;
  int calls = 0;
  signal.Connect([&](int) { ++calls; });
  signal.Connect([&](int) { ++calls; });
  signal.DisconnectAll();
  EXPECT_EQ(signal.GetSlotCount(), 0u);
  signal.Emit(0);
  EXPECT_EQ(calls, 0);
  signal.Connect([&](int) { ++calls; });
  signal.Emit(0);
  EXPECT_EQ(calls, 1);
}

TEST(Signal, SlotDisconnectingItselfRunsToTheEndOfThatEmissionOnly) {
  IntSignal signal;
  std::vector<int> calls;
  tv::Connection self = nullptr;
  signal.Connect([&](int) { calls.push_back(1); });
  self = signal.Connect([&](int n) {
    signal.Disconnect(self);
    calls.push_back(n);  // the closure must still be alive here
  });
  signal.Connect([&](int) { calls.push_back(3); });

  signal.Emit(2);
  EXPECT_EQ(calls, (std::vector<int>{1, 2, 3}));
  calls.clear();
  signal.Emit(2);
  EXPECT_EQ(calls, (std::vector<int>{1, 3}));
}

TEST(Signal, ConnectAndDisconnectDuringEmitTakeEffectAtTheNextEmit) {
  IntSignal signal;
  std::vector<int> calls;
  tv::Connection last = nullptr;
  bool changed = false;
  signal.Connect([&](int) {
    calls.push_back(1);
    if (changed) return;
    changed = true;
    signal.Connect([&](int) { calls.push_back(4); });
    signal.Disconnect(last);
  });
  last = signal.Connect([&](int) { calls.push_back(2); });

  signal.Emit(0);
  EXPECT_EQ(calls, (std::vector<int>{1, 2}));
  calls.clear();
  signal.Emit(0);
  EXPECT_EQ(calls, (std::vector<int>{1, 4}));
}

TEST(Signal, EmptyFunctionThrowsAndEndsTheEmission) {
  IntSignal signal;
  std::vector<int> calls;
  signal.Connect([&](int) { calls.push_back(1); });
  signal.Connect(IntSignal::Function());
  signal.Connect([&](int) { calls.push_back(3); });
  EXPECT_THROW(signal.Emit(0), std::bad_function_call);
  EXPECT_EQ(calls, (std::vector<int>{1}));
}

TEST(Signal, ConcurrentEmitConnectAndDisconnect) {
  constexpr int kIterations = 5000;
  IntSignal signal;
  std::atomic<int64_t> persistent_sum{0};
  std::atomic<int> transient_calls{0};
  signal.Connect([&](int n) { persistent_sum.fetch_add(n, std::memory_order_relaxed); });

  std::vector<std::thread> threads;
  for (int t = 0; t < 2; ++t)
    threads.emplace_back([&] {
      for (int i = 1; i <= kIterations; ++i) signal.Emit(i);
    });
  for (int t = 0; t < 2; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < kIterations; ++i)
        signal.Disconnect(signal.Connect([&](int) { transient_calls.fetch_add(1); }));
    });
  for (auto& thread : threads) thread.join();

  // The slot connected throughout saw every emission of both emitters exactly once.
  EXPECT_EQ(persistent_sum.load(), 2 * (int64_t(kIterations) * (kIterations + 1) / 2));
  EXPECT_EQ(signal.GetSlotCount(), 1u);
  const int before = transient_calls.load();
  signal.Emit(1);
  EXPECT_EQ(transient_calls.load(), before);  // no transient slot outlived its disconnection
}

} // namespace

TEST(Signal, VoteCallsEverySlotAndFailsOnAnyRefusal) {
  tv::Signal<bool(int)> vote;
  EXPECT_TRUE(vote.Emit(1));  // nobody objects

  std::vector<std::string> heard;
  vote.Connect([&](int) { heard.push_back("a"); return true; });
  const tv::Connection refuser = vote.Connect([&](int value) { heard.push_back("b"); return value != 7; });
  vote.Connect([&](int) { heard.push_back("c"); return true; });

  EXPECT_FALSE(vote.Emit(7));
  EXPECT_EQ(heard, (std::vector<std::string>{"a", "b", "c"}));  // slots after the refusal still hear of it
  EXPECT_TRUE(vote.Emit(3));
  vote.Disconnect(refuser);
  EXPECT_TRUE(vote.Emit(7));
}
