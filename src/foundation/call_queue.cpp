#include "foundation/call_queue.h"

#include <atomic>

namespace tv {

void call_queue_mt::QueueOwned(std::unique_ptr<Call> call) {
  std::lock_guard<std::mutex> lock(mutex);
  calls.push_back(std::move(call));
}

void call_queue_mt::Process() {
  for (;;) {
    std::vector<std::unique_ptr<Call>> round;
    {
      std::lock_guard<std::mutex> lock(mutex);
      round.swap(calls);
    }
    if (round.empty()) return;
    for (const std::unique_ptr<Call>& call : round) (*call)();
  }
}

namespace {

std::atomic<std::thread::id> g_main_thread{std::this_thread::get_id()};

call_queue_mt& MainQueue() {
  static call_queue_mt queue;
  return queue;
}

} // namespace

void SetMainThread(std::thread::id id) { g_main_thread.store(id); }

bool IsMainThread() { return std::this_thread::get_id() == g_main_thread.load(); }

void PostToMainThread(std::function<void()> call) { MainQueue().Queue(std::move(call)); }

void ProcessMainThreadCalls() {
  if (IsMainThread()) MainQueue().Process();
}

} // namespace tv
