#include "joystick_manager/motor_requests.h"

namespace cpd {

namespace {

constexpr uint64_t HAS_MOTORS = 1;

bool IsSlot(int32_t slot) {
  return slot >= 0 && slot < JOYSTICK_MAX_NUM;
}

uint64_t Packed(uint32_t controller, MotorSpeeds speeds) {
  return (static_cast<uint64_t>(controller) << 32U) | (static_cast<uint64_t>(speeds.low) << 16U) |
         speeds.high;
}

}  // namespace

MotorRequests::Result MotorRequests::Request(uint16_t slot, MotorSpeeds speeds) {
  Result result;
  if (!IsSlot(slot)) {
    return result;
  }
  const uint64_t holder = mHolders[slot].load(std::memory_order_acquire);
  if (holder == 0) {
    return result;
  }
  if ((holder & HAS_MOTORS) == 0) {
    result.answer = Answer::NO_MOTORS;
    return result;
  }
  const auto controller = static_cast<uint32_t>(holder >> 1U);
  mMailboxes[slot].store(Packed(controller, speeds), std::memory_order_release);
  result.answer = Answer::TAKEN;
  result.wake = !mNews.exchange(true, std::memory_order_acq_rel);
  return result;
}

bool MotorRequests::TakeNews() {
  return mNews.exchange(false, std::memory_order_acq_rel);
}

bool MotorRequests::HasNews() const {
  return mNews.load(std::memory_order_acquire);
}

void MotorRequests::Hold(int32_t slot, uint32_t controller, bool hasMotors) {
  if (IsSlot(slot)) {
    const uint64_t holder = (static_cast<uint64_t>(controller) << 1U) | (hasMotors ? 1U : 0U);
    mHolders[slot].store(holder, std::memory_order_release);
  }
}

void MotorRequests::Release(int32_t slot) {
  if (IsSlot(slot)) {
    mHolders[slot].store(0, std::memory_order_release);
  }
}

std::optional<MotorSpeeds> MotorRequests::Latest(int32_t slot, uint32_t controller) const {
  if (!IsSlot(slot)) {
    return std::nullopt;
  }
  const uint64_t mailbox = mMailboxes[slot].load(std::memory_order_acquire);
  if (static_cast<uint32_t>(mailbox >> 32U) != controller) {
    return std::nullopt;
  }
  return MotorSpeeds{static_cast<uint16_t>(mailbox >> 16U), static_cast<uint16_t>(mailbox)};
}

}  // namespace cpd
