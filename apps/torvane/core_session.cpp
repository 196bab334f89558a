#include "core_session.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/lifecycle.h"
#include "file/filesystem.h"
#include "file/std_file_driver.h"
#include "foundation/globals.h"
#include "foundation/log_system.h"
#include "foundation/profiler.h"
#include "foundation/task_system.h"
#include "plugin/plugin_registry.h"

namespace tv {
namespace {

void StandardErrorPrint(const std::string& timestamp, const std::string& message, const std::string& type,
                        const std::string& details, uint32_t filter, bool print_details) {
  const std::string line = FormatLogLine(timestamp, message, type, details, filter, print_details);
  if (!line.empty()) std::fwrite(line.data(), 1, line.size(), stderr);
}

constexpr uint32_t kDebugLevel = 8;

// Init logs its banner before a host can choose where log lines go: let standard output point at
// standard error meanwhile.
void InitWithStandardOutputOnStandardError() {
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  if (saved >= 0) dup2(STDERR_FILENO, STDOUT_FILENO);
  Init(GetExecutablePath());
  std::fflush(stdout);
  if (saved >= 0) {
    dup2(saved, STDOUT_FILENO);
    close(saved);
  }
}

} // namespace

std::string GetExecutablePath() {
  char buffer[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
  return length > 0 ? std::string(buffer, size_t(length)) : std::string();
}

const char* HostOptionsHelp() {
  return "options of every command:\n"
         "  -v                    print debug lines of the log too\n"
         "  --log-details         print the details of log lines\n"
         "  --profile             print the profiler's sections of the run at the end\n"
         "  --plugins-path DIR    load plugins from DIR instead of the default paths (repeatable)\n"
         "  --blacklist PATTERN   don't load plugins whose file name matches PATTERN (repeatable)\n"
         "  --workers N           task workers (default: one per logical processor)\n";
}

bool ParseHostOptions(int& argc, char** argv, HostOptions& options) {
  int kept = 0;
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "-v") {
      options.verbose = true;
    } else if (arg == "--log-details") {
      options.log_details = true;
    } else if (arg == "--profile") {
      options.profile = true;
    } else if (arg == "--plugins-path" || arg == "--blacklist" || arg == "--workers") {
      if (i + 1 >= argc || argv[i + 1][0] == '\0') {
        std::fprintf(stderr, "torvane: option %s needs a value\n", arg.c_str());
        return false;
      }
      const std::string value = argv[++i];
      if (arg == "--plugins-path") {
        options.plugin_paths.push_back(value);
      } else if (arg == "--blacklist") {
        options.blacklist.push_back(value);
      } else {
        char* end = nullptr;
        const unsigned long workers = std::strtoul(value.c_str(), &end, 10);
        if (*end != '\0' || value[0] == '-' || workers > 255) {
          std::fprintf(stderr, "torvane: --workers wants a count from 0 to 255, not '%s'\n", value.c_str());
          return false;
        }
        options.workers = uint32_t(workers);
      }
    } else {
      argv[kept++] = argv[i];
    }
  }
  argc = kept;
  return true;
}

CoreSession::CoreSession(const HostOptions& options) : options_(options) {
  InitWithStandardOutputOnStandardError();
  log_system->print = &StandardErrorPrint;
  if (options_.verbose) log_system->SetLogFilter(log_system->filter.load() | kDebugLevel);
  log_system->SetLogDetails(options_.log_details);
  if (options_.profile) run_section_ = profiler->BeginSection("torvane.Run", "");

  task_system->start(options_.workers);
  // Relative paths resolve against the working folder, absolute ones as they are.
  filesystem->Mount(std::make_shared<StdFileDriver>());
  BlacklistPlugins(options_.blacklist);
  if (options_.plugin_paths.empty()) {
    plugin_count_ = LoadPlugins();
  } else {
    for (const std::string& folder : options_.plugin_paths) plugin_count_ += LoadPlugins(folder);
  }
}

CoreSession::~CoreSession() {
  if (options_.profile) {
    profiler->EndSection(run_section_);
    EndFrame();
    profiler->Lock();
    const std::string text = FormatProfilerFrame(profiler->last_frame);
    profiler->Unlock();
    std::fprintf(stderr, "%s", text.c_str());
  }
  Uninit();
}

} // namespace tv
