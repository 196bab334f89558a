#pragma once

#include "core_session.h"

namespace tv {

// torvane info: the core's banner, loaded plugins, audio codecs, mounts and workers.
int RunInfoCommand(int argc, char** argv, const HostOptions& host_options);

} // namespace tv
