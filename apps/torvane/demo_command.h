#pragma once

#include "core_session.h"

namespace tv {

// torvane demo [--nodes N] [--depth D] [--frames F]: a built-in scene of animated transform
// hierarchies run through the frame protocol; prints frame time statistics, a checksum of the
// world matrices and the profiler's sections of the last frame.
int RunDemoCommand(int argc, char** argv, const HostOptions& host_options);

} // namespace tv
