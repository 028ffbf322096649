#include "joystick_manager/slot_motors.h"

#include "joystick_mapping/sdl_input.h"

namespace cpd {

void SlotMotors::Opened(int32_t slotIndex, SDL_Joystick* handle, const std::string& path) {
  if (slotIndex < 0 || slotIndex >= JOYSTICK_MAX_NUM || handle == nullptr) {
    return;
  }
  Slot& slot = mSlots[slotIndex];
  MotorSpeeds start;
  if (slot.path == path) {
    start = mRequests.Latest(slotIndex, slot.controller).value_or(slot.wanted);
  }
  if (++mLastController == 0) {
    ++mLastController;  // 0 means no controller
  }
  slot.handle = handle;
  slot.controller = mLastController;
  slot.hasMotors = HasMotors(handle);
  slot.path = path;
  slot.wanted = slot.hasMotors ? start : MotorSpeeds{};
  slot.running = MotorSpeeds{};
  mRequests.Hold(slotIndex, slot.controller, slot.hasMotors);
}

void SlotMotors::Apply(std::chrono::steady_clock::time_point now) {
  mRequests.TakeNews();
  for (int32_t index = 0; index < JOYSTICK_MAX_NUM; ++index) {
    Slot& slot = mSlots[index];
    if (slot.handle == nullptr || !slot.hasMotors) {
      continue;
    }
    slot.wanted = mRequests.Latest(index, slot.controller).value_or(slot.wanted);
    if (slot.wanted != slot.running ||
        (slot.running.Running() && now - slot.armedAt >= RUMBLE_REARM)) {
      Run(slot, now);
    }
  }
}

// A failing SDL call is not retried at once: at the rate a game asks, that would flood SDL. It is
// tried again when the rumble would be armed again.
void SlotMotors::Run(Slot& slot, std::chrono::steady_clock::time_point now) {
  RunMotors(slot.handle, slot.wanted.low, slot.wanted.high, RUMBLE_SPAN);
  slot.running = slot.wanted;
  slot.armedAt = now;
}

void SlotMotors::StopAll() {
  for (int32_t index = 0; index < JOYSTICK_MAX_NUM; ++index) {
    Slot& slot = mSlots[index];
    if (slot.handle == nullptr) {
      continue;
    }
    mRequests.Release(index);
    slot.wanted = mRequests.Latest(index, slot.controller).value_or(slot.wanted);
    if (slot.running.Running()) {
      RunMotors(slot.handle, 0, 0, std::chrono::milliseconds(0));
    }
    slot.running = MotorSpeeds{};
    slot.handle = nullptr;
  }
}

void SlotMotors::Forget() {
  StopAll();
  for (Slot& slot : mSlots) {
    std::string().swap(slot.path);  // an unloaded library must leave nothing allocated
    slot = Slot{};
  }
}

}  // namespace cpd
