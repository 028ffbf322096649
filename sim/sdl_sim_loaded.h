// The script side of the simulator for a program that does not link it but runs on it: when the
// libSDL2-2.0.so.0 this process loaded is the simulator (found first on the library path), its
// script functions are looked up by name. Header only, so that such a program carries nothing of
// the simulator and runs on the system's SDL2 as well.
#pragma once

#include <dlfcn.h>

#include "sdl_sim.h"

namespace sim {

// The script functions a program drives pads with and reads their motors with, as sdl_sim.h
// declares them.
struct LoadedScript {
  decltype(&sim_plug_model) plugModel = nullptr;
  decltype(&sim_unplug) unplug = nullptr;
  decltype(&sim_replug) replug = nullptr;
  decltype(&sim_set_axis) setAxis = nullptr;
  decltype(&sim_set_button) setButton = nullptr;
  decltype(&sim_set_hat) setHat = nullptr;
  decltype(&sim_set_journal_enabled) setJournalEnabled = nullptr;
  // Null on a simulator built before its pads had motors: a program then cannot read them, but
  // still drives pads.
  decltype(&sim_motors) motors = nullptr;
};

template <typename Function>
bool FindScriptFunction(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));  // NOLINT: dlsym's only way
  return function != nullptr;
}

// Fills `script` from the libSDL2-2.0.so.0 already loaded; false when none is, when it is the
// system's SDL2, or when a function a pad is driven with is missing. `motors` is looked up too,
// and left null when missing.
inline bool FindLoadedScript(LoadedScript& script) {
  void* library = dlopen("libSDL2-2.0.so.0", RTLD_NOW | RTLD_NOLOAD);
  if (library == nullptr) {
    return false;
  }
  const bool found =
      FindScriptFunction(library, "sim_plug_model", script.plugModel) &&
      FindScriptFunction(library, "sim_unplug", script.unplug) &&
      FindScriptFunction(library, "sim_replug", script.replug) &&
      FindScriptFunction(library, "sim_set_axis", script.setAxis) &&
      FindScriptFunction(library, "sim_set_button", script.setButton) &&
      FindScriptFunction(library, "sim_set_hat", script.setHat) &&
      FindScriptFunction(library, "sim_set_journal_enabled", script.setJournalEnabled);
  FindScriptFunction(library, "sim_motors", script.motors);
  // The program keeps its link to the library; only this lookup's reference goes.
  dlclose(library);
  return found;
}

}  // namespace sim
