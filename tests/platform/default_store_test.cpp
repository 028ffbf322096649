#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "cpd_joystick/sd_config.h"

namespace {

namespace fs = std::filesystem;

const std::string KEY = "joystickPolicyList";

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

void WriteFile(const fs::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
}

class DefaultStore : public ::testing::Test {
 protected:
  void SetUp() override {
    directory = fs::path(::testing::TempDir()) /
                ("store-" + std::to_string(getpid()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(directory);
    fs::create_directories(directory);
    file = directory / "store.json";
    setenv("CPD_JOYSTICK_STORE", file.c_str(), 1);
  }
  void TearDown() override { fs::remove_all(directory); }

  static sd::SDConfig& Store() {
    sd::SDConfig* store = sd::SDConfig::GetInstance();
    EXPECT_NE(store, nullptr);
    return *store;
  }

  fs::path directory;
  fs::path file;
};

TEST_F(DefaultStore, MissingFileReadsAsEmpty) {
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(DefaultStore, StoredValueReadsBackAndOtherKeysStay) {
  ASSERT_TRUE(Store().SetSecure(KEY, "[\n   {}\n]\n"));
  ASSERT_TRUE(Store().SetSecure("other", "kept"));
  ASSERT_TRUE(Store().SetSecure(KEY, "second"));
  EXPECT_EQ(Store().GetSecure(KEY), "second");
  EXPECT_EQ(Store().GetSecure("other"), "kept");
  EXPECT_EQ(Store().GetSecure("absent"), "");
}

TEST_F(DefaultStore, FileIsReadableByItsOwnerOnly) {
  ASSERT_TRUE(Store().SetSecure(KEY, "x"));
  struct stat info {};
  ASSERT_EQ(stat(file.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600U);
}

TEST_F(DefaultStore, LivesUnderXdgConfigHomeByDefault) {
  unsetenv("CPD_JOYSTICK_STORE");
  setenv("XDG_CONFIG_HOME", directory.c_str(), 1);
  ASSERT_TRUE(Store().SetSecure(KEY, "xdg"));
  const fs::path expected = directory / "cpd-joystick" / "store.json";
  EXPECT_TRUE(fs::exists(expected));
  EXPECT_EQ(Store().GetSecure(KEY), "xdg");
  struct stat info {};
  ASSERT_EQ(stat(expected.parent_path().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);
}

TEST_F(DefaultStore, FallsBackToDotConfigInTheHomeDirectory) {
  unsetenv("CPD_JOYSTICK_STORE");
  unsetenv("XDG_CONFIG_HOME");
  setenv("HOME", directory.c_str(), 1);
  ASSERT_TRUE(Store().SetSecure(KEY, "home"));
  EXPECT_TRUE(fs::exists(directory / ".config" / "cpd-joystick" / "store.json"));
}

TEST_F(DefaultStore, CorruptFileReadsAsEmptyWithOneErrorLineAndIsLeftAlone) {
  WriteFile(file, "{ not json");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  const std::string errors = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(errors, "cpd-joystick store: " + file.string() +
                        " is not a valid store file; reading it as empty\n");
  EXPECT_EQ(ReadFile(file), "{ not json");
}

TEST_F(DefaultStore, NextSuccessfulWriteReplacesACorruptFileAndKeepsItAside) {
  WriteFile(file, "[1, 2");
  ::testing::internal::CaptureStderr();
  ASSERT_TRUE(Store().SetSecure(KEY, "fresh"));
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "fresh");
  EXPECT_EQ(ReadFile(file.string() + ".corrupt"), "[1, 2");
}

TEST_F(DefaultStore, WriteLeavesNoTemporaryFilesBehind) {
  ASSERT_TRUE(Store().SetSecure(KEY, "a"));
  ASSERT_TRUE(Store().SetSecure(KEY, "b"));
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_EQ(names, std::vector<std::string>{"store.json"});
}

// A writer killed at arbitrary moments never leaves a torn file: what is read afterwards is
// always one whole value that was written.
TEST_F(DefaultStore, KilledWriterNeverLosesThePreviousValue) {
  const std::string first(256 * 1024, 'a');
  const std::string second(256 * 1024, 'b');
  ASSERT_TRUE(Store().SetSecure(KEY, first));
  for (int round = 0; round < 12; ++round) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      for (int i = 0;; ++i) {
        sd::SDConfig::GetInstance()->SetSecure(KEY, (i % 2 == 0) ? second : first);
      }
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + 7 * round));
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    const std::string value = Store().GetSecure(KEY);
    EXPECT_TRUE(value == first || value == second)
        << "round " << round << ": torn value of " << value.size() << " bytes";
  }
}

TEST_F(DefaultStore, ConcurrentWritersOfDistinctKeysAllLand) {
  std::vector<std::thread> writers;
  for (int t = 0; t < 8; ++t) {
    writers.emplace_back([t] {
      for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(
            sd::SDConfig::GetInstance()->SetSecure("key" + std::to_string(t), std::to_string(i)));
      }
    });
  }
  for (std::thread& writer : writers) {
    writer.join();
  }
  for (int t = 0; t < 8; ++t) {
    EXPECT_EQ(Store().GetSecure("key" + std::to_string(t)), "19");
  }
}

}  // namespace
