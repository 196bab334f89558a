#include "foundation/task_system.h"

#include <sched.h>

#include <algorithm>
#include <cstdio>

#include "foundation/format.h"
#include "foundation/log.h"
#include "foundation/thread_name.h"

namespace tv {
namespace {

// The worker that the calling thread is, if it is one.
thread_local task_system::worker* t_worker = nullptr;

void EraseOne(std::vector<task*>& tasks, task* t) {
  const auto found = std::find(tasks.begin(), tasks.end(), t);
  if (found == tasks.end()) return;
  // Swap with the last: the order of running tasks means nothing.
  std::swap(*found, tasks.back());
  tasks.pop_back();
}

} // namespace

const char* task::get_name() {
  static thread_local char buffer[32];
  std::snprintf(buffer, sizeof(buffer), "task @%p", static_cast<void*>(this));
  return buffer;
}

uint32_t GetLogicalProcessorCount() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (sched_getaffinity(0, sizeof(set), &set) != 0) return 1;
  const int count = CPU_COUNT(&set);
  return count > 0 ? uint32_t(count) : 1;
}

task_system::~task_system() { stop(); }

bool task_system::start(uint32_t count) {
  debug(format("Task system startup: %1 worker requested").arg(count));
  if (worker_count.load() != 0) return false;
  if (count == 0) count = GetLogicalProcessorCount();
  // Workers are addressed by an 8-bit affinity, 255 meaning any.
  count = std::min<uint32_t>(count, task::kAnyWorker);
  workers = std::make_unique<worker[]>(count);
  worker_count.store(count);
  for (uint32_t i = 0; i < count; ++i) {
    worker& w = workers[i];
    w.index = i;
    w.system = this;
    w.thread = std::thread([this, &w] { worker_loop(w); });
    while (w.state.load() == 0) std::this_thread::yield();
  }
  log(format("Task system started: %1 worker created").arg(count));
  return true;
}

// One lock round per task: the worker finishes a task's bookkeeping and takes the next one under
// the same hold of `mutex`. The finished task is released only once the lock is let go, so that
// its destruction (and freeing) never lengthens the hold.
void task_system::worker_loop(worker& self) {
  SetCurrentThreadName(format("Task worker #%1").arg(self.index));
  t_worker = &self;
  self.state.store(1);
  std::shared_ptr<task> finished;
  std::unique_lock<std::mutex> lock(mutex);
  for (;;) {
    bool wake_another = false;
    std::shared_ptr<task> t = take_task(self, lock, finished, wake_another);
    if (!t) break;
    lock.unlock();
    // Signalled after the unlock, so the woken worker doesn't run into the held lock.
    if (wake_another) work_available.notify_one();
    finished.reset();
    t->run();
    finish_task(t, lock);
    finished = std::move(t);
  }
  lock.unlock();
  finished.reset();
  t_worker = nullptr;
  self.state.store(0);
}

std::shared_ptr<task> task_system::take_task(worker& self, std::unique_lock<std::mutex>& lock,
                                             std::shared_ptr<task>& finished, bool& wake_another) {
  std::shared_ptr<task> t;
  for (;;) {
    // Holding `mutex`, the own queue can be looked at without its lock (see the header).
    if (!self.queue.empty()) {
      std::lock_guard<std::mutex> own(self.mutex);
      t = std::move(self.queue.front());
      self.queue.pop_front();
      break;
    }
    if (!queue.empty()) {
      t = std::move(queue.front());
      queue.pop_front();
      // More global work than this worker can take: pass the wake-up on to a sleeping one.
      wake_another = !queue.empty() && claim_sleeper_locked();
      break;
    }
    if (self.state.load() != 1) return nullptr;
    if (finished) {
      // Let go of the last task before sleeping, outside the lock; then look again.
      lock.unlock();
      finished.reset();
      lock.lock();
      continue;
    }
    ++sleeping_;
    work_available.wait(lock);
    --sleeping_;
    // Signalled or woken spuriously alike: at worst a later wake-up is signalled needlessly.
    if (wakes_pending_ != 0) --wakes_pending_;
  }
  running.push_back(t.get());
  return t;
}

bool task_system::claim_sleeper_locked() {
  if (sleeping_ <= wakes_pending_) return false;
  ++wakes_pending_;
  return true;
}

void task_system::insert_by_priority(std::deque<std::shared_ptr<task>>& tasks, std::shared_ptr<task> t) {
  // Behind the last task of equal or higher priority: equal priorities keep queueing order.
  auto at = tasks.end();
  while (at != tasks.begin() && (*(at - 1))->priority < t->priority) --at;
  tasks.insert(at, std::move(t));
}

void task_system::run_task(std::shared_ptr<task> t) {
  const std::shared_ptr<task_set> set = t->set;
  const uint8_t affinity = t->affinity;
  const uint8_t priority = t->priority;
  run_task(std::move(t), set, affinity, priority);
}

void task_system::run_task(std::shared_ptr<task> t, const std::shared_ptr<task_set>& set, uint8_t affinity,
                           uint8_t priority) {
  const uint32_t count = worker_count.load();
  if (affinity != task::kAnyWorker && count != 0 && affinity >= count) affinity = uint8_t(count - 1);
  t->affinity = affinity;
  t->priority = priority;
  t->queued_frame = frame.load();
  // A task queued again in the same set keeps its reference: no count traffic on a shared block.
  if (set && t->set != set) t->set = set;
  task_set* const member_of = t->set.get();
  const bool inline_run = count == 0 || (affinity != task::kAnyWorker && t_worker != nullptr &&
                                         t_worker->system == this && t_worker->index == affinity);
  bool helpers_waiting = false;
  bool wake_worker = false;
  // Counted before the task can be seen, outside the lock: the count is atomic.
  if (member_of != nullptr) member_of->pending.fetch_add(1);
  {
    std::unique_lock<std::mutex> lock(mutex);
    if (member_of != nullptr) {
      const auto active = std::find_if(active_sets.begin(), active_sets.end(),
                                       [&](const auto& s) { return s.get() == member_of; });
      if (active == active_sets.end()) active_sets.push_back(t->set);
    }
    if (inline_run) {
      // Counted as running, so that waiters on its set see it.
      running.push_back(t.get());
    } else if (worker_count.load() == 0 || workers[0].state.load() != 1) {
      // The pool is stopping: the task is dropped, and doesn't hold its set back.
      if (member_of != nullptr) complete_one_locked(t->set, lock);
      return;
    } else if (affinity == task::kAnyWorker) {
      // Only a queue that was empty needs a worker woken: otherwise one is awake or being woken,
      // and passes the wake-up on while work remains. Waking one per task would make the queueing
      // thread and the workers take turns on the processor.
      wake_worker = queue.empty() && claim_sleeper_locked();
      insert_by_priority(queue, std::move(t));
      helpers_waiting = waiters_ != 0;
    } else {
      std::lock_guard<std::mutex> own(workers[affinity].mutex);
      insert_by_priority(workers[affinity].queue, std::move(t));
    }
  }
  if (inline_run) {
    execute(t);
  } else if (affinity == task::kAnyWorker) {
    if (wake_worker) work_available.notify_one();
    // A thread waiting on a set helps with global work rather than sleep beside it.
    if (helpers_waiting) task_finished.notify_one();
  } else {
    work_available.notify_all();  // only that worker can take it: make sure it is among the woken
  }
}

void task_system::execute(const std::shared_ptr<task>& t) {
  t->run();
  std::unique_lock<std::mutex> lock(mutex, std::defer_lock);
  finish_task(t, lock);
}

template <typename Done>
void task_system::release_followers(std::vector<after_record<Done>>& records, const std::shared_ptr<Done>& done,
                                    std::unique_lock<std::mutex>& lock) {
  if (records.empty()) return;
  std::vector<after_record<Done>> ready;
  for (auto it = records.begin(); it != records.end();) {
    if (it->done == done) {
      ready.push_back(std::move(*it));
      it = records.erase(it);
    } else {
      ++it;
    }
  }
  if (ready.empty()) return;
  in_transit_ += ready.size();
  lock.unlock();
  for (after_record<Done>& record : ready) run_task(record.next, record.set, record.affinity, record.priority);
  lock.lock();
  in_transit_ -= ready.size();
  if (waiters_ != 0) task_finished.notify_all();
}

void task_system::finish_task(const std::shared_ptr<task>& t, std::unique_lock<std::mutex>& lock) {
  task_set* const set = t->set.get();
  // Records are entered before what they wait for is queued: with none at all, none waits for `t`,
  // and its set can be counted down without the lock unless this is its last member.
  const bool chains = after_task_count_.load(std::memory_order_acquire) != 0;
  const bool last = !chains && set != nullptr && set->pending.fetch_sub(1) == 1;
  lock.lock();
  EraseOne(running, t.get());
  if (chains) {
    release_followers(after_task, t, lock);
    count_after_task_records();
    if (set != nullptr) complete_one_locked(t->set, lock);
  } else if (last) {
    complete_set_locked(t->set, lock);
  }
  // Sleepers wait for a set to complete (complete_one wakes them) or for the pool to go idle;
  // waking them at every task would cost a context switch per task.
  if (waiters_ != 0 && running.empty() && queue.empty()) task_finished.notify_all();
}

// The records fire when what they wait for completes: enter them before queueing that.
void task_system::run_after(std::shared_ptr<task_set> done, std::shared_ptr<task> t, std::shared_ptr<task_set> set,
                            uint8_t affinity, uint8_t priority) {
  std::lock_guard<std::mutex> lock(mutex);
  after_set.push_back(after_set_record{std::move(done), std::move(t), std::move(set), affinity, priority});
}

void task_system::count_after_task_records() {
  after_task_count_.store(after_task.size(), std::memory_order_release);
}

void task_system::run_after(std::shared_ptr<task> done, std::shared_ptr<task> t, std::shared_ptr<task_set> set,
                            uint8_t affinity, uint8_t priority) {
  std::lock_guard<std::mutex> lock(mutex);
  after_task.push_back(after_task_record{std::move(done), std::move(t), std::move(set), affinity, priority});
  count_after_task_records();
}

void task_system::complete_after(std::shared_ptr<task_set> inner, std::shared_ptr<task_set> outer) {
  add_set(outer);
  std::lock_guard<std::mutex> lock(mutex);
  set_after_set.emplace_back(std::move(inner), std::move(outer));
}

void task_system::add_set(const std::shared_ptr<task_set>& set) {
  std::lock_guard<std::mutex> lock(mutex);
  if (std::find(active_sets.begin(), active_sets.end(), set) == active_sets.end()) active_sets.push_back(set);
  set->pending.fetch_add(1);
}

void task_system::complete_one(const std::shared_ptr<task_set>& set) {
  std::unique_lock<std::mutex> lock(mutex);
  complete_one_locked(set, lock);
}

void task_system::complete_one_locked(const std::shared_ptr<task_set>& set, std::unique_lock<std::mutex>& lock) {
  if (set->pending.fetch_sub(1) == 1) complete_set_locked(set, lock);
}

void task_system::complete_set_locked(const std::shared_ptr<task_set>& set, std::unique_lock<std::mutex>& lock) {
  // Keep the set alive while its records go: they may hold the last references.
  const std::shared_ptr<task_set> keep = set;
  release_followers(after_set, keep, lock);
  std::vector<std::shared_ptr<task_set>> outer;
  for (auto it = set_after_set.begin(); it != set_after_set.end();) {
    if (it->first == keep) {
      outer.push_back(std::move(it->second));
      it = set_after_set.erase(it);
    } else {
      ++it;
    }
  }
  for (const std::shared_ptr<task_set>& o : outer) complete_one_locked(o, lock);
  std::erase(active_sets, keep);
  if (waiters_ != 0) task_finished.notify_all();
}

bool task_system::has_parked_members_locked(const std::shared_ptr<task_set>& set) const {
  // Followers being queued right now belong to no list for a moment; their sets are unknown here.
  if (in_transit_ != 0) return true;
  for (const after_task_record& record : after_task)
    if (record.set == set) return true;
  for (const after_set_record& record : after_set)
    if (record.set == set) return true;
  return false;
}

bool task_system::is_pending_locked(const std::shared_ptr<task_set>& set) {
  if (has_parked_members_locked(set)) return true;
  auto of_set = [&](const std::shared_ptr<task>& t) { return t->set == set; };
  if (std::any_of(queue.begin(), queue.end(), of_set) ||
      std::any_of(running.begin(), running.end(), [&](const task* t) { return t->set == set; }))
    return true;
  for (uint32_t i = 0; i < worker_count.load(); ++i) {
    std::lock_guard<std::mutex> own(workers[i].mutex);
    if (std::any_of(workers[i].queue.begin(), workers[i].queue.end(), of_set)) return true;
  }
  return false;
}

bool task_system::is_pending(const std::shared_ptr<task_set>& set) {
  std::lock_guard<std::mutex> lock(mutex);
  return is_pending_locked(set);
}

bool task_system::run_one(std::unique_lock<std::mutex>& lock, const std::shared_ptr<task_set>& preferred) {
  if (queue.empty()) return false;
  auto at = queue.begin();
  if (preferred) {
    const auto of_set = std::find_if(queue.begin(), queue.end(), [&](const auto& t) { return t->set == preferred; });
    if (of_set != queue.end()) at = of_set;
  }
  std::shared_ptr<task> t = std::move(*at);
  queue.erase(at);
  running.push_back(t.get());
  lock.unlock();
  t->run();
  // The bookkeeping ends under the same hold that the caller goes on with.
  finish_task(t, lock);
  return true;
}

void task_system::wait(const std::shared_ptr<task_set>& set) {
  if (!set) return;
  std::unique_lock<std::mutex> lock(mutex);
  // Queued and running members are in the count; only followers still parked behind other tasks
  // or sets are not yet. (A member that has counted itself out may still be leaving `running`:
  // it is done, and a wait must not sleep on it.)
  while (set->pending.load() > 0 || has_parked_members_locked(set)) {
    if (!run_one(lock, set)) sleep_until_a_task_finishes(lock);
  }
}

void task_system::wait_for_all() {
  std::unique_lock<std::mutex> lock(mutex);
  for (;;) {
    size_t outstanding = queue.size() + running.size() + after_set.size() + after_task.size() + in_transit_;
    for (uint32_t i = 0; i < worker_count.load(); ++i) {
      std::lock_guard<std::mutex> own(workers[i].mutex);
      outstanding += workers[i].queue.size();
    }
    if (outstanding == 0) return;
    if (!run_one(lock, nullptr)) sleep_until_a_task_finishes(lock);
  }
}

void task_system::sleep_until_a_task_finishes(std::unique_lock<std::mutex>& lock) {
  ++waiters_;
  task_finished.wait(lock);
  --waiters_;
}

void task_system::age_worker_tasks(uint32_t count, uint32_t worker_index) {
  std::lock_guard<std::mutex> lock(mutex);
  if (worker_index >= worker_count.load()) return;
  worker& w = workers[worker_index];
  std::lock_guard<std::mutex> own(w.mutex);
  const uint32_t now = frame.load();
  std::vector<std::shared_ptr<task>> moved;
  for (auto it = w.queue.begin(); it != w.queue.end() && moved.size() < count;) {
    if (now - (*it)->queued_frame > 2) {
      moved.push_back(std::move(*it));
      it = w.queue.erase(it);
    } else {
      ++it;
    }
  }
  for (std::shared_ptr<task>& t : moved) {
    t->aged_frame = now;
    const auto equal = std::find_if(w.queue.begin(), w.queue.end(), [&](const auto& q) { return q->priority == t->priority; });
    if (t->priority < 255) ++t->priority;
    w.queue.insert(equal, std::move(t));
  }
}

void task_system::age_tasks(uint32_t count) {
  for (uint32_t i = 0; i < worker_count.load(); ++i) age_worker_tasks(count, i);
}

int32_t task_system::current_worker() const {
  return t_worker != nullptr && t_worker->system == this ? int32_t(t_worker->index) : -1;
}

void task_system::stop() {
  const uint32_t count = worker_count.load();
  if (count == 0) return;
  for (uint32_t i = 0; i < count; ++i) {
    if (t_worker == &workers[i]) throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    workers[i].state.store(2);
  }
  for (;;) {
    bool all_left = true;
    for (uint32_t i = 0; i < count; ++i) all_left = all_left && workers[i].state.load() == 0;
    if (all_left) break;
    {
      std::lock_guard<std::mutex> lock(mutex);
    }
    work_available.notify_all();
    std::this_thread::yield();
  }
  for (uint32_t i = 0; i < count; ++i)
    if (workers[i].thread.joinable()) workers[i].thread.join();
  std::lock_guard<std::mutex> lock(mutex);
  after_set.clear();
  after_task.clear();
  count_after_task_records();
  set_after_set.clear();
  queue.clear();
  for (uint32_t i = 0; i < count; ++i) workers[i].queue.clear();
  worker_count.store(0);
  workers.reset();
}

} // namespace tv
