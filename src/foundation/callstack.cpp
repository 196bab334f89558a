#include "foundation/callstack.h"

#include <cxxabi.h>
#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>
#include <fcntl.h>
#include <link.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "foundation/format.h"

// libdw both walks the stack (from the CFI of every loaded module, with frame pointers as its
// fallback) and names the frames. A walk through libdw rather than an unwinder library keeps the
// process's C++ exception unwinding untouched: the system unwinder library exports the
// _Unwind_* entry points itself and would take over every throw of the program that links it.
#if !defined(__x86_64__)
#error "callstack.cpp: map the processor context to DWARF registers for this architecture"
#endif

namespace tv {
namespace {

constexpr size_t kMaxFrames = 128;
constexpr size_t kMaxSymbolLength = 2000;
// DWARF register numbers 0..15 (rax, rdx, rcx, rbx, rsi, rdi, rbp, rsp, r8..r15) and 16, the
// return address column, which the walk reads as the program counter of the first frame.
constexpr unsigned kRegisterCount = 17;

// What the thread callbacks need for one walk; filled under the lock before each walk.
struct WalkRequest {
  pid_t tid = 0;
  Dwarf_Word registers[kRegisterCount] = {};
};

// The loader's counts of objects loaded and unloaded so far; a change means the module list that
// libdw holds is stale.
struct LoadCounts {
  unsigned long long adds = 0;
  unsigned long long subs = 0;
  bool operator==(const LoadCounts&) const = default;
};

struct SymbolState {
  std::mutex mutex;
  Dwfl* dwfl = nullptr;
  LoadCounts counts;  // the loader's counts when dwfl was built
  pid_t pid = 0;      // the process it was built for: a forked child builds its own
  int probe_pipe[2] = {-1, -1};
  WalkRequest request;
};

SymbolState& State() {
  // Never destroyed: a report may be taken while static objects are being torn down.
  static SymbolState* state = new SymbolState;
  return *state;
}

// Reads one word of this process without faulting on a bad address: the stack being walked may be
// the corrupt one of a crash. process_vm_readv on the own process needs no ptrace permission; where
// a sandbox refuses it, a pipe write checks the address instead (EFAULT rather than a fault). Both
// use the raw system calls so that sanitizer interceptors don't check the bytes they copy.
bool ReadWord(SymbolState& state, Dwarf_Addr address, Dwarf_Word* result) {
  Dwarf_Word value = 0;
  iovec local{&value, sizeof(value)};
  iovec remote{reinterpret_cast<void*>(uintptr_t(address)), sizeof(value)};
  const long copied = syscall(SYS_process_vm_readv, getpid(), &local, 1UL, &remote, 1UL, 0UL);
  if (copied == long(sizeof(value))) {
    *result = value;
    return true;
  }
  if (copied >= 0 || (errno != ENOSYS && errno != EPERM)) return false;
  if (state.probe_pipe[0] < 0) return false;
  if (syscall(SYS_write, state.probe_pipe[1], remote.iov_base, sizeof(value)) != long(sizeof(value)))
    return false;
  if (syscall(SYS_read, state.probe_pipe[0], &value, sizeof(value)) != long(sizeof(value)))
    return false;
  *result = value;
  return true;
}

pid_t NextThread(Dwfl*, void* dwfl_arg, void** thread_arg) {
  if (*thread_arg != nullptr) return 0;  // the walked thread is the only one
  *thread_arg = dwfl_arg;
  return static_cast<WalkRequest*>(dwfl_arg)->tid;
}

bool GetThread(Dwfl*, pid_t tid, void* dwfl_arg, void** thread_arg) {
  *thread_arg = dwfl_arg;
  return tid == static_cast<WalkRequest*>(dwfl_arg)->tid;
}

bool MemoryRead(Dwfl*, Dwarf_Addr address, Dwarf_Word* result, void*) {
  return ReadWord(State(), address, result);
}

bool SetInitialRegisters(Dwfl_Thread* thread, void* thread_arg) {
  const WalkRequest& request = *static_cast<WalkRequest*>(thread_arg);
  if (!dwfl_thread_state_registers(thread, 0, kRegisterCount, request.registers)) return false;
  dwfl_thread_state_register_pc(thread, request.registers[16]);
  return true;
}

const Dwfl_Callbacks kModuleCallbacks = {
    dwfl_linux_proc_find_elf,
    dwfl_standard_find_debuginfo,
    nullptr,  // section_address: only for relocatable files
    nullptr,  // debuginfo_path: the default (beside the file, .debug/, /usr/lib/debug)
};

const Dwfl_Thread_Callbacks kThreadCallbacks = {
    NextThread, GetThread, MemoryRead, SetInitialRegisters, nullptr, nullptr,
};

LoadCounts CurrentLoadCounts() {
  LoadCounts counts;
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t size, void* arg) {
        if (size >= offsetof(dl_phdr_info, dlpi_subs) + sizeof(info->dlpi_subs))
          *static_cast<LoadCounts*>(arg) = {info->dlpi_adds, info->dlpi_subs};
        return 1;  // the counts are the same in every entry
      },
      &counts);
  return counts;
}

// Builds the symbol handler on first use, and again whenever shared objects were loaded or unloaded
// since (plugins come and go) or the process forked. It is built anew rather than re-reported: libdw's incremental
// re-report of an unchanged process has been seen to lose the modules' data.
bool Prepare(SymbolState& state) {
  const LoadCounts counts = CurrentLoadCounts();
  if (state.dwfl != nullptr && counts == state.counts && state.pid == getpid()) return true;
  if (state.dwfl != nullptr) {
    dwfl_end(state.dwfl);
    state.dwfl = nullptr;
  }
  if (state.probe_pipe[0] < 0 && pipe2(state.probe_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
    state.probe_pipe[0] = state.probe_pipe[1] = -1;
  Dwfl* dwfl = dwfl_begin(&kModuleCallbacks);
  if (dwfl == nullptr) return false;
  dwfl_report_begin(dwfl);
  const int reported = dwfl_linux_proc_report(dwfl, getpid());
  if (dwfl_report_end(dwfl, nullptr, nullptr) != 0 || reported != 0 ||
      !dwfl_attach_state(dwfl, nullptr, getpid(), &kThreadCallbacks, &state.request)) {
    dwfl_end(dwfl);
    return false;
  }
  state.dwfl = dwfl;
  state.counts = counts;
  state.pid = getpid();
  return true;
}

void LoadRegisters(const ucontext_t& context, Dwarf_Word* registers) {
  const greg_t* g = context.uc_mcontext.gregs;
  const int order[kRegisterCount] = {REG_RAX, REG_RDX, REG_RCX, REG_RBX, REG_RSI, REG_RDI,
                                     REG_RBP, REG_RSP, REG_R8,  REG_R9,  REG_R10, REG_R11,
                                     REG_R12, REG_R13, REG_R14, REG_R15, REG_RIP};
  for (unsigned i = 0; i < kRegisterCount; ++i) registers[i] = Dwarf_Word(g[order[i]]);
}

struct RawFrame {
  Dwarf_Addr pc;
  bool activation;  // false: pc is a return address, the call lies just before it
};

struct WalkResult {
  RawFrame frames[kMaxFrames + 1];
  size_t count = 0;
  size_t limit = 0;
};

int CollectFrame(Dwfl_Frame* frame, void* arg) {
  WalkResult& walk = *static_cast<WalkResult*>(arg);
  Dwarf_Addr pc = 0;
  bool activation = false;
  if (!dwfl_frame_pc(frame, &pc, &activation) || pc == 0) return DWARF_CB_ABORT;
  walk.frames[walk.count++] = {pc, activation};
  return walk.count < walk.limit ? DWARF_CB_OK : DWARF_CB_ABORT;
}

std::string Demangle(const char* name) {
  // Dynamic symbols carry their version ("memcpy@@GLIBC_2.14"); the name alone is what is meant.
  const std::string plain(name, std::strcspn(name, "@"));
  int status = 0;
  char* demangled = abi::__cxa_demangle(plain.c_str(), nullptr, nullptr, &status);
  std::string result = (status == 0 && demangled != nullptr) ? demangled : plain;
  std::free(demangled);
  if (result.size() > kMaxSymbolLength) result.resize(kMaxSymbolLength);
  return result;
}

void Describe(Dwfl* dwfl, const RawFrame& raw, CallstackFrame& frame) {
  frame.address = uintptr_t(raw.pc);
  frame.symbol.clear();
  frame.file = "Missing";
  frame.line = 0;
  // A return address may already belong to the next function (after a call that never returns).
  const Dwarf_Addr lookup = raw.activation ? raw.pc : raw.pc - 1;
  Dwfl_Module* module = dwfl_addrmodule(dwfl, lookup);
  if (module == nullptr) return;
  GElf_Off offset = 0;
  GElf_Sym symbol;
  if (const char* name = dwfl_module_addrinfo(module, lookup, &offset, &symbol, nullptr, nullptr, nullptr))
    frame.symbol = Demangle(name);
  // libdw answers with the nearest line of some unit even for code that no unit covers (start-up
  // code, objects built without debug data): only an address inside its unit's ranges has a line.
  Dwarf_Addr bias = 0;
  Dwarf_Die* unit = dwfl_module_addrdie(module, lookup, &bias);
  if (unit == nullptr || dwarf_haspc(unit, lookup - bias) <= 0) return;
  Dwfl_Line* line = dwfl_module_getsrc(module, lookup);
  if (line == nullptr) return;
  int line_number = 0;
  const char* file = dwfl_lineinfo(line, nullptr, &line_number, nullptr, nullptr, nullptr);
  if (file == nullptr) return;
  frame.file = file;
  frame.line = line_number > 0 ? uint32_t(line_number) : 0;
}

} // namespace

void GetCallstack(Callstack& frames, uint32_t skip, const ucontext_t* context) {
  SymbolState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  frames.clear();

  // Captured here, in this very frame, which stays live for the whole walk; it is dropped below.
  ucontext_t own;
  size_t own_frames = 0;
  if (context == nullptr) {
    if (getcontext(&own) != 0) return;
    context = &own;
    own_frames = 1;
  }

  if (!Prepare(state)) return;
  state.request.tid = gettid();
  LoadRegisters(*context, state.request.registers);

  WalkResult walk;
  walk.limit = kMaxFrames + own_frames;
  // The walk ends with an error at the outermost frame on some systems; what it found stands.
  dwfl_getthread_frames(state.dwfl, state.request.tid, CollectFrame, &walk);

  const size_t dropped = own_frames + skip;
  if (walk.count <= dropped) return;
  frames.resize(walk.count - dropped);
  for (size_t i = 0; i < frames.size(); ++i) Describe(state.dwfl, walk.frames[dropped + i], frames[i]);
}

std::string to_string(const Callstack& frames) {
  // Plain concatenation rather than format(): a path or symbol holding "%2" would be substituted.
  std::string text;
  for (const CallstackFrame& frame : frames) {
    text += "- ";
    text += frame.file;
    text += ':';
    text += format("%1").arg(frame.line).str();
    text += " in ";
    text += frame.symbol;
    text += " (";
    text += to_string(reinterpret_cast<const void*>(frame.address));
    text += ")\n";
  }
  return text;
}

} // namespace tv
