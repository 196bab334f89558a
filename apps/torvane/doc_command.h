#pragma once

#include "core_session.h"

namespace tv {

// torvane doc cat FILE: a document of any form as an indented tree of scopes and typed values.
// torvane doc convert IN OUT [--format F]: a document copied into another form.
int RunDocCommand(int argc, char** argv, const HostOptions& host_options);

} // namespace tv
