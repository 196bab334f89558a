#pragma once
// Assertions report through a replaceable handler and execution goes on behind the call.
// A plugin's handler is the host's after binding, so its failed assertions reach the host.

namespace tv {

using AssertHandler = void (*)(const char* file, int line, const char* function, const char* condition,
                               const char* detail);

// Does nothing: the static value of assert_handler before Init or binding installs a reporter.
void NullAssertHandler(const char* file, int line, const char* function, const char* condition,
                       const char* detail);

extern AssertHandler assert_handler;

} // namespace tv

#define __ASSERT__(condition)                                                          \
  do {                                                                                 \
    if (!(condition)) ::tv::assert_handler(__FILE__, __LINE__, __func__, #condition, nullptr); \
  } while (0)

#define __ASSERT_MSG__(condition, detail)                                              \
  do {                                                                                 \
    if (!(condition)) ::tv::assert_handler(__FILE__, __LINE__, __func__, #condition, (detail)); \
  } while (0)
