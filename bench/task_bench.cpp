// Task system overhead and scaling.
//
// Empty tasks (queue, run, wait), 1,000 per round on 2 workers: ours against TBB's task_group and
// against a plain pool of one mutex, one condition variable and a deque, measured in the same run.
// The pool's own cost is measured with tasks made once and queued again each round, since the
// peers' jobs need no allocation either; the form that makes a task per queueing is shown beside.
// The plain pool also carries our own task objects: a shared task's reference count goes from the
// queueing thread to the worker and back with every queueing, which a plain function doesn't, so
// that peer tells the pool's cost from the task's. Each comparison is also made on one worker:
// with the queueing thread that is two busy threads, and on a machine of two processors three
// would make the figures depend on which two the scheduler puts together.
// Batched work: batches of 512 items of about 50 ns each, on 2 workers against one thread, with
// the plain pool and TBB (whose workers spin while idle) for comparison.

#include <tbb/global_control.h>
#include <tbb/task_group.h>

#include <atomic>
#include <cstdlib>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "foundation/task_system.h"
#include "ratio_reporter.h"

namespace {

constexpr int kTasks = 1000;
constexpr int kBatches = 64;
constexpr int kItemsPerBatch = 512;

class FnTask : public tv::task {
public:
  explicit FnTask(std::function<void()> fn) : fn_(std::move(fn)) {}
  void run() override { fn_(); }

private:
  std::function<void()> fn_;
};

tv::task_system& Pool() {
  static tv::task_system pool;
  static const bool started = pool.start(std::getenv("TV_WORKERS") ? uint32_t(std::atoi(std::getenv("TV_WORKERS"))) : 2);
  (void)started;
  return pool;
}

tv::task_system& PoolOfOne() {
  static tv::task_system pool;
  static const bool started = pool.start(1);
  (void)started;
  return pool;
}

// The pool of as many workers as the benchmark's argument: 1, or 2.
tv::task_system& PoolFor(const benchmark::State& state) { return state.range(0) == 1 ? PoolOfOne() : Pool(); }

void Run(const std::function<void()>& job) { job(); }
void Run(const std::shared_ptr<tv::task>& job) { job->run(); }

// The peer: the smallest pool that does the job, a plain function or one of our tasks.
template <typename Job>
class PlainPool {
public:
  explicit PlainPool(int threads) {
    for (int i = 0; i < threads; ++i) threads_.emplace_back([this] { Loop(); });
  }
  ~PlainPool() {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      stopping_ = true;
    }
    work_.notify_all();
    for (std::thread& thread : threads_) thread.join();
  }
  void Submit(Job job) {
    {
      std::lock_guard<std::mutex> lock(mutex_);
      jobs_.push_back(std::move(job));
      ++outstanding_;
    }
    work_.notify_one();
  }
  void WaitAll() {
    std::unique_lock<std::mutex> lock(mutex_);
    done_.wait(lock, [this] { return outstanding_ == 0; });
  }

private:
  void Loop() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
      work_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
      if (jobs_.empty()) return;
      Job job = std::move(jobs_.front());
      jobs_.pop_front();
      lock.unlock();
      Run(job);
      job = Job();  // let go outside the lock, as our pool does
      lock.lock();
      if (--outstanding_ == 0) done_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable work_, done_;
  std::deque<Job> jobs_;
  int outstanding_ = 0;
  bool stopping_ = false;
  std::vector<std::thread> threads_;
};

void BM_EmptyTasks_TaskSystem(benchmark::State& state) {
  tv::task_system& pool = Pool();
  for (auto _ : state) {
    auto set = std::make_shared<tv::task_set>();
    pool.add_set(set);
    for (int i = 0; i < kTasks; ++i) pool.run_task(std::make_shared<FnTask>([] {}), set, tv::task::kAnyWorker, 0);
    pool.complete_one(set);
    pool.wait(set);
  }
  state.SetItemsProcessed(state.iterations() * kTasks);
}

class EmptyTask : public tv::task {
public:
  void run() override {}
};

std::vector<std::shared_ptr<tv::task>> MakeEmptyTasks() {
  std::vector<std::shared_ptr<tv::task>> tasks;
  for (int i = 0; i < kTasks; ++i) tasks.push_back(std::make_shared<EmptyTask>());
  return tasks;
}

// The same with the tasks made once and queued again each round: the pool's own cost.
void BM_EmptyTasks_TaskSystemReused(benchmark::State& state) {
  tv::task_system& pool = PoolFor(state);
  const std::vector<std::shared_ptr<tv::task>> tasks = MakeEmptyTasks();
  for (auto _ : state) {
    auto set = std::make_shared<tv::task_set>();
    pool.add_set(set);
    for (const auto& t : tasks) pool.run_task(t, set, tv::task::kAnyWorker, 0);
    pool.complete_one(set);
    pool.wait(set);
  }
  state.SetItemsProcessed(state.iterations() * kTasks);
}

void BM_EmptyTasks_TbbTaskGroup(benchmark::State& state) {
  tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 2);
  tbb::task_group group;
  for (auto _ : state) {
    for (int i = 0; i < kTasks; ++i) group.run([] {});
    group.wait();
  }
  state.SetItemsProcessed(state.iterations() * kTasks);
}

void BM_EmptyTasks_PlainPool(benchmark::State& state) {
  PlainPool<std::function<void()>> pool(int(state.range(0)));
  for (auto _ : state) {
    for (int i = 0; i < kTasks; ++i) pool.Submit([] {});
    pool.WaitAll();
  }
  state.SetItemsProcessed(state.iterations() * kTasks);
}

// The plain pool carrying the same task objects as ours, made once.
void BM_EmptyTasks_PlainPoolSharedTasks(benchmark::State& state) {
  PlainPool<std::shared_ptr<tv::task>> pool(int(state.range(0)));
  const std::vector<std::shared_ptr<tv::task>> tasks = MakeEmptyTasks();
  for (auto _ : state) {
    for (const auto& t : tasks) pool.Submit(t);
    pool.WaitAll();
  }
  state.SetItemsProcessed(state.iterations() * kTasks);
}

// About 50 ns of arithmetic that the compiler can't fold away (one thread's "item_time" shows it:
// a chain of 50 dependent steps, each a multiply, an add, a shift and a xor).
inline uint64_t Item(uint64_t seed) {
  uint64_t x = seed | 1;
  for (int i = 0; i < 50; ++i) x = x * 6364136223846793005ull + 1442695040888963407ull, x ^= x >> 29;
  return x;
}

void RunBatch(int batch, std::atomic<uint64_t>& sink) {
  uint64_t sum = 0;
  for (int i = 0; i < kItemsPerBatch; ++i) sum += Item(uint64_t(batch) * kItemsPerBatch + uint64_t(i));
  sink.fetch_add(sum, std::memory_order_relaxed);
}

void BM_Batched_OneThread(benchmark::State& state) {
  std::atomic<uint64_t> sink{0};
  for (auto _ : state)
    for (int b = 0; b < kBatches; ++b) RunBatch(b, sink);
  benchmark::DoNotOptimize(sink.load());
  state.SetItemsProcessed(state.iterations() * kBatches * kItemsPerBatch);
  state.counters["item_time"] = benchmark::Counter(double(kBatches * kItemsPerBatch),
                                                   benchmark::Counter::kIsIterationInvariantRate |
                                                       benchmark::Counter::kInvert);
}

void RunBatches(benchmark::State& state, tv::task_system& pool) {
  std::atomic<uint64_t> sink{0};
  for (auto _ : state) {
    auto set = std::make_shared<tv::task_set>();
    pool.add_set(set);
    for (int b = 0; b < kBatches; ++b)
      pool.run_task(std::make_shared<FnTask>([b, &sink] { RunBatch(b, sink); }), set, tv::task::kAnyWorker, 0);
    pool.complete_one(set);
    pool.wait(set);
  }
  benchmark::DoNotOptimize(sink.load());
  state.SetItemsProcessed(state.iterations() * kBatches * kItemsPerBatch);
}

void BM_Batched_PlainPool(benchmark::State& state) {
  PlainPool<std::function<void()>> pool(2);
  std::atomic<uint64_t> sink{0};
  for (auto _ : state) {
    for (int b = 0; b < kBatches; ++b) pool.Submit([b, &sink] { RunBatch(b, sink); });
    pool.WaitAll();
  }
  benchmark::DoNotOptimize(sink.load());
  state.SetItemsProcessed(state.iterations() * kBatches * kItemsPerBatch);
}

void BM_Batched_Tbb(benchmark::State& state) {
  tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 2);
  tbb::task_group group;
  std::atomic<uint64_t> sink{0};
  for (auto _ : state) {
    for (int b = 0; b < kBatches; ++b) group.run([b, &sink] { RunBatch(b, sink); });
    group.wait();
  }
  benchmark::DoNotOptimize(sink.load());
  state.SetItemsProcessed(state.iterations() * kBatches * kItemsPerBatch);
}

void BM_Batched_TaskSystem(benchmark::State& state) { RunBatches(state, Pool()); }
// One worker and the waiting thread, which helps: two threads, as TBB's figure counts them.
void BM_Batched_TaskSystemOneWorker(benchmark::State& state) { RunBatches(state, PoolOfOne()); }

BENCHMARK(BM_Batched_PlainPool)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Batched_Tbb)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EmptyTasks_TaskSystem)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EmptyTasks_TaskSystemReused)->Arg(2)->Arg(1)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EmptyTasks_TbbTaskGroup)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EmptyTasks_PlainPool)->Arg(2)->Arg(1)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_EmptyTasks_PlainPoolSharedTasks)->Arg(2)->Arg(1)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Batched_OneThread)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Batched_TaskSystem)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Batched_TaskSystemOneWorker)->UseRealTime()->Unit(benchmark::kMicrosecond);

} // namespace

int main(int argc, char** argv) {
  using Ratio = tv::bench::RatioReporter::Ratio;
  return tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"empty tasks made once: task system / plain one-mutex pool", "BM_EmptyTasks_TaskSystemReused/2/real_time",
             "BM_EmptyTasks_PlainPool/2/real_time", ">= 0.667 (within 1.5x)"},
       Ratio{"  the same on 1 worker", "BM_EmptyTasks_TaskSystemReused/1/real_time", "BM_EmptyTasks_PlainPool/1/real_time",
             ">= 0.667 (within 1.5x)"},
       Ratio{"  plain pool carrying our tasks / plain pool", "BM_EmptyTasks_PlainPoolSharedTasks/2/real_time",
             "BM_EmptyTasks_PlainPool/2/real_time", ""},
       Ratio{"  the same on 1 worker", "BM_EmptyTasks_PlainPoolSharedTasks/1/real_time",
             "BM_EmptyTasks_PlainPool/1/real_time", ""},
       Ratio{"empty tasks made once: task system / plain pool carrying them", "BM_EmptyTasks_TaskSystemReused/2/real_time",
             "BM_EmptyTasks_PlainPoolSharedTasks/2/real_time", ""},
       Ratio{"  the same on 1 worker", "BM_EmptyTasks_TaskSystemReused/1/real_time",
             "BM_EmptyTasks_PlainPoolSharedTasks/1/real_time", ""},
       Ratio{"empty tasks made per round: task system / plain pool", "BM_EmptyTasks_TaskSystem/real_time",
             "BM_EmptyTasks_PlainPool/2/real_time", ""},
       Ratio{"empty tasks made once: task system / TBB task_group", "BM_EmptyTasks_TaskSystemReused/2/real_time",
             "BM_EmptyTasks_TbbTaskGroup/real_time", ""},
       Ratio{"batches of 512 x ~50 ns: 2 workers / one thread (speed-up)", "BM_Batched_TaskSystem/real_time",
             "BM_Batched_OneThread/real_time", ">= 1.7"},
       Ratio{"batches: 1 worker + the helping waiter / one thread", "BM_Batched_TaskSystemOneWorker/real_time",
             "BM_Batched_OneThread/real_time", ""},
       Ratio{"batches: plain pool of 2 / one thread (speed-up)", "BM_Batched_PlainPool/real_time",
             "BM_Batched_OneThread/real_time", ""},
       Ratio{"batches: TBB, 2 threads / one thread (speed-up)", "BM_Batched_Tbb/real_time",
             "BM_Batched_OneThread/real_time", ""}});
}
