// The policy store on the default secure store, which the watcher holds across its read-back and
// its write: the host's log sink is never called meanwhile, so a sink that waits for another
// thread's use of the store holds nobody up.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "cpd_joystick/sd_config.h"
#include "cpd_joystick/store_update.h"
#include "joystick_policy/joystick_policy.h"
#include "log_capture.h"
#include "policy_texts.h"
#include "test_environment.h"

namespace {

using cpd::test::DebugBody;
using cpd::test::LogLine;
using cpd::test::ONE_XBOX_ENTRY;

constexpr const char* KEY = "joystickPolicyList";

class PolicyStoreHold : public ::testing::Test {
 protected:
  void SetUp() override {
    mDirectory = std::filesystem::temp_directory_path() /
                 ("cpd-policy-hold-" + std::to_string(cpd::test::ProcessId()));
    std::filesystem::remove_all(mDirectory);
    ASSERT_TRUE(std::filesystem::create_directories(mDirectory));
    cpd::test::SetEnvironment("CPD_JOYSTICK_STORE", (mDirectory / "store.json").string());
    cpd::test::ClearLogs();
  }

  void TearDown() override {
    cpd::test::SetLogHandler(nullptr);
    std::filesystem::remove_all(mDirectory);
  }

  std::filesystem::path mDirectory;
};

// Another thread of the host takes the store while the sink waits for it, as a sink that hands
// its lines to a thread that also uses the store would.
bool StoreIsFreeForAnotherThread() {
  bool taken = false;
  std::thread other([&taken] {
    taken = cpd_joystick_store_begin_update() != 0;
    if (taken) {
      cpd_joystick_store_end_update();
    }
  });
  other.join();
  return taken;
}

TEST_F(PolicyStoreHold, EveryLineOfTheWatcherReachesTheSinkWithTheStoreLetGo) {
  const std::thread::id testThread = std::this_thread::get_id();
  std::atomic<int> checked{0};
  std::atomic<int> foundHeld{0};
  cpd::test::SetLogHandler([&](const LogLine& line) {
    if (line.thread == testThread) {
      return;
    }
    ++checked;
    if (!StoreIsFreeForAnotherThread()) {
      ++foundHeld;
    }
  });
  auto policy = std::make_shared<cpd::JoystickPolicy>();
  ASSERT_EQ(policy->Init(), 0);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  EXPECT_TRUE(policy->WaitUntilStored(std::chrono::seconds(10)));
  policy.reset();
  cpd::test::SetLogHandler(nullptr);
  // The watcher's enter, write and exit lines at least.
  EXPECT_GE(checked.load(), 3);
  EXPECT_EQ(foundHeld.load(), 0);
  EXPECT_EQ(cpd::test::CountLogBody(DebugBody("config mPolicyStr  " + ONE_XBOX_ENTRY + "\\n")), 1U);
  EXPECT_EQ(sd::SDConfig::GetInstance()->GetSecure(KEY), ONE_XBOX_ENTRY);
}

}  // namespace
