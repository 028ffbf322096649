// A Windows host that loads the bridge with LoadLibrary and frees it again, fifty times, on the
// real SDL2.dll (no controllers): alternately after unregistering and while still registered,
// with pauses that land in SDL_Init, the first enumeration and the waits. The DLL pins itself on
// the first call, so every FreeLibrary leaves it where its threads run; each round's calls work,
// and the host ends normally with the last listener still registered.
#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include "cpd_joystick/joystick_api.h"
#include "run_time_host.h"

namespace {

using cpd::test::RunTimeListener;

RunTimeListener gListener;  // outlives the DLL's threads, which the system ends at exit

using cpd::test::FindRegistrationExports;
using cpd::test::RegistrationExports;

std::string TemporaryPath(const char* stem) {
  std::array<char, MAX_PATH> folder{};
  GetTempPathA(static_cast<DWORD>(folder.size()), folder.data());
  // Wine reuses process ids soon, and the pinned default sink keeps its file open to the end.
  return std::string(folder.data()) + stem + std::to_string(GetCurrentProcessId()) + "-" +
         std::to_string(GetTickCount64());
}

std::string ReadAll(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

TEST(DllUnloadRealSdl, FiftyRoundsOfLoadAndFreeAlternatingWorkEachTime) {
  const std::string log = TemporaryPath("cpd-unload-log-");
  const std::string store = TemporaryPath("cpd-unload-store-");
  SetEnvironmentVariableA("CPD_JOYSTICK_LOG", log.c_str());
  SetEnvironmentVariableA("CPD_JOYSTICK_STORE", store.c_str());
  static constexpr std::array<int, 8> PAUSES{0, 1, 3, 10, 30, 100, 250, 500};

  HMODULE first = nullptr;
  for (int round = 0; round < 50; ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    HMODULE bridge = LoadLibraryW(L"cpd_joystick.dll");
    ASSERT_NE(bridge, nullptr);
    if (first == nullptr) {
      first = bridge;
    }
    EXPECT_EQ(bridge, first) << "a pinned bridge is found where it was";
    const RegistrationExports exports = FindRegistrationExports(bridge);
    ASSERT_NE(exports.registerNotify, nullptr);
    ASSERT_NE(exports.unregisterNotify, nullptr);

    ASSERT_EQ(exports.registerNotify(gListener.AsNotify()), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(PAUSES[round % PAUSES.size()]));
    if (round % 2 == 0) {
      ASSERT_EQ(exports.unregisterNotify(gListener.AsNotify()), 0);
    }
    ASSERT_NE(FreeLibrary(bridge), 0);
    EXPECT_EQ(GetModuleHandleW(L"cpd_joystick.dll"), bridge) << "unmapped under its threads";
  }
  const std::string lines = ReadAll(log);
  // Every registration started polling, and SDL came up each time (no set-up failure).
  size_t enters = 0;
  for (size_t at = lines.find("joystick process enter"); at != std::string::npos;
       at = lines.find("joystick process enter", at + 1)) {
    ++enters;
  }
  EXPECT_EQ(enters, 26U) << lines;  // round 0 and every odd round find polling stopped
  EXPECT_EQ(lines.find("ERROR"), std::string::npos) << lines;
  DeleteFileA(log.c_str());
  DeleteFileA(store.c_str());
  // Returning from here ends the process with the last listener still registered.
}

}  // namespace
