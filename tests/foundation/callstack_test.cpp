#include <gtest/gtest.h>

#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "foundation/assert.h"
#include "foundation/callstack.h"

namespace {

// An empty statement the compiler may not move, so that the call before it is not a tail call
// and the calling function's frame is still on the stack during the walk.
#define KEEP_FRAME() asm volatile("" ::: "memory")

bool EndsWith(const std::string& text, const std::string& suffix) {
  return text.size() >= suffix.size() && text.compare(text.size() - suffix.size(), suffix.size(), suffix) == 0;
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

// The walk names the caller with its source file and line, goes on through the test body to the
// process entry (start-up code without line data), shows no frame of its own, and skip drops the
// innermost frames, all of them if asked.
TEST(Callstack, NamesTheCallerWithItsSourceFileAndLine) {
  tv::Callstack frames, skipped;
  CaptureHere(frames, 0);
  CaptureHere(skipped, 1);
  ASSERT_GE(frames.size(), 3u);
  EXPECT_TRUE(Names(frames[0], "CaptureHere")) << frames[0].symbol;
  EXPECT_TRUE(EndsWith(frames[0].file, "callstack_test.cpp")) << frames[0].file;
  EXPECT_EQ(frames[0].line, uint32_t(capture_line.load()));
  EXPECT_TRUE(Names(frames[1], "NamesTheCallerWithItsSourceFileAndLine")) << frames[1].symbol;
  EXPECT_TRUE(EndsWith(frames[1].file, "callstack_test.cpp")) << frames[1].file;
  EXPECT_NE(frames[1].line, 0u);
  for (const tv::CallstackFrame& frame : frames) {
    EXPECT_NE(frame.address, 0u);
    EXPECT_TRUE(frame.file != "Missing" || frame.line == 0u);
    EXPECT_FALSE(Names(frame, "GetCallstack")) << frame.symbol;
  }
  EXPECT_EQ(frames.back().symbol, "_start");
  EXPECT_EQ(frames.back().file, "Missing");
  const std::string text = tv::to_string(frames);
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), std::ptrdiff_t(frames.size()));
  EXPECT_NE(text.find("callstack_test.cpp:" + std::to_string(capture_line.load()) + " in "), std::string::npos) << text;

  ASSERT_EQ(skipped.size(), frames.size() - 1) << text << tv::to_string(skipped);
  EXPECT_TRUE(Names(skipped[0], "NamesTheCallerWithItsSourceFileAndLine")) << skipped[0].symbol;
  for (size_t i = 1; i < skipped.size(); ++i) EXPECT_EQ(skipped[i].address, frames[i + 1].address) << i;
  CaptureHere(skipped, uint32_t(frames.size()));
  EXPECT_TRUE(skipped.empty());
  CaptureHere(frames, 1000000);
  EXPECT_TRUE(frames.empty());
}

// The walk stops at 128 frames, skip taken from what it found; a shallow stack is walked to its end.
TEST(Callstack, StopsAt128Frames) {
  tv::Callstack frames;
  Recurse(200, frames, 0);
  ASSERT_EQ(frames.size(), 128u);
  for (const tv::CallstackFrame& frame : frames) EXPECT_TRUE(Names(frame, "Recurse")) << frame.symbol;
  Recurse(200, frames, 5);
  EXPECT_EQ(frames.size(), 123u);
  Recurse(3, frames, 0);
  ASSERT_TRUE(frames.size() >= 5u && frames.size() < 128u) << frames.size();
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

// One line per frame, fields written as they are (placeholder-like text stays literal).
TEST(CallstackText, OneLinePerFrame) {
  const tv::Callstack frames = {{0x1234, "ns::run(int)", "/src/a.cpp", 42},
                                {0xdeadbeef0, "", "Missing", 0},
                                {0x10, "operator%2", "/tmp/%1%3/x.cpp", 4294967295u}};
  EXPECT_EQ(tv::to_string(frames),
            "- /src/a.cpp:42 in ns::run(int) (0x1234)\n"
            "- Missing:0 in  (0xdeadbeef0)\n"
            "- /tmp/%1%3/x.cpp:4294967295 in operator%2 (0x10)\n");
  EXPECT_EQ(tv::to_string(tv::Callstack{}), "");
}

// The assertion report: exact text, with or without detail and frames; null texts are safe and
// texts are copied as written, never taken as placeholders; an empty detail is still a detail.
TEST(AssertReport, ExactText) {
  const tv::Callstack frames = {{0x10, "Run()", "/src/a.cpp", 12}, {0x20, "main", "Missing", 0}};
  EXPECT_EQ(tv::FormatAssertion("src/a.cpp", 12, "Run", "x > 0", "x was -1", frames),
            "ASSERT(x > 0) failed!\n\nFile: src/a.cpp\nLine 12 in function 'Run'\n\nDetail: x was -1\n\n"
            "Callstack:\n- /src/a.cpp:12 in Run() (0x10)\n- Missing:0 in main (0x20)\n");
  EXPECT_EQ(tv::FormatAssertion("src/a.cpp", 12, "Run", "x > 0", nullptr, {}),
            "ASSERT(x > 0) failed!\n\nFile: src/a.cpp\nLine 12 in function 'Run'\n\nCallstack:\n");
  EXPECT_NE(tv::FormatAssertion("f", 1, "g", "c", "", {}).find("\nDetail: \n"), std::string::npos);
  EXPECT_EQ(tv::FormatAssertion(nullptr, -1, nullptr, nullptr, nullptr, {}),
            "ASSERT() failed!\n\nFile: \nLine -1 in function ''\n\nCallstack:\n");
  EXPECT_EQ(tv::FormatAssertion("%2.cpp", 3, "%3", "%1 == 100%", "%4", {}),
            "ASSERT(%1 == 100%) failed!\n\nFile: %2.cpp\nLine 3 in function '%3'\n\nDetail: %4\n\nCallstack:\n");
}

// Installs a handler for one test and puts the previous one back.
class AssertReporter : public ::testing::Test {
protected:
  void SetUp() override { previous = tv::assert_handler; }
  void TearDown() override { tv::assert_handler = previous; }
  tv::AssertHandler previous = nullptr;
};

int check_line = 0;

__attribute__((noinline)) int FailingCheck(int value) {
  check_line = __LINE__ + 1;
  __ASSERT_MSG__(value == 2, "value must be two");
  return value + 1;  // reached: the reporter returns
}

// The reporter writes title, report and callstack (itself first, then the failing function) to
// standard error and returns; passing assertions report nothing; null texts don't crash it.
TEST_F(AssertReporter, WritesTheReportToStandardErrorAndReturns) {
  tv::assert_handler = &tv::ReportAssertion;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FailingCheck(2), 3);
  __ASSERT__(check_line > 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FailingCheck(1), 2);
  const std::string output = ::testing::internal::GetCapturedStderr();
  const std::string header = std::string("Assertion failed\nASSERT(value == 2) failed!\n\nFile: ") + __FILE__ +
                             "\nLine " + std::to_string(check_line) +
                             " in function 'FailingCheck'\n\nDetail: value must be two\n\nCallstack:\n";
  ASSERT_EQ(output.substr(0, header.size()), header) << output;
  std::istringstream lines(output.substr(header.size()));
  std::string first, second;
  std::getline(lines, first);
  std::getline(lines, second);
  EXPECT_NE(first.find(" in tv::ReportAssertion("), std::string::npos) << first;
  EXPECT_EQ(second.rfind("- ", 0), 0u) << second;
  EXPECT_NE(second.find("callstack_test.cpp:" + std::to_string(check_line) + " in "), std::string::npos) << second;
  EXPECT_NE(second.find("FailingCheck"), std::string::npos) << second;
  EXPECT_EQ(output.back(), '\n');

  ::testing::internal::CaptureStderr();
  tv::ReportAssertion(nullptr, 0, nullptr, nullptr, nullptr);
  const std::string null_output = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(null_output.rfind("Assertion failed\nASSERT() failed!\n\nFile: \nLine 0 in function ''\n\nCallstack:\n- ", 0), 0u)
      << null_output;
}

} // namespace
