// What a host sees while controllers are being opened: a record that is not complete yet answers
// to no slot, a layout choice lands on the model it was made for, and a stop in the middle of the
// open pass publishes nothing.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

#include "scenario.h"

namespace cpd::test {
namespace {

using namespace std::chrono_literals;
using OpenPass = Scenario;

struct Choice {
  uint16_t kind;
  int32_t result;
};

// One SetMapping call's own lines, as the calling thread logged them.
struct CallLines {
  Choice choice;
  std::vector<std::string> bodies;
};

// The start of a debug line's body whose message starts with `text`.
std::string DebugPrefix(const std::string& text) {
  return "\"Debug:\" \"" + text;
}

// Splits the calling thread's lines into one group per SetMapping call: each call's first line
// is its "index[..] mappingIndex[..]" line.
std::vector<std::vector<std::string>> LinesPerCall(const std::vector<std::string>& bodies) {
  std::vector<std::vector<std::string>> calls;
  for (const std::string& body : bodies) {
    if (body.rfind(DebugPrefix("index[0] mappingIndex["), 0) == 0) {
      calls.emplace_back();
    }
    if (!calls.empty()) {
      calls.back().push_back(body);
    }
  }
  return calls;
}

bool Contains(const std::vector<std::string>& bodies, const std::string& wanted) {
  return std::find(bodies.begin(), bodies.end(), wanted) != bodies.end();
}

TEST_F(OpenPass, AChoiceThatSucceededDuringHotPlugIsStoredForTheModelInTheSlot) {
  int pad = Plug(XBOX_PAD, "/dev/input/event20");
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));

  std::atomic<bool> stop{false};
  std::vector<Choice> choices;
  std::vector<std::string> clientLines;
  std::thread client([&] {
    uint16_t kind = 1;
    while (!stop.load()) {
      choices.push_back({kind, JoysticAPI_SetMapping(0, kind)});
      kind = static_cast<uint16_t>(kind % 6 + 1);
      std::this_thread::sleep_for(2ms);
    }
    clientLines = LogBodiesOfThisThread();
  });
  // Each replug restarts the run: the slot is empty while the pad is opened again.
  for (int replug = 0; replug < 4; ++replug) {
    const size_t updates = listener.DevListUpdateCount();
    sim_unplug(pad);
    pad = Plug(XBOX_PAD, "/dev/input/event20");
    ASSERT_TRUE(listener.WaitFor(
        [&] {
          return listener.DevListUpdateCount() > updates && JoysticAPI_GetDevList().size() == 1;
        },
        15s));
  }
  stop = true;
  client.join();

  const std::vector<std::vector<std::string>> calls = LinesPerCall(clientLines);
  ASSERT_EQ(calls.size(), choices.size());
  size_t succeeded = 0;
  for (size_t call = 0; call < calls.size(); ++call) {
    if (choices[call].result != 0) {
      EXPECT_TRUE(Contains(calls[call],
                           ErrorBody("index[0] mappingIndex[" + std::to_string(choices[call].kind) +
                                     "] setmapping failed")));
      continue;
    }
    ++succeeded;
    // Recorded for the pad's own model, never for an unfinished record's vendor 0.
    const std::string name = "xbox wireless controller";
    EXPECT_TRUE(Contains(calls[call],
                         DebugBody("SetMappingIndex 045e:0b13 mappingIndex[" +
                                   std::to_string(choices[call].kind) + "] name[" + name + "]\\n")))
        << "call " << call;
  }
  EXPECT_GT(succeeded, 0U);
  // The last choice recorded for the model is what the pad ends with and what is stored, even if
  // its call found the slot being opened again and failed: the open applies the stored choice.
  size_t lastRecorded = calls.size();
  for (size_t call = 0; call < calls.size(); ++call) {
    if (Contains(calls[call], DebugBody("SetMappingIndex 045e:0b13 mappingIndex[" +
                                        std::to_string(choices[call].kind) +
                                        "] name[xbox wireless controller]\\n"))) {
      lastRecorded = call;
    }
  }
  ASSERT_LT(lastRecorded, calls.size());
  const uint16_t kind = choices[lastRecorded].kind;
  EXPECT_TRUE(listener.WaitFor(
      [&] {
        const std::list<_CpdJoystickDeviceInfo> devices = JoysticAPI_GetDevList();
        return devices.size() == 1 && devices.front().mappingIndex == kind;
      },
      10s))
      << "kind " << kind;
  EXPECT_TRUE(listener.WaitFor(
      [&] {
        return StoredValue("joystickPolicyList").find("\"mapping\" : " + std::to_string(kind)) !=
               std::string::npos;
      },
      10s));
}

// Unregisters the fixture's listener once the first of two pads has been sampled, that is while
// the open pass is in the middle of the second one.
std::atomic<TestListener*> gStopTarget{nullptr};
std::atomic<bool> gStopRequested{false};

void StopAfterFirstBaseline(const LogLine& line) {
  if (line.body.rfind(DebugPrefix("numAxes["), 0) == 0 && !gStopRequested.exchange(true)) {
    // Not on the polling thread: the stop must come from the host, as it would.
    std::thread([] { JoysticAPI_UnregsisterNotify(gStopTarget.load()); }).detach();
  }
}

TEST_F(OpenPass, AStopDuringTheOpenPassPublishesNoPartialList) {
  Plug(XBOX_PAD, "/dev/input/event20");
  Plug(DUALSENSE_PAD, "/dev/input/event21");
  gStopTarget = &listener;
  SetLogHandler(&StopAfterFirstBaseline);
  JoysticAPI_RegsisterNotify(&listener);
  ASSERT_TRUE(WaitForLog(DebugBody("joystick exit\\n")));
  SetLogHandler(nullptr);
  EXPECT_TRUE(JoysticAPI_GetDevList().empty());
  // The next registration starts a clean run that lists both.
  Register();
  ASSERT_TRUE(WaitForDevListUpdates(1));
  EXPECT_EQ(JoysticAPI_GetDevList().size(), 2U);
}

}  // namespace
}  // namespace cpd::test
