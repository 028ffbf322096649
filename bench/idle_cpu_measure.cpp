// Idle CPU of a host process while the library polls on the SDL2 simulator: once with no
// controller and with 4 idle controllers at poll intervals of 30, 4 and 1 ms. Each case
// registers one listener that does nothing, lets the library settle, then reads the process's
// CPU time (and each thread's, from schedstat) over a wall-clock window in which the host itself
// only sleeps.
//
//   idle_cpu_measure [--seconds=N] [--settle=S]     window N s (default 60), settle S s (3)
//
// Prints, per case, CPU time over wall time in percent of one core: the whole process, the
// polling thread and every other thread the library started; and RSS and heap in use before and
// after the window (a steady poll must not grow either).
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "sdl_sim.h"
#include "sim_host.h"

namespace {

using Clock = std::chrono::steady_clock;
using cpd::bench::TaskCpuSeconds;

constexpr int FIRST_PAD_NUMBER = 50;

struct Options {
  double seconds = 60.0;
  double settleSeconds = 3.0;
};

bool ParseOptions(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument.rfind("--seconds=", 0) == 0) {
      options.seconds = std::atof(argument.c_str() + 10);
    } else if (argument.rfind("--settle=", 0) == 0) {
      options.settleSeconds = std::atof(argument.c_str() + 9);
    } else {
      std::fprintf(stderr, "usage: %s [--seconds=N] [--settle=S]\n", argv[0]);
      return false;
    }
  }
  return options.seconds > 0.0 && options.settleSeconds >= 0.0;
}

// Notes the polling thread's id and counts packets and the slots they came from.
class IdleListener : public cpd::bench::QuietListener {
 public:
  void OnJoystickData(const JoystickDataPacket* data, int32_t /*length*/) override {
    if (mPollingTask.load(std::memory_order_relaxed) == 0) {
      mPollingTask.store(cpd::bench::ThisTaskId(), std::memory_order_relaxed);
    }
    const uint8_t slot = cpd::bench::CopyPacket(data).slot;
    if (slot < 8) {
      mSlots.fetch_or(1U << slot, std::memory_order_relaxed);
    }
    mPackets.fetch_add(1, std::memory_order_relaxed);
  }

  pid_t PollingTask() const { return mPollingTask.load(std::memory_order_relaxed); }
  uint64_t Packets() const { return mPackets.load(std::memory_order_relaxed); }
  int SlotsSeen() const { return __builtin_popcount(mSlots.load(std::memory_order_relaxed)); }

 private:
  std::atomic<pid_t> mPollingTask{0};
  std::atomic<unsigned> mSlots{0};
  std::atomic<uint64_t> mPackets{0};
};

std::map<pid_t, double> ThreadCpu(const std::vector<pid_t>& tasks) {
  std::map<pid_t, double> cpu;
  for (const pid_t task : tasks) {
    cpu[task] = TaskCpuSeconds(task);
  }
  return cpu;
}

double Percent(double cpuSeconds, double wallSeconds) {
  return 100.0 * cpuSeconds / wallSeconds;
}

// Registers a listener, waits for `controllers` slots to send data (if any), settles, and
// measures the window.
void MeasureCase(const char* name, int controllers, const Options& options) {
  const std::vector<pid_t> before = cpd::bench::TaskIds();
  IdleListener listener;
  JoysticAPI_RegsisterNotify(&listener);
  const auto deadline = Clock::now() + std::chrono::seconds(30);
  while (listener.SlotsSeen() < controllers && Clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  if (listener.SlotsSeen() < controllers) {
    std::printf("%-24s FAILED: %d of %d controllers sent data\n", name, listener.SlotsSeen(),
                controllers);
    JoysticAPI_UnregsisterNotify(&listener);
    return;
  }
  std::this_thread::sleep_for(std::chrono::duration<double>(options.settleSeconds));

  const std::vector<pid_t> tasks = cpd::bench::TaskIds();
  const std::string loadBefore = cpd::bench::LoadAverages();
  const long residentStart = cpd::bench::ResidentKiB();
  const long heapStart = cpd::bench::HeapInUseKiB();
  // The process window encloses the threads' windows.
  const double processStart = cpd::bench::ProcessCpuSeconds();
  const Clock::time_point wallStart = Clock::now();
  const std::map<pid_t, double> threadStart = ThreadCpu(tasks);
  const uint64_t packetsStart = listener.Packets();
  std::this_thread::sleep_for(std::chrono::duration<double>(options.seconds));
  const std::map<pid_t, double> threadEnd = ThreadCpu(tasks);
  const double processEnd = cpd::bench::ProcessCpuSeconds();
  const double wall = std::chrono::duration<double>(Clock::now() - wallStart).count();
  const uint64_t packets = listener.Packets() - packetsStart;
  const std::string loadAfter = cpd::bench::LoadAverages();
  const long residentEnd = cpd::bench::ResidentKiB();
  const long heapEnd = cpd::bench::HeapInUseKiB();

  std::printf("%-24s process %.4f %% of one core over %.1f s (%.1f ms CPU), %.1f packets/s", name,
              Percent(processEnd - processStart, wall), wall, 1e3 * (processEnd - processStart),
              static_cast<double>(packets) / wall);
  if (controllers > 0) {
    std::printf(" (%.1f per pad)", static_cast<double>(packets) / wall / controllers);
  }
  std::printf("\n");
  std::vector<pid_t> started;
  for (const pid_t task : tasks) {
    if (std::find(before.begin(), before.end(), task) == before.end()) {
      started.push_back(task);
    }
  }
  // With no controller no packet names the polling thread; it is then the one new thread.
  pid_t polling = listener.PollingTask();
  if (polling == 0 && started.size() == 1) {
    polling = started.front();
  }
  const pid_t self = cpd::bench::ThisTaskId();
  for (const pid_t task : tasks) {
    const double start = threadStart.at(task);
    const double end = threadEnd.at(task);
    const bool isNew = std::find(started.begin(), started.end(), task) != started.end();
    const char* role = task == polling ? "polling thread"
                       : task == self  ? "bench main"
                       : isNew         ? "library thread"
                                       : "earlier thread";
    if (start < 0.0 || end < 0.0) {
      std::printf("  thread %-8d %-16s ended during the window\n", task, role);
      continue;
    }
    std::printf("  thread %-8d %-16s %.4f %% (%.2f ms CPU)\n", task, role,
                Percent(end - start, wall), 1e3 * (end - start));
  }
  std::printf("  RSS %ld -> %ld KiB, heap in use %ld -> %ld KiB over the window\n", residentStart,
              residentEnd, heapStart, heapEnd);
  std::printf("  load average before: %s  after: %s\n", loadBefore.c_str(), loadAfter.c_str());
  std::fflush(stdout);
  JoysticAPI_UnregsisterNotify(&listener);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ParseOptions(argc, argv, options)) {
    return 2;
  }
  sim_set_journal_enabled(0);
  std::printf("idle_cpu_measure: window %.0f s per case, settle %.1f s, load average %s\n",
              options.seconds, options.settleSeconds, cpd::bench::LoadAverages().c_str());
  MeasureCase("no controller", 0, options);

  std::vector<int> pads;
  pads.reserve(4);
  const std::vector<cpd::bench::PadModel>& models = cpd::bench::GamePadModels();
  for (int i = 0; i < 4; ++i) {
    pads.push_back(cpd::bench::PlugPad(models[static_cast<size_t>(i)], FIRST_PAD_NUMBER + i));
  }
  // The same pads at the default interval and at two short ones; an idle pad should send about
  // 33 packets a second in each.
  for (const uint16_t interval : {uint16_t{30}, uint16_t{4}, uint16_t{1}}) {
    JoysticAPI_SetPollInterval(interval);
    const std::string name = "4 idle, " + std::to_string(interval) + " ms";
    MeasureCase(name.c_str(), 4, options);
  }
  JoysticAPI_SetPollInterval(30);
  for (const int pad : pads) {
    sim_unplug(pad);
  }
  return 0;
}
