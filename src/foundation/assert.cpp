#include "foundation/assert.h"

#include <cstdio>

#include "foundation/callstack.h"
#include "foundation/format.h"

namespace tv {

void NullAssertHandler(const char*, int, const char*, const char*, const char*) {}

std::string FormatAssertion(const char* file, int line, const char* function, const char* condition,
                            const char* detail, const Callstack& callstack) {
  auto text = [](const char* value) { return value ? value : ""; };
  // Concatenated, not format()-ed: a condition or detail holding "%2" must come out as written.
  std::string report = "ASSERT(";
  report += text(condition);
  report += ") failed!\n\nFile: ";
  report += text(file);
  report += "\nLine ";
  report += format("%1").arg(int32_t(line)).str();
  report += " in function '";
  report += text(function);
  report += "'\n";
  if (detail != nullptr) {
    report += "\nDetail: ";
    report += detail;
    report += "\n";
  }
  report += "\nCallstack:\n";
  report += to_string(callstack);
  return report;
}

void ReportAssertion(const char* file, int line, const char* function, const char* condition,
                     const char* detail) {
  Callstack callstack;
  GetCallstack(callstack, 0);
  // Standard error stands in for a message box titled "Assertion failed": one write, flushed, then
  // execution goes on.
  const std::string report =
      "Assertion failed\n" + FormatAssertion(file, line, function, condition, detail, callstack);
  std::fwrite(report.data(), 1, report.size(), stderr);
  std::fflush(stderr);
}

} // namespace tv
