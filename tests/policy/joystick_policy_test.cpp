// The policy store as a whole, against the recording store and the capturing log sink.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "joystick_policy/joystick_policy.h"
#include "joystick_policy/policy_document.h"
#include "log_capture.h"
#include "policy_texts.h"
#include "recording_store.h"

namespace {

using cpd::JoystickPolicy;
using cpd::policy::LookupMappingIndex;
namespace policy = cpd::policy;
using cpd::test::CountLogBody;
using cpd::test::CountStoreCalls;
using cpd::test::DebugBody;
using cpd::test::ErrorBody;
using cpd::test::LogBodies;
using cpd::test::ONE_XBOX_ENTRY;
using cpd::test::StoreCall;
using cpd::test::StoreCalls;
using cpd::test::StoredValue;
using cpd::test::WaitForLogBody;
using cpd::test::WaitForStoreCalls;
using cpd::test::XBOX_AND_DUALSENSE;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* KEY = "joystickPolicyList";

const std::string WATCHER_ENTER = DebugBody("handlePolicyChangeThread enter\\n");
const std::string WATCHER_EXIT = DebugBody("handlePolicyChangeThread exit\\n");

std::string WatcherWriteBody(const std::string& text) {
  return DebugBody("config mPolicyStr  " + text + "\\n");
}

std::vector<StoreCall> SetSecureCalls() {
  std::vector<StoreCall> writes;
  for (const StoreCall& call : StoreCalls()) {
    if (call.operation == "SetSecure") {
      writes.push_back(call);
    }
  }
  return writes;
}

class PolicyStore : public ::testing::Test {
 protected:
  void SetUp() override {
    cpd::test::ResetStore();
    cpd::test::ClearLogs();
  }

  static std::shared_ptr<JoystickPolicy> Started() {
    auto policy = std::make_shared<JoystickPolicy>();
    EXPECT_EQ(policy->Init(), 0);
    EXPECT_TRUE(WaitForLogBody(WATCHER_ENTER));
    return policy;
  }
};

TEST_F(PolicyStore, InitLoadsTheStoredDocumentAndLogsIt) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  auto policy = Started();
  ASSERT_EQ(CountStoreCalls("GetSecure"), 1U);
  EXPECT_EQ(StoreCalls().front().key, KEY);
  EXPECT_EQ(CountLogBody(DebugBody("mPolicyStr: " + ONE_XBOX_ENTRY)), 1U);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
}

TEST_F(PolicyStore, SecondInitSaysAlreadyStartedAndKeepsTheDocument) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  auto policy = Started();
  cpd::test::SetStoredValue(KEY, "[]");
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->Init(), -1);
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{DebugBody("mPolicyStr: []"),
                                                   DebugBody("already started\\n")}));
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  policy.reset();
  EXPECT_EQ(CountLogBody(WATCHER_ENTER), 0U);  // cleared before; only one watcher ever ran
  EXPECT_EQ(CountLogBody(WATCHER_EXIT), 1U);
}

TEST_F(PolicyStore, TwoGetInstanceCallsShareOneInstanceLoadedOnce) {
  const std::shared_ptr<JoystickPolicy> first = JoystickPolicy::GetInstance();
  const std::shared_ptr<JoystickPolicy> second = JoystickPolicy::GetInstance();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(CountStoreCalls("GetSecure"), 1U);
  EXPECT_TRUE(WaitForLogBody(WATCHER_ENTER));
  EXPECT_EQ(CountLogBody(DebugBody("already started\\n")), 0U);
}

TEST_F(PolicyStore, FirstGetInstanceFromManyThreadsAtOnceCreatesOneInstance) {
  constexpr int THREADS = 8;
  std::atomic<bool> go{false};
  std::vector<std::shared_ptr<JoystickPolicy>> seen(THREADS);
  std::vector<std::thread> threads;
  threads.reserve(THREADS);
  for (int i = 0; i < THREADS; ++i) {
    threads.emplace_back([&go, &seen, i] {
      while (!go) {
        std::this_thread::yield();
      }
      seen[static_cast<size_t>(i)] = JoystickPolicy::GetInstance();
    });
  }
  go = true;
  for (std::thread& thread : threads) {
    thread.join();
  }
  ASSERT_NE(seen.front(), nullptr);
  for (const auto& policy : seen) {
    EXPECT_EQ(policy, seen.front());
  }
  EXPECT_EQ(CountStoreCalls("GetSecure"), 1U);
  EXPECT_TRUE(WaitForLogBody(WATCHER_ENTER));
  EXPECT_EQ(CountLogBody(WATCHER_ENTER), 1U);
}

// A store that asks for the policy store from inside its own GetSecure, on the thread that is
// loading it, gets none instead of waiting for itself.
std::atomic<int> gNestedAsks{0};
std::atomic<int> gNestedAnswers{0};

void AskForThePolicyFromInsideTheStore(const std::string& operation) {
  if (operation == "GetSecure") {
    ++gNestedAsks;
    if (JoystickPolicy::GetInstance() != nullptr) {
      ++gNestedAnswers;
    }
  }
}

TEST_F(PolicyStore, StoreThatAsksForThePolicyWhileLoadingItGetsNoneInsteadOfADeadlock) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  cpd::test::SetStoreCallHook(&AskForThePolicyFromInsideTheStore);
  const std::shared_ptr<JoystickPolicy> policy = JoystickPolicy::GetInstance();
  cpd::test::SetStoreCallHook(nullptr);
  ASSERT_NE(policy, nullptr);
  EXPECT_EQ(gNestedAsks.load(), 1);
  EXPECT_EQ(gNestedAnswers.load(), 0);
  EXPECT_EQ(
      CountLogBody(ErrorBody("policy store asked for while it is being loaded on this thread\\n")),
      1U);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  EXPECT_EQ(JoystickPolicy::GetInstance(), policy);
}

// Other threads that ask while a slow store loads wait for that one instance.
std::atomic<bool> gSlowLoadStarted{false};

void SlowGetSecure(const std::string& operation) {
  if (operation == "GetSecure") {
    gSlowLoadStarted = true;
    std::this_thread::sleep_for(milliseconds(300));
  }
}

TEST_F(PolicyStore, ThreadsThatAskWhileASlowStoreLoadsGetTheSameInstance) {
  cpd::test::SetStoreCallHook(&SlowGetSecure);
  std::shared_ptr<JoystickPolicy> first;
  std::thread loader([&first] { first = JoystickPolicy::GetInstance(); });
  while (!gSlowLoadStarted.load()) {
    std::this_thread::yield();
  }
  const std::shared_ptr<JoystickPolicy> second = JoystickPolicy::GetInstance();
  loader.join();
  cpd::test::SetStoreCallHook(nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(first, second);
  EXPECT_EQ(CountStoreCalls("GetSecure"), 1U);
}

// A store that does not answer holds up only the thread that loads the policy store; others
// that ask meanwhile go on without it after a while.
std::atomic<bool> gStuckLoadStarted{false};
std::atomic<bool> gStuckLoadLetGo{false};

void StuckGetSecure(const std::string& operation) {
  if (operation != "GetSecure") {
    return;
  }
  gStuckLoadStarted = true;
  const steady_clock::time_point deadline = steady_clock::now() + std::chrono::seconds(20);
  while (!gStuckLoadLetGo.load() && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(1));
  }
}

TEST_F(PolicyStore, ThreadThatAsksWhileTheStoreDoesNotAnswerGoesOnWithoutAPolicyAfterASecond) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  cpd::test::SetStoreCallHook(&StuckGetSecure);
  std::shared_ptr<JoystickPolicy> loaded;
  std::thread loader([&loaded] { loaded = JoystickPolicy::GetInstance(); });
  while (!gStuckLoadStarted.load()) {
    std::this_thread::yield();
  }
  const steady_clock::time_point asked = steady_clock::now();
  EXPECT_EQ(JoystickPolicy::GetInstance(), nullptr);
  const steady_clock::duration waited = steady_clock::now() - asked;
  EXPECT_GE(waited, milliseconds(900));
  EXPECT_LT(waited, milliseconds(5000));
  const std::string gaveUp =
      ErrorBody("policy store did not load within 1000 ms, going on without it");
  EXPECT_EQ(CountLogBody(gaveUp), 1U);
  gStuckLoadLetGo = true;
  loader.join();
  cpd::test::SetStoreCallHook(nullptr);
  ASSERT_NE(loaded, nullptr);
  EXPECT_EQ(JoystickPolicy::GetInstance(), loaded);
  EXPECT_EQ(loaded->GetMappingIndex(0x045e, 0x028e), 6);
  EXPECT_EQ(CountLogBody(gaveUp), 1U);
  EXPECT_EQ(CountStoreCalls("GetSecure"), 1U);
}

// A store that writes a choice from inside its own SetSecure (as a store that notifies its
// settings page might) is not waited on by the watcher's document lock.
std::atomic<JoystickPolicy*> gReentrantPolicy{nullptr};
std::atomic<int> gReentrantWrites{0};

void ChooseFromInsideSetSecure(const std::string& operation) {
  JoystickPolicy* policy = gReentrantPolicy.load();
  if (operation == "SetSecure" && policy != nullptr && gReentrantWrites.fetch_add(1) == 0) {
    policy->SetMappingIndex(0x054c, 0x0ce6, 1, "DualSense Wireless Controller");
  }
}

TEST_F(PolicyStore, ChoiceMadeFromInsideSetSecureIsWrittenByTheNextPass) {
  auto policy = Started();
  gReentrantPolicy = policy.get();
  cpd::test::SetStoreCallHook(&ChooseFromInsideSetSecure);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 2));
  cpd::test::SetStoreCallHook(nullptr);
  gReentrantPolicy = nullptr;
  EXPECT_EQ(StoredValue(KEY), XBOX_AND_DUALSENSE);
}

TEST_F(PolicyStore, VendorZeroLookupIsRefusedWithoutReadingTheDocument) {
  cpd::test::SetStoredValue(KEY, R"([{"vidpid":"0000:028e","mapping":3}])");
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0, 0x028e), 0);
  EXPECT_EQ(LogBodies(),
            (std::vector<std::string>{DebugBody("GetMappingIndex 0000:028e\\n"),
                                      DebugBody("do not GetMappingIndex cause vid is 0\\n")}));
}

TEST_F(PolicyStore, ProductZeroIsLookedUpLikeAnyOther) {
  cpd::test::SetStoredValue(KEY, R"([{"vidpid":"045e:0000","mapping":4}])");
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0), 4);
  EXPECT_EQ(LogBodies(),
            (std::vector<std::string>{DebugBody("GetMappingIndex 045e:0000\\n"),
                                      DebugBody("vidpid 045e:0000 MappingIndex[4]\\n")}));
}

TEST_F(PolicyStore, LookupInAnEmptyPolicyGivesZeroAndLogsOnlyTheRequest) {
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{DebugBody("GetMappingIndex 045e:028e\\n")}));
}

TEST_F(PolicyStore, LookupOfAModelWithoutEntryGivesZero) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0x054c, 0x0ce6), 0);
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{DebugBody("GetMappingIndex 054c:0ce6\\n")}));
}

TEST_F(PolicyStore, LookupInATextThatIsNotJsonLogsRenderFailedOnce) {
  cpd::test::SetStoredValue(KEY, "{{ not json");
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
  EXPECT_EQ(LogBodies(), (std::vector<std::string>{DebugBody("GetMappingIndex 045e:028e\\n"),
                                                   ErrorBody("render failed")}));
  EXPECT_EQ(cpd::test::CapturedLogs().back().level, 7);
  EXPECT_EQ(cpd::test::CapturedLogs().back().function, "getMappingIndexFromConfig");
}

// The text is read once, but every lookup in it still says that it cannot be read.
TEST_F(PolicyStore, EveryLookupInATextThatIsNotJsonLogsRenderFailed) {
  cpd::test::SetStoredValue(KEY, "{{ not json");
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
  EXPECT_EQ(policy->GetMappingIndex(0x054c, 0x0ce6), 0);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
  EXPECT_EQ(CountLogBody(ErrorBody("render failed")), 3U);
}

// Each change of the text is what lookups answer from then on.
TEST_F(PolicyStore, LookupsAnswerTheTextAsEachChangeLeftIt) {
  cpd::test::SetStoredValue(KEY, "{{ not json");
  auto policy = Started();
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  policy->SetMappingIndex(0x045e, 0x028e, 2, "Xbox Controller");
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 2);
  policy->ClearPolicy();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
  EXPECT_EQ(cpd::test::LogBodiesOfThisThread(),
            (std::vector<std::string>{DebugBody("GetMappingIndex 045e:028e\\n")}));
}

TEST_F(PolicyStore, StoreAbsentAtStartGivesZeroForEveryModel) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  cpd::test::SetStoreAvailable(false);
  auto policy = Started();
  EXPECT_EQ(CountStoreCalls("GetSecure"), 0U);
  EXPECT_EQ(LogBodies().at(0), ErrorBody("no secure store, starting with an empty policy\\n"));
  EXPECT_EQ(LogBodies().at(1), DebugBody("mPolicyStr: "));
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
  EXPECT_EQ(policy->GetMappingIndex(0x054c, 0x0ce6), 0);
  EXPECT_EQ(policy->GetMappingIndex(0xffff, 0xffff), 0);
}

TEST_F(PolicyStore, StoreThatThrowsAtStartGivesAnEmptyPolicy) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  cpd::test::SetStoreThrowing(true);
  auto policy = Started();
  EXPECT_EQ(CountLogBody(ErrorBody("reading the policy failed: store failure\\n")), 1U);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
}

TEST_F(PolicyStore, VendorZeroChoiceIsRefusedAndLeavesNothingPending) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->SetMappingIndex(0, 0x028e, 3, "Nameless"), 0);
  EXPECT_EQ(LogBodies(),
            (std::vector<std::string>{
                DebugBody("SetMappingIndex 0000:028e mappingIndex[3] name[Nameless]\\n"),
                DebugBody("do not SetMappingIndex cause vid is 0\\n")}));
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  // A pending change would get a last write attempt when the store goes away.
  policy.reset();
  EXPECT_EQ(CountStoreCalls("SetSecure"), 0U);
}

TEST_F(PolicyStore, ChoiceReachesTheStoreInTheStyledForm) {
  auto policy = Started();
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller"), 0);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  const StoreCall write = SetSecureCalls().front();
  EXPECT_EQ(write.key, KEY);
  EXPECT_EQ(write.value, ONE_XBOX_ENTRY);
  EXPECT_TRUE(write.accepted);
  EXPECT_NE(write.thread, std::this_thread::get_id());
  EXPECT_EQ(StoredValue(KEY), ONE_XBOX_ENTRY);
  const std::vector<std::string> bodies = LogBodies();
  ASSERT_GE(bodies.size(), 4U);
  EXPECT_EQ(bodies[0],
            DebugBody("SetMappingIndex 045e:028e mappingIndex[6] name[Xbox Controller]\\n"));
  EXPECT_EQ(bodies[1], DebugBody("setMappingIndexToConfig vidpid[045e:028e] mappingIndex[6]\\n"));
  EXPECT_EQ(bodies[2], DebugBody("config mPolicyStr " + ONE_XBOX_ENTRY + "\\n"));
  EXPECT_EQ(bodies[3], WatcherWriteBody(ONE_XBOX_ENTRY));
  EXPECT_EQ(cpd::test::CapturedLogs()[3].function, "handlePolicyChangeThread");
}

TEST_F(PolicyStore, ChoiceIsAnsweredAtOnceFromMemory) {
  auto policy = Started();
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  cpd::test::ClearLogs();
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  EXPECT_EQ(CountLogBody(DebugBody("vidpid 045e:028e MappingIndex[6]\\n")), 1U);
}

TEST_F(PolicyStore, IndexOutsideTheMappingKindsIsStoredUnchanged) {
  auto policy = Started();
  policy->SetMappingIndex(0x045e, 0x028e, 9, "Xbox Controller");
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 9);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  EXPECT_EQ(StoredValue(KEY), R"([
   {
      "describe" : "Xbox Controller",
      "mapping" : 9,
      "vidpid" : "045e:028e"
   }
]
)");
}

TEST_F(PolicyStore, SecondModelIsAddedToTheStoredDocument) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  auto policy = Started();
  policy->SetMappingIndex(0x054c, 0x0ce6, 1, "DualSense Wireless Controller");
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  EXPECT_EQ(StoredValue(KEY), XBOX_AND_DUALSENSE);
}

// Another process that uses the same store stores a choice after this one loaded the document.
TEST_F(PolicyStore, ChoiceAnotherProcessStoredMeanwhileIsKeptAndAnswered) {
  auto policy = Started();
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  policy->SetMappingIndex(0x054c, 0x0ce6, 1, "DualSense Wireless Controller");
  ASSERT_TRUE(policy->WaitUntilStored(std::chrono::seconds(2)));
  EXPECT_EQ(StoredValue(KEY), XBOX_AND_DUALSENSE);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  EXPECT_EQ(policy->GetMappingIndex(0x054c, 0x0ce6), 1);
}

TEST_F(PolicyStore, OwnLaterChoiceForTheSameModelWinsOverTheStoredOne) {
  auto policy = Started();
  cpd::test::SetStoredValue(KEY, XBOX_AND_DUALSENSE);
  policy->SetMappingIndex(0x045e, 0x028e, 2, "Xbox Controller");
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  const std::string stored = StoredValue(KEY);
  EXPECT_EQ(LookupMappingIndex(stored, "045e:028e").mappingIndex, 2);
  EXPECT_EQ(LookupMappingIndex(stored, "054c:0ce6").mappingIndex, 1);
}

TEST_F(PolicyStore, ChoicesAlreadyStoredAreNotWrittenOverAnotherProcessesLaterOnes) {
  auto policy = Started();
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  // Stored means the store has shown it back: a change by the other process before that would
  // make ours look not stored yet, and it would be written again.
  ASSERT_TRUE(policy->WaitUntilStored(std::chrono::seconds(2)));
  // The other process changes the Xbox pad's layout after ours was stored.
  cpd::test::SetStoredValue(
      KEY, policy::UpdateMappingIndex(ONE_XBOX_ENTRY, "045e:028e", 3, "Xbox Controller"));
  policy->SetMappingIndex(0x054c, 0x0ce6, 1, "DualSense Wireless Controller");
  ASSERT_TRUE(policy->WaitUntilStored(std::chrono::seconds(2)));
  const std::string stored = StoredValue(KEY);
  EXPECT_EQ(LookupMappingIndex(stored, "045e:028e").mappingIndex, 3);
  EXPECT_EQ(LookupMappingIndex(stored, "054c:0ce6").mappingIndex, 1);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 3);
}

TEST_F(PolicyStore, ClearingDropsTheOtherProcessesChoicesToo) {
  auto policy = Started();
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  policy->ClearPolicy();
  policy->SetMappingIndex(0x054c, 0x0ce6, 1, "DualSense Wireless Controller");
  EXPECT_TRUE(policy->WaitUntilStored(std::chrono::seconds(2)));
  const std::string stored = StoredValue(KEY);
  EXPECT_EQ(LookupMappingIndex(stored, "045e:028e").outcome, policy::LookupOutcome::NOT_FOUND);
  EXPECT_EQ(LookupMappingIndex(stored, "054c:0ce6").mappingIndex, 1);
}

// Holds the store's n-th GetSecure (counted from 1) until the test lets it go, so the test can
// look at the policy between two write passes.
std::atomic<int> gReads{0};
std::atomic<int> gParkAtRead{0};
std::atomic<int> gParkedAt{0};
std::atomic<bool> gLetGo{false};

void ParkAtRead(const std::string& operation) {
  if (operation != "GetSecure") {
    return;
  }
  const int read = ++gReads;
  if (read != gParkAtRead.load()) {
    return;
  }
  gParkedAt = read;
  const steady_clock::time_point deadline = steady_clock::now() + std::chrono::seconds(20);
  while (!gLetGo.exchange(false) && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  gParkedAt = 0;
}

bool WaitUntilParkedAt(int read) {
  const steady_clock::time_point deadline = steady_clock::now() + std::chrono::seconds(10);
  while (gParkedAt.load() != read && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  return gParkedAt.load() == read;
}

void LetGoAndParkAt(int read) {
  gParkAtRead = read;
  gLetGo = true;
}

std::vector<std::string> WrittenTexts() {
  std::vector<std::string> texts;
  for (const StoreCall& call : SetSecureCalls()) {
    texts.push_back(call.value);
  }
  return texts;
}

// Reads: 1 at start; each write pass reads back, writes, and reads again to see what the store
// shows. A store one write behind shows a write only after the next one.
TEST_F(PolicyStore, ChoiceStaysPendingUntilAStoreThatLagsShowsIt) {
  cpd::test::SetStoreLagging(true);
  cpd::test::SetStoreCallHook(&ParkAtRead);
  gParkAtRead = 3;
  auto policy = Started();
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  ASSERT_TRUE(WaitUntilParkedAt(3));  // the read after the first write, which shows nothing yet
  policy->SetMappingIndex(0x054c, 0x0ce6, 1, "DualSense Wireless Controller");
  LetGoAndParkAt(4);
  ASSERT_TRUE(WaitUntilParkedAt(4));  // the second pass, about to read back
  EXPECT_EQ(policy->UnstoredChanges(), 2);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  EXPECT_EQ(WrittenTexts(), (std::vector<std::string>{ONE_XBOX_ENTRY}));
  LetGoAndParkAt(6);
  ASSERT_TRUE(WaitUntilParkedAt(6));  // the third pass: the second write showed only the first
  EXPECT_EQ(WrittenTexts(), (std::vector<std::string>{ONE_XBOX_ENTRY, XBOX_AND_DUALSENSE}));
  EXPECT_EQ(policy->UnstoredChanges(), 1);
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  EXPECT_EQ(policy->GetMappingIndex(0x054c, 0x0ce6), 1);
  LetGoAndParkAt(0);
  const steady_clock::time_point deadline = steady_clock::now() + std::chrono::seconds(10);
  while (policy->UnstoredChanges() != 0 && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(5));
  }
  EXPECT_EQ(policy->UnstoredChanges(), 0);
  policy.reset();
  cpd::test::SetStoreCallHook(nullptr);
  EXPECT_EQ(WrittenTexts(),
            (std::vector<std::string>{ONE_XBOX_ENTRY, XBOX_AND_DUALSENSE, XBOX_AND_DUALSENSE}));
  EXPECT_EQ(CountStoreCalls("GetSecure"), 7U);
  EXPECT_EQ(StoredValue(KEY), XBOX_AND_DUALSENSE);
}

// Every wake-up is taken under the watcher's own lock, so none is missed and a change does not
// wait for the one-second retry.
TEST_F(PolicyStore, ChangeReachesTheStoreWithoutWaitingForTheRetry) {
  auto policy = Started();
  std::vector<milliseconds> delays;
  for (uint16_t round = 1; round <= 9; ++round) {
    const steady_clock::time_point asked = steady_clock::now();
    policy->SetMappingIndex(0x045e, 0x028e, round, "Xbox Controller");
    ASSERT_TRUE(WaitForStoreCalls("SetSecure", round));
    delays.push_back(
        std::chrono::duration_cast<milliseconds>(SetSecureCalls().back().time - asked));
  }
  std::sort(delays.begin(), delays.end());
  EXPECT_LT(delays[delays.size() / 2].count(), 500);
}

TEST_F(PolicyStore, TwoQuickChoicesEndInOneDocumentHoldingBoth) {
  auto policy = Started();
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  policy->SetMappingIndex(0x054c, 0x0ce6, 1, "DualSense Wireless Controller");
  const steady_clock::time_point deadline = steady_clock::now() + std::chrono::seconds(10);
  while (StoredValue(KEY) != XBOX_AND_DUALSENSE && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(10));
  }
  EXPECT_EQ(StoredValue(KEY), XBOX_AND_DUALSENSE);
  EXPECT_LE(CountStoreCalls("SetSecure"), 2U);
}

TEST_F(PolicyStore, RefusedChangeIsRetriedAboutOnceASecondUntilTaken) {
  auto policy = Started();
  cpd::test::SetStoreRefusing(true);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 3));
  const std::vector<StoreCall> refused = SetSecureCalls();
  for (size_t i = 1; i < refused.size(); ++i) {
    EXPECT_FALSE(refused[i].accepted);
    // About once a second: never a busy loop, never a long stall.
    EXPECT_GE(refused[i].time - refused[i - 1].time, milliseconds(500));
    EXPECT_LE(refused[i].time - refused[i - 1].time, milliseconds(2000));
  }
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  EXPECT_GE(CountLogBody(WatcherWriteBody(ONE_XBOX_ENTRY)), 3U);
  for (const cpd::test::LogLine& line : cpd::test::CapturedLogs()) {
    EXPECT_NE(line.level, 7) << line.body;
  }
  cpd::test::SetStoreRefusing(false);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", refused.size() + 1));
  EXPECT_EQ(StoredValue(KEY), ONE_XBOX_ENTRY);
}

TEST_F(PolicyStore, MissingStoreKeepsTheChangePendingUntilItReturns) {
  auto policy = Started();
  cpd::test::SetStoreAvailable(false);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  const std::string missing = ErrorBody("no secure store, policy change kept pending\\n");
  ASSERT_TRUE(WaitForLogBody(missing));
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 6);
  cpd::test::SetStoreAvailable(true);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  EXPECT_EQ(StoredValue(KEY), ONE_XBOX_ENTRY);
}

TEST_F(PolicyStore, StoreThatThrowsKeepsTheChangePendingWithoutWriting) {
  auto policy = Started();
  cpd::test::SetStoreThrowing(true);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  ASSERT_TRUE(WaitForLogBody(
      ErrorBody("reading the policy back failed, change kept pending: store failure\\n")));
  EXPECT_EQ(CountStoreCalls("SetSecure"), 0U);  // what could not be read is not overwritten
  cpd::test::SetStoreThrowing(false);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  EXPECT_TRUE(SetSecureCalls().back().accepted);
  EXPECT_EQ(StoredValue(KEY), ONE_XBOX_ENTRY);
}

std::atomic<bool> gWritesThrow{false};

void ThrowOnWrite(const std::string& operation) {
  if (operation == "SetSecure" && gWritesThrow) {
    throw std::runtime_error("write failure");
  }
}

TEST_F(PolicyStore, StoreThatThrowsOnWriteKeepsTheChangePending) {
  auto policy = Started();
  gWritesThrow = true;
  cpd::test::SetStoreCallHook(&ThrowOnWrite);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  ASSERT_TRUE(WaitForLogBody(
      ErrorBody("writing the policy failed, change kept pending: write failure\\n")));
  gWritesThrow = false;
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  EXPECT_TRUE(SetSecureCalls().back().accepted);
  EXPECT_EQ(StoredValue(KEY), ONE_XBOX_ENTRY);
}

TEST_F(PolicyStore, ClearPolicyWritesTheEmptyText) {
  cpd::test::SetStoredValue(KEY, ONE_XBOX_ENTRY);
  auto policy = Started();
  EXPECT_EQ(policy->ClearPolicy(), 0);
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  EXPECT_EQ(SetSecureCalls().front().value, "");
  EXPECT_EQ(StoredValue(KEY), "");
  EXPECT_EQ(policy->GetMappingIndex(0x045e, 0x028e), 0);
}

TEST_F(PolicyStore, DestroyingWhileTheWatcherWaitsEndsItPromptly) {
  auto policy = Started();
  std::this_thread::sleep_for(milliseconds(50));
  const steady_clock::time_point asked = steady_clock::now();
  policy.reset();
  EXPECT_LT(steady_clock::now() - asked, milliseconds(500));
  EXPECT_EQ(CountLogBody(WATCHER_EXIT), 1U);
  EXPECT_EQ(CountStoreCalls("SetSecure"), 0U);
}

TEST_F(PolicyStore, ChangeMadeJustBeforeTheEndIsStillStored) {
  auto policy = Started();
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  policy.reset();
  EXPECT_EQ(StoredValue(KEY), ONE_XBOX_ENTRY);
}

TEST_F(PolicyStore, PendingChangeGetsOneLastWriteWhenTheStoreGoesAway) {
  auto policy = Started();
  cpd::test::SetStoreRefusing(true);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  cpd::test::SetStoreRefusing(false);
  const steady_clock::time_point asked = steady_clock::now();
  policy.reset();
  EXPECT_LT(steady_clock::now() - asked, milliseconds(500));
  EXPECT_EQ(CountStoreCalls("SetSecure"), 2U);
  EXPECT_EQ(StoredValue(KEY), ONE_XBOX_ENTRY);
}

TEST_F(PolicyStore, ChangeStillRefusedAtTheEndGetsExactlyOneMoreAttempt) {
  auto policy = Started();
  cpd::test::SetStoreRefusing(true);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  ASSERT_TRUE(WaitForStoreCalls("SetSecure", 1));
  policy.reset();
  EXPECT_EQ(CountStoreCalls("SetSecure"), 2U);
  EXPECT_EQ(CountLogBody(ErrorBody("policy change not stored before the end\\n")), 1U);
  EXPECT_EQ(CountLogBody(WATCHER_EXIT), 1U);
}

TEST_F(PolicyStore, NoStoreAtStartIsOneErrorLineOfTheLoad) {
  cpd::test::SetStoreAvailable(false);
  auto policy = Started();
  const std::string noStore = ErrorBody("no secure store, starting with an empty policy\\n");
  ASSERT_EQ(CountLogBody(noStore), 1U);
  for (const cpd::test::LogLine& line : cpd::test::CapturedLogs()) {
    if (line.body == noStore) {
      EXPECT_EQ(line.level, 7);
      EXPECT_EQ(line.function, "ReadStoredPolicy");
      EXPECT_EQ(line.thread, std::this_thread::get_id());
    }
  }
}

TEST_F(PolicyStore, ChangeWithoutAStoreAtTheEndIsReportedOnceByTheWatcher) {
  auto policy = Started();
  cpd::test::SetStoreAvailable(false);
  policy->SetMappingIndex(0x045e, 0x028e, 6, "Xbox Controller");
  policy.reset();
  const std::string notStored = ErrorBody("policy change not stored before the end\\n");
  ASSERT_EQ(CountLogBody(notStored), 1U);
  for (const cpd::test::LogLine& line : cpd::test::CapturedLogs()) {
    if (line.body == notStored) {
      EXPECT_EQ(line.level, 7);
      EXPECT_EQ(line.function, "handlePolicyChangeThread");
    }
  }
  EXPECT_EQ(CountStoreCalls("SetSecure"), 0U);
  EXPECT_EQ(CountLogBody(WATCHER_EXIT), 1U);
}

TEST_F(PolicyStore, ChoicesFromEightThreadsAllReachARefusingStore) {
  constexpr uint16_t THREADS = 8;
  constexpr uint16_t CHOICES = 25;
  auto policy = Started();
  cpd::test::SetStoreRefusalRate(0.5, 7);
  std::vector<std::thread> threads;
  threads.reserve(THREADS);
  for (uint16_t t = 0; t < THREADS; ++t) {
    threads.emplace_back([&policy, t] {
      for (uint16_t i = 0; i < CHOICES; ++i) {
        policy->SetMappingIndex(0x1000 + t, i, static_cast<uint16_t>(1 + (t + i) % 6), "pad");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  auto storeHoldsEveryChoice = [] {
    const std::string stored = StoredValue(KEY);
    for (uint16_t t = 0; t < THREADS; ++t) {
      for (uint16_t i = 0; i < CHOICES; ++i) {
        const std::string key = cpd::policy::MakeVidPidKey(0x1000 + t, i);
        if (cpd::policy::LookupMappingIndex(stored, key).mappingIndex != 1 + (t + i) % 6) {
          return false;
        }
      }
    }
    return true;
  };
  const steady_clock::time_point deadline = steady_clock::now() + std::chrono::seconds(60);
  while (!storeHoldsEveryChoice() && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(50));
  }
  EXPECT_TRUE(storeHoldsEveryChoice());
  for (uint16_t t = 0; t < THREADS; ++t) {
    for (uint16_t i = 0; i < CHOICES; ++i) {
      EXPECT_EQ(policy->GetMappingIndex(0x1000 + t, i), 1 + (t + i) % 6);
    }
  }
  const std::vector<StoreCall> writes = SetSecureCalls();
  for (const StoreCall& write : writes) {
    EXPECT_EQ(write.thread, writes.front().thread);
  }
}

}  // namespace
