// A host that loads its controller module (which links the library) with dlopen, registers, lets
// a simulated pad be polled, and unloads the module again, round after round: either while the
// listener is still registered, or right after unregistering it. It exits 0 when every round
// went through, and says how many rounds really unmapped the library.
//
//   unload_host SIMULATOR MODULE ROUNDS MODE
//
// MODE: "registered" (unload while polling), "unregistered" (unload right after the last
// unregister) or "alternate".
#include <dlfcn.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

namespace {

using namespace std::chrono_literals;

template <typename Function>
Function Find(void* library, const char* name) {
  void* symbol = dlsym(library, name);
  if (symbol == nullptr) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the host loads and unloads from one thread only
    std::fprintf(stderr, "unload_host: %s not found: %s\n", name, dlerror());
    std::exit(3);  // NOLINT(concurrency-mt-unsafe): nothing of the host runs besides
  }
  return reinterpret_cast<Function>(symbol);
}

bool LibraryMapped() {
  std::ifstream maps("/proc/self/maps");
  std::string line;
  while (std::getline(maps, line)) {
    if (line.find("libcpd_joystick.so") != std::string::npos) {
      return true;
    }
  }
  return false;
}

bool WaitUntil(const std::function<bool()>& done) {
  const auto deadline = std::chrono::steady_clock::now() + 20s;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(5ms);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: unload_host SIMULATOR MODULE ROUNDS MODE\n");
    return 2;
  }
  const std::string mode = argv[4];
  // The simulator stays loaded for the whole run and serves as libSDL2-2.0.so.0 for every load of
  // the library, so the pad plugged here is found by each of them.
  void* simulator = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
  if (simulator == nullptr) {
    std::fprintf(stderr, "unload_host: %s\n", dlerror());  // NOLINT(concurrency-mt-unsafe)
    return 3;
  }
  using PlugFunction = int (*)(const char*, const char*, uint16_t, uint16_t, int, int, int);
  Find<PlugFunction>(simulator, "sim_plug")("Xbox Wireless Controller", "/dev/input/event20",
                                            0x045e, 0x0b13, 6, 11, 1);

  const int rounds = std::atoi(argv[3]);
  int unmapped = 0;
  for (int round = 0; round < rounds; ++round) {
    void* module = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) {
      std::fprintf(stderr, "unload_host: %s\n",
                   dlerror());  // NOLINT(concurrency-mt-unsafe)  // NOLINT(concurrency-mt-unsafe)
      return 3;
    }
    const auto registerListener = Find<int (*)()>(module, "controller_module_register");
    const auto unregisterListener = Find<int (*)()>(module, "controller_module_unregister");
    const auto packets = Find<size_t (*)()>(module, "controller_module_packets");
    registerListener();
    if (!WaitUntil([&] { return packets() >= 3; })) {
      std::fprintf(stderr, "unload_host: round %d: no packets\n", round);
      return 4;
    }
    const bool unregisterFirst = mode == "unregistered" || (mode == "alternate" && round % 2 == 1);
    if (unregisterFirst) {
      unregisterListener();
    }
    if (dlclose(module) != 0) {
      std::fprintf(stderr, "unload_host: %s\n",
                   dlerror());  // NOLINT(concurrency-mt-unsafe)  // NOLINT(concurrency-mt-unsafe)
      return 3;
    }
    unmapped += LibraryMapped() ? 0 : 1;
  }
  std::printf("unload_host: %d rounds (%s), library unmapped after %d\n", rounds, mode.c_str(),
              unmapped);
  return 0;
}
