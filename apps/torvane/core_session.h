#pragma once
// One run of the core as a host starts it: Init, workers, the working folder mounted, plugins
// loaded; and Uninit when the session ends. The log goes to standard error, so that standard
// output carries only what a command prints.

#include <cstdint>
#include <string>
#include <vector>

namespace tv {

// Options that every command takes.
struct HostOptions {
  bool verbose = false;      // -v: debug lines too
  bool log_details = false;  // --log-details
  bool profile = false;      // --profile: the profiler's sections of the run at the end
  std::vector<std::string> plugin_paths;  // --plugins-path DIR: scanned instead of the default paths
  std::vector<std::string> blacklist;     // --blacklist PATTERN
  uint32_t workers = 0;                   // --workers N; 0: one per logical processor
};

// Takes the host options out of argv wherever they stand, leaving the rest in order. False, with
// a line on standard error, for a malformed option.
bool ParseHostOptions(int& argc, char** argv, HostOptions& options);
// Lines for the usage text.
const char* HostOptionsHelp();

class CoreSession {
public:
  explicit CoreSession(const HostOptions& options);
  ~CoreSession();
  CoreSession(const CoreSession&) = delete;
  CoreSession& operator=(const CoreSession&) = delete;

  uint32_t GetPluginCount() const { return plugin_count_; }

private:
  HostOptions options_;
  uint32_t plugin_count_ = 0;
  int32_t run_section_ = -1;
};

// Path of the running executable.
std::string GetExecutablePath();

} // namespace tv
