#pragma once
// Names of the process's threads: kept in a map for reports, and given to the operating system
// (which keeps 15 bytes of it) so that debuggers and `top -H` show them.

#include <string>
#include <thread>

namespace tv {

void SetCurrentThreadName(const std::string& name);
// The name recorded for a thread, or empty.
std::string GetThreadName(std::thread::id id);

} // namespace tv
