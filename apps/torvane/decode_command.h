#pragma once

#include "core_session.h"

namespace tv {

// torvane decode FILE.wav [-o OUT] [--seek SECONDS] [--info]
int RunDecodeCommand(int argc, char** argv, const HostOptions& host_options);

} // namespace tv
