// The default store's test fixture: each test gets a folder of its own and points the store at
// a file in it through CPD_JOYSTICK_STORE.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

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
  void TearDown() override { fs::remove_all(directory); }

  static sd::SDConfig& Store() {
    sd::SDConfig* store = sd::SDConfig::GetInstance();
    EXPECT_NE(store, nullptr);
    return *store;
  }

  fs::path directory;
  fs::path file;
};

}  // namespace cpd::test
