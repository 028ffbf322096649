#include "joystick_mapping/sdl_input.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "common/log.h"
#include "joystick_mapping/baseline.h"
#include "joystick_mapping/sdl.h"

namespace cpd {

namespace {

constexpr int32_t BASELINE_SAMPLES = 64;

std::string TextOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

constexpr int COUNTED_PATHS = 16;
constexpr size_t COUNTED_PATH_LENGTH = 256;

// Two devices with the same path leave only the later index.
JoystickList PathsOf(int count) {
  JoystickList list;
  for (int deviceIndex = 0; deviceIndex < count; ++deviceIndex) {
    if (const char* path = SDL_JoystickPathForIndex(deviceIndex)) {
      list[path] = deviceIndex;
    }
  }
  return list;
}

// Steady-clock ticks at which the polling thread entered SDL_Init or SDL_Quit, or 0.
std::atomic<int64_t> gLoaderCallSince{0};

class LoaderCall {
 public:
  LoaderCall() {
    gLoaderCallSince.store(std::chrono::steady_clock::now().time_since_epoch().count());
  }
  ~LoaderCall() { gLoaderCallSince.store(0); }
  LoaderCall(const LoaderCall&) = delete;
  LoaderCall& operator=(const LoaderCall&) = delete;
  LoaderCall(LoaderCall&&) = delete;
  LoaderCall& operator=(LoaderCall&&) = delete;
};

}  // namespace

std::optional<std::chrono::steady_clock::time_point> InsideSdlLoaderCallSince() {
  const int64_t since = gLoaderCallSince.load();
  if (since == 0) {
    return std::nullopt;
  }
  return std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(since));
}

void QuitJoystickInput() {
  const LoaderCall call;
  SDL_Quit();
}

int32_t InitJoystickInput() {
  // SDL then watches for hot-plugs and reads raw input on a thread of its own. The polling thread
  // sets the same hint just before calling here; both stay, since callers of this function
  // outside the polling thread rely on it setting the hint itself.
  SDL_SetHint(SDL_HINT_JOYSTICK_THREAD, "1");
  if (SDL_WasInit(SDL_INIT_JOYSTICK) != 0) {
    CPD_LOG_MUTED("SDL_WasInit");
    return 1;
  }
  int result = 0;
  {
    const LoaderCall call;
    result = SDL_Init(SDL_INIT_JOYSTICK);
  }
  if (result >= 0) {
    return 1;
  }
  CPD_LOG_ERROR("SDL initialization failed: %s", SDL_GetError());
  return 0;
}

JoystickList GetJoystickList() {
  SDL_JoystickUpdate();
  const int count = SDL_NumJoysticks();
  if (count < 1) {
    CPD_LOG_MUTED("No joysticks connected.");
    return JoystickList();
  }
  return PathsOf(count);
}

// The size GetJoystickList would give, with the same SDL calls. Paths are compared in fixed
// buffers on the stack, so the count the poller makes on every pass costs no allocation; more
// controllers or a longer path than fit there take the ordinary enumeration instead.
int32_t CountJoysticks() {
  SDL_JoystickUpdate();
  const int count = SDL_NumJoysticks();
  if (count < 1) {
    CPD_LOG_MUTED_IN("GetJoystickList", "No joysticks connected.");
    return 0;
  }
  if (count > COUNTED_PATHS) {
    return static_cast<int32_t>(PathsOf(count).size());
  }
  std::array<std::array<char, COUNTED_PATH_LENGTH>, COUNTED_PATHS> seen;
  size_t distinct = 0;
  for (int deviceIndex = 0; deviceIndex < count; ++deviceIndex) {
    const char* path = SDL_JoystickPathForIndex(deviceIndex);
    if (path == nullptr) {
      continue;
    }
    const size_t length = std::strlen(path);
    if (length >= COUNTED_PATH_LENGTH) {
      return static_cast<int32_t>(PathsOf(count).size());  // asks SDL for the paths once more
    }
    bool repeated = false;
    for (size_t earlier = 0; earlier < distinct && !repeated; ++earlier) {
      repeated = std::strcmp(seen[earlier].data(), path) == 0;
    }
    if (!repeated) {
      std::memcpy(seen[distinct].data(), path, length + 1);
      ++distinct;
    }
  }
  return static_cast<int32_t>(distinct);
}

bool OpenJoystick(int32_t deviceIndex, JoystickDevice& device) {
  device._ptr = SDL_JoystickOpen(deviceIndex);
  if (device._ptr == nullptr) {
    // Standard output, not the log: that is where operators have always looked for it.
    std::printf("Failed to open joystick: %s\n", SDL_GetError());
    std::fflush(stdout);
    return false;
  }
  return true;
}

void ReadJoystickInfo(JoystickDevice& device) {
  JoystickBaseline baseline = get_sdl_joystick_baseline(device._ptr, BASELINE_SAMPLES);
  device.numAxes = baseline.first.numAxes;
  device.numButtons = baseline.first.numButtons;
  device.numHats = baseline.first.numHats;
  device.baselineAverages = std::move(baseline.second.averages);
  device.name = TextOrEmpty(SDL_JoystickName(device._ptr));
  device.path = TextOrEmpty(SDL_JoystickPath(device._ptr));
  device.pid = SDL_JoystickGetProduct(device._ptr);
  device.vid = SDL_JoystickGetVendor(device._ptr);
}

bool HasMotors(SDL_Joystick* joystick) {
  return SDL_JoystickHasRumble(joystick) == SDL_TRUE;
}

bool RunMotors(SDL_Joystick* joystick, uint16_t low, uint16_t high,
               std::chrono::milliseconds duration) {
  return SDL_JoystickRumble(joystick, low, high, static_cast<Uint32>(duration.count())) == 0;
}

}  // namespace cpd
