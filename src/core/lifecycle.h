#pragma once
// Start and end of the core: Init builds every global service in a fixed order and Uninit stops
// them in the order of who uses whom. Services are never freed: plugins may still hold objects
// in them whose code is gone, so nothing may touch those objects again.
//
// The host calls Init once from its main thread before anything else of the core, then starts the
// task system, mounts its file drivers and loads plugins; it calls EndFrame at the end of every
// frame and Uninit last.

#include <string>
#include <thread>

#include "foundation/clock.h"
#include "foundation/signal.h"

namespace tv {

// The program's folder, with a trailing "/".
extern std::string base_folder;
extern std::thread::id main_thread_id;
// Emitted at the very end of Init.
extern Signal<void()> on_core_ready;

// `program_path` is the program's path as the host knows it (argv[0], or empty).
void Init(const std::string& program_path);
void Uninit();
const std::string& GetBaseFolder();
// The folder of `program_path`, made absolute against the working folder, with a trailing "/":
// the last path piece always goes.
std::string BaseFolderOf(const std::string& program_path);

// Ends a frame: the end_frame signal, the profiler's frame, the frame duration, task aging.
void EndFrame();
time_ns GetLastFrameDuration();
float GetLastFrameDurationSec();
// So that the first frame after a long pause doesn't measure the pause.
void ResetLastFrameDuration();

// 0 idle, 1 below normal, 2 normal, 3 above normal, 4 high, 5 real time. False for another index
// or when the system refuses.
bool SetProcessPriority(uint32_t priority_class);
bool RaiseTimerResolution();
bool RestoreTimerResolution();

// The core's version, and the source revision it was built from (40 hexadecimal digits).
extern const char* const kCoreVersion;
extern const char* const kSourceId;

} // namespace tv
