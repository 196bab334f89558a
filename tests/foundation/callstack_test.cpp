#include <gtest/gtest.h>

#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/callstack.h"

namespace {

// An empty statement the compiler may not move, so that the call before it is not a tail call
// and the calling function's frame is still on the stack during the walk.
#define KEEP_FRAME() asm volatile("" ::: "memory")

bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
}

bool IsDigits(const std::string& text, const char* set = "0123456789") {
  return !text.empty() && text.find_first_not_of(set) == std::string::npos;
}

// "- FILE:LINE in SYMBOL (0xHEX)": a non-empty file, a decimal line, a hexadecimal address.
bool HasFrameShape(const std::string& line) {
  if (line.rfind("- ", 0) != 0 || line.back() != ')') return false;
  const size_t address = line.rfind(" (0x");
  if (address == std::string::npos ||
      !IsDigits(line.substr(address + 4, line.size() - address - 5), "0123456789abcdef"))
    return false;
  for (size_t colon = line.find(':', 3); colon != std::string::npos && colon < address;
       colon = line.find(':', colon + 1)) {
    const size_t in = line.find(" in ", colon);
    if (in != std::string::npos && in < address && IsDigits(line.substr(colon + 1, in - colon - 1))) return true;
  }
  return false;
}

bool Names(const tv::CallstackFrame& frame, const std::string& function) {
  return frame.symbol.find(function) != std::string::npos;
}

// Atomic: the concurrency test below captures from several threads at once.
std::atomic<int> capture_line{0};

__attribute__((noinline)) void CaptureHere(tv::Callstack& frames, uint32_t skip) {
  capture_line = __LINE__ + 1;
  tv::GetCallstack(frames, skip);
  KEEP_FRAME();
}

__attribute__((noinline)) void Recurse(int depth, tv::Callstack& frames, uint32_t skip) {
  if (depth == 0)
    tv::GetCallstack(frames, skip);
  else
    Recurse(depth - 1, frames, skip);
  KEEP_FRAME();
}

int context_line = 0;

__attribute__((noinline)) void CaptureFromSavedContext(tv::Callstack& frames, uint32_t skip) {
  ucontext_t context;
  context_line = __LINE__ + 1;
  getcontext(&context);
  tv::GetCallstack(frames, skip, &context);
  KEEP_FRAME();
}

TEST(Callstack, NamesTheCallerWithItsSourceFileAndLine) {
  tv::Callstack frames;
  CaptureHere(frames, 0);
  ASSERT_GE(frames.size(), 3u);
  EXPECT_TRUE(Names(frames[0], "CaptureHere")) << frames[0].symbol;
  EXPECT_TRUE(EndsWith(frames[0].file, "callstack_test.cpp")) << frames[0].file;
  EXPECT_EQ(frames[0].line, uint32_t(capture_line.load()));
  EXPECT_NE(frames[0].address, 0u);
  // The walk goes on into the test body, with its own line, and beyond.
  EXPECT_TRUE(Names(frames[1], "NamesTheCallerWithItsSourceFileAndLine")) << frames[1].symbol;
  EXPECT_TRUE(EndsWith(frames[1].file, "callstack_test.cpp")) << frames[1].file;
  EXPECT_NE(frames[1].line, 0u);
  for (const tv::CallstackFrame& frame : frames) {
    EXPECT_NE(frame.address, 0u);
    if (frame.file == "Missing") {
      EXPECT_EQ(frame.line, 0u);
    }
    EXPECT_LE(frame.symbol.size(), 2000u);
  }
  // No frame of the walker itself shows up.
  for (const tv::CallstackFrame& frame : frames) EXPECT_FALSE(Names(frame, "GetCallstack")) << frame.symbol;
  // The walk reaches the process entry, start-up code built without line data.
  EXPECT_EQ(frames.back().symbol, "_start");
  EXPECT_EQ(frames.back().file, "Missing");
  EXPECT_EQ(frames.back().line, 0u);
}

TEST(Callstack, SkipDropsTheInnermostFrames) {
  tv::Callstack all;
  tv::Callstack skipped;
  CaptureHere(all, 0);
  CaptureHere(skipped, 1);
  ASSERT_GE(all.size(), 3u);
  ASSERT_EQ(skipped.size(), all.size() - 1) << tv::to_string(all) << tv::to_string(skipped);
  EXPECT_TRUE(Names(skipped[0], "SkipDropsTheInnermostFrames")) << skipped[0].symbol;
  // Below the two call sites in the test body the frames are the very same.
  for (size_t i = 1; i < skipped.size(); ++i) EXPECT_EQ(skipped[i].address, all[i + 1].address) << i;

  // Skipping everything leaves an empty vector, whatever it held before.
  CaptureHere(skipped, uint32_t(all.size()));
  EXPECT_TRUE(skipped.empty());
  CaptureHere(all, 0);
  CaptureHere(all, 1000000);
  EXPECT_TRUE(all.empty());
}

TEST(Callstack, StopsAt128Frames) {
  tv::Callstack frames;
  Recurse(200, frames, 0);
  ASSERT_EQ(frames.size(), 128u);
  for (const tv::CallstackFrame& frame : frames) EXPECT_TRUE(Names(frame, "Recurse")) << frame.symbol;
  // The limit applies to the walk; skip is taken from what it found.
  Recurse(200, frames, 5);
  EXPECT_EQ(frames.size(), 123u);
  // A shallow stack is walked to its end, well below the limit.
  Recurse(3, frames, 0);
  EXPECT_LT(frames.size(), 128u);
  ASSERT_GE(frames.size(), 5u);
  for (size_t i = 0; i < 4; ++i) EXPECT_TRUE(Names(frames[i], "Recurse")) << frames[i].symbol;
  EXPECT_TRUE(Names(frames[4], "StopsAt128Frames")) << frames[4].symbol;
}

TEST(Callstack, WalksFromASavedContext) {
  tv::Callstack frames;
  CaptureFromSavedContext(frames, 0);
  ASSERT_GE(frames.size(), 2u);
  // The first frame is where the context was saved: the function that called getcontext.
  EXPECT_TRUE(Names(frames[0], "CaptureFromSavedContext")) << frames[0].symbol;
  EXPECT_TRUE(EndsWith(frames[0].file, "callstack_test.cpp")) << frames[0].file;
  // The saved instruction is the one behind the getcontext call: its line or the next one.
  EXPECT_GE(frames[0].line, uint32_t(context_line));
  EXPECT_LE(frames[0].line, uint32_t(context_line + 1));
  EXPECT_TRUE(Names(frames[1], "WalksFromASavedContext")) << frames[1].symbol;

  tv::Callstack skipped;
  CaptureFromSavedContext(skipped, 1);
  ASSERT_EQ(skipped.size(), frames.size() - 1);
  EXPECT_TRUE(Names(skipped[0], "WalksFromASavedContext")) << skipped[0].symbol;
}

// The crash reporter's case: the context of a fault, handed to an SA_SIGINFO handler, starts the
// walk at the faulting instruction rather than in the handler.
tv::Callstack fault_frames;
void* fault_page = nullptr;
long page_size = 0;

void OnFault(int, siginfo_t* info, void* context) {
  tv::GetCallstack(fault_frames, 0, static_cast<const ucontext_t*>(context));
  // Make the page readable, so that the faulting read is retried and succeeds.
  if (info->si_addr == fault_page) mprotect(fault_page, size_t(page_size), PROT_READ);
}

__attribute__((noinline)) int ReadProtectedPage(const volatile int* address) {
  const int value = *address;
  KEEP_FRAME();
  return value;
}

TEST(Callstack, WalksFromAFaultingInstruction) {
#if defined(__SANITIZE_THREAD__)
  // ThreadSanitizer reports any allocation inside a signal handler; the walk allocates.
  GTEST_SKIP() << "allocates inside a signal handler";
#endif
  page_size = sysconf(_SC_PAGESIZE);
  fault_page = mmap(nullptr, size_t(page_size), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(fault_page, MAP_FAILED);
  struct sigaction action = {};
  struct sigaction previous = {};
  action.sa_sigaction = OnFault;
  action.sa_flags = SA_SIGINFO;
  sigemptyset(&action.sa_mask);
  ASSERT_EQ(sigaction(SIGSEGV, &action, &previous), 0);
  EXPECT_EQ(ReadProtectedPage(static_cast<const volatile int*>(fault_page)), 0);
  sigaction(SIGSEGV, &previous, nullptr);
  munmap(fault_page, size_t(page_size));

  ASSERT_GE(fault_frames.size(), 2u);
  EXPECT_TRUE(Names(fault_frames[0], "ReadProtectedPage")) << fault_frames[0].symbol;
  EXPECT_TRUE(EndsWith(fault_frames[0].file, "callstack_test.cpp")) << fault_frames[0].file;
  EXPECT_TRUE(Names(fault_frames[1], "WalksFromAFaultingInstruction")) << fault_frames[1].symbol;
  for (const tv::CallstackFrame& frame : fault_frames) EXPECT_FALSE(Names(frame, "OnFault")) << frame.symbol;
}

TEST(Callstack, ConcurrentWalksAreSerialisedAndComplete) {
  std::vector<std::thread> threads;
  std::vector<int> good(4, 0);
  for (size_t t = 0; t < good.size(); ++t) {
    threads.emplace_back([&good, t] {
      tv::Callstack frames;
      for (int i = 0; i < 25; ++i) {
        CaptureHere(frames, 0);
        if (frames.size() >= 2 && Names(frames[0], "CaptureHere")) ++good[t];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int count : good) EXPECT_EQ(count, 25);
}

TEST(CallstackText, ShapeCheckRejectsMalformedLines) {
  // The checker used on real callstacks below must itself tell good lines from bad ones.
  EXPECT_TRUE(HasFrameShape("- a.cpp:12 in f() (0x1f)"));
  EXPECT_TRUE(HasFrameShape("- c:/x:y.cpp:7 in g (0x0)"));
  EXPECT_FALSE(HasFrameShape("- a.cpp:x in f() (0x1f)"));
  EXPECT_FALSE(HasFrameShape("- a.cpp:12 f() (0x1f)"));
  EXPECT_FALSE(HasFrameShape("- a.cpp:12 in f() (0x)"));
  EXPECT_FALSE(HasFrameShape("- a.cpp:12 in f() (1f)"));
  EXPECT_FALSE(HasFrameShape("a.cpp:12 in f() (0x1f)"));
}

TEST(CallstackText, OneLinePerFrame) {
  tv::Callstack frames(2);
  frames[0] = {0x1234, "ns::run(int)", "/src/a.cpp", 42};
  frames[1] = {0xdeadbeef0, "", "Missing", 0};
  EXPECT_EQ(tv::to_string(frames),
            "- /src/a.cpp:42 in ns::run(int) (0x1234)\n"
            "- Missing:0 in  (0xdeadbeef0)\n");
  EXPECT_EQ(tv::to_string(tv::Callstack{}), "");
}

TEST(CallstackText, FieldsAreWrittenAsTheyAre) {
  // Placeholder-like text in a path or name stays literal.
  tv::Callstack frames = {{0x10, "operator%2", "/tmp/%1%3/x.cpp", 4294967295u}};
  EXPECT_EQ(tv::to_string(frames), "- /tmp/%1%3/x.cpp:4294967295 in operator%2 (0x10)\n");
}

TEST(CallstackText, RealCallstackHasTheLineShape) {
  tv::Callstack frames;
  CaptureHere(frames, 0);
  ASSERT_FALSE(frames.empty());
  const std::string text = tv::to_string(frames);
  std::istringstream lines(text);
  std::string line;
  size_t count = 0;
  while (std::getline(lines, line)) {
    EXPECT_TRUE(HasFrameShape(line)) << line;
    ++count;
  }
  EXPECT_EQ(count, frames.size());
  EXPECT_EQ(text.back(), '\n');
  EXPECT_NE(text.find("callstack_test.cpp:" + std::to_string(capture_line.load()) + " in "), std::string::npos) << text;
}

} // namespace
