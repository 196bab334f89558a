#include <gtest/gtest.h>

#include <string>

#include "foundation/assert.h"
#include "foundation/callstack.h"

namespace {

using tv::FormatAssertion;

TEST(AssertReport, ExactTextWithoutDetail) {
  EXPECT_EQ(FormatAssertion("src/a.cpp", 12, "Run", "x > 0", nullptr, {}),
            "ASSERT(x > 0) failed!\n"
            "\n"
            "File: src/a.cpp\n"
            "Line 12 in function 'Run'\n"
            "\n"
            "Callstack:\n");
}

TEST(AssertReport, ExactTextWithDetailAndCallstack) {
  const tv::Callstack frames = {{0x10, "Run()", "/src/a.cpp", 12}, {0x20, "main", "Missing", 0}};
  EXPECT_EQ(FormatAssertion("src/a.cpp", 12, "Run", "x > 0", "x was -1", frames),
            "ASSERT(x > 0) failed!\n"
            "\n"
            "File: src/a.cpp\n"
            "Line 12 in function 'Run'\n"
            "\n"
            "Detail: x was -1\n"
            "\n"
            "Callstack:\n"
            "- /src/a.cpp:12 in Run() (0x10)\n"
            "- Missing:0 in main (0x20)\n");
  // An empty detail is still a detail; only null leaves the paragraph out.
  EXPECT_NE(FormatAssertion("f", 1, "g", "c", "", {}).find("\nDetail: \n"), std::string::npos);
}

TEST(AssertReport, NullAndPlaceholderTextsAreSafe) {
  EXPECT_EQ(FormatAssertion(nullptr, -1, nullptr, nullptr, nullptr, {}),
            "ASSERT() failed!\n\nFile: \nLine -1 in function ''\n\nCallstack:\n");
  // Texts are copied as written, never taken as placeholders.
  EXPECT_EQ(FormatAssertion("%2.cpp", 3, "%3", "%1 == 100%", "%4", {}),
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

TEST_F(AssertReporter, WritesTitleReportAndCallstackToStandardErrorAndReturns) {
  tv::assert_handler = &tv::ReportAssertion;
  ::testing::internal::CaptureStderr();
  const int result = FailingCheck(1);
  const std::string output = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(result, 2);

  const std::string header = std::string("Assertion failed\nASSERT(value == 2) failed!\n\nFile: ") + __FILE__ +
                             "\nLine " + std::to_string(check_line) +
                             " in function 'FailingCheck'\n\nDetail: value must be two\n\nCallstack:\n";
  ASSERT_EQ(output.substr(0, header.size()), header) << output;

  // The first frame is the reporter, the next one the function whose assertion failed.
  const std::string callstack = output.substr(header.size());
  const size_t first_end = callstack.find('\n');
  ASSERT_NE(first_end, std::string::npos);
  const std::string first = callstack.substr(0, first_end);
  const std::string second = callstack.substr(first_end + 1, callstack.find('\n', first_end + 1) - first_end - 1);
  EXPECT_NE(first.find(" in tv::ReportAssertion("), std::string::npos) << first;
  EXPECT_EQ(second.rfind("- ", 0), 0u) << second;
  EXPECT_NE(second.find("assert_test.cpp:" + std::to_string(check_line) + " in "), std::string::npos) << second;
  EXPECT_NE(second.find("FailingCheck"), std::string::npos) << second;
  EXPECT_EQ(output.back(), '\n');
}

TEST_F(AssertReporter, NullTextsDoNotCrashTheReporter) {
  ::testing::internal::CaptureStderr();
  tv::ReportAssertion(nullptr, 0, nullptr, nullptr, nullptr);
  const std::string output = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(output.rfind("Assertion failed\nASSERT() failed!\n\nFile: \nLine 0 in function ''\n\nCallstack:\n- ", 0), 0u)
      << output;
}

TEST_F(AssertReporter, PassingAssertionsReportNothing) {
  tv::assert_handler = &tv::ReportAssertion;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FailingCheck(2), 3);
  __ASSERT__(check_line > 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

} // namespace
