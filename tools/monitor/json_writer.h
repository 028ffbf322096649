// Writes the JSON lines of a run to one stream, whole lines at a time, from any thread.
#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>
#include <string>

#include "json_line.h"

namespace monitor {

class JsonWriter {
 public:
  // One packet line in `every` per slot.
  JsonWriter(std::FILE* out, unsigned every, std::chrono::steady_clock::time_point start);

  void Packet(const JoystickDataPacket& packet);
  void Layouts(const std::vector<LayoutName>& layouts, uint16_t pollMs);
  void Devices(const std::list<_CpdJoystickDeviceInfo>& devices,
               const std::vector<LayoutName>& layouts);
  void Event(const std::string& name, const EventRecord& record);
  void Log(int level, const std::string& text);
  void Step(const ScenarioStep& step, bool ok);
  void Motors(uint16_t slot, const std::string& path, const MotorView& motors);

  // False once a write failed (for example the reader went away).
  bool Healthy() const;

 private:
  int64_t Elapsed() const;
  void Write(const std::function<std::string(int64_t)>& make);

  std::FILE* mOut;
  unsigned mEvery;
  std::chrono::steady_clock::time_point mStart;
  mutable std::mutex mMutex;
  std::map<uint16_t, uint64_t> mPacketsSeen;
  bool mHealthy = true;
};

}  // namespace monitor
