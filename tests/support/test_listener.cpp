#include "test_listener.h"

#include <cstring>

namespace cpd::test {

void TestListener::Record(const std::string& kind) {
  mThreads.push_back(std::this_thread::get_id());
  mSequence.push_back(kind);
}

void TestListener::OnJoystickData(const JoystickDataPacket* data, int32_t length) {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    std::array<uint8_t, sizeof(JoystickDataPacket)> bytes{};
    std::memcpy(bytes.data(), data, bytes.size());
    mPackets.push_back(bytes);
    mLengths.push_back(length);
    Record("data");
  }
  mChanged.notify_all();
  if (onCallback) {
    onCallback();
  }
}

void TestListener::OnDevListUpdate() {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    ++mDevListUpdates;
    Record("devlist");
  }
  mChanged.notify_all();
  if (onCallback) {
    onCallback();
  }
}

void TestListener::OnJoystickEvent(std::string event, const EventRecord& record) {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    mEvents.push_back({event, record});
    Record(event);
  }
  mChanged.notify_all();
  if (onCallback) {
    onCallback();
  }
}

size_t TestListener::PacketCount() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mPackets.size();
}

size_t TestListener::DevListUpdateCount() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mDevListUpdates;
}

std::vector<RecordedEvent> TestListener::Events() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mEvents;
}

std::vector<std::array<uint8_t, sizeof(JoystickDataPacket)>> TestListener::Packets() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mPackets;
}

std::vector<int32_t> TestListener::PacketLengths() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mLengths;
}

std::vector<std::thread::id> TestListener::CallbackThreads() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mThreads;
}

std::vector<std::string> TestListener::Sequence() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mSequence;
}

bool TestListener::WaitFor(const std::function<bool()>& done,
                           std::chrono::milliseconds timeout) const {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
    // `done` takes the lock itself, so it is tested outside it; the short wait covers a
    // notification that lands in between.
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_for(lock, std::chrono::milliseconds(10));
  }
  return true;
}

std::vector<JoystickDataPacket> PacketsOfSlot(const TestListener& listener, uint8_t slot) {
  std::vector<JoystickDataPacket> packets;
  for (const auto& bytes : listener.Packets()) {
    JoystickDataPacket packet{};
    std::memcpy(&packet, bytes.data(), sizeof packet);
    if (packet.slot == slot) {
      packets.push_back(packet);
    }
  }
  return packets;
}

}  // namespace cpd::test
