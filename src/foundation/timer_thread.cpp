#include "foundation/timer_thread.h"

#include <algorithm>
#include <chrono>

#include "foundation/thread_name.h"

namespace tv {
namespace {

thread_local int t_timer_calls = 0;

// Marks the calling thread as inside a timer call for the life of the object.
struct InTimerCall {
  InTimerCall() { ++t_timer_calls; }
  ~InTimerCall() { --t_timer_calls; }
};

} // namespace

bool timer_thread::in_timer_call() { return t_timer_calls != 0; }

timer_thread::timer_thread(std::string name) : name(std::move(name)) {}

timer_thread::~timer_thread() { stop(); }

void timer_thread::start(time_ns new_tick) {
  tick.store(new_tick);
  if (thread.joinable()) return;
  state.store(1);
  thread = std::thread([this] { loop(); });
}

void timer_thread::stop() {
  state.store(0);
  if (thread.joinable()) thread.join();
}

int32_t timer_thread::add_repeating(Call call, time_ns period, time_ns remaining) {
  std::lock_guard<std::mutex> lock(mutex);
  repeating.push_back(repeating_call{std::move(call), period, remaining});
  return int32_t(repeating.size() - 1);
}

void timer_thread::add_delayed(Call call, time_ns delay) {
  std::lock_guard<std::mutex> lock(mutex);
  delayed.push_back(delayed_call{std::move(call), delay});
}

void timer_thread::remove_repeating(int32_t id) {
  std::lock_guard<std::mutex> lock(mutex);
  if (id >= 0 && size_t(id) < repeating.size()) repeating.erase(repeating.begin() + id);
}

void timer_thread::advance(time_ns dt) {
  std::lock_guard<std::mutex> lock(mutex);
  advance_locked(dt);
}

void timer_thread::advance_locked(time_ns dt) {
  const InTimerCall calling;
  for (auto it = delayed.begin(); it != delayed.end();) {
    it->remaining -= dt;
    if (it->remaining <= 0) {
      it->call();
      it = delayed.erase(it);
    } else {
      ++it;
    }
  }
  for (repeating_call& timer : repeating) {
    timer.remaining -= dt;
    // A period of 0 or less would never catch up: such a timer runs once a round.
    while (timer.remaining <= 0) {
      timer.call();
      timer.remaining += std::max<time_ns>(timer.period, 1);
      if (timer.period <= 0) {
        timer.remaining = 0;
        break;
      }
    }
  }
}

void timer_thread::loop() {
  SetCurrentThreadName(name);
  time_ns last = time_now();
  time_ns dt = 0;
  while (state.load() == 1) {
    {
      std::lock_guard<std::mutex> lock(mutex);
      advance_locked(dt);
      const time_ns now = time_now();
      dt = std::max<time_ns>(now - last, 0);
      last = now;
    }
    std::this_thread::sleep_for(std::chrono::nanoseconds(tick.load()));
  }
  std::lock_guard<std::mutex> lock(mutex);
  delayed.clear();
  repeating.clear();
}

} // namespace tv
