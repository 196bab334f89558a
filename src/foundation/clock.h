#pragma once
// The system's unit of time is the signed 64-bit nanosecond.

#include <cstdint>

namespace tv {

using time_ns = int64_t;

// Clock reading taken during static initialisation of this module: 0 of time_since_start().
extern const time_ns start_time;

// Monotonic high-resolution clock.
time_ns time_now();
time_ns time_since_start();

} // namespace tv
