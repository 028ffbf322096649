// The default store's test fixture: each test gets a folder of its own and points the store at
// a file in it through CPD_JOYSTICK_STORE.
#pragma once

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "cpd_joystick/sd_config.h"
#include "test_environment.h"

namespace cpd::test {

namespace fs = std::filesystem;

inline const std::string KEY = "joystickPolicyList";

inline std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

inline void WriteFile(const fs::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text;
}

// The store's lock file held by someone else, as another process sharing the store would: its
// own open of the file, so the store's attempts fail even from this process.
class ForeignLock {
 public:
  explicit ForeignLock(const fs::path& lockFile) {
#if defined(_WIN32)
    handle_ = CreateFileW(lockFile.wstring().c_str(), GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                          OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    OVERLAPPED whole{};
    held_ = handle_ != INVALID_HANDLE_VALUE &&
            LockFileEx(handle_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                       &whole) != 0;
#else
    descriptor_ = open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    held_ = descriptor_ >= 0 && flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
#endif
  }
  ~ForeignLock() {
#if defined(_WIN32)
    if (handle_ != INVALID_HANDLE_VALUE) {
      CloseHandle(handle_);
    }
#else
    if (descriptor_ >= 0) {
      close(descriptor_);
    }
#endif
  }
  ForeignLock(const ForeignLock&) = delete;
  ForeignLock& operator=(const ForeignLock&) = delete;

  bool Held() const {
    return held_;
  }

 private:
#if defined(_WIN32)
  HANDLE handle_ = INVALID_HANDLE_VALUE;
#else
  int descriptor_ = -1;
#endif
  bool held_ = false;
};

// The names in `directory`, sorted.
inline std::vector<std::string> Names(const fs::path& directory) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename().u8string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class DefaultStore : public ::testing::Test {
 protected:
  void SetUp() override {
    directory = fs::u8path(::testing::TempDir()) /
                ("store-" + std::to_string(ProcessId()) + "-" +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(directory);
    fs::create_directories(directory);
    file = directory / "store.json";
    SetEnvironment("CPD_JOYSTICK_STORE", file.u8string());
  }
  void TearDown() override {
    std::error_code ignored;
    fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::permissions(file, fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(directory, ignored);
  }

  fs::path LockFile() const { return fs::u8path(file.u8string() + ".lock"); }

  static sd::SDConfig& Store() {
    sd::SDConfig* store = sd::SDConfig::GetInstance();
    EXPECT_NE(store, nullptr);
    return *store;
  }

  fs::path directory;
  fs::path file;
};

}  // namespace cpd::test
