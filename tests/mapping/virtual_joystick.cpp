#include "virtual_joystick.h"

#include <utility>

namespace cpd::test {

SdlJoystickSession::SdlJoystickSession() : mOk(SDL_Init(SDL_INIT_JOYSTICK) == 0) {
  // State is read by polling; queued events would only pile up over long sweeps.
  if (mOk) {
    SDL_JoystickEventState(SDL_IGNORE);
  }
}

SdlJoystickSession::~SdlJoystickSession() {
  if (mOk) {
    SDL_Quit();
  }
}

VirtualJoystick::VirtualJoystick(VirtualInputs inputs, const char* name) : mInputs(inputs) {
  SDL_VirtualJoystickDesc desc{};
  desc.version = SDL_VIRTUAL_JOYSTICK_DESC_VERSION;
  // An unknown type keeps every axis at 0 at rest; a game-controller type would park the
  // trigger axes at -32768.
  desc.type = SDL_JOYSTICK_TYPE_UNKNOWN;
  desc.naxes = static_cast<Uint16>(inputs.axes);
  desc.nbuttons = static_cast<Uint16>(inputs.buttons);
  desc.nhats = static_cast<Uint16>(inputs.hats);
  desc.vendor_id = inputs.vendor;
  desc.product_id = inputs.product;
  desc.name = name;
  desc.userdata = this;
  desc.Update = &VirtualJoystick::OnUpdate;
  mDeviceIndex = SDL_JoystickAttachVirtualEx(&desc);
  if (mDeviceIndex >= 0) {
    mHandle = SDL_JoystickOpen(mDeviceIndex);
  }
  mUpdates = 0;
}

VirtualJoystick::~VirtualJoystick() {
  if (mHandle != nullptr) {
    SDL_JoystickClose(mHandle);
  }
  if (mDeviceIndex >= 0) {
    SDL_JoystickDetachVirtual(mDeviceIndex);
  }
}

void VirtualJoystick::SetAxis(int axis, int16_t value) {
  SDL_JoystickSetVirtualAxis(mHandle, axis, value);
}

void VirtualJoystick::SetButton(int button, bool pressed) {
  SDL_JoystickSetVirtualButton(mHandle, button, pressed ? 1 : 0);
}

void VirtualJoystick::SetHat(int hat, uint8_t bits) {
  SDL_JoystickSetVirtualHat(mHandle, hat, bits);
}

void VirtualJoystick::Rest() {
  for (int axis = 0; axis < mInputs.axes; ++axis) {
    SetAxis(axis, 0);
  }
  for (int button = 0; button < mInputs.buttons; ++button) {
    SetButton(button, false);
  }
  for (int hat = 0; hat < mInputs.hats; ++hat) {
    SetHat(hat, SDL_HAT_CENTERED);
  }
}

void VirtualJoystick::SetScript(Script script) {
  mScript = std::move(script);
  mScriptUpdates = 0;
}

void VirtualJoystick::OnUpdate(void* self) {
  auto* joystick = static_cast<VirtualJoystick*>(self);
  ++joystick->mUpdates;
  if (joystick->mScript) {
    joystick->mScript(joystick->mScriptUpdates++, *joystick);
  }
}

}  // namespace cpd::test
