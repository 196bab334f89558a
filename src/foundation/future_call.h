#pragma once
// Calls run on the task system, with a std::future for their result.
//
// run_call() wraps a function in a task, queues it and returns a future_call whose get() blocks for
// the result. Exceptions of the function reach get(); a call dropped unrun gives "broken promise".

#include <functional>
#include <future>
#include <memory>

#include "foundation/task.h"
#include "foundation/task_system.h"

namespace tv {

class future_call_base {
public:
  virtual ~future_call_base() = default;
};

template <typename T>
class future_call_with_return_value_base : public future_call_base {
public:
  virtual void run() = 0;
  // Once only: a second call throws std::future_error (future already retrieved).
  virtual std::future<T> get_future() = 0;
};

template <typename T>
class future_call_with_return_value : public future_call_with_return_value_base<T> {
public:
  explicit future_call_with_return_value(std::function<T()> function) : function_(std::move(function)) {}

  void run() override {
    try {
      if constexpr (std::is_void_v<T>) {
        function_();
        promise_.set_value();
      } else {
        promise_.set_value(function_());
      }
    } catch (...) {
      promise_.set_exception(std::current_exception());
    }
  }

  std::future<T> get_future() override { return promise_.get_future(); }

private:
  std::function<T()> function_;
  std::promise<T> promise_;
};

// The caller's handle.
template <typename T>
class future_call {
public:
  future_call() = default;
  future_call(std::future<T> future, std::shared_ptr<tv::task> call_task)
      : future(std::move(future)), task(std::move(call_task)) {}

  T get() { return future.get(); }
  bool valid() const { return future.valid(); }

  std::future<T> future;
  std::shared_ptr<tv::task> task;
};

// A task that calls a function and drops its result.
template <typename T>
class future_call_task : public task {
public:
  explicit future_call_task(std::function<T()> function) : function_(std::move(function)) {}
  void run() override { function_(); }

private:
  std::function<T()> function_;
};

template <typename T>
class future_call_task_with_return_value : public task {
public:
  explicit future_call_task_with_return_value(std::shared_ptr<future_call_with_return_value<T>> call)
      : call_(std::move(call)) {}
  void run() override { call_->run(); }

private:
  std::shared_ptr<future_call_with_return_value<T>> call_;
};

template <typename T>
future_call<T> run_call(std::function<T()> function, class task_system& system,
                        uint8_t affinity = task::kAnyWorker, uint8_t priority = 0) {
  auto call = std::make_shared<future_call_with_return_value<T>>(std::move(function));
  std::future<T> future = call->get_future();
  auto call_task = std::make_shared<future_call_task_with_return_value<T>>(std::move(call));
  system.run_task(call_task, nullptr, affinity, priority);
  return future_call<T>(std::move(future), std::move(call_task));
}

} // namespace tv
