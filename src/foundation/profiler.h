#pragma once
// The frame profiler: named sections opened and closed on any thread, gathered per frame.
//
// Sections of one frame accumulate under `mutex`; EndFrame() turns them into `last_frame` (one task
// per distinct name, with its summed duration) and starts the next frame with the same storage.
// A debug window reading `last_frame` holds the lock through Lock()/Unlock() while it does.

#include <array>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "foundation/clock.h"

namespace tv {

struct ProfilerSection {
  std::thread::id thread;
  time_ns start = 0;  // time_since_start() when opened
  time_ns end = 0;    // time_since_start() when closed; 0 while open
  std::string details;
};

// One per distinct name in the current frame.
struct ProfilerName {
  std::string name;
  std::vector<uint32_t> sections;  // indices into Profiler::sections
};

// A name's share of an ended frame.
struct ProfilerTask {
  std::string name;
  time_ns duration = 0;            // sum of end - start over its sections
  std::vector<uint32_t> sections;  // indices into ProfilerFrame::sections
};

struct ProfilerFrame {
  uint32_t frame = 0;
  std::vector<ProfilerSection> sections;
  std::vector<ProfilerTask> tasks;  // sorted by name, byte-wise
  time_ns start = 0;                // earliest section start; 0 for a frame without sections
  time_ns end = 0;                  // latest section end; 0 for a frame without sections
};

// 32-bit FNV-1a of the name's bytes; its low 8 bits pick the bucket.
uint32_t ProfilerNameHash(std::string_view name);

class Profiler {
public:
  static constexpr uint32_t kBucketCount = 256;

  Profiler() = default;
  Profiler(const Profiler&) = delete;
  Profiler& operator=(const Profiler&) = delete;

  // Opens a section of `name` on the calling thread; returns its index in `sections`.
  uint32_t BeginSection(std::string_view name, std::string_view details);
  // Closes section `index` of the current frame. An index of a frame that has since ended is out of
  // range (ignored) or closes a section of the new frame: close sections before the frame ends.
  void EndSection(uint32_t index);
  // Publishes the current frame as `last_frame` (sections still open end now) and starts the next.
  void EndFrame();

  void Lock() { mutex.lock(); }
  void Unlock() { mutex.unlock(); }

  std::mutex mutex;
  std::array<std::vector<uint32_t>, kBucketCount> buckets;  // indices into `names`
  std::vector<ProfilerName> names;
  std::vector<ProfilerSection> sections;  // in opening order
  uint32_t frame = 0;                     // frames ended
  ProfilerFrame last_frame;
};

// A section of the global `profiler` for the life of the object, or until End().
// Does nothing when there is no profiler.
class ProfilerPerfSection {
public:
  explicit ProfilerPerfSection(std::string_view name, std::string_view details = {});
  ~ProfilerPerfSection() { End(); }
  ProfilerPerfSection(const ProfilerPerfSection&) = delete;
  ProfilerPerfSection& operator=(const ProfilerPerfSection&) = delete;

  // Closes the section now; later calls and the destructor do nothing.
  void End();

  bool active = false;
  uint32_t index = 0;
};

// One line per task, in the tasks' order: name (padded to the longest), total milliseconds with
// three decimals, number of sections. Empty for a frame without tasks.
std::string FormatProfilerFrame(const ProfilerFrame& frame);

} // namespace tv
