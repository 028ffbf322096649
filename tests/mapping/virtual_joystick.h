// A real SDL2 joystick whose inputs the test sets: SDL's own virtual joystick, opened through the
// ordinary SDL_JoystickOpen, so everything read from it goes through SDL's joystick layer.
#pragma once

#include <cstdint>
#include <functional>

#include "joystick_mapping/sdl.h"

namespace cpd::test {

// SDL's joystick subsystem for the life of the object.
class SdlJoystickSession {
 public:
  SdlJoystickSession();
  ~SdlJoystickSession();
  SdlJoystickSession(const SdlJoystickSession&) = delete;
  SdlJoystickSession& operator=(const SdlJoystickSession&) = delete;

  bool ok() const { return mOk; }

 private:
  bool mOk = false;
};

struct VirtualInputs {
  int axes = 6;
  int buttons = 15;
  int hats = 1;
  // SDL 2.26 finds GameController mappings for virtual joysticks only when they carry ids.
  uint16_t vendor = 0;
  uint16_t product = 0;
};

class VirtualJoystick {
 public:
  // Called from inside SDL_JoystickUpdate, once per update, with the number of updates seen
  // since the script was set (0 first). Values set here are what that update reports.
  using Script = std::function<void(int update, VirtualJoystick& joystick)>;

  explicit VirtualJoystick(VirtualInputs inputs = {}, const char* name = "cpd virtual pad");
  ~VirtualJoystick();
  VirtualJoystick(const VirtualJoystick&) = delete;
  VirtualJoystick& operator=(const VirtualJoystick&) = delete;

  bool ok() const { return mHandle != nullptr; }
  SDL_Joystick* handle() const { return mHandle; }
  int deviceIndex() const { return mDeviceIndex; }
  // SDL_JoystickUpdate calls seen since the joystick was opened.
  int updates() const { return mUpdates; }

  // Applied by the next SDL_JoystickUpdate.
  void SetAxis(int axis, int16_t value);
  void SetButton(int button, bool pressed);
  void SetHat(int hat, uint8_t bits);
  // Every axis 0, every button released, every hat centred.
  void Rest();

  void SetScript(Script script);

 private:
  static void OnUpdate(void* self);

  VirtualInputs mInputs;
  int mDeviceIndex = -1;
  SDL_Joystick* mHandle = nullptr;
  int mUpdates = 0;
  int mScriptUpdates = 0;
  Script mScript;
};

}  // namespace cpd::test
