// A long random walk of plugs, unplugs, layout choices, registrations and input changes, with the
// invariants a host relies on checked after every step. A failure names its seed and step on its
// first line; CPD_SOAK_SEED and CPD_SOAK_STEPS replay that walk up to that step.
#include <json/json.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include "scenario.h"

#ifndef CPD_SOAK_STEPS
#define CPD_SOAK_STEPS 600
#endif

namespace cpd::test {
namespace {

using namespace std::chrono_literals;

const std::vector<const PadModel*> MODELS = {&XBOX_PAD, &DUALSENSE_PAD, &SWITCH_PAD, &GENERIC_PAD,
                                             &PEN_TABLET};
constexpr size_t MOST_PLUGGED = 5;
// How a controller opened without a slot (-1) shows in the device list.
constexpr uint16_t NO_SLOT = 0xFFFF;

unsigned SoakSeed() {
  if (const char* seed = std::getenv("CPD_SOAK_SEED")) {  // NOLINT(concurrency-mt-unsafe)
    return static_cast<unsigned>(std::strtoul(seed, nullptr, 10));
  }
  return std::random_device{}();
}

int SoakSteps() {
  if (const char* steps = std::getenv("CPD_SOAK_STEPS")) {  // NOLINT(concurrency-mt-unsafe)
    return static_cast<int>(std::strtol(steps, nullptr, 10));
  }
  return CPD_SOAK_STEPS;
}

// Fails the current test with `what`, the message's first line naming the walk and the step.
#define SOAK_FAIL(what)                          \
  do {                                           \
    std::ostringstream message;                  \
    message << Where() << what;                  \
    GTEST_FATAL_FAILURE_(message.str().c_str()); \
  } while (false)
#define SOAK_CHECK(condition, what) \
  do {                              \
    if (!(condition)) {             \
      SOAK_FAIL(what);              \
    }                               \
  } while (false)

class Soak : public Scenario {
 protected:
  struct Plugged {
    int id;
    std::string path;
    const PadModel* model;
  };

  void SetUp() override {
    Scenario::SetUp();
    seed = SoakSeed();
    steps = SoakSteps();
    std::printf("soak seed %u, %d steps (replay with CPD_SOAK_SEED=%u CPD_SOAK_STEPS=%d)\n", seed,
                steps, seed, steps);
    std::fflush(stdout);
    random.seed(seed);
  }

  std::string Where() const {
    return "soak seed " + std::to_string(seed) + " step " + std::to_string(step) +
           " (replay with CPD_SOAK_SEED=" + std::to_string(seed) +
           " CPD_SOAK_STEPS=" + std::to_string(step + 1) + "): ";
  }

  void Walk() {
    for (step = 0; step < steps; ++step) {
      Step(static_cast<int>(random() % 16));
      ASSERT_NO_FATAL_FAILURE(CheckInvariants());
      std::this_thread::sleep_for(std::chrono::milliseconds(random() % 4));
    }
    std::printf("soak seed %u: a controller without a slot was listed after %d of %d steps\n", seed,
                stepsWithSlotlessEntry, steps);
    std::printf("soak seed %u: %d listed entries checked, %zu lists published, %zu packets\n", seed,
                listedEntries, listener.DevListUpdateCount(), listener.PacketCount());
  }

  // Plugs, unplugs and layout choices come often; an unregister rarely, so that polling runs
  // long enough to publish lists and send packets; a pause now and then lets the library catch
  // up with the churn, so that the invariants are checked against lists it published.
  void Step(int action) {
    switch (action) {
      case 0:
      case 1:
        PlugOne();
        break;
      case 2:
      case 3:
        UnplugOne();
        break;
      case 4:
      case 5:
        ChooseLayout();
        break;
      case 6:
        if (!registered) {
          Register();
          registered = true;
        }
        break;
      case 7:
        if (registered && random() % 4 == 0) {
          Unregister();
          registered = false;
          packetsAtUnregister = listener.PacketCount();
        }
        break;
      case 8:
        Settle();
        break;
      default:
        MoveInputs();
        break;
    }
  }

  // Waits up to 1.5 s for the library to publish a list or send a few packets.
  void Settle() {
    if (!registered) {
      return;
    }
    const size_t updates = listener.DevListUpdateCount();
    const size_t packets = listener.PacketCount();
    listener.WaitFor(
        [&] {
          return listener.DevListUpdateCount() > updates || listener.PacketCount() > packets + 10;
        },
        1500ms);
  }

  void PlugOne() {
    if (plugged.size() >= MOST_PLUGGED) {
      return;
    }
    std::string path;
    do {
      path = "/dev/input/event" + std::to_string(80 + random() % 8);
    } while (std::any_of(plugged.begin(), plugged.end(),
                         [&](const Plugged& pad) { return pad.path == path; }));
    const PadModel& model = *MODELS[random() % MODELS.size()];
    plugged.push_back({Plug(model, path), path, &model});
    everPlugged.insert(path);
  }

  void UnplugOne() {
    if (plugged.empty()) {
      return;
    }
    const size_t which = random() % plugged.size();
    sim_unplug(plugged[which].id);
    plugged.erase(plugged.begin() + static_cast<std::ptrdiff_t>(which));
  }

  void ChooseLayout() {
    const auto index = static_cast<uint16_t>(random() % 5);
    const auto mappingIndex = static_cast<uint16_t>(random() % 8);
    const int32_t result = JoysticAPI_SetMapping(index, mappingIndex);
    SOAK_CHECK(result <= 0,
               "SetMapping(" << index << ", " << mappingIndex << ") returned " << result);
    SOAK_CHECK(result < 0 || (mappingIndex >= 1 && mappingIndex <= 6),
               "SetMapping(" << index << ", " << mappingIndex << ") took an unknown layout kind");
  }

  void MoveInputs() {
    if (plugged.empty()) {
      return;
    }
    const int id = plugged[random() % plugged.size()].id;
    sim_set_axis(id, static_cast<int>(random() % 6),
                 static_cast<int16_t>(random() % 65536 - 32768));
    sim_set_button(id, static_cast<int>(random() % 15), static_cast<uint8_t>(random() % 2));
    sim_set_hat(id, 0, static_cast<uint8_t>(random() % 16));
  }

  void CheckInvariants() {
    const std::vector<int32_t> lengths = listener.PacketLengths();
    for (size_t i = checkedPackets; i < lengths.size(); ++i) {
      SOAK_CHECK(lengths[i] == 17, "packet " << i << " has length " << lengths[i]);
    }
    const auto packets = listener.Packets();
    for (size_t i = checkedPackets; i < packets.size(); ++i) {
      // A controller without a slot would show here as slot 0xFF: it must never be polled.
      SOAK_CHECK(packets[i][0] < 4, "packet " << i << " carries slot " << int{packets[i][0]});
    }
    checkedPackets = packets.size();
    if (!registered) {
      SOAK_CHECK(listener.PacketCount() == packetsAtUnregister, "packet after the last unregister");
    }
    std::set<uint16_t> slots;
    for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
      if (device.path.empty()) {
        continue;  // a controller beyond the fourth
      }
      SOAK_CHECK(everPlugged.count(device.path) == 1U, "unknown path " << device.path);
      SOAK_CHECK(device.vid != 0x056a, "a pen tablet is listed");
      if (device.index == NO_SLOT) {
        // Opened while every slot is bound to a controller still attached past the fourth.
        ++stepsWithSlotlessEntry;
        SOAK_CHECK(JoysticAPI_SetMapping(NO_SLOT, 6) == -1, "a slotless entry took a layout");
        continue;
      }
      ++listedEntries;
      SOAK_CHECK(device.index < 4, "device " << device.path << " has index " << device.index);
      SOAK_CHECK(slots.insert(device.index).second, "slot " << device.index << " twice");
    }
  }

  // "[a, b]", an entry without a path as "(no path)".
  static std::string Names(const std::multiset<std::string>& paths) {
    std::string names = "[";
    for (const std::string& path : paths) {
      names += (names.size() > 1 ? ", " : "") + (path.empty() ? std::string("(no path)") : path);
    }
    return names + "]";
  }

  // Registers if needed and waits until the published list is what is plugged.
  void CheckSettledList() {
    if (!registered) {
      Register();
      registered = true;
    }
    // SDL indexes follow plug order: the first four are opened (pen tablets are never listed),
    // a fifth is listed as an entry without a path.
    std::multiset<std::string> expected;
    for (size_t index = 0; index < plugged.size(); ++index) {
      if (index >= 4) {
        expected.insert("");
      } else if (plugged[index].model != &PEN_TABLET) {
        expected.insert(plugged[index].path);
      }
    }
    std::multiset<std::string> listed;
    const bool settled = listener.WaitFor(
        [&] {
          listed.clear();
          for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
            listed.insert(device.path);
          }
          return listed == expected;
        },
        30s);
    EXPECT_TRUE(settled) << Where() << "listed " << Names(listed) << ", expected "
                         << Names(expected);
  }

  unsigned seed = 0;
  int steps = 0;
  int step = 0;
  std::mt19937 random;
  std::vector<Plugged> plugged;
  std::set<std::string> everPlugged;
  bool registered = false;
  size_t packetsAtUnregister = 0;
  size_t checkedPackets = 0;
  int stepsWithSlotlessEntry = 0;
  int listedEntries = 0;
};

TEST_F(Soak, RandomWalkKeepsEveryInvariant) {
  ASSERT_NO_FATAL_FAILURE(Walk());
  CheckSettledList();
}

// The same walk while a host thread keeps choosing layouts, a second thread registers and
// unregisters its own listener, and the store refuses a third of the writes.
class SoakUnderLoad : public Soak {
 protected:
  void TearDown() override {
    StopHelpers();
    Soak::TearDown();
  }

  void StartHelpers() {
    SetStoreRefusalRate(0.3, seed);
    chooser = std::thread([this] {
      std::mt19937 own(seed + 1);
      while (!stop) {
        const int32_t result = JoysticAPI_SetMapping(static_cast<uint16_t>(own() % 5),
                                                     static_cast<uint16_t>(own() % 8));
        if (result > 0) {
          badResults++;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(own() % 5));
      }
    });
    registrar = std::thread([this] {
      std::mt19937 own(seed + 2);
      bool in = false;
      size_t packetsAtLeave = 0;
      while (!stop) {
        if (!in) {
          JoysticAPI_RegsisterNotify(&second);
        } else {
          JoysticAPI_UnregsisterNotify(&second);
          packetsAtLeave = second.PacketCount();
        }
        in = !in;
        std::this_thread::sleep_for(std::chrono::milliseconds(own() % 40));
        if (!in && second.PacketCount() != packetsAtLeave) {
          lateCallbacks++;
        }
      }
      if (in) {
        JoysticAPI_UnregsisterNotify(&second);
      }
    });
  }

  void StopHelpers() {
    stop = true;
    if (chooser.joinable()) {
      chooser.join();
    }
    if (registrar.joinable()) {
      registrar.join();
    }
  }

  TestListener second;
  std::atomic<bool> stop{false};
  std::atomic<int> badResults{0};
  std::atomic<int> lateCallbacks{0};
  std::thread chooser;
  std::thread registrar;
};

bool IsArrayText(const std::string& text) {
  Json::Value root;
  Json::CharReaderBuilder builder;
  std::string errors;
  std::istringstream in(text);
  return Json::parseFromStream(builder, in, &root, &errors) && root.isArray();
}

TEST_F(SoakUnderLoad, WalkWithLayoutChangesRefusalsAndTwoRegistrarsKeepsEveryInvariant) {
  StartHelpers();
  ASSERT_NO_FATAL_FAILURE(Walk());
  StopHelpers();
  EXPECT_EQ(badResults.load(), 0) << Where() << "SetMapping returned a positive value";
  EXPECT_EQ(lateCallbacks.load(), 0) << Where() << "a callback after its listener left";
  CheckSettledList();

  // Once the store takes writes again, a refused change is retried until it is taken: the last
  // write the store saw was accepted.
  SetStoreRefusalRate(0.0, seed);
  std::this_thread::sleep_for(3s);
  std::vector<StoreCall> writes;
  for (const StoreCall& call : StoreCalls()) {
    if (call.operation == "SetSecure") {
      writes.push_back(call);
    }
  }
  if (!writes.empty()) {
    EXPECT_TRUE(writes.back().accepted) << Where() << "a refused change was never retried";
  }
  for (const StoreCall& call : writes) {
    ASSERT_TRUE(call.value.empty() || IsArrayText(call.value))
        << Where() << "stored text: " << call.value;
  }
}

}  // namespace
}  // namespace cpd::test
