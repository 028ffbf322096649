#include "json_writer.h"

namespace monitor {

JsonWriter::JsonWriter(std::FILE* out, unsigned every, std::chrono::steady_clock::time_point start)
    : mOut(out), mEvery(every == 0 ? 1 : every), mStart(start) {}

int64_t JsonWriter::Elapsed() const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               mStart)
      .count();
}

void JsonWriter::Packet(const JoystickDataPacket& packet) {
  {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mPacketsSeen[packet.slot]++ % mEvery != 0) {
      return;
    }
  }
  Write([&](int64_t t) { return PacketLine(t, packet); });
}

void JsonWriter::Layouts(const std::vector<LayoutName>& layouts, uint16_t pollMs) {
  Write([&](int64_t t) { return LayoutsLine(t, layouts, pollMs); });
}

void JsonWriter::Devices(const std::list<_CpdJoystickDeviceInfo>& devices,
                         const std::vector<LayoutName>& layouts) {
  Write([&](int64_t t) { return DevicesLine(t, devices, layouts); });
}

void JsonWriter::Event(const std::string& name, const EventRecord& record) {
  Write([&](int64_t t) { return EventLine(t, name, record); });
}

void JsonWriter::Log(int level, const std::string& text) {
  Write([&](int64_t t) { return LogLine(t, level, text); });
}

void JsonWriter::Step(const ScenarioStep& step, bool ok) {
  Write([&](int64_t t) { return StepLine(t, step, ok); });
}

void JsonWriter::Motors(uint16_t slot, const std::string& path, const MotorView& motors) {
  Write([&](int64_t t) { return MotorsLine(t, slot, path, motors); });
}

bool JsonWriter::Healthy() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mHealthy;
}

// The time is taken under the lock, so that the lines' times never go backwards.
void JsonWriter::Write(const std::function<std::string(int64_t)>& make) {
  std::lock_guard<std::mutex> lock(mMutex);
  if (!mHealthy) {
    return;
  }
  const std::string line = make(Elapsed());
  mHealthy = std::fputs(line.c_str(), mOut) >= 0 && std::fputc('\n', mOut) != EOF &&
             std::fflush(mOut) == 0;
}

}  // namespace monitor
