// A host process for the restart tests: it uses the policy store with the default secure store
// and log sink, and exits as soon as it is done, leaving the write to the watcher.
//   policy_store_tool set <vid> <pid> <mappingIndex> <name>   (ids in hexadecimal)
//   policy_store_tool get <vid> <pid>                         prints the configured index
//   policy_store_tool choose <vid> <count> <seed>    records layout (i % 6) + 1 for models
//                                                    vid+i:0001, i < count, at random moments
//   policy_store_tool count <vid> <count>            prints how many of those models answer so
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "joystick_policy/joystick_policy.h"

namespace {

uint16_t Number(const char* text, int base) {
  return static_cast<uint16_t>(std::strtoul(text, nullptr, base));
}

uint16_t LayoutOf(int model) {
  return static_cast<uint16_t>(model % 6 + 1);
}

int Choose(cpd::JoystickPolicy& policy, uint16_t firstVid, int count, unsigned seed) {
  std::mt19937 random(seed);
  for (int model = 0; model < count; ++model) {
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
    policy.SetMappingIndex(static_cast<uint16_t>(firstVid + model), 1, LayoutOf(model),
                           "pad " + std::to_string(model));
  }
  return 0;
}

int CountAnswered(cpd::JoystickPolicy& policy, uint16_t firstVid, int count) {
  int answered = 0;
  for (int model = 0; model < count; ++model) {
    answered +=
        policy.GetMappingIndex(static_cast<uint16_t>(firstVid + model), 1) == LayoutOf(model);
  }
  std::printf("%d\n", answered);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::shared_ptr<cpd::JoystickPolicy> policy = cpd::JoystickPolicy::GetInstance();
  if (policy == nullptr) {
    return 2;
  }
  const std::string command = argc > 1 ? argv[1] : "";
  if (command == "set" && argc == 6) {
    return policy->SetMappingIndex(Number(argv[2], 16), Number(argv[3], 16), Number(argv[4], 10),
                                   argv[5]);
  }
  if (command == "get" && argc == 4) {
    std::printf("%d\n", policy->GetMappingIndex(Number(argv[2], 16), Number(argv[3], 16)));
    return 0;
  }
  if (command == "choose" && argc == 5) {
    return Choose(*policy, Number(argv[2], 16), Number(argv[3], 10),
                  static_cast<unsigned>(std::strtoul(argv[4], nullptr, 10)));
  }
  if (command == "count" && argc == 4) {
    return CountAnswered(*policy, Number(argv[2], 16), Number(argv[3], 10));
  }
  std::fprintf(stderr,
               "usage: %s set VID PID INDEX NAME | get VID PID | choose VID COUNT SEED | "
               "count VID COUNT\n",
               argv[0]);
  return 2;
}
