// The task pool: ordering, binding, sets, chains, aging, stop, and a stress run with exact
// accounting (also run under ThreadSanitizer by `make check`).

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/future_call.h"
#include "foundation/task_system.h"

namespace tv {
namespace {

// A task made of a function.
class FnTask : public task {
public:
  explicit FnTask(std::function<void()> fn) : fn_(std::move(fn)) {}
  void run() override { fn_(); }

private:
  std::function<void()> fn_;
};

std::shared_ptr<task> Task(std::function<void()> fn) { return std::make_shared<FnTask>(std::move(fn)); }

std::string CurrentThreadName() {
  char name[16] = {};
  pthread_getname_np(pthread_self(), name, sizeof(name));
  return name;
}

// Runs `body(index)` on `count` threads at once and joins them.
void OnThreads(int count, const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  for (int index = 0; index < count; ++index) threads.emplace_back(body, index);
  for (std::thread& thread : threads) thread.join();
}

// Holds worker `index` busy until released, so that tasks queue up behind it deterministically.
struct Gate {
  void Block(task_system& pool, uint8_t index) {
    pool.run_task(Task([this] {
                    entered = true;
                    while (!open.load()) std::this_thread::yield();
                  }),
                  nullptr, index, 255);
    while (!entered.load()) std::this_thread::yield();
  }
  std::atomic<bool> entered{false};
  std::atomic<bool> open{false};
};

// Without workers (never started, or stopped) a task runs on the caller and waits return at once.
TEST(TaskSystem, WithoutWorkersTasksRunOnTheCaller) {
  task_system pool;
  for (int round = 0; round < 2; ++round) {
    auto set = std::make_shared<task_set>();
    std::thread::id ran_on;
    pool.run_task(Task([&] { ran_on = std::this_thread::get_id(); }), set, 3, 0);
    EXPECT_EQ(ran_on, std::this_thread::get_id());
    EXPECT_EQ(set->pending.load(), 0);
    pool.wait(set);
    pool.wait_for_all();
    ASSERT_TRUE(pool.start(2));
    pool.stop();
  }
}

// Workers are named by index and start once; zero means one per logical processor.
TEST(TaskSystem, StartsNamedWorkersAndOnlyOnce) {
  task_system pool;
  ASSERT_TRUE(pool.start(3));
  EXPECT_FALSE(pool.start(2));
  EXPECT_EQ(pool.get_worker_count(), 3u);
  std::vector<std::string> names(3);
  auto set = std::make_shared<task_set>();
  for (uint8_t i = 0; i < 3; ++i) pool.run_task(Task([&names, i] { names[i] = CurrentThreadName(); }), set, i, 0);
  pool.wait(set);
  EXPECT_EQ(names, (std::vector<std::string>{"Task worker #0", "Task worker #1", "Task worker #2"}));
  // An affinity beyond the workers is the last worker.
  int32_t ran_on = -1;
  auto beyond = Task([&] { ran_on = pool.current_worker(); });
  pool.run_task(beyond, set, 200, 0);
  pool.wait(set);
  EXPECT_EQ(beyond->affinity, 2);
  EXPECT_EQ(ran_on, 2);
  pool.stop();
  EXPECT_EQ(pool.get_worker_count(), 0u);
  ASSERT_TRUE(pool.start(0));
  EXPECT_EQ(pool.get_worker_count(), GetLogicalProcessorCount());
}

TEST(TaskSystem, HigherPriorityRunsFirstAndEqualsKeepTheirOrder) {
  task_system pool;
  ASSERT_TRUE(pool.start(1));
  Gate gate;
  gate.Block(pool, 0);
  std::mutex order_mutex;
  std::vector<int> order;
  auto set = std::make_shared<task_set>();
  const int priorities[] = {1, 5, 5};
  for (int i = 0; i < 3; ++i)
    pool.run_task(Task([&, i] {
                    std::lock_guard<std::mutex> lock(order_mutex);
                    order.push_back(i);
                  }),
                  set, task::kAnyWorker, uint8_t(priorities[i]));
  gate.open = true;
  // Not `wait` at once: a helping waiter would take tasks beside the worker, and the order they
  // are noted in would no longer be the order they were taken in.
  auto noted = [&] {
    std::lock_guard<std::mutex> lock(order_mutex);
    return order.size();
  };
  while (noted() < 3) std::this_thread::yield();
  pool.wait(set);
  EXPECT_EQ(order, (std::vector<int>{1, 2, 0}));
}

TEST(TaskSystem, ATaskBoundToItsOwnWorkerRunsInline) {
  task_system pool;
  ASSERT_TRUE(pool.start(3));
  auto set = std::make_shared<task_set>();
  std::vector<std::string> steps;
  pool.run_task(Task([&] {
                  steps.push_back("outer begins");
                  pool.run_task(Task([&] { steps.push_back("inner"); }), set, 2, 0);
                  steps.push_back("outer ends");
                }),
                set, 2, 0);
  pool.wait(set);
  EXPECT_EQ(steps, (std::vector<std::string>{"outer begins", "inner", "outer ends"}));
}

TEST(TaskSystem, ChainsRunAfterTheirTaskOrSet) {
  task_system pool;
  ASSERT_TRUE(pool.start(2));
  std::mutex m;
  std::vector<std::string> steps;
  auto note = [&](const char* s) {
    std::lock_guard<std::mutex> lock(m);
    steps.push_back(s);
  };
  auto first_set = std::make_shared<task_set>();
  auto all = std::make_shared<task_set>();
  auto a = Task([&] { note("a"); });
  auto b = Task([&] { note("b"); });
  auto c = Task([&] { note("c after b"); });
  auto d = Task([&] { note("d after set"); });
  pool.run_after(b, c, all, task::kAnyWorker, 0);
  pool.run_after(first_set, d, all, task::kAnyWorker, 0);
  EXPECT_TRUE(pool.is_pending(all));
  // Held open while it fills: otherwise it would be done as soon as "a" finished.
  pool.add_set(first_set);
  pool.run_task(a, first_set, task::kAnyWorker, 0);
  pool.run_task(b, first_set, task::kAnyWorker, 0);
  pool.complete_one(first_set);
  pool.wait_for_all();
  ASSERT_EQ(steps.size(), 4u);
  const auto at = [&](const std::string& s) { return std::find(steps.begin(), steps.end(), s) - steps.begin(); };
  EXPECT_LT(at("b"), at("c after b"));
  EXPECT_LT(at("a"), at("d after set"));
  EXPECT_LT(at("b"), at("d after set"));
  EXPECT_FALSE(pool.is_pending(all));
  EXPECT_EQ(all->pending.load(), 0);
}

TEST(TaskSystem, NestedSetsCompleteTheirOuterSet) {
  task_system pool;
  ASSERT_TRUE(pool.start(2));
  auto outer = std::make_shared<task_set>();
  auto inner = std::make_shared<task_set>();
  pool.complete_after(inner, outer);
  EXPECT_EQ(outer->pending.load(), 1);
  std::atomic<int> count{0};
  auto after_outer = Task([&] { count += 100; });
  pool.run_after(outer, after_outer, nullptr, task::kAnyWorker, 0);
  pool.add_set(inner);
  for (int i = 0; i < 10; ++i) pool.run_task(Task([&] { ++count; }), inner, task::kAnyWorker, 0);
  pool.complete_one(inner);
  pool.wait(outer);
  pool.wait_for_all();
  EXPECT_EQ(count.load(), 110);
  // A worker may still be finishing the bookkeeping of its last task; joining settles it.
  pool.stop();
  EXPECT_TRUE(pool.active_sets.empty());
}

// A task waiting more than two frames climbs one step of priority per aging, one task per frame.
TEST(TaskSystem, WorkerTasksAgeAboveTheirEquals) {
  task_system pool;
  ASSERT_TRUE(pool.start(1));
  Gate gate;
  gate.Block(pool, 0);
  auto set = std::make_shared<task_set>();
  std::vector<std::shared_ptr<task>> tasks;
  for (int i = 0; i < 3; ++i) {
    tasks.push_back(Task([] {}));
    pool.run_task(tasks.back(), set, 0, 1);
  }
  auto later = Task([] {});
  for (int frame = 1; frame <= 3; ++frame) {
    pool.frame = uint32_t(frame);
    if (frame == 2) pool.run_task(later, set, 0, 1);
    pool.age_worker_tasks(1, 0);
  }
  // Frame 3 is the first at which a task queued at frame 0 has waited more than two frames.
  EXPECT_EQ(tasks[0]->priority, 2);
  EXPECT_EQ(tasks[0]->aged_frame, 3u);
  EXPECT_EQ(tasks[1]->priority, 1);
  EXPECT_EQ(later->priority, 1);
  {
    std::lock_guard<std::mutex> lock(pool.workers[0].mutex);
    ASSERT_EQ(pool.workers[0].queue.size(), 4u);
    EXPECT_EQ(pool.workers[0].queue.front(), tasks[0]);
  }
  gate.open = true;
  pool.wait(set);
}

TEST(TaskSystem, WaitingOnAWorkerHelpsInsteadOfBlocking) {
  task_system pool;
  ASSERT_TRUE(pool.start(1));
  auto outer = std::make_shared<task_set>();
  std::atomic<int> done{0};
  // The only worker waits for a set of global tasks: it must run them itself.
  pool.run_task(Task([&] {
                  auto inner = std::make_shared<task_set>();
                  for (int i = 0; i < 50; ++i) pool.run_task(Task([&] { ++done; }), inner, task::kAnyWorker, 0);
                  pool.wait(inner);
                  EXPECT_EQ(done.load(), 50);
                }),
                outer, task::kAnyWorker, 0);
  pool.wait(outer);
  EXPECT_EQ(done.load(), 50);
}

// Two tasks that can only finish together, queued back to back: the second finds the queue busy
// and wakes no one, so the first worker to wake must pass the wake-up on to the other sleeper.
TEST(TaskSystem, ASleepingWorkerIsWokenForWorkLeftInTheQueue) {
  task_system pool;
  ASSERT_TRUE(pool.start(2));
  for (int round = 0; round < 500; ++round) {
    std::atomic<int> started{0};
    int32_t ran_on[2] = {-1, -1};
    auto set = std::make_shared<task_set>();
    for (int i = 0; i < 2; ++i)
      pool.run_task(Task([&, i] {
                      ran_on[i] = pool.current_worker();
                      ++started;
                      while (started.load() < 2) std::this_thread::yield();
                    }),
                    set, task::kAnyWorker, 0);
    // Not `wait` until both started: a helping waiter would stand in for the second worker.
    while (started.load() < 2) std::this_thread::yield();
    pool.wait(set);
    ASSERT_NE(ran_on[0], ran_on[1]);
    ASSERT_GE(std::min(ran_on[0], ran_on[1]), 0);
  }
}

// The caller and the worker both run the inner tasks, so either may finish a set's last member
// while the other's task is still leaving: the waiter must be woken whichever goes last.
TEST(TaskSystem, StressWaitOnAWorkerWhileTheCallerHelps) {
  task_system pool;
  ASSERT_TRUE(pool.start(1));
  std::atomic<int> done{0};
  constexpr int kRounds = 20000;
  constexpr int kInner = 4;
  for (int round = 0; round < kRounds; ++round) {
    auto outer = std::make_shared<task_set>();
    pool.run_task(Task([&] {
                    auto inner = std::make_shared<task_set>();
                    for (int i = 0; i < kInner; ++i) pool.run_task(Task([&] { ++done; }), inner, task::kAnyWorker, 0);
                    pool.wait(inner);
                  }),
                  outer, task::kAnyWorker, 0);
    pool.wait(outer);
  }
  EXPECT_EQ(done.load(), kRounds * kInner);
}

TEST(FutureCall, DeliversResultsAndExceptions) {
  task_system pool;
  ASSERT_TRUE(pool.start(2));
  future_call<int> answer = run_call<int>([] { return 42; }, pool);
  EXPECT_EQ(answer.get(), 42);
  future_call<void> on_worker_0 = run_call<void>([&] { EXPECT_EQ(pool.current_worker(), 0); }, pool, 0);
  on_worker_0.get();
  future_call<bool> failing = run_call<bool>([]() -> bool { throw std::runtime_error("boom"); }, pool);
  EXPECT_THROW(failing.get(), std::runtime_error);

  auto call = std::make_shared<future_call_with_return_value<int>>([] { return 1; });
  std::future<int> first = call->get_future();
  EXPECT_THROW(call->get_future(), std::future_error);
  // Dropped unrun: the future learns of it.
  call.reset();
  EXPECT_THROW(first.get(), std::future_error);
}

// Hundreds of thousands of tasks in nested sets with chains, queued from several threads: each
// runs exactly once and every wait returns.
TEST(TaskSystem, StressEveryTaskRunsExactlyOnce) {
  task_system pool;
  ASSERT_TRUE(pool.start(4));
  constexpr int kThreads = 4;
  constexpr int kSets = 100;
  constexpr int kTasksPerSet = 500;
  std::vector<std::atomic<uint8_t>> runs(size_t(kThreads) * kSets * kTasksPerSet * 2);
  OnThreads(kThreads, [&](int p) {
    auto outer = std::make_shared<task_set>();
    for (int s = 0; s < kSets; ++s) {
      auto inner = std::make_shared<task_set>();
      pool.complete_after(inner, outer);
      pool.add_set(inner);
      for (int t = 0; t < kTasksPerSet; ++t) {
        const size_t id = ((size_t(p) * kSets + size_t(s)) * kTasksPerSet + size_t(t)) * 2;
        auto head = Task([&runs, id] { ++runs[id]; });
        // Every other task has a follower chained behind it; some bound to a worker.
        if (t % 2 == 0)
          pool.run_after(head, Task([&runs, id] { ++runs[id + 1]; }), inner, uint8_t(t % 8 == 0 ? t % 4 : 255), 0);
        else
          ++runs[id + 1];
        pool.run_task(head, inner, task::kAnyWorker, uint8_t(t % 3));
      }
      pool.complete_one(inner);
      if (s % 10 == 9) pool.wait(inner);
    }
    pool.wait(outer);
  });
  pool.wait_for_all();
  pool.stop();
  size_t wrong = 0;
  for (const auto& r : runs) wrong += r.load() != 1 ? 1 : 0;
  EXPECT_EQ(wrong, 0u);
  EXPECT_TRUE(pool.active_sets.empty());
}

// Without any chain entered, a finishing task counts its set down outside the lock: a wait must
// still return only once every member has run, with helpers and workers finishing side by side.
TEST(TaskSystem, StressWaitsReturnAfterEveryMemberWithoutChains) {
  task_system pool;
  ASSERT_TRUE(pool.start(3));
  constexpr int kThreads = 3;
  constexpr int kRounds = 300;
  constexpr int kTasksPerSet = 200;
  std::atomic<int> early{0};
  OnThreads(kThreads, [&](int) {
    for (int round = 0; round < kRounds; ++round) {
      auto set = std::make_shared<task_set>();
      auto nested = std::make_shared<task_set>();
      pool.complete_after(nested, set);
      std::atomic<int> ran{0};
      pool.add_set(set);
      pool.add_set(nested);
      for (int t = 0; t < kTasksPerSet; ++t)
        pool.run_task(Task([&ran] { ++ran; }), t % 4 == 0 ? nested : set, task::kAnyWorker, uint8_t(t % 2));
      pool.complete_one(nested);
      pool.complete_one(set);
      pool.wait(set);
      if (ran.load() != kTasksPerSet) ++early;
    }
  });
  EXPECT_EQ(early.load(), 0);
  pool.wait_for_all();
  pool.stop();
  EXPECT_TRUE(pool.active_sets.empty());
}

} // namespace
} // namespace tv
