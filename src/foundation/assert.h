#pragma once
// Assertions report through a replaceable handler and execution goes on behind the call.
// A plugin's handler is the host's after binding, so its failed assertions reach the host.

#include <string>
#include <vector>

namespace tv {

struct CallstackFrame;  // foundation/callstack.h

using AssertHandler = void (*)(const char* file, int line, const char* function, const char* condition,
                               const char* detail);

// Does nothing: the static value of assert_handler before Init or binding installs a reporter.
void NullAssertHandler(const char* file, int line, const char* function, const char* condition,
                       const char* detail);

extern AssertHandler assert_handler;

// The report of a failed assertion, with the given callstack as its last part. Null texts read as
// empty; `detail` adds its paragraph only when not null.
std::string FormatAssertion(const char* file, int line, const char* function, const char* condition,
                            const char* detail, const std::vector<CallstackFrame>& callstack);

// The reporter that Init installs into assert_handler: writes the report with the current
// callstack (its first frame is this function, the next one the failed assertion's) to standard
// error under the title "Assertion failed", and returns, so the program goes on.
void ReportAssertion(const char* file, int line, const char* function, const char* condition,
                     const char* detail);

} // namespace tv

#define __ASSERT__(condition)                                                          \
  do {                                                                                 \
    if (!(condition)) ::tv::assert_handler(__FILE__, __LINE__, __func__, #condition, nullptr); \
  } while (0)

#define __ASSERT_MSG__(condition, detail)                                              \
  do {                                                                                 \
    if (!(condition)) ::tv::assert_handler(__FILE__, __LINE__, __func__, #condition, (detail)); \
  } while (0)
