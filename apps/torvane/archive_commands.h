#pragma once

namespace tv {

// torvane zip ls ARCHIVE [PATH] [WILDCARD] [-r] [--password PW]
// torvane zip cat ARCHIVE ENTRY [--password PW]
int RunZipCommand(int argc, char** argv);
// torvane core ls [PATH] [WILDCARD] [-r]
// torvane core cat ENTRY
int RunCoreCommand(int argc, char** argv);

} // namespace tv
