// Error lines kept per thread for callers that report by return value.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "common/error_lines.h"
#include "common/log.h"
#include "log_capture.h"

namespace {

using cpd::log::ErrorLineCapture;

class ErrorLines : public ::testing::Test {
 protected:
  void SetUp() override { cpd::test::ClearLogs(); }
};

TEST_F(ErrorLines, CaptureKeepsTheErrorLinesAsTheSinkFormatsThem) {
  ErrorLineCapture capture;
  CPD_LOG_DEBUG("not kept %d", 1);
  CPD_LOG_ERROR("index[%d] kept", 3);
  const std::vector<cpd::test::LogLine> lines = cpd::test::CapturedLogs();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(capture.Text(), lines[1].text + "\n");
  EXPECT_NE(capture.Text().find("\"Error:\" \"index[3] kept\""), std::string::npos);
}

TEST_F(ErrorLines, NestedCapturePassesItsLinesOutward) {
  ErrorLineCapture outer;
  CPD_LOG_ERROR("first");
  {
    ErrorLineCapture inner;
    CPD_LOG_ERROR("second");
    EXPECT_EQ(inner.Text().find("first"), std::string::npos);
    EXPECT_NE(inner.Text().find("second"), std::string::npos);
  }
  CPD_LOG_ERROR("third");
  const std::string& text = outer.Text();
  EXPECT_LT(text.find("first"), text.find("second"));
  EXPECT_LT(text.find("second"), text.find("third"));
}

TEST_F(ErrorLines, OnlyTheCapturingThreadsLinesAreKept) {
  ErrorLineCapture capture;
  std::thread other([] {
    EXPECT_FALSE(cpd::log::IsCapturingErrorLines());
    CPD_LOG_ERROR("from another thread");
  });
  other.join();
  EXPECT_TRUE(capture.Empty());
  EXPECT_EQ(cpd::test::CapturedLogs().size(), 1U);
}

TEST_F(ErrorLines, WithoutACaptureArgumentsAreEvaluatedOnce) {
  int evaluations = 0;
  CPD_LOG_ERROR("count %d", ++evaluations);
  EXPECT_EQ(evaluations, 1);
  EXPECT_FALSE(cpd::log::IsCapturingErrorLines());
}

TEST_F(ErrorLines, WithACaptureArgumentsAreStillEvaluatedOnce) {
  ErrorLineCapture capture;
  int evaluations = 0;
  CPD_LOG_ERROR("count %d", ++evaluations);
  EXPECT_EQ(evaluations, 1);
  EXPECT_NE(capture.Text().find("\"count 1\""), std::string::npos);
  EXPECT_EQ(cpd::test::CapturedLogs().at(0).text + "\n", capture.Text());
}

}  // namespace
