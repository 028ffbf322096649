// A host process for the restart tests: it uses the policy store with the default secure store
// and log sink, and exits as soon as it is done, leaving the write to the watcher.
//   policy_store_tool set <vid> <pid> <mappingIndex> <name>   (ids in hexadecimal)
//   policy_store_tool get <vid> <pid>                         prints the configured index
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "joystick_policy/joystick_policy.h"

namespace {

uint16_t Number(const char* text, int base) {
  return static_cast<uint16_t>(std::strtoul(text, nullptr, base));
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
  std::fprintf(stderr, "usage: %s set VID PID INDEX NAME | get VID PID\n", argv[0]);
  return 2;
}
