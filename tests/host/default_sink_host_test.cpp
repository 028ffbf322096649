// The default sink: one timestamped line per statement, to the file named by CPD_JOYSTICK_LOG
// or else to standard error.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "test_environment.h"

namespace {

std::string TemporaryPath(const std::string& stem) {
  return ::testing::TempDir() + stem + "-" + std::to_string(cpd::test::ProcessId());
}

std::vector<std::string> ReadLines(const std::string& path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  std::string line;
  while (std::getline(file, line)) {
    lines.push_back(line);
  }
  return lines;
}

std::string HostProgram() {
#if defined(_WIN32)
  // Beside this program and the default sink, where a Windows host keeps its DLLs.
  wchar_t self[MAX_PATH];
  const std::wstring path(self, GetModuleFileNameW(nullptr, self, MAX_PATH));
  const std::wstring folder = path.substr(0, path.find_last_of(L"\\/"));
  return std::string(folder.begin(), folder.end()) + "\\default_sink_host.exe";
#else
  return CPD_DEFAULT_SINK_HOST;
#endif
}

// Runs the host with CPD_JOYSTICK_LOG set to `logPath`, or unset when it is empty.
int RunHost(const std::string& logPath, const std::string& stderrPath) {
  if (logPath.empty()) {
    cpd::test::UnsetEnvironment("CPD_JOYSTICK_LOG");
  } else {
    cpd::test::SetEnvironment("CPD_JOYSTICK_LOG", logPath);
  }
  const std::string command = "\"" + HostProgram() + "\" 2>\"" + stderrPath + "\"";
#if defined(_WIN32)
  // cmd.exe drops the outermost pair of quotes of a command that starts with one.
  return std::system(("\"" + command + "\"").c_str());  // NOLINT(concurrency-mt-unsafe)
#else
  return std::system(command.c_str());  // NOLINT(concurrency-mt-unsafe)
#endif
}

const std::regex LINE_SHAPE(
    R"(^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z (DEBUG\(5\)|ERROR\(7\)) CPD_LOG \S+ \w+\(\d+\): "(Debug|Error):" ".*"$)");

TEST(DefaultSink, WritesTimestampedLevelledLinesToTheConfiguredFile) {
  const std::string logPath = TemporaryPath("sink.log");
  const std::string errPath = TemporaryPath("sink.err");
  std::remove(logPath.c_str());
  ASSERT_EQ(RunHost(logPath, errPath), 0);

  const std::vector<std::string> lines = ReadLines(logPath);
  ASSERT_GE(lines.size(), 6U);  // "%p", "", thread start and exit, "%p", "begin", "end"
  for (const std::string& line : lines) {
    EXPECT_TRUE(std::regex_match(line, LINE_SHAPE)) << line;
  }
  EXPECT_NE(lines.back().find(" Stop("), std::string::npos);
  EXPECT_NE(lines.back().find("\"Debug:\" \"end\""), std::string::npos);
  EXPECT_TRUE(ReadLines(errPath).empty());
}

TEST(DefaultSink, WritesToStandardErrorWithoutAConfiguredFile) {
  const std::string errPath = TemporaryPath("sink-stderr.err");
  ASSERT_EQ(RunHost("", errPath), 0);
  const std::vector<std::string> lines = ReadLines(errPath);
  ASSERT_GE(lines.size(), 6U);
  size_t libraryLines = 0;
  for (const std::string& line : lines) {
    libraryLines += std::regex_match(line, LINE_SHAPE) ? 1 : 0;
  }
  EXPECT_EQ(libraryLines, lines.size());
}

}  // namespace
