// A choice survives the process: one process records it through the default secure store, the
// next one loads it. Each run is a separate process that exits right after its call.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

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
    char pattern[] = "/tmp/cpd-policy-restart-XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    mDirectory = pattern;
    mStorePath = mDirectory + "/store.json";
    mLogPath = mDirectory + "/log.txt";
  }

  void TearDown() override { std::filesystem::remove_all(mDirectory); }

  // Runs the tool with `arguments` on this test's own store file and log file; its standard
  // output, or "exit <status>" when it failed.
  std::string Run(const std::string& arguments) const {
    const std::string command = "CPD_JOYSTICK_STORE='" + mStorePath + "' CPD_JOYSTICK_LOG='" +
                                mLogPath + "' '" + POLICY_STORE_TOOL + "' " + arguments;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
      return "cannot start";
    }
    std::string output;
    char buffer[256];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
      output += buffer;
    }
    const int status = ::pclose(pipe);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      return "exit " + std::to_string(status);
    }
    return output;
  }

  std::string mDirectory;
  std::string mStorePath;
  std::string mLogPath;
};

TEST_F(PolicyRestart, ChoiceRecordedInOneProcessIsAnsweredInTheNext) {
  EXPECT_EQ(Run("get 045e 028e"), "0\n");
  EXPECT_EQ(Run("set 045e 028e 6 'Xbox Controller'"), "");
  EXPECT_EQ(Run("get 045e 028e"), "6\n");
  EXPECT_NE(ReadFile(mStorePath).find("joystickPolicyList"), std::string::npos);
  const std::string log = ReadFile(mLogPath);
  EXPECT_NE(log.find("handlePolicyChangeThread exit"), std::string::npos);
  EXPECT_EQ(log.find("\"Error:\""), std::string::npos) << log;
}

TEST_F(PolicyRestart, LaterProcessAddsToWhatAnEarlierOneStored) {
  EXPECT_EQ(Run("set 045e 028e 6 'Xbox Controller'"), "");
  EXPECT_EQ(Run("set 054c 0ce6 1 'DualSense Wireless Controller'"), "");
  EXPECT_EQ(Run("set 045e 028e 4 'Xbox Controller'"), "");
  EXPECT_EQ(Run("get 045e 028e"), "4\n");
  EXPECT_EQ(Run("get 054c 0ce6"), "1\n");
}

}  // namespace
