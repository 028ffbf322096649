// The simulated mode runs the unchanged library on the SDL2 simulator. The monitor links the
// library, which links the system's libSDL2-2.0.so.0, so the simulator must be found first when
// the program is loaded: the monitor starts itself again with the simulator's folder at the
// head of LD_LIBRARY_PATH, and then looks the simulator's script functions up by name in the
// libSDL2-2.0.so.0 that was loaded (sdl_sim_loaded.h). Nothing of the simulator is linked into the
// monitor, so without --simulate the system's SDL2 serves the library.
#pragma once

#include <string>

#include "sdl_sim_loaded.h"

namespace monitor {

using SimulatorApi = sim::LoadedScript;

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
