// The host's motor requests on their way to the polling thread. A game may ask for new speeds
// hundreds of times a second from any thread, so asking takes no lock and waits for nothing: each
// slot has one mailbox holding the latest speeds asked, tagged with the controller they were asked
// of, and the polling thread reads the mailboxes when it is woken. Only the latest request per
// slot counts, and a request can never reach a controller other than the one it was made for.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>

#include "joystick_mapping/joystick_list.h"

namespace cpd {

// A controller's two motor speeds, 0 = off and 65535 = full.
struct MotorSpeeds {
  uint16_t low = 0;
  uint16_t high = 0;

  bool Running() const { return low != 0 || high != 0; }
  friend bool operator==(MotorSpeeds left, MotorSpeeds right) {
    return left.low == right.low && left.high == right.high;
  }
  friend bool operator!=(MotorSpeeds left, MotorSpeeds right) { return !(left == right); }
};

class MotorRequests {
 public:
  enum class Answer {
    TAKEN,          // left for the controller in the slot
    NO_CONTROLLER,  // no open controller holds the slot
    NO_MOTORS,      // the controller in the slot has none
  };
  struct Result {
    Answer answer = Answer::NO_CONTROLLER;
    // The first request since the polling thread last looked: it must be woken.
    bool wake = false;
  };

  // Any thread.
  Result Request(uint16_t slot, MotorSpeeds speeds);

  // The polling thread's side. Controller ids are never 0.
  // True when requests came since the last call.
  bool TakeNews();
  bool HasNews() const;
  // From now on, requests for `slot` are for `controller`.
  void Hold(int32_t slot, uint32_t controller, bool hasMotors);
  // No controller holds `slot` any more.
  void Release(int32_t slot);
  // The latest speeds asked of `controller` in `slot`, if any were.
  std::optional<MotorSpeeds> Latest(int32_t slot, uint32_t controller) const;

 private:
  // Per slot: the controller id shifted left by one, with the low bit set when it has motors;
  // 0 when no controller holds the slot.
  std::array<std::atomic<uint64_t>, JOYSTICK_MAX_NUM> mHolders{};
  // Per slot: the controller id in the high half, the low speed and the high speed below it.
  std::array<std::atomic<uint64_t>, JOYSTICK_MAX_NUM> mMailboxes{};
  std::atomic<bool> mNews{false};
};

}  // namespace cpd
