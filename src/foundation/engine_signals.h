#pragma once
// Renderer life and the end of each frame, announced to the host and plugins; and the frame clock.

#include <atomic>

#include "foundation/clock.h"
#include "foundation/signal.h"

namespace tv {

class Renderer;

struct EngineSignals {
  Signal<void(Renderer&)> new_renderer;     // from the Renderer constructor
  Signal<void(Renderer&)> delete_renderer;  // from the Renderer destructor
  Signal<void()> end_frame;                 // from EndFrame
  // Written by the main thread and read by render workers, hence atomic.
  std::atomic<time_ns> frame_duration{0};  // length of the last frame
  std::atomic<time_ns> frame_time{0};      // clock at the last EndFrame
  Signal<void()> reserved_signal_a;
  Signal<void()> reserved_signal_b;
};

} // namespace tv
