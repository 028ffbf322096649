// What the benchmarks that drive the shipped library on the SDL2 simulator share: a silent log
// sink and an in-memory secure store (both defined in sim_host.cpp, so the user's own store file
// is never touched), the controller models they plug, and readings of CPU time, memory and load.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"

namespace cpd::bench {

struct PadModel {
  const char* name;
  uint16_t vid;
  uint16_t pid;
  int axes;
  int buttons;
  int hats;
};

extern const PadModel XBOX_PAD;
extern const PadModel DUALSENSE_PAD;
extern const PadModel SWITCH_PAD;
extern const PadModel GENERIC_PAD;
extern const PadModel PEN_TABLET;

// Four different game controllers, for benches that plug several.
const std::vector<PadModel>& GamePadModels();

// The device path a bench gives its controller number `number`.
std::string PadPath(int number);
// Plugs `model` at PadPath(number) and returns the simulator's id.
int PlugPad(const PadModel& model, int number);

// Copies the packet out byte-wise: its packet number is unaligned.
JoystickDataPacket CopyPacket(const JoystickDataPacket* data);

// A listener that does nothing; benches derive from it and override what they watch.
class QuietListener : public CpdJoystickNotify {
 public:
  void OnJoystickData(const JoystickDataPacket* /*data*/, int32_t /*length*/) override {}
  void OnDevListUpdate() override {}
  void OnJoystickEvent(std::string /*event*/, const EventRecord& /*record*/) override {}
};

// Bytes of all values in the bench's in-memory secure store (the policy document).
size_t StoredBytes();

// CPU time of the whole process and of the calling thread, in seconds.
double ProcessCpuSeconds();
double ThisThreadCpuSeconds();
// The kernel's id of the calling thread.
pid_t ThisTaskId();
// The ids of this process's threads, ascending.
std::vector<pid_t> TaskIds();
// Time thread `tid` of this process has spent on a CPU (schedstat, nanosecond resolution), in
// seconds; negative when the thread is gone.
double TaskCpuSeconds(pid_t tid);

// Resident set size from /proc/self/statm, in KiB.
long ResidentKiB();
// Bytes the heap has handed out and not had back (mallinfo2's uordblks), in KiB.
long HeapInUseKiB();
// The three load averages, as /proc/loadavg gives them ("0.52 0.61 0.70").
std::string LoadAverages();
// The one-minute load average.
double LoadAverage1();

// Nearest-rank percentile (`fraction` 0.5 for the median, 0.99 for p99) of `values`; 0 if empty.
double Percentile(std::vector<double> values, double fraction);

}  // namespace cpd::bench
