#include "math/random.h"

#include <atomic>

namespace tv {

namespace {

// Relaxed atomics rather than plain integers: no lock and no ordering, but concurrent callers are
// not undefined behaviour.
std::atomic<uint32_t> state_x{123456789}, state_y{362436069}, state_z{521288629};

uint32_t Step() {
  const uint32_t x = state_x.load(std::memory_order_relaxed);
  const uint32_t y = state_y.load(std::memory_order_relaxed);
  const uint32_t z = state_z.load(std::memory_order_relaxed);
  uint32_t t = x ^ (x << 16);
  t ^= t >> 5;
  t ^= t << 1;
  // x = y; y = z; z = t ^ x ^ y, with the new x and y.
  const uint32_t next = t ^ y ^ z;
  state_x.store(y, std::memory_order_relaxed);
  state_y.store(z, std::memory_order_relaxed);
  state_z.store(next, std::memory_order_relaxed);
  return next;
}

float Fraction() { return float(Step() & 0xffff) * (1.0f / 65536.0f); }

} // namespace

uint32_t Rand(uint32_t range) { return range == 0 ? 0 : Step() % range; }

float FRand(float range) { return Fraction() * range; }

float FRRand(float low, float high) { return Fraction() * (high - low) + low; }

void ResetRand() {
  state_x.store(123456789, std::memory_order_relaxed);
  state_y.store(362436069, std::memory_order_relaxed);
  state_z.store(521288629, std::memory_order_relaxed);
}

} // namespace tv
