#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "foundation/signal.h"

namespace {

using IntSignal = tv::Signal<void(int)>;

// Slots run in connection order with the arguments; Disconnect removes only its slot (repeated or
// null: harmless); DisconnectAll leaves a usable signal.
TEST(Signal, ConnectEmitAndDisconnect) {
  tv::Signal<void(int, const std::string&)> signal;
  std::vector<std::string> calls;
  std::vector<tv::Connection> connections;
  for (const char* name : {"a", "b", "c"})
    connections.push_back(
        signal.Connect([&calls, name](int n, const std::string& s) { calls.push_back(name + std::to_string(n) + s); }));
  signal.Emit(7, std::string("x"));
  signal.Disconnect(connections[1]);
  signal.Disconnect(connections[1]);
  signal.Disconnect(nullptr);
  EXPECT_EQ(signal.GetSlotCount(), 2u);
  signal.Emit(8, std::string("y"));
  EXPECT_EQ(calls, (std::vector<std::string>{"a7x", "b7x", "c7x", "a8y", "c8y"}));
  signal.DisconnectAll();
  signal.Emit(9, std::string("z"));
  signal.Connect([&](int, const std::string&) { calls.push_back("d"); });
  signal.Emit(9, std::string("z"));
  EXPECT_EQ(calls.size(), 6u);
  EXPECT_EQ(calls.back(), "d");
}

// Changes made during an emission take effect at the next one: a slot disconnecting itself runs to
// its end (its closure still alive), a slot connected or disconnected meanwhile is not yet seen.
TEST(Signal, ChangesDuringEmitTakeEffectAtTheNextEmit) {
  IntSignal signal;
  std::vector<int> calls;
  tv::Connection self = nullptr, last = nullptr;
  bool changed = false;
  signal.Connect([&](int) {
    calls.push_back(1);
    if (changed) return;
    changed = true;
    signal.Connect([&](int) { calls.push_back(4); });
    signal.Disconnect(last);
  });
  self = signal.Connect([&](int n) {
    signal.Disconnect(self);
    calls.push_back(n);
  });
  last = signal.Connect([&](int) { calls.push_back(3); });
  signal.Emit(2);
  EXPECT_EQ(calls, (std::vector<int>{1, 2, 3}));
  calls.clear();
  signal.Emit(2);
  EXPECT_EQ(calls, (std::vector<int>{1, 4}));
}

// An empty function throws and ends the emission.
TEST(Signal, EmptyFunctionThrowsAndEndsTheEmission) {
  IntSignal signal;
  std::vector<int> calls;
  signal.Connect([&](int) { calls.push_back(1); });
  signal.Connect(IntSignal::Function());
  signal.Connect([&](int) { calls.push_back(3); });
  EXPECT_THROW(signal.Emit(0), std::bad_function_call);
  EXPECT_EQ(calls, (std::vector<int>{1}));
}

// A vote asks every slot, even after a refusal, and fails on any refusal; nobody objecting passes.
TEST(Signal, VoteCallsEverySlotAndFailsOnAnyRefusal) {
  tv::Signal<bool(int)> vote;
  EXPECT_TRUE(vote.Emit(1));
  std::string heard;
  vote.Connect([&](int) { heard += "a"; return true; });
  const tv::Connection refuser = vote.Connect([&](int value) { heard += "b"; return value != 7; });
  vote.Connect([&](int) { heard += "c"; return true; });
  EXPECT_FALSE(vote.Emit(7));
  EXPECT_EQ(heard, "abc");
  EXPECT_TRUE(vote.Emit(3));
  vote.Disconnect(refuser);
  EXPECT_TRUE(vote.Emit(7));
}

// Emitting while others connect and disconnect: the lasting slot sees every emission exactly once,
// and no transient slot outlives its disconnection.
TEST(Signal, ConcurrentEmitConnectAndDisconnect) {
  constexpr int kIterations = 5000;
  IntSignal signal;
  std::atomic<int64_t> persistent_sum{0};
  std::atomic<int> transient_calls{0};
  signal.Connect([&](int n) { persistent_sum.fetch_add(n, std::memory_order_relaxed); });
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      for (int i = 1; i <= kIterations; ++i)
        if (t < 2)
          signal.Emit(i);
        else
          signal.Disconnect(signal.Connect([&](int) { transient_calls.fetch_add(1); }));
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(persistent_sum.load(), 2 * (int64_t(kIterations) * (kIterations + 1) / 2));
  EXPECT_EQ(signal.GetSlotCount(), 1u);
  const int before = transient_calls.load();
  signal.Emit(1);
  EXPECT_EQ(transient_calls.load(), before);
}

} // namespace
