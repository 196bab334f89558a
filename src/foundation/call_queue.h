#pragma once
// Calls that must run on a given thread: queued from any thread, run where Process() is called.

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace tv {

class call_queue_mt {
public:
  // A queued call owns its callable. The callable sits inside the call's own allocation, so a call
  // costs one allocation whatever it captures.
  class Call {
  public:
    virtual ~Call() = default;
    virtual void operator()() = 0;
  };

  // From any thread.
  template <typename Callable>
  void Queue(Callable&& callable) {
    QueueOwned(std::make_unique<CallOf<std::decay_t<Callable>>>(std::forward<Callable>(callable)));
  }
  void QueueOwned(std::unique_ptr<Call> call);
  // Runs the queued calls in order, without the mutex held, and goes on with what they queued,
  // until a round finds nothing.
  void Process();

  std::mutex mutex;
  std::vector<std::unique_ptr<Call>> calls;

private:
  template <typename Callable>
  class CallOf final : public Call {
  public:
    template <typename From>
    explicit CallOf(From&& from) : callable_(std::forward<From>(from)) {}
    void operator()() override { callable_(); }

  private:
    Callable callable_;
  };
};

// The main thread is the one that called Init (until then, the one that started the process).
void SetMainThread(std::thread::id id);
bool IsMainThread();
void PostToMainThread(std::function<void()> call);
// Runs the main thread's calls; does nothing on any other thread.
void ProcessMainThreadCalls();

} // namespace tv
