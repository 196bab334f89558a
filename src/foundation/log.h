#pragma once
// The four log calls. Each writes through this module's `log_system` global and may be called
// from any thread; before a log system exists (a plugin not yet bound) they do nothing.

#include <string>

#include "foundation/format.h"

namespace tv {

void log(const std::string& message, const std::string& type = std::string(),
         const std::string& details = std::string());
void warn(const std::string& message, const std::string& details = std::string());
void error(const std::string& message, const std::string& details = std::string());
void debug(const std::string& message, const std::string& details = std::string());

} // namespace tv
