#pragma once
// The engine's random numbers: one process-wide xorshift generator (Marsaglia, period 2^96 − 1),
// without a lock. Calls from several threads at once are safe but may repeat or skip values; the
// sequence is reproducible only from one thread.

#include <cstdint>

namespace tv {

// The next output z modulo `range`. Rand(0) answers 0 and does not step the generator.
uint32_t Rand(uint32_t range);
// The low 16 bits of the next output as a fraction in [0, 1), times `range`.
float FRand(float range);
// The same fraction scaled to [low, high).
float FRRand(float low, float high);

// Puts the generator back to its starting state (123456789, 362436069, 521288629), for
// reproducible runs.
void ResetRand();

} // namespace tv
