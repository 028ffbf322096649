// What the benchmarks that drive the shipped library on the SDL2 simulator share: the controller
// models they plug (the simulator's catalogue) and readings of CPU time, memory and load. The log
// sink and the in-memory store are the shared test doubles, set quiet (quiet_doubles.cpp).
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cpd_joystick/joystick_api.h"
#include "pad_models.h"

namespace cpd::bench {

using sim::DUALSENSE_PAD;
using sim::GENERIC_PAD;
using sim::PadModel;
using sim::PEN_TABLET;
using sim::SWITCH_PAD;
using sim::XBOX_PAD;

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

// Bytes of all values in the in-memory secure store (the policy document).
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
