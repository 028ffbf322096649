// A listener for tests: records every callback and lets a test wait for counts.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "cpd_joystick/joystick_api.h"

namespace cpd::test {

struct RecordedEvent {
  std::string name;
  EventRecord record;
};

class TestListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* data, int32_t length) override;
  void OnDevListUpdate() override;
  void OnJoystickEvent(std::string event, const EventRecord& record) override;

  size_t PacketCount() const;
  size_t DevListUpdateCount() const;
  std::vector<RecordedEvent> Events() const;
  std::vector<std::array<uint8_t, sizeof(JoystickDataPacket)>> Packets() const;
  std::vector<int32_t> PacketLengths() const;
  std::vector<std::thread::id> CallbackThreads() const;
  // Callback kinds in arrival order: "data", "devlist" or the event name.
  std::vector<std::string> Sequence() const;

  // Waits until `done` holds or `timeout` passes; `done` may call the accessors above.
  bool WaitFor(const std::function<bool()>& done,
               std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;

  // Runs inside every callback, after it is recorded (for re-entrancy tests).
  std::function<void()> onCallback;

 private:
  void Record(const std::string& kind);

  mutable std::mutex mMutex;
  mutable std::condition_variable mChanged;
  std::vector<std::array<uint8_t, sizeof(JoystickDataPacket)>> mPackets;
  std::vector<int32_t> mLengths;
  size_t mDevListUpdates = 0;
  std::vector<RecordedEvent> mEvents;
  std::vector<std::thread::id> mThreads;
  std::vector<std::string> mSequence;
};

// The packets as the listener got them, for one slot.
std::vector<JoystickDataPacket> PacketsOfSlot(const TestListener& listener, uint8_t slot);

}  // namespace cpd::test
