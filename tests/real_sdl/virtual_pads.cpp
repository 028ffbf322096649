#include "virtual_pads.h"

#include <SDL.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr int MAX_INPUTS = 32;
constexpr SDL_JoystickID NOT_ATTACHED = -1;

struct Model {
  std::string name;
  uint16_t vendor = 0;
  uint16_t product = 0;
  int axes = 0;
  int buttons = 0;
  int hats = 0;
  bool motors = false;
};

struct Pad {
  std::atomic<bool> plugged{false};
  std::atomic<bool> motors{false};  // for the next plug
  Model model;                      // guarded by gModelMutex
  std::array<std::atomic<int16_t>, MAX_INPUTS> axes{};
  std::array<std::atomic<uint8_t>, MAX_INPUTS> buttons{};
  std::array<std::atomic<uint8_t>, MAX_INPUTS> hats{};
  // Set and used only on the thread that calls SDL; read by vpad_attached.
  std::atomic<SDL_JoystickID> instance{NOT_ATTACHED};
  SDL_Joystick* handle = nullptr;  // the pad's own handle, to set its inputs through
  Model attachedModel;
  // SDL calls the rumble callback with its joystick lock held, on whichever thread rumbles.
  std::mutex motorMutex;
  std::vector<vpad_motor_change> motorChanges;  // guarded by motorMutex
};

std::array<Pad, VPAD_MAX> gPads;
std::mutex gModelMutex;
const std::array<std::string, VPAD_MAX> PATHS = [] {
  std::array<std::string, VPAD_MAX> paths;
  for (int id = 0; id < VPAD_MAX; ++id) {
    paths[id] = "/dev/input/virtual" + std::to_string(id);
  }
  return paths;
}();

bool ValidId(int id) {
  return id >= 0 && id < VPAD_MAX;
}

// The real SDL2 function of that name: the next definition after this library's own.
template <typename Function>
Function Real(const char* name) {
  void* symbol = dlsym(RTLD_NEXT, name);
  if (symbol == nullptr) {
    std::fprintf(stderr, "virtual_pads: %s not found after this library\n", name);
    std::abort();
  }
  return reinterpret_cast<Function>(symbol);
}

// Looked up when this library is loaded: dlsym takes the loader's lock, which a host may hold
// while the bridge's polling thread calls in here (a dlclose that stops polling).
struct RealSdl {
  int (*init)(Uint32) = Real<int (*)(Uint32)>("SDL_Init");
  void (*quit)() = Real<void (*)()>("SDL_Quit");
  void (*update)() = Real<void (*)()>("SDL_JoystickUpdate");
  const char* (*pathForIndex)(int) = Real<const char* (*)(int)>("SDL_JoystickPathForIndex");
  const char* (*path)(SDL_Joystick*) = Real<const char* (*)(SDL_Joystick*)>("SDL_JoystickPath");
};
const RealSdl gReal;

// Called by SDL inside SDL_JoystickUpdate: what the test set is what this update reports.
void OnUpdate(void* userdata) {
  Pad& pad = *static_cast<Pad*>(userdata);
  if (pad.handle == nullptr) {
    return;
  }
  for (int axis = 0; axis < pad.attachedModel.axes; ++axis) {
    SDL_JoystickSetVirtualAxis(pad.handle, axis, pad.axes[axis].load());
  }
  for (int button = 0; button < pad.attachedModel.buttons; ++button) {
    SDL_JoystickSetVirtualButton(pad.handle, button, pad.buttons[button].load());
  }
  for (int hat = 0; hat < pad.attachedModel.hats; ++hat) {
    SDL_JoystickSetVirtualHat(pad.handle, hat, pad.hats[hat].load());
  }
}

// SDL passes new speeds on, and passes running ones again every two seconds to keep them alive on
// pads that stop by themselves: only what differs from the pad's last speeds is a change.
int OnRumble(void* userdata, Uint16 low, Uint16 high) {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  const auto micros =
      static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
  Pad& pad = *static_cast<Pad*>(userdata);
  std::lock_guard<std::mutex> lock(pad.motorMutex);
  const vpad_motor_change last =
      pad.motorChanges.empty() ? vpad_motor_change{} : pad.motorChanges.back();
  if (low != last.low || high != last.high) {
    pad.motorChanges.push_back(vpad_motor_change{low, high, micros});
  }
  return 0;
}

int DeviceIndexOf(SDL_JoystickID instance) {
  for (int index = 0; index < SDL_NumJoysticks(); ++index) {
    if (SDL_JoystickGetDeviceInstanceID(index) == instance) {
      return index;
    }
  }
  return -1;
}

void Attach(Pad& pad) {
  {
    std::lock_guard<std::mutex> lock(gModelMutex);
    pad.attachedModel = pad.model;
  }
  SDL_VirtualJoystickDesc desc{};
  desc.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
  desc.type = SDL_JOYSTICK_TYPE_UNKNOWN;  // keeps every axis at 0 at rest
  desc.naxes = static_cast<Uint16>(pad.attachedModel.axes);
  desc.nbuttons = static_cast<Uint16>(pad.attachedModel.buttons);
  desc.nhats = static_cast<Uint16>(pad.attachedModel.hats);
  desc.vendor_id = pad.attachedModel.vendor;
  desc.product_id = pad.attachedModel.product;
  desc.name = pad.attachedModel.name.c_str();
  desc.userdata = &pad;
  desc.Update = &OnUpdate;
  desc.Rumble = pad.attachedModel.motors ? &OnRumble : nullptr;
  const int index = SDL_JoystickAttachVirtualEx(&desc);
  if (index < 0) {
    return;
  }
  pad.handle = SDL_JoystickOpen(index);
  pad.instance = SDL_JoystickGetDeviceInstanceID(index);
}

void Detach(Pad& pad) {
  const int index = DeviceIndexOf(pad.instance);
  if (pad.handle != nullptr) {
    SDL_JoystickClose(pad.handle);
    pad.handle = nullptr;
  }
  if (index >= 0) {
    SDL_JoystickDetachVirtual(index);
  }
  pad.instance = NOT_ATTACHED;
}

// Brings SDL's list in line with what the test plugged, on the thread that calls SDL.
void Sync() {
  if (SDL_WasInit(SDL_INIT_JOYSTICK) == 0) {
    return;
  }
  for (Pad& pad : gPads) {
    const bool attached = pad.instance != NOT_ATTACHED;
    if (pad.plugged && !attached) {
      Attach(pad);
    } else if (!pad.plugged && attached) {
      Detach(pad);
    }
  }
}

const char* PathOfInstance(SDL_JoystickID instance) {
  for (int id = 0; id < VPAD_MAX; ++id) {
    if (instance != NOT_ATTACHED && gPads[id].instance == instance) {
      return PATHS[id].c_str();
    }
  }
  return nullptr;
}

}  // namespace

// The SDL2 functions this library stands in front of.
extern "C" {

int SDL_Init(Uint32 flags) {
  const int result = gReal.init(flags);
  if (result == 0) {
    Sync();
  }
  return result;
}

void SDL_Quit(void) {
  gReal.quit();
  // SDL closed every handle and removed every virtual joystick.
  for (Pad& pad : gPads) {
    pad.handle = nullptr;
    pad.instance = NOT_ATTACHED;
  }
}

void SDL_JoystickUpdate(void) {
  Sync();
  gReal.update();
}

const char* SDL_JoystickPathForIndex(int device_index) {
  const char* path = gReal.pathForIndex(device_index);
  return path != nullptr ? path : PathOfInstance(SDL_JoystickGetDeviceInstanceID(device_index));
}

const char* SDL_JoystickPath(SDL_Joystick* joystick) {
  const char* path = gReal.path(joystick);
  return path != nullptr ? path : PathOfInstance(SDL_JoystickInstanceID(joystick));
}

int vpad_plug(int id, const char* name, uint16_t vendor, uint16_t product, int axes, int buttons,
              int hats) {
  if (!ValidId(id) || name == nullptr || axes < 0 || axes > MAX_INPUTS || buttons < 0 ||
      buttons > MAX_INPUTS || hats < 0 || hats > MAX_INPUTS) {
    return -1;
  }
  {
    std::lock_guard<std::mutex> lock(gModelMutex);
    gPads[id].model = Model{name, vendor, product, axes, buttons, hats, gPads[id].motors};
  }
  {
    std::lock_guard<std::mutex> lock(gPads[id].motorMutex);
    gPads[id].motorChanges.clear();
  }
  gPads[id].plugged = true;
  return 0;
}

void vpad_unplug(int id) {
  if (ValidId(id)) {
    gPads[id].plugged = false;
  }
}

int vpad_attached(int id) {
  return ValidId(id) && gPads[id].instance != NOT_ATTACHED ? 1 : 0;
}

void vpad_set_axis(int id, int axis, int16_t value) {
  if (ValidId(id) && axis >= 0 && axis < MAX_INPUTS) {
    gPads[id].axes[axis] = value;
  }
}

void vpad_set_button(int id, int button, int pressed) {
  if (ValidId(id) && button >= 0 && button < MAX_INPUTS) {
    gPads[id].buttons[button] = pressed != 0 ? 1 : 0;
  }
}

void vpad_set_hat(int id, int hat, uint8_t bits) {
  if (ValidId(id) && hat >= 0 && hat < MAX_INPUTS) {
    gPads[id].hats[hat] = bits;
  }
}

void vpad_set_motors(int id, int present) {
  if (ValidId(id)) {
    gPads[id].motors = present != 0;
  }
}

size_t vpad_motor_changes(int id, vpad_motor_change* out, size_t capacity) {
  if (!ValidId(id)) {
    return 0;
  }
  Pad& pad = gPads[id];
  std::lock_guard<std::mutex> lock(pad.motorMutex);
  if (out != nullptr) {
    std::copy_n(pad.motorChanges.begin(), std::min(capacity, pad.motorChanges.size()), out);
  }
  return pad.motorChanges.size();
}

void vpad_reset(void) {
  for (Pad& pad : gPads) {
    pad.plugged = false;
    pad.motors = false;
    {
      std::lock_guard<std::mutex> lock(pad.motorMutex);
      pad.motorChanges.clear();
    }
    for (auto& axis : pad.axes) {
      axis = 0;
    }
    for (auto& button : pad.buttons) {
      button = 0;
    }
    for (auto& hat : pad.hats) {
      hat = 0;
    }
  }
}

}  // extern "C"
