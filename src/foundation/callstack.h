#pragma once
// Callstacks of the running process with symbol names and source lines, for assertion and crash
// reports. Not for hot paths: every call takes a process-wide lock and reads the module list.

#include <cstdint>
#include <string>
#include <vector>

#include <ucontext.h>

namespace tv {

struct CallstackFrame {
  // Full pointer width: a 32-bit address would truncate every code address of a 64-bit process.
  uintptr_t address = 0;
  std::string symbol;  // demangled; empty when the address lies in no known symbol
  std::string file;    // "Missing" when the module has no line data for the address
  uint32_t line = 0;
};

using Callstack = std::vector<CallstackFrame>;

// Innermost frame first, at most 128 frames before `skip` is applied. Without a `context` the
// walk starts at the caller of GetCallstack (skip 0 keeps it, skip 1 drops it). With a context
// (from getcontext, or the third argument of an SA_SIGINFO signal handler) it starts at the
// context's own instruction; the context's stack must still be live, so call this before
// leaving the frame or handler that saved it. Serialised across threads; not async-signal-safe
// (it allocates), which a crash reporter accepts as a last act.
void GetCallstack(Callstack& frames, uint32_t skip = 0, const ucontext_t* context = nullptr);

// One line per frame: "- FILE:LINE in SYMBOL (0xADDRESS)\n".
std::string to_string(const Callstack& frames);

} // namespace tv
