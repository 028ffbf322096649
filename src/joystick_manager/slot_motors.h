// The motors as the polling thread drives them: which controller holds each slot, the speeds it
// is to run at, and when SDL's rumble must be armed again. SDL only runs a rumble for a given
// time, while a game expects the motors to keep the speeds it set until it sets others; arming
// the rumble again well before it runs out keeps them running without a gap, and still stops
// them shortly after the polling thread itself stops, however that happens.
// Only the polling thread uses this class.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>

#include "joystick_manager/motor_requests.h"
#include "joystick_mapping/joystick_list.h"
#include "joystick_mapping/sdl.h"

namespace cpd {

// How long SDL is asked to run a rumble, and how soon it is asked again while it should go on.
inline constexpr std::chrono::milliseconds RUMBLE_SPAN{1000};
inline constexpr std::chrono::milliseconds RUMBLE_REARM{500};

class SlotMotors {
 public:
  explicit SlotMotors(MotorRequests& requests) : mRequests(requests) {}

  // `handle`, opened from `path`, holds `slot` from now on. When the controller that held the
  // slot last came from the same path (the same pad, back after the controllers were opened
  // again), it starts at the speeds last asked of it.
  void Opened(int32_t slot, SDL_Joystick* handle, const std::string& path);
  // Runs each controller at the latest speeds asked of it, and arms again a rumble that would
  // run out soon.
  void Apply(std::chrono::steady_clock::time_point now);
  // Before the controllers are closed: no request is taken for them any more, and every motor
  // that runs is stopped. What each slot's controller was asked is kept for Opened.
  void StopAll();
  // Polling has ended: the next start begins with every motor off.
  void Forget();

 private:
  struct Slot {
    SDL_Joystick* handle = nullptr;  // null while no open controller holds the slot
    uint32_t controller = 0;
    bool hasMotors = false;
    std::string path;
    MotorSpeeds wanted;   // what the host asked for last
    MotorSpeeds running;  // what SDL was last asked to run
    std::chrono::steady_clock::time_point armedAt;
  };

  void Run(Slot& slot, std::chrono::steady_clock::time_point now);

  MotorRequests& mRequests;
  std::array<Slot, JOYSTICK_MAX_NUM> mSlots{};
  uint32_t mLastController = 0;
};

}  // namespace cpd
