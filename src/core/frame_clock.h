#pragma once
// Times frames and keeps the durations of the last few, for a smoothed rate.

#include <array>
#include <cstddef>

#include "foundation/clock.h"

namespace tv {

template <size_t History>
class FrameClock {
public:
  FrameClock() { Start(); }

  void Start() {
    last_ = time_now();
    count_ = 0;
    next_ = 0;
  }
  // Ends a frame: records the time since the previous tick (or the start) and returns it.
  time_ns Tick() {
    const time_ns now = time_now();
    const time_ns duration = now - last_;
    last_ = now;
    samples_[next_] = duration;
    next_ = (next_ + 1) % History;
    if (count_ < History) ++count_;
    return duration;
  }
  // Mean of the recorded frames; 0 before the first tick.
  time_ns GetAverage() const {
    if (count_ == 0) return 0;
    time_ns sum = 0;
    for (size_t i = 0; i < count_; ++i) sum += samples_[i];
    return sum / time_ns(count_);
  }
  size_t GetSampleCount() const { return count_; }

private:
  time_ns last_ = 0;
  std::array<time_ns, History> samples_{};
  size_t count_ = 0;
  size_t next_ = 0;
};

} // namespace tv
