// The simulated mode runs the unchanged library on the SDL2 simulator. The monitor links the
// library, which links the system's libSDL2-2.0.so.0, so the simulator must be found first when
// the program is loaded: the monitor starts itself again with the simulator's folder at the
// head of LD_LIBRARY_PATH, and then reaches the simulator's script functions with dlsym on the
// libSDL2-2.0.so.0 that was loaded. Nothing of the simulator is linked into the monitor, so
// without --simulate the system's SDL2 serves the library.
#pragma once

#include <cstdint>
#include <string>

namespace monitor {

// The simulator's script functions (see sim/sdl_sim.h).
struct SimulatorApi {
  int (*plug)(const char* name, const char* path, uint16_t vid, uint16_t pid, int axes, int buttons,
              int hats) = nullptr;
  void (*unplug)(int id) = nullptr;
  void (*setAxis)(int id, int axis, int16_t value) = nullptr;
  void (*setButton)(int id, int button, uint8_t pressed) = nullptr;
  void (*setHat)(int id, int hat, uint8_t bits) = nullptr;
  void (*setJournalEnabled)(int enabled) = nullptr;
};

// Makes this process run on the simulator and fills `api`. When the simulator is not loaded
// yet, the program is started again on it (and this does not return). False with a message
// when the simulator cannot be found or does not load.
bool AttachSimulator(char** argv, SimulatorApi& api, std::string& error);

// A demo on the simulator must not change the user's stored layout choices: unless
// CPD_JOYSTICK_STORE is set already, the library's default store is pointed at a file in a
// fresh temporary folder, which goes when this object goes.
class TemporaryStore {
 public:
  TemporaryStore();
  ~TemporaryStore();
  TemporaryStore(const TemporaryStore&) = delete;
  TemporaryStore& operator=(const TemporaryStore&) = delete;

  // Empty when the user's own setting is kept or no folder could be made.
  const std::string& Folder() const { return mFolder; }

 private:
  std::string mFolder;
};

}  // namespace monitor
