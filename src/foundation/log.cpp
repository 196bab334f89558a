#include "foundation/log.h"

#include "foundation/globals.h"
#include "foundation/log_system.h"

namespace tv {

void log(const std::string& message, const std::string& type, const std::string& details) {
  if (log_system != nullptr) log_system->Write(message, type, details);
}

void warn(const std::string& message, const std::string& details) { log(message, "warn", details); }
void error(const std::string& message, const std::string& details) { log(message, "error", details); }
void debug(const std::string& message, const std::string& details) { log(message, "debug", details); }

} // namespace tv
