#pragma once
// Calls that must run on a given thread: queued from any thread, run where Process() is called.

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace tv {

class call_queue_mt {
public:
  using Call = std::function<void()>;

  // From any thread.
  void Queue(Call call);
  // Runs the queued calls in order, without the mutex held, and goes on with what they queued,
  // until a round finds nothing.
  void Process();

  std::mutex mutex;
  std::vector<std::unique_ptr<Call>> calls;
};

// The main thread is the one that called Init (until then, the one that started the process).
void SetMainThread(std::thread::id id);
bool IsMainThread();
void PostToMainThread(call_queue_mt::Call call);
// Runs the main thread's calls; does nothing on any other thread.
void ProcessMainThreadCalls();

} // namespace tv
