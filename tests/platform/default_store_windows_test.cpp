// The default store on Windows: %APPDATA% by default, paths outside ASCII, killed writers.
#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <string>
#include <thread>

#include "default_store_fixture.h"

namespace {

using cpd::test::DefaultStore;
using cpd::test::KEY;
using cpd::test::ReadFile;
using cpd::test::SetEnvironment;
using cpd::test::UnsetEnvironment;
namespace fs = std::filesystem;

// A folder name like the user names that non-English Windows installations have.
const char* const NON_ASCII_FOLDER = u8"J\u00fcrgen \u00c6r\u00f8 \u6771\u4eac";

TEST_F(DefaultStore, LivesUnderAppDataByDefault) {
  UnsetEnvironment("CPD_JOYSTICK_STORE");
  SetEnvironment("APPDATA", directory.u8string());
  ASSERT_TRUE(Store().SetSecure(KEY, "appdata"));
  EXPECT_TRUE(fs::exists(directory / "cpd-joystick" / "store.json"));
  EXPECT_EQ(Store().GetSecure(KEY), "appdata");
}

TEST_F(DefaultStore, AppDataOutsideAsciiWorks) {
  UnsetEnvironment("CPD_JOYSTICK_STORE");
  const fs::path appData = directory / fs::u8path(NON_ASCII_FOLDER) / "AppData" / "Roaming";
  SetEnvironment("APPDATA", appData.u8string());
  ASSERT_TRUE(Store().SetSecure(KEY, "roaming"));
  const fs::path stored = appData / "cpd-joystick" / "store.json";
  EXPECT_TRUE(fs::exists(stored));
  EXPECT_EQ(ReadFile(stored), "{\n  \"joystickPolicyList\" : \"roaming\"\n}\n");
  EXPECT_EQ(Store().GetSecure(KEY), "roaming");
}

TEST_F(DefaultStore, StoreFileOutsideAsciiWorks) {
  const fs::path named = directory / fs::u8path(NON_ASCII_FOLDER) / fs::u8path(u8"st\u00f6re.json");
  SetEnvironment("CPD_JOYSTICK_STORE", named.u8string());
  ASSERT_TRUE(Store().SetSecure(KEY, "named"));
  EXPECT_TRUE(fs::exists(named));
  EXPECT_EQ(Store().GetSecure(KEY), "named");
}

std::wstring ProgramBesideThis(const wchar_t* name) {
  wchar_t self[MAX_PATH];
  const std::wstring path(self, GetModuleFileNameW(nullptr, self, MAX_PATH));
  return path.substr(0, path.find_last_of(L"\\/") + 1) + name;
}

// A writer killed at arbitrary moments never leaves a torn file: what is read afterwards is
// always one whole value that was written.
TEST_F(DefaultStore, KilledWriterNeverLosesThePreviousValue) {
  const std::string first(size_t{256} * 1024, 'a');
  const std::string second(size_t{256} * 1024, 'b');
  ASSERT_TRUE(Store().SetSecure(KEY, first));
  const fs::path started = directory / "writer-started";
  SetEnvironment("CPD_TEST_WRITER_STARTED", started.u8string());
  std::wstring commandLine = L"\"" + ProgramBesideThis(L"store_writer.exe") + L"\"";
  for (int round = 0; round < 12; ++round) {
    fs::remove(started);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_NE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             nullptr, &startup, &process),
              0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!fs::exists(started) && std::chrono::steady_clock::now() < deadline &&
           WaitForSingleObject(process.hProcess, 0) == WAIT_TIMEOUT) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    EXPECT_TRUE(fs::exists(started)) << "round " << round << ": the writer never started";
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + 7 * round));
    TerminateProcess(process.hProcess, 9);
    WaitForSingleObject(process.hProcess, INFINITE);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    const std::string value = Store().GetSecure(KEY);
    EXPECT_TRUE(value == first || value == second)
        << "round " << round << ": torn value of " << value.size() << " bytes";
  }
}

}  // namespace
