#pragma once

#include "core_session.h"

namespace tv {

// torvane zip ls ARCHIVE [PATH] [WILDCARD] [-r] [--password PW]
// torvane zip cat ARCHIVE ENTRY [--password PW]
int RunZipCommand(int argc, char** argv, const HostOptions& host_options);
// torvane core ls [PATH] [WILDCARD] [-r]
// torvane core cat ENTRY
int RunCoreCommand(int argc, char** argv, const HostOptions& host_options);

} // namespace tv
