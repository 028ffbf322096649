// The default store on Windows: %APPDATA% by default, paths outside ASCII, killed writers, links
// at its path, processes sharing it.
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "default_store_fixture.h"
#include "store_workload.h"

namespace {

using cpd::test::DefaultStore;
using cpd::test::KEY;
using cpd::test::ReadFile;
using cpd::test::SetEnvironment;
using cpd::test::UnsetEnvironment;
using cpd::test::WriteFile;
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

// The other process of the shared-store tests: store_writer with `arguments`, started once it
// has said so.
class Writer {
 public:
  Writer(const fs::path& started, const std::wstring& arguments) {
    fs::remove(started);
    SetEnvironment("CPD_TEST_WRITER_STARTED", started.u8string());
    std::wstring commandLine = L"\"" + ProgramBesideThis(L"store_writer.exe") + L"\" " + arguments;
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    EXPECT_NE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             nullptr, &startup, &process_),
              0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!fs::exists(started) && std::chrono::steady_clock::now() < deadline &&
           WaitForSingleObject(process_.hProcess, 0) == WAIT_TIMEOUT) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }
  ~Writer() {
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  DWORD ExitCode() {
    EXPECT_EQ(WaitForSingleObject(process_.hProcess, 120000), WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
  }

 private:
  PROCESS_INFORMATION process_{};
};

TEST_F(DefaultStore, TwoProcessesUpdatingOneKeyLoseNoLine) {
  Writer other(directory / "writer-started",
               L"append other " + std::to_wstring(cpd::test::WORKLOAD_CYCLES));
  const int failures = cpd::test::AppendLines("this", cpd::test::WORKLOAD_CYCLES, 1);
  EXPECT_EQ(other.ExitCode(), 0U);
  EXPECT_EQ(failures, 0);
  const std::string value = Store().GetSecure(cpd::test::APPENDED_KEY);
  for (const std::string tag : {"this", "other"}) {
    EXPECT_EQ(cpd::test::LinesOf(value, tag),
              cpd::test::AppendedLines(tag, cpd::test::WORKLOAD_CYCLES));
  }
  EXPECT_EQ(std::count(value.begin(), value.end(), '\n'), 2 * cpd::test::WORKLOAD_CYCLES);
}

TEST_F(DefaultStore, TwoProcessesWritingDistinctKeysLoseNone) {
  Writer other(directory / "writer-started",
               L"keys other " + std::to_wstring(cpd::test::WORKLOAD_CYCLES));
  const int failures = cpd::test::WriteKeys("this", cpd::test::WORKLOAD_CYCLES, 1);
  EXPECT_EQ(other.ExitCode(), 0U);
  EXPECT_EQ(failures, 0);
  int missing = 0;
  for (const std::string tag : {"this", "other"}) {
    for (int i = 0; i < cpd::test::WORKLOAD_CYCLES; ++i) {
      missing += Store().GetSecure(tag + std::to_string(i)) == "value " + std::to_string(i) ? 0 : 1;
    }
  }
  EXPECT_EQ(missing, 0);
}

// Creating a symbolic link takes a privilege that a test run may lack, and Wine 8 reports success
// without making one (nor does it show a Unix link as a reparse point). Where no link comes about,
// there is nothing to check.
TEST_F(DefaultStore, SymbolicLinkAtTheStorePathIsNeitherFollowedNorReplaced) {
  const fs::path target = directory / "elsewhere.json";
  WriteFile(target, R"({"joystickPolicyList":"target"})");
  const BOOL made = CreateSymbolicLinkW(file.wstring().c_str(), target.wstring().c_str(), 0);
  const DWORD attributes = GetFileAttributesW(file.wstring().c_str());
  if (made == 0 || attributes == INVALID_FILE_ATTRIBUTES ||
      (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    GTEST_SKIP() << "this system made no symbolic link (CreateSymbolicLinkW returned " << made
                 << ", attributes " << attributes << ")";
  }
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(Store().GetSecure(KEY), "");
  EXPECT_FALSE(Store().SetSecure(KEY, "new"));
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "cpd-joystick store: " + file.u8string() +
                " is a symbolic link or junction, not a regular file; reading the store as empty "
                "and leaving it alone\n"
                "cpd-joystick store: refusing to write " +
                file.u8string() + ": it is a symbolic link or junction, not a regular file\n");
  EXPECT_EQ(ReadFile(target), R"({"joystickPolicyList":"target"})");
}

}  // namespace
