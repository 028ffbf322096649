#include "sim_host.h"

#include <malloc.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <dirent.h>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <fstream>

#include "recording_store.h"
#include "sdl_sim.h"

namespace {

double Seconds(const timespec& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double ClockSeconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return Seconds(now);
}

}  // namespace

namespace cpd::bench {

const std::vector<PadModel>& GamePadModels() {
  static const std::vector<PadModel> models = {XBOX_PAD, DUALSENSE_PAD, SWITCH_PAD, GENERIC_PAD};
  return models;
}

std::string PadPath(int number) {
  return "/dev/input/event" + std::to_string(number);
}

int PlugPad(const PadModel& model, int number) {
  const int pad = sim_plug(model.name, PadPath(number).c_str(), model.vid, model.pid, model.axes,
                           model.buttons, model.hats);
  sim_set_motors(pad, model.motors ? 1 : 0);
  return pad;
}

JoystickDataPacket CopyPacket(const JoystickDataPacket* data) {
  JoystickDataPacket packet{};
  std::memcpy(&packet, data, sizeof packet);
  return packet;
}

size_t StoredBytes() {
  size_t bytes = 0;
  for (const auto& entry : cpd::test::StoredValues()) {
    bytes += entry.second.size();
  }
  return bytes;
}

double ProcessCpuSeconds() {
  return ClockSeconds(CLOCK_PROCESS_CPUTIME_ID);
}

double ThisThreadCpuSeconds() {
  return ClockSeconds(CLOCK_THREAD_CPUTIME_ID);
}

pid_t ThisTaskId() {
  return static_cast<pid_t>(syscall(SYS_gettid));
}

std::vector<pid_t> TaskIds() {
  std::vector<pid_t> ids;
  DIR* tasks = opendir("/proc/self/task");
  if (tasks == nullptr) {
    return ids;
  }
  // NOLINTNEXTLINE(concurrency-mt-unsafe): this directory stream is read by this thread only
  while (const dirent* entry = readdir(tasks)) {
    if (entry->d_name[0] != '.') {
      ids.push_back(static_cast<pid_t>(std::stol(entry->d_name)));
    }
  }
  closedir(tasks);
  std::sort(ids.begin(), ids.end());
  return ids;
}

double TaskCpuSeconds(pid_t tid) {
  std::ifstream schedstat("/proc/self/task/" + std::to_string(tid) + "/schedstat");
  unsigned long long runNanoseconds = 0;
  if (!(schedstat >> runNanoseconds)) {
    return -1.0;
  }
  return static_cast<double>(runNanoseconds) * 1e-9;
}

long ResidentKiB() {
  std::ifstream statm("/proc/self/statm");
  long sizePages = 0;
  long residentPages = 0;
  if (!(statm >> sizePages >> residentPages)) {
    return -1;
  }
  return residentPages * (sysconf(_SC_PAGESIZE) / 1024);
}

long HeapInUseKiB() {
  return static_cast<long>(mallinfo2().uordblks / 1024);
}

std::string LoadAverages() {
  std::ifstream loadavg("/proc/loadavg");
  std::string one;
  std::string five;
  std::string fifteen;
  loadavg >> one >> five >> fifteen;
  return one + " " + five + " " + fifteen;
}

double LoadAverage1() {
  std::ifstream loadavg("/proc/loadavg");
  double one = -1.0;
  loadavg >> one;
  return one;
}

double Percentile(std::vector<double> values, double fraction) {
  if (values.empty()) {
    return 0.0;
  }
  std::sort(values.begin(), values.end());
  const double rank = std::ceil(fraction * static_cast<double>(values.size()));
  const auto index = static_cast<size_t>(std::max(rank, 1.0)) - 1;
  return values[std::min(index, values.size() - 1)];
}

}  // namespace cpd::bench
