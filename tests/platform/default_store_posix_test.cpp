// The default store on POSIX systems: where the file lives, its permissions, killed writers,
// what else may sit at its path, and processes sharing it.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "default_store_fixture.h"
#include "store_workload.h"

namespace {

using cpd::test::DefaultStore;
using cpd::test::KEY;
using cpd::test::ReadFile;
using cpd::test::WriteFile;
namespace fs = std::filesystem;

TEST_F(DefaultStore, FileIsReadableByItsOwnerOnly) {
  ASSERT_TRUE(Store().SetSecure(KEY, "x"));
  struct stat info {};
  ASSERT_EQ(stat(file.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600U);
}

TEST_F(DefaultStore, LivesUnderXdgConfigHomeByDefault) {
  cpd::test::UnsetEnvironment("CPD_JOYSTICK_STORE");
  cpd::test::SetEnvironment("XDG_CONFIG_HOME", directory.string());
  ASSERT_TRUE(Store().SetSecure(KEY, "xdg"));
  const fs::path expected = directory / "cpd-joystick" / "store.json";
  EXPECT_TRUE(fs::exists(expected));
  EXPECT_EQ(Store().GetSecure(KEY), "xdg");
  struct stat info {};
  ASSERT_EQ(stat(expected.parent_path().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0700U);
}

TEST_F(DefaultStore, FallsBackToDotConfigInTheHomeDirectory) {
  cpd::test::UnsetEnvironment("CPD_JOYSTICK_STORE");
  cpd::test::UnsetEnvironment("XDG_CONFIG_HOME");
  cpd::test::SetEnvironment("HOME", directory.string());
  ASSERT_TRUE(Store().SetSecure(KEY, "home"));
  EXPECT_TRUE(fs::exists(directory / ".config" / "cpd-joystick" / "store.json"));
}

// A writer killed at arbitrary moments never leaves a torn file: what is read afterwards is
// always one whole value that was written.
TEST_F(DefaultStore, KilledWriterNeverLosesThePreviousValue) {
  const std::string first(size_t{256} * 1024, 'a');
  const std::string second(size_t{256} * 1024, 'b');
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

struct ChildResult {
  int status = -1;
  std::string errors;
};

// Runs `call` in a child process and returns its exit status and what it wrote to stderr. When
// this process is root the child runs as nobody instead: root may create files in any folder, so
// a read-only folder would test nothing.
ChildResult RunUnprivileged(const std::function<int()>& call) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    constexpr uid_t NOBODY = 65534;
    if (geteuid() == 0 && (setgid(NOBODY) != 0 || setuid(NOBODY) != 0)) {
      _exit(100);
    }
    _exit(call());
  }
  close(ends[1]);
  ChildResult result;
  char buffer[512];
  ssize_t got = 0;
  while ((got = read(ends[0], buffer, sizeof buffer)) > 0) {
    result.errors.append(buffer, static_cast<size_t>(got));
  }
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

TEST_F(DefaultStore, ReadOnlyFolderReadsButRefusesWritesNamingTheFolder) {
  const fs::path folder = directory / "locked";
  fs::create_directories(folder);
  const fs::path stored = folder / "store.json";
  WriteFile(stored, R"({"joystickPolicyList":"kept"})");
  chmod(stored.c_str(), 0644);
  chmod(folder.c_str(), 0555);
  cpd::test::SetEnvironment("CPD_JOYSTICK_STORE", stored.string());
  const ChildResult result = RunUnprivileged([] {
    sd::SDConfig* store = sd::SDConfig::GetInstance();
    const bool read = store->GetSecure(KEY) == "kept";
    const bool written = store->SetSecure(KEY, "new");
    return (read ? 0 : 1) + (written ? 2 : 0);
  });
  EXPECT_EQ(result.status, 0) << "1: the value was not read, 2: the write was accepted";
  EXPECT_EQ(result.errors, "cpd-joystick store: cannot create a file in " + folder.string() +
                               ": Permission denied; nothing stored\n");
  EXPECT_EQ(ReadFile(stored), R"({"joystickPolicyList":"kept"})");
  EXPECT_EQ(cpd::test::Names(folder), std::vector<std::string>{"store.json"});
}

TEST_F(DefaultStore, SymbolicLinkToAFileIsNeitherFollowedNorReplaced) {
  const fs::path target = directory / "elsewhere.json";
  WriteFile(target, R"({"joystickPolicyList":"target"})");
  fs::create_symlink(target, file);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: " + file.string() +
                " is a symbolic link, not a regular file; reading the store as empty and leaving "
                "it alone\n"
                "cpd-joystick store: refusing to write " +
                file.string() + ": it is a symbolic link, not a regular file\n");
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_EQ(fs::read_symlink(file), target);
  EXPECT_EQ(ReadFile(target), R"({"joystickPolicyList":"target"})");
  EXPECT_EQ(cpd::test::Names(directory),
            (std::vector<std::string>{"elsewhere.json", "store.json", "store.json.lock"}));
}

TEST_F(DefaultStore, DanglingSymbolicLinkIsLeftAlone) {
  const fs::path target = directory / "missing.json";
  fs::create_symlink(target, file);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  const std::string errors = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(errors.find("refusing to write " + file.string() +
                        ": it is a symbolic link, not a regular file\n"),
            std::string::npos)
      << errors;
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_FALSE(fs::exists(target));
}

TEST_F(DefaultStore, NamedPipeAtTheStorePathIsNeverOpened) {
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");  // opening it would wait for a writer for ever
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: " + file.string() +
                " is a named pipe, not a regular file; reading the store as empty and leaving it "
                "alone\n"
                "cpd-joystick store: refusing to write " +
                file.string() + ": it is a named pipe, not a regular file\n");
  EXPECT_TRUE(fs::is_fifo(file));
}

TEST_F(DefaultStore, LockFileThatIsASymbolicLinkIsNotFollowed) {
  const fs::path target = directory / "elsewhere";
  WriteFile(target, "untouched");
  fs::create_symlink(target, LockFile());
  ::testing::internal::CaptureStderr();
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: cannot open the lock file " + LockFile().string() +
                ": Too many levels of symbolic links; nothing stored\n");
  EXPECT_EQ(ReadFile(target), "untouched");
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(DefaultStore, TwoProcessesUpdatingOneKeyLoseNoLine) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    _exit(std::min(cpd::test::AppendLines("child", cpd::test::WORKLOAD_CYCLES, 2), 99));
  }
  const int failures = cpd::test::AppendLines("parent", cpd::test::WORKLOAD_CYCLES, 1);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(failures, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  const std::string value = Store().GetSecure(cpd::test::APPENDED_KEY);
  for (const std::string tag : {"parent", "child"}) {
    EXPECT_EQ(cpd::test::LinesOf(value, tag),
              cpd::test::AppendedLines(tag, cpd::test::WORKLOAD_CYCLES));
  }
  EXPECT_EQ(std::count(value.begin(), value.end(), '\n'), 2 * cpd::test::WORKLOAD_CYCLES);
}

TEST_F(DefaultStore, TwoProcessesWritingDistinctKeysLoseNone) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    _exit(std::min(cpd::test::WriteKeys("child", cpd::test::WORKLOAD_CYCLES, 2), 99));
  }
  const int failures = cpd::test::WriteKeys("parent", cpd::test::WORKLOAD_CYCLES, 1);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(failures, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  int missing = 0;
  for (const std::string tag : {"parent", "child"}) {
    for (int i = 0; i < cpd::test::WORKLOAD_CYCLES; ++i) {
      missing += Store().GetSecure(tag + std::to_string(i)) == "value " + std::to_string(i) ? 0 : 1;
    }
  }
  EXPECT_EQ(missing, 0);
}

// The bridge finds the two functions at run time, so that a host's own store without them works.
TEST_F(DefaultStore, UpdateFunctionsCanBeLookedUpByName) {
  using Begin = int (*)();
  using End = void (*)();
  const auto begin =
      reinterpret_cast<Begin>(dlsym(RTLD_DEFAULT, "cpd_joystick_store_begin_update"));
  const auto end = reinterpret_cast<End>(dlsym(RTLD_DEFAULT, "cpd_joystick_store_end_update"));
  ASSERT_NE(begin, nullptr);
  ASSERT_NE(end, nullptr);
  ASSERT_EQ(begin(), 1);
  EXPECT_TRUE(Store().SetSecure(KEY, "inside"));
  end();
  EXPECT_EQ(Store().GetSecure(KEY), "inside");
}

}  // namespace
