// A choice survives the process: one process records it through the default secure store, the
// next one loads it. Each run is a separate process that exits right after its call.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "test_environment.h"

#if defined(_WIN32)
#define popen _popen
#define pclose _pclose
#else
#include <sys/wait.h>
#endif

namespace {

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

class PolicyRestart : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::filesystem::path directory =
        std::filesystem::temp_directory_path() /
        ("cpd-policy-restart-" + std::to_string(cpd::test::ProcessId()) + "-" +
         ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::remove_all(directory);
    ASSERT_TRUE(std::filesystem::create_directories(directory));
    mDirectory = directory.string();
    mStorePath = mDirectory + "/store.json";
    mLogPath = mDirectory + "/log.txt";
  }

  void TearDown() override { std::filesystem::remove_all(mDirectory); }

  // Runs the tool with `arguments` on this test's own store file and log file; its standard
  // output, or "exit <status>" when it failed.
  std::string Run(const std::string& arguments) const { return Finish(Start(arguments)); }

  // Starts the tool; Finish waits for it. Several may run at once.
  FILE* Start(const std::string& arguments) const {
    cpd::test::SetEnvironment("CPD_JOYSTICK_STORE", mStorePath);
    cpd::test::SetEnvironment("CPD_JOYSTICK_LOG", mLogPath);
    std::string command = "\"" + ToolPath() + "\" " + arguments;
#if defined(_WIN32)
    command = "\"" + command + "\"";  // cmd.exe drops the outermost pair of quotes
#endif
    return ::popen(command.c_str(), "r");
  }

  static std::string Finish(FILE* pipe) {
    if (pipe == nullptr) {
      return "cannot start";
    }
    std::string output;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
      output += buffer;
    }
    const int status = ::pclose(pipe);
#if defined(_WIN32)
    const bool exitedCleanly = status == 0;
#else
    const bool exitedCleanly = WIFEXITED(status) && WEXITSTATUS(status) == 0;
#endif
    return exitedCleanly ? output : "exit " + std::to_string(status);
  }

  static std::string ToolPath() {
#if defined(_WIN32)
    // Beside this program, in the folder of the build's DLLs.
    char self[MAX_PATH];
    const std::string path(self, GetModuleFileNameA(nullptr, self, MAX_PATH));
    return path.substr(0, path.find_last_of("\\/") + 1) + "policy_store_tool.exe";
#else
    return POLICY_STORE_TOOL;
#endif
  }

  std::string mDirectory;
  std::string mStorePath;
  std::string mLogPath;
};

TEST_F(PolicyRestart, ChoiceRecordedInOneProcessIsAnsweredInTheNext) {
  EXPECT_EQ(Run("get 045e 028e"), "0\n");
  EXPECT_EQ(Run("set 045e 028e 6 \"Xbox Controller\""), "");
  EXPECT_EQ(Run("get 045e 028e"), "6\n");
  EXPECT_NE(ReadFile(mStorePath).find("joystickPolicyList"), std::string::npos);
  const std::string log = ReadFile(mLogPath);
  EXPECT_NE(log.find("handlePolicyChangeThread exit"), std::string::npos);
  EXPECT_EQ(log.find("\"Error:\""), std::string::npos) << log;
}

TEST_F(PolicyRestart, LaterProcessAddsToWhatAnEarlierOneStored) {
  EXPECT_EQ(Run("set 045e 028e 6 \"Xbox Controller\""), "");
  EXPECT_EQ(Run("set 054c 0ce6 1 \"DualSense Wireless Controller\""), "");
  EXPECT_EQ(Run("set 045e 028e 4 \"Xbox Controller\""), "");
  EXPECT_EQ(Run("get 045e 028e"), "4\n");
  EXPECT_EQ(Run("get 054c 0ce6"), "1\n");
}

// Two hosts on one machine share the default store, each recording 200 choices of its own at
// random moments: none is lost, whichever process writes last.
TEST_F(PolicyRestart, TwoProcessesRecordingAtOnceKeepEveryChoice) {
  FILE* first = Start("choose 1000 200 1");
  FILE* second = Start("choose 2000 200 2");
  EXPECT_EQ(Finish(first), "");
  EXPECT_EQ(Finish(second), "");
  EXPECT_EQ(Run("count 1000 200"), "200\n");
  EXPECT_EQ(Run("count 2000 200"), "200\n");
  EXPECT_EQ(ReadFile(mLogPath).find("\"Error:\""), std::string::npos);
}

}  // namespace
