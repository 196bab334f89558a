#pragma once
// A fixed pool of worker threads. Tasks go to a global queue that any worker takes from, or to one
// worker's own queue; both are ordered by priority (equal priorities in queueing order). Tasks
// bound to a worker age with the frames so they can't starve. A thread waiting on a set runs global
// tasks instead of sleeping.
//
// Every queue, the workers' included, is changed only with `mutex` held, so a thread holding it may
// look at a worker's queue without that worker's mutex; the worker mutexes still guard each change.
// A set's `pending` count is atomic and moves outside the lock where it can: a task counts itself in
// before it is queued, and a finished task counts itself out unlocked unless it is the set's last
// member or chains exist (its followers join their sets first, so a set can't empty in between).
// Whatever the count reaching 0 releases is done under `mutex`.
//
// Every operation may be called from any thread, workers included; `run` of a task is called with
// no lock held, so tasks may queue tasks and wait. Lock order: `mutex`, then a worker's mutex.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "foundation/task.h"

namespace tv {

class task_system {
public:
  struct worker {
    uint32_t index = 0;
    task_system* system = nullptr;
    std::thread thread;
    std::atomic<int> state{0};  // 0 not started, 1 running, 2 stop requested
    std::mutex mutex;
    std::deque<std::shared_ptr<task>> queue;  // sorted by priority
  };

  task_system() = default;
  ~task_system();
  task_system(const task_system&) = delete;
  task_system& operator=(const task_system&) = delete;

  // Starts `count` workers (0: one per logical processor of this process's CPU affinity) and
  // returns once all run. False if already started.
  bool start(uint32_t count);
  // Stops and joins the workers; tasks still queued are dropped, not run.
  void stop();

  // Queues `t` as a member of `set` (may be null) for worker `affinity` (255: any) at `priority`.
  // Without workers, or when bound to the calling worker itself, it runs at once on this thread.
  void run_task(std::shared_ptr<task> t, const std::shared_ptr<task_set>& set, uint8_t affinity, uint8_t priority);
  // Queues `t` with the set, affinity and priority that it holds.
  void run_task(std::shared_ptr<task> t);
  // Queues `t` when every task of `done` has finished. Records fire when what they wait for
  // completes, so enter them before queueing that.
  void run_after(std::shared_ptr<task_set> done, std::shared_ptr<task> t, std::shared_ptr<task_set> set,
                 uint8_t affinity, uint8_t priority);
  // Queues `t` when the task `done` has run.
  void run_after(std::shared_ptr<task> done, std::shared_ptr<task> t, std::shared_ptr<task_set> set,
                 uint8_t affinity, uint8_t priority);
  // Nests `inner` in `outer`: `outer` counts one more pending member until `inner` is done
  // (enter it before `inner` can complete).
  void complete_after(std::shared_ptr<task_set> inner, std::shared_ptr<task_set> outer);

  // Enters `set` among the active sets and counts one more pending member on it.
  void add_set(const std::shared_ptr<task_set>& set);
  // Counts one member of `set` done; at the last, releases what waits for the set.
  void complete_one(const std::shared_ptr<task_set>& set);
  // Whether a task of `set` is queued, running or waiting for another task or set.
  bool is_pending(const std::shared_ptr<task_set>& set);
  // Returns when `set` is done, running global tasks on this thread meanwhile.
  void wait(const std::shared_ptr<task_set>& set);
  // Returns when nothing is queued, running or waiting anywhere, helping meanwhile.
  void wait_for_all();

  // Moves up to `count` tasks waiting more than two frames on a worker one step of priority up.
  void age_worker_tasks(uint32_t count, uint32_t worker_index);
  void age_tasks(uint32_t count);

  uint32_t get_worker_count() const { return worker_count.load(); }
  // Index of the worker running the calling thread, or -1 when it isn't one of this pool's.
  int32_t current_worker() const;

  std::mutex mutex;
  std::condition_variable work_available;
  std::condition_variable task_finished;
  // Queues are deques: taken from the front, inserted by priority from the back.
  std::deque<std::shared_ptr<task>> queue;
  // Tasks being run, wherever they run; the thread running one holds its reference.
  std::vector<task*> running;
  std::vector<std::shared_ptr<task_set>> active_sets;

  // A task queued, with its set, affinity and priority, once `done` (a task or a set) completes.
  template <typename Done>
  struct after_record {
    std::shared_ptr<Done> done;
    std::shared_ptr<task> next;
    std::shared_ptr<task_set> set;
    uint8_t affinity;
    uint8_t priority;
  };
  using after_set_record = after_record<task_set>;
  using after_task_record = after_record<task>;
  std::vector<after_set_record> after_set;
  std::vector<after_task_record> after_task;
  std::vector<std::pair<std::shared_ptr<task_set>, std::shared_ptr<task_set>>> set_after_set;  // (done, outer)

  std::atomic<uint32_t> worker_count{0};
  std::unique_ptr<worker[]> workers;
  std::atomic<uint32_t> frame{0};

private:
  uint32_t waiters_ = 0;   // threads asleep on task_finished; guarded by `mutex`
  uint32_t sleeping_ = 0;  // workers asleep on work_available; guarded by `mutex`
  // Wake-ups signalled on work_available that no worker has returned from yet; guarded by
  // `mutex`. A signalled worker stays counted in sleeping_ until it has the lock again, and
  // signalling it once more meanwhile would be a wasted system call.
  uint32_t wakes_pending_ = 0;
  // With `mutex` held: whether a sleeping worker has no wake-up on its way; if so, one is counted
  // as sent (signal work_available once unlocked).
  bool claim_sleeper_locked();
  // Followers taken out of the after lists and not yet queued (queueing needs the lock released).
  size_t in_transit_ = 0;
  // Mirror of after_task.size(), read without the lock by a finishing task.
  std::atomic<size_t> after_task_count_{0};
  // With `mutex` held, after `after_task` changed: brings the mirror up to date.
  void count_after_task_records();

  void sleep_until_a_task_finishes(std::unique_lock<std::mutex>& lock);
  void worker_loop(worker& self);
  // With `mutex` held: the next task for `self`, waiting for one; null when asked to stop.
  // `finished` (the worker's last task) is released outside the lock before any sleep.
  // `wake_another` tells that global work is left for a sleeping worker (signal it once unlocked).
  std::shared_ptr<task> take_task(worker& self, std::unique_lock<std::mutex>& lock, std::shared_ptr<task>& finished,
                                  bool& wake_another);
  // Runs `t` and does its bookkeeping.
  void execute(const std::shared_ptr<task>& t);
  // With `mutex` held: queues the records of `records` that wait for `done` (releasing the lock
  // while queueing; meanwhile they count as in transit).
  template <typename Done>
  void release_followers(std::vector<after_record<Done>>& records, const std::shared_ptr<Done>& done,
                         std::unique_lock<std::mutex>& lock);
  // After `t` ran, with `lock` not held: releases its followers and counts it done in its set.
  // Returns with `lock` held.
  void finish_task(const std::shared_ptr<task>& t, std::unique_lock<std::mutex>& lock);
  void complete_one_locked(const std::shared_ptr<task_set>& set, std::unique_lock<std::mutex>& lock);
  // With `mutex` held, once `set` has no member left: releases what waits for it.
  void complete_set_locked(const std::shared_ptr<task_set>& set, std::unique_lock<std::mutex>& lock);
  bool is_pending_locked(const std::shared_ptr<task_set>& set);
  // With `mutex` held: whether a follower of `set` waits in the after lists or is being queued,
  // so that the set's count doesn't include it yet.
  bool has_parked_members_locked(const std::shared_ptr<task_set>& set) const;
  // Takes the first global task (or the first of `preferred`) and runs it with `lock` released.
  bool run_one(std::unique_lock<std::mutex>& lock, const std::shared_ptr<task_set>& preferred);
  static void insert_by_priority(std::deque<std::shared_ptr<task>>& queue, std::shared_ptr<task> t);
};

// Logical processors this process may run on.
uint32_t GetLogicalProcessorCount();

} // namespace tv
