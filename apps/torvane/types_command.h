#pragma once

#include "core_session.h"

namespace tv {

// torvane types [NAME]: the type registry, or one type in full, for people writing documents.
int RunTypesCommand(int argc, char** argv, const HostOptions& host_options);

} // namespace tv
