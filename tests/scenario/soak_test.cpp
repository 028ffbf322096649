// A long random walk of plugs, unplugs, layout choices, registrations and input changes, with the
// invariants a host relies on checked after every step. The seed is printed so that a failing
// walk can be replayed.
#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>
#include <thread>

#include "scenario.h"

#ifndef CPD_SOAK_STEPS
#define CPD_SOAK_STEPS 2000
#endif

namespace cpd::test {
namespace {

using namespace std::chrono_literals;

const std::vector<const PadModel*> MODELS = {&XBOX_PAD, &DUALSENSE_PAD, &SWITCH_PAD, &GENERIC_PAD,
                                             &PEN_TABLET};
constexpr size_t MOST_PLUGGED = 5;

unsigned SoakSeed() {
  if (const char* seed = std::getenv("CPD_SOAK_SEED")) {  // NOLINT(concurrency-mt-unsafe)
    return static_cast<unsigned>(std::strtoul(seed, nullptr, 10));
  }
  return std::random_device{}();
}

class Soak : public Scenario {
 protected:
  struct Plugged {
    int id;
    std::string path;
    const PadModel* model;
  };

  void Step(int action) {
    switch (action) {
      case 0:
        PlugOne();
        break;
      case 1:
        UnplugOne();
        break;
      case 2:
        ChooseLayout();
        break;
      case 3:
        if (!registered) {
          Register();
          registered = true;
        }
        break;
      case 4:
        if (registered) {
          Unregister();
          registered = false;
          packetsAtUnregister = listener.PacketCount();
        }
        break;
      default:
        MoveInputs();
        break;
    }
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
    const auto slot = static_cast<uint16_t>(random() % 5);
    const auto kind = static_cast<uint16_t>(random() % 8);
    const int32_t result = JoysticAPI_SetMapping(slot, kind);
    ASSERT_TRUE(result == 0 || result < 0);
    if (result == 0) {
      ASSERT_GE(kind, 1);
      ASSERT_LE(kind, 6);
    }
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

  void CheckInvariants(int step) {
    SCOPED_TRACE("step " + std::to_string(step));
    const std::vector<int32_t> lengths = listener.PacketLengths();
    for (size_t i = checkedPackets; i < lengths.size(); ++i) {
      ASSERT_EQ(lengths[i], 17);
    }
    const auto packets = listener.Packets();
    for (size_t i = checkedPackets; i < packets.size(); ++i) {
      ASSERT_LT(packets[i][0], 4) << "slot of packet " << i;
    }
    checkedPackets = packets.size();
    if (!registered) {
      ASSERT_EQ(listener.PacketCount(), packetsAtUnregister) << "packet after the last unregister";
    }
    std::set<uint16_t> slots;
    for (const _CpdJoystickDeviceInfo& device : JoysticAPI_GetDevList()) {
      if (device.path.empty()) {
        continue;  // a controller beyond the fourth
      }
      ASSERT_EQ(everPlugged.count(device.path), 1U) << device.path;
      ASSERT_LT(device.index, 4);
      ASSERT_TRUE(slots.insert(device.index).second) << "slot " << device.index << " twice";
      ASSERT_NE(device.vid, 0x056a);
    }
  }

  std::mt19937 random;
  std::vector<Plugged> plugged;
  std::set<std::string> everPlugged;
  bool registered = false;
  size_t packetsAtUnregister = 0;
  size_t checkedPackets = 0;
};

TEST_F(Soak, RandomWalkKeepsEveryInvariant) {
  const unsigned seed = SoakSeed();
  std::printf("soak seed %u (replay with CPD_SOAK_SEED=%u), %d steps\n", seed, seed,
              CPD_SOAK_STEPS);
  std::fflush(stdout);
  SCOPED_TRACE("seed " + std::to_string(seed));
  random.seed(seed);
  for (int step = 0; step < CPD_SOAK_STEPS; ++step) {
    Step(static_cast<int>(random() % 8));
    ASSERT_NO_FATAL_FAILURE(CheckInvariants(step));
    std::this_thread::sleep_for(std::chrono::milliseconds(random() % 4));
  }

  // Settled, the published list is what is plugged.
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
  EXPECT_TRUE(settled) << "listed " << listed.size() << " entries, expected " << expected.size();
}

}  // namespace
}  // namespace cpd::test
