#include <gtest/gtest.h>

#include <cstdarg>
#include <string>
#include <thread>

#include "common/log_sink.h"
#include "cpd_joystick/sd_config.h"
#include "format_text.h"
#include "hex_bytes.h"
#include "log_capture.h"
#include "recording_store.h"

namespace cpd::test {
namespace {

// A statement as the library's facade writes it: the prefix's three arguments, then the body.
void LogStatement(const char* message) {
  quvaniLogPrint(0, 5, "tag", R"(%s %s(%d): "Debug:" "%s")", "/src/file.cpp", "Function", 12,
                 message);
}

class SharedSink : public ::testing::Test {
 protected:
  void SetUp() override {
    SetLogCapture(LogCapture::KEEP);
    SetLogHandler(nullptr);
    ClearLogs();
  }
  void TearDown() override { SetUp(); }
};

TEST_F(SharedSink, KeepsEveryLineWithItsParts) {
  LogStatement("one");
  const std::vector<LogLine> lines = CapturedLogs();
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].level, 5);
  EXPECT_EQ(lines[0].tag, "tag");
  EXPECT_EQ(lines[0].file, "/src/file.cpp");
  EXPECT_EQ(lines[0].function, "Function");
  EXPECT_EQ(lines[0].line, 12);
  EXPECT_EQ(lines[0].body, DebugBody("one"));
  EXPECT_EQ(lines[0].text, "/src/file.cpp Function(12): \"Debug:\" \"one\"");
}

TEST_F(SharedSink, CountingKeepsNothingAndCallsNoHandler) {
  size_t handled = 0;
  SetLogHandler([&](const LogLine& /*line*/) { ++handled; });
  SetLogCapture(LogCapture::COUNT);
  const size_t before = LogCallCount();
  LogStatement("counted");
  LogStatement("counted");
  EXPECT_EQ(LogCallCount() - before, 2U);
  EXPECT_EQ(handled, 0U);
  EXPECT_TRUE(CapturedLogs().empty());
}

TEST_F(SharedSink, FormattingHandsEachLineOnAndKeepsNone) {
  std::vector<std::string> handed;
  SetLogHandler([&](const LogLine& line) { handed.push_back(line.text); });
  SetLogCapture(LogCapture::FORMAT);
  LogStatement("shown");
  EXPECT_EQ(handed, (std::vector<std::string>{"/src/file.cpp Function(12): \"Debug:\" \"shown\""}));
  EXPECT_TRUE(CapturedLogs().empty());
}

TEST_F(SharedSink, AHandlerMayLogAgainOnItsOwnThread) {
  bool inner = false;
  SetLogHandler([&](const LogLine& line) {
    if (line.body == DebugBody("outer")) {
      LogStatement("inner");  // as a handler calling into the library would
      inner = true;
    }
  });
  std::thread logger([] { LogStatement("outer"); });
  logger.join();
  EXPECT_TRUE(inner);
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{DebugBody("inner"), DebugBody("outer")}));
}

class SharedStore : public ::testing::Test {
 protected:
  void SetUp() override { ResetStore(); }
  void TearDown() override { ResetStore(); }
};

TEST_F(SharedStore, TheHookRunsWithNoLockOfTheStoreHeld) {
  std::vector<std::string> seen;
  SetStoreCallHook([&](const std::string& operation) {
    seen.push_back(operation + " " + StoredValue("key"));  // takes the store's own lock
  });
  sd::SDConfig* store = sd::SDConfig::GetInstance();
  ASSERT_NE(store, nullptr);
  EXPECT_TRUE(store->SetSecure("key", "v1"));
  EXPECT_EQ(store->GetSecure("key"), "v1");
  EXPECT_EQ(seen, (std::vector<std::string>{"SetSecure ", "GetSecure v1"}));
}

TEST_F(SharedStore, WithoutRecordingValuesAreStillKept) {
  SetStoreRecording(false);
  sd::SDConfig::GetInstance()->SetSecure("a", "123");
  sd::SDConfig::GetInstance()->SetSecure("b", "4");
  EXPECT_TRUE(StoreCalls().empty());
  EXPECT_EQ(StoredValues(), (std::map<std::string, std::string>{{"a", "123"}, {"b", "4"}}));
  ResetStore();
  sd::SDConfig::GetInstance()->GetSecure("a");
  EXPECT_EQ(CountStoreCalls("GetSecure"), 1U) << "a reset records again";
}

using text::FormatText;
using text::HexBytes;

TEST(TextHelpers, HexBytesWithAndWithoutSeparator) {
  const unsigned char bytes[] = {0x0a, 0x1b, 0xff, 0x00};
  EXPECT_EQ(HexBytes(bytes, sizeof bytes), "0a1bff00");
  EXPECT_EQ(HexBytes(bytes, sizeof bytes, " "), "0a 1b ff 00");
  EXPECT_EQ(HexBytes(bytes, 0), "");
}

__attribute__((format(printf, 1, 2))) std::string Formatted(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = FormatText(format, arguments);
  va_end(arguments);
  return text;
}

TEST(TextHelpers, FormatTextHasNoLengthLimit) {
  const std::string longText(5000, 'x');
  EXPECT_EQ(Formatted("%s|%d|%04x", longText.c_str(), -3, 0xab), longText + "|-3|00ab");
}

}  // namespace
}  // namespace cpd::test
