#pragma once

#include "core_session.h"

namespace tv {

// torvane picture info FILE | torvane picture convert IN OUT [--format NAME]
int RunPictureCommand(int argc, char** argv, const HostOptions& host_options);

} // namespace tv
