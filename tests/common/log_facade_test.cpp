#include <gtest/gtest.h>

#include "common/log.h"
#include "log_capture.h"

namespace {

using cpd::test::CapturedLogs;
using cpd::test::LogLine;

LogLine OnlyLine() {
  const std::vector<LogLine> lines = CapturedLogs();
  EXPECT_EQ(lines.size(), 1U);
  return lines.empty() ? LogLine{} : lines.front();
}

class LogFacade : public ::testing::Test {
 protected:
  void SetUp() override { cpd::test::ClearLogs(); }
};

TEST_F(LogFacade, DebugMessageKeepsItsEscapesAsTyped) {
  CPD_LOG_DEBUG("already started\n");
  const LogLine line = OnlyLine();
  EXPECT_EQ(line.format, "%s %s(%d): \"Debug:\" \"already started\\n\"");
  EXPECT_EQ(line.body, "\"Debug:\" \"already started\\n\"");
  ASSERT_GE(line.text.size(), 3U);
  EXPECT_EQ(line.text.substr(line.text.size() - 3), "\\n\"");
  EXPECT_EQ(line.text.find('\n'), std::string::npos);
}

TEST_F(LogFacade, MutedStatementNeverCallsTheSinkNorEvaluatesItsArguments) {
  int evaluations = 0;
  CPD_LOG_MUTED("SDL_WasInit %d", ++evaluations);
  CPD_LOG_MUTED("No joysticks connected.");
  EXPECT_TRUE(CapturedLogs().empty());
  EXPECT_EQ(evaluations, 0);
}

TEST_F(LogFacade, ErrorGoesOutAtLevelSevenAndDebugAtLevelFive) {
  CPD_LOG_ERROR("broken %d", 1);
  CPD_LOG_DEBUG("fine %d", 2);
  const std::vector<LogLine> lines = CapturedLogs();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].level, 7);
  EXPECT_EQ(lines[0].body, "\"Error:\" \"broken 1\"");
  EXPECT_EQ(lines[1].level, 5);
  EXPECT_EQ(lines[1].body, "\"Debug:\" \"fine 2\"");
  for (const LogLine& line : lines) {
    EXPECT_EQ(line.tag, "CPD_LOG");
    EXPECT_EQ(line.first, 0);
  }
}

#if defined(_WIN32)
// A Windows build shows the bare file name, as the client's own Windows build does, whichever
// separator its compiler was handed.
const std::string THIS_FILE_IN_LINES = "log_facade_test.cpp";

TEST_F(LogFacade, SourcePathIsShownAsTheBareFileName) {
  CPD_LOG_DEBUG("where");
  EXPECT_EQ(OnlyLine().file, THIS_FILE_IN_LINES);
}

TEST_F(LogFacade, FileNameIsWhatFollowsTheLastSeparator) {
  EXPECT_STREQ(cpd::log::FileNameAfterBackslash("c:\\src\\joystick\\manager.cpp"), "manager.cpp");
  EXPECT_STREQ(cpd::log::FileNameAfterBackslash("c:\\src/joystick/manager.cpp"), "manager.cpp");
  EXPECT_STREQ(cpd::log::FileNameAfterBackslash("/src/joystick\\manager.cpp"), "manager.cpp");
  EXPECT_STREQ(cpd::log::FileNameAfterBackslash("manager.cpp"), "manager.cpp");
}
#else
const std::string THIS_FILE_IN_LINES = __FILE__;

TEST_F(LogFacade, SourcePathWithoutBackslashIsShownWhole) {
  CPD_LOG_DEBUG("where");
  EXPECT_EQ(OnlyLine().file, __FILE__);
}

TEST_F(LogFacade, FileNameIsWhatFollowsTheLastBackslashOnly) {
  EXPECT_STREQ(cpd::log::FileNameAfterBackslash("c:\\src\\joystick\\manager.cpp"), "manager.cpp");
  EXPECT_STREQ(cpd::log::FileNameAfterBackslash("c:\\src/joystick/manager.cpp"),
               "src/joystick/manager.cpp");
  EXPECT_STREQ(cpd::log::FileNameAfterBackslash("/src/manager.cpp"), "/src/manager.cpp");
}
#endif

TEST_F(LogFacade, PrefixCarriesUnqualifiedFunctionAndLine) {
  const int expectedLine = __LINE__ + 1;
  CPD_LOG_DEBUG("here");
  const LogLine line = OnlyLine();
  EXPECT_EQ(line.function, "TestBody");
  EXPECT_EQ(line.line, expectedLine);
  EXPECT_EQ(line.text, THIS_FILE_IN_LINES + " TestBody(" + std::to_string(expectedLine) +
                           "): \"Debug:\" \"here\"");
}

TEST_F(LogFacade, EmptyMessageLeavesAnEmptyPairOfQuotes) {
  CPD_LOG_DEBUG("");
  const LogLine line = OnlyLine();
  EXPECT_EQ(line.format, "%s %s(%d): \"Debug:\" \"\"");
  EXPECT_EQ(line.body, "\"Debug:\" \"\"");
}

TEST_F(LogFacade, FormatIsPrefixWordAndMessageAsWritten) {
  CPD_LOG_DEBUG("vidpid %s MappingIndex[%d]\n", "045e:028e", 6);
  const LogLine line = OnlyLine();
  EXPECT_EQ(line.format, "%s %s(%d): \"Debug:\" \"vidpid %s MappingIndex[%d]\\n\"");
  EXPECT_EQ(line.body, "\"Debug:\" \"vidpid 045e:028e MappingIndex[6]\\n\"");
}

TEST_F(LogFacade, UnsignedShortArgumentsAreWidenedToInt) {
  const uint16_t vid = 0x045e;
  const uint16_t pid = 0xffff;
  CPD_LOG_DEBUG("GetMappingIndex %.4x:%.4x\n", vid, pid);
  EXPECT_EQ(OnlyLine().body, "\"Debug:\" \"GetMappingIndex 045e:ffff\\n\"");
}

TEST(LogClasses, MessageMustBeOneLiteral) {
  EXPECT_TRUE(cpd::log::IsSingleLiteral(R"("index[%d]")"));
  EXPECT_TRUE(cpd::log::IsSingleLiteral(R"("say \"hi\"")"));
  EXPECT_TRUE(cpd::log::IsSingleLiteral(R"("")"));
  EXPECT_FALSE(cpd::log::IsSingleLiteral(R"("first " "second")"));
  EXPECT_FALSE(cpd::log::IsSingleLiteral("message"));
}

TEST(LogClasses, OnlyErrorWarningDebugAndTraceReachTheSink) {
  using namespace cpd::log;
  EXPECT_TRUE(IsEmitted(LOG_CLASS_ERROR));
  EXPECT_TRUE(IsEmitted(LOG_CLASS_WARNING));
  EXPECT_FALSE(IsEmitted(LOG_CLASS_INFO));
  EXPECT_FALSE(IsEmitted(LOG_CLASS_MUTED));
  EXPECT_TRUE(IsEmitted(LOG_CLASS_DEBUG));
  EXPECT_TRUE(IsEmitted(LOG_CLASS_TRACE));
  EXPECT_EQ(SinkLevel(LOG_CLASS_ERROR), 7);
  EXPECT_EQ(SinkLevel(LOG_CLASS_WARNING), 6);
  EXPECT_EQ(SinkLevel(LOG_CLASS_DEBUG), 5);
  EXPECT_EQ(SinkLevel(LOG_CLASS_TRACE), 2);
}

}  // namespace

namespace {

// Messages kept in data tables come out exactly as the same literal would.
TEST_F(LogFacade, TableTextStatementMatchesTheLiteralForm) {
  const char* const tableText = "The joystick is xbox name[%s]";
  CPD_LOG_DEBUG_TEXT(tableText, "pad");
  CPD_LOG_DEBUG("The joystick is xbox name[%s]", "pad");
  const std::vector<LogLine> lines = CapturedLogs();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].format, lines[1].format);
  EXPECT_EQ(lines[0].body, lines[1].body);
  EXPECT_EQ(lines[0].level, 5);
  EXPECT_EQ(lines[0].function, "TestBody");
  EXPECT_EQ(lines[0].tag, "CPD_LOG");
}

}  // namespace
