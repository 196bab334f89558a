#pragma once
// A unit of work for the task system, and a group of them that can be waited for.

#include <atomic>
#include <cstdint>
#include <memory>

namespace tv {

class task_set;

// Held by std::shared_ptr. The fields are set by the task system when the task is queued.
class task {
public:
  static constexpr uint8_t kAnyWorker = 255;

  virtual ~task() = default;
  virtual void run() = 0;
  // For diagnostics only: the base form prints the address into a static buffer.
  virtual const char* get_name();

  std::shared_ptr<task_set> set;
  uint8_t affinity = kAnyWorker;  // worker index, or any worker
  uint8_t priority = 0;           // larger runs earlier
  uint32_t queued_frame = 0;
  uint32_t aged_frame = 0;
};

// Counts the tasks and nested sets that haven't finished.
class task_set {
public:
  std::atomic<int32_t> pending{0};
};

} // namespace tv
