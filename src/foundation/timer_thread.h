#pragma once
// A thread for delayed and repeating calls, ticking every `tick` nanoseconds.
//
// Calls run on the timer thread with `mutex` held: they must be short (they delay each other) and
// must not add or remove timers.

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "foundation/clock.h"

namespace tv {

class timer_thread {
public:
  using Call = std::function<void()>;

  explicit timer_thread(std::string name);
  ~timer_thread();
  timer_thread(const timer_thread&) = delete;
  timer_thread& operator=(const timer_thread&) = delete;

  // Sets `tick` and starts the thread, if it isn't running.
  void start(time_ns tick);
  // Clears `state` and joins; the calls are destroyed.
  void stop();

  // Calls `call` every `period`, first after `remaining`. Returns the id: the index of the timer.
  int32_t add_repeating(Call call, time_ns period, time_ns remaining);
  void add_delayed(Call call, time_ns delay);
  // Erases timer `id`; the ids of later timers move down by one.
  void remove_repeating(int32_t id);

  // True while the calling thread runs a timer call (the timer mutex is held: adding or removing
  // a timer now would deadlock).
  static bool in_timer_call();

  // One round of the loop as if `dt` had passed: delayed calls that are due run and go; repeating
  // calls run once for each period they are due, so a timer that fell behind catches up.
  void advance(time_ns dt);

  struct delayed_call {
    Call call;
    time_ns remaining;
  };
  struct repeating_call {
    Call call;
    time_ns period;
    time_ns remaining;
  };

  std::string name;
  std::thread thread;
  std::atomic<int> state{0};
  std::mutex mutex;
  std::atomic<time_ns> tick{1000000};
  std::vector<delayed_call> delayed;
  std::vector<repeating_call> repeating;

private:
  void loop();
  void advance_locked(time_ns dt);
};

} // namespace tv
