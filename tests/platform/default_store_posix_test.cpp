// The default store on POSIX systems: where the file lives, its permissions, killed writers.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "default_store_fixture.h"

namespace {

using cpd::test::DefaultStore;
using cpd::test::KEY;
namespace fs = std::filesystem;

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

}  // namespace
