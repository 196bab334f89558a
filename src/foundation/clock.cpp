#include "foundation/clock.h"

#include <chrono>

namespace tv {

time_ns time_now() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

const time_ns start_time = time_now();

time_ns time_since_start() { return time_now() - start_time; }

} // namespace tv
