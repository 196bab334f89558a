// Cost of one log write and of one profiler section, against the locks and clock reads they are
// built from, measured in the same run.
//
// Log writes go through tv::log() and the global log system, with filter 0 (the console printer
// prints nothing), once with no listener and once with one listener whose queue the timer thread
// flushes every 5 ms, as in the running engine. A profiler section is a ProfilerPerfSection opened
// and closed; the frame is ended outside the timing every 4,096 sections, so a frame holds a
// realistic number of them. Peers: one std::mutex lock/unlock plus one time_since_start(), and
// twice that, the least a section can cost (it locks once and reads the clock once at each end).

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/clock.h"
#include "foundation/globals.h"
#include "foundation/log.h"
#include "foundation/log_system.h"
#include "foundation/profiler.h"
#include "foundation/timer_thread.h"
#include "ratio_reporter.h"

namespace {

constexpr int64_t kSectionsPerFrame = 4096;

const std::string kMessage = "Loaded material 'stone_wall' in 3 ms";

void BM_LogWrite_NoListener(benchmark::State& state) {
  tv::LogSystem system;
  system.SetLogFilter(0);
  tv::log_system = &system;
  for (auto _ : state) tv::log(kMessage);
  system.Shutdown();
  tv::log_system = nullptr;
}

void BM_LogWrite_OneListener(benchmark::State& state) {
  tv::LogSystem system;
  system.SetLogFilter(0);
  std::atomic<uint64_t> delivered{0};
  system.on_entries.Connect([&delivered](const std::vector<tv::LogEntry>& entries) {
    delivered.fetch_add(entries.size(), std::memory_order_relaxed);
  });
  tv::log_system = &system;
  for (auto _ : state) tv::log(kMessage);
  // Stops the flush timer and hands over the rest, so every write was delivered once.
  system.Shutdown();
  tv::log_system = nullptr;
  if (delivered.load() != uint64_t(state.iterations())) state.SkipWithError("listener missed entries");
}

void BM_ProfilerSection(benchmark::State& state) {
  tv::Profiler profiler;
  tv::profiler = &profiler;
  int64_t in_frame = 0;
  for (auto _ : state) {
    { tv::ProfilerPerfSection section("update"); }
    if (++in_frame == kSectionsPerFrame) {
      state.PauseTiming();
      profiler.EndFrame();
      in_frame = 0;
      state.ResumeTiming();
    }
  }
  tv::profiler = nullptr;
}

void BM_LockAndClock(benchmark::State& state) {
  std::mutex mutex;
  for (auto _ : state) {
    mutex.lock();
    benchmark::DoNotOptimize(tv::time_since_start());
    mutex.unlock();
  }
}

void BM_TwoLocksAndClocks(benchmark::State& state) {
  std::mutex mutex;
  for (auto _ : state) {
    mutex.lock();
    benchmark::DoNotOptimize(tv::time_since_start());
    mutex.unlock();
    mutex.lock();
    benchmark::DoNotOptimize(tv::time_since_start());
    mutex.unlock();
  }
}

BENCHMARK(BM_LockAndClock)->UseRealTime();
BENCHMARK(BM_LogWrite_NoListener)->UseRealTime();
BENCHMARK(BM_LogWrite_OneListener)->UseRealTime();
BENCHMARK(BM_TwoLocksAndClocks)->UseRealTime();
BENCHMARK(BM_ProfilerSection)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
  // The engine's timer thread: a tick of 5 ns, so it sleeps only the system's granularity.
  class tv::timer_thread timer("Timer");
  timer.start(5);
  tv::timer_thread = &timer;

  using Ratio = tv::bench::RatioReporter::Ratio;
  const int result = tv::bench::RunWithRatios(
      argc, argv,
      {Ratio{"log write, filter 0, no listener / one lock + one clock read", "BM_LogWrite_NoListener/real_time",
             "BM_LockAndClock/real_time", ""},
       Ratio{"log write, filter 0, one listener / one lock + one clock read", "BM_LogWrite_OneListener/real_time",
             "BM_LockAndClock/real_time", ""},
       Ratio{"profiler section / two locks + two clock reads (the floor)", "BM_ProfilerSection/real_time",
             "BM_TwoLocksAndClocks/real_time", "1.0 is the floor"}});

  tv::timer_thread = nullptr;
  timer.stop();
  return result;
}
