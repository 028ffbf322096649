// Cost of one gamepad report for a controller with a full layout, on a real SDL2 joystick (SDL's
// virtual joystick), against SDL's GameController layer reading the same joystick through an
// equivalent mapping. Controls stay at rest, so the translation logs nothing.
//
// Counters per iteration: allocs/report (global operator new calls), log_lines/report (calls of
// the shared log sink, which only counts them here) and sdl_updates/report (SDL_JoystickUpdate
// calls).
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <array>
#include <atomic>
#include <string>
#include <vector>

#include "allocation_counter.h"
#include "joystick_mapping/layouts.h"
#include "joystick_mapping/report_translation.h"
#include "log_capture.h"
#include "virtual_joystick.h"

namespace {

std::atomic<size_t> gUpdates{0};
std::atomic<bool> gSkipUpdates{false};

}  // namespace

// The bench's seam in front of SDL's SDL_JoystickUpdate: it counts the calls and passes them on,
// except while a benchmark measures what a report costs beyond its one update. SDL's own internal
// updates do not come through here.
extern "C" void SDL_JoystickUpdate(void) {
  using Update = void (*)();
  static const auto sdlUpdate = reinterpret_cast<Update>(dlsym(RTLD_NEXT, "SDL_JoystickUpdate"));
  gUpdates.fetch_add(1, std::memory_order_relaxed);
  if (!gSkipUpdates.load(std::memory_order_relaxed) && sdlUpdate != nullptr) {
    sdlUpdate();
  }
}

namespace {

// SDL, one virtual joystick with an Xbox-shaped set of inputs, our device record with the Xbox
// layout (24 bound controls), and SDL's GameController opened on the same joystick.
struct Rig {
  cpd::test::SdlJoystickSession session;
  cpd::test::VirtualJoystick pad{cpd::test::VirtualInputs{6, 15, 1, 0x1234, 0x5678},
                                 "cpd bench pad"};
  cpd::JoystickDevice device;
  std::vector<cpd::InputId> inputs;
  SDL_GameController* controller = nullptr;
  // Why the rig could not be built; every benchmark is skipped with it.
  std::string failure;

  Rig() {
    if (!session.ok() || !pad.ok()) {
      failure = std::string("SDL virtual joystick unavailable: ") + SDL_GetError();
      return;
    }
    device._ptr = pad.handle();
    cpd::setXboxSDLMapping(device);
    cpd::GetMappedInputs(device.mapping.bindings, inputs);
    OpenController();
  }

  ~Rig() {
    if (controller != nullptr) {
      SDL_GameControllerClose(controller);
    }
  }
  Rig(const Rig&) = delete;
  Rig& operator=(const Rig&) = delete;

  // The same bindings as the Xbox layout, in SDL's mapping language.
  void OpenController() {
    std::array<char, 33> guid{};
    SDL_JoystickGetGUIDString(SDL_JoystickGetDeviceGUID(pad.deviceIndex()), guid.data(),
                              static_cast<int>(guid.size()));
    const std::string mapping =
        std::string(guid.data()) +
        ",cpd bench pad,a:b0,b:b1,x:b2,y:b3,leftshoulder:b4,rightshoulder:b5,back:b6,start:b7,"
        "leftstick:b8,rightstick:b9,dpup:h0.1,dpright:h0.2,dpdown:h0.4,dpleft:h0.8,"
        "leftx:a0,lefty:a1,rightx:a2,righty:a3,lefttrigger:a4,righttrigger:a5,";
    if (SDL_InitSubSystem(SDL_INIT_GAMECONTROLLER) < 0 ||
        SDL_GameControllerAddMapping(mapping.c_str()) < 0 ||
        (controller = SDL_GameControllerOpen(pad.deviceIndex())) == nullptr) {
      failure = std::string("SDL GameController unavailable: ") + SDL_GetError();
    }
  }
};

Rig& TheRig() {
  static Rig rig;
  return rig;
}

// Runs `body` as the timed loop and reports allocations, log lines and SDL updates per iteration.
template <typename Body>
void Measure(benchmark::State& state, Body body) {
  if (!TheRig().failure.empty()) {
    state.SkipWithError(TheRig().failure.c_str());
    return;
  }
  const size_t allocationsBefore = cpd::bench::AllocationCount();
  const size_t logLinesBefore = cpd::test::LogCallCount();
  const size_t updatesBefore = gUpdates.load();
  for (auto _ : state) {
    body();
  }
  // Read every count before the counters map allocates its entries.
  const size_t allocations = cpd::bench::AllocationCount() - allocationsBefore;
  const size_t logLines = cpd::test::LogCallCount() - logLinesBefore;
  const size_t updates = gUpdates.load() - updatesBefore;
  const auto iterations = static_cast<double>(state.iterations());
  state.counters["allocs/report"] = static_cast<double>(allocations) / iterations;
  state.counters["log_lines/report"] = static_cast<double>(logLines) / iterations;
  state.counters["sdl_updates/report"] = static_cast<double>(updates) / iterations;
}

void BM_OurReport(benchmark::State& state) {
  Rig& rig = TheRig();
  cpd::XboxGamepad gamepad;
  Measure(state, [&] {
    cpd::GetXboxReportFromSDLmap(rig.device, rig.inputs, gamepad);
    benchmark::DoNotOptimize(gamepad);
  });
}
BENCHMARK(BM_OurReport);

// The same report with its SDL_JoystickUpdate skipped: the translation's own cost. The joystick
// is at rest, so the cached state it reads is the same either way.
void BM_OurReportExcludingUpdate(benchmark::State& state) {
  Rig& rig = TheRig();
  cpd::XboxGamepad gamepad;
  gSkipUpdates = true;
  Measure(state, [&] {
    cpd::GetXboxReportFromSDLmap(rig.device, rig.inputs, gamepad);
    benchmark::DoNotOptimize(gamepad);
  });
  gSkipUpdates = false;
}
BENCHMARK(BM_OurReportExcludingUpdate);

// A report as the polling thread makes it: a reader shaped once for the layout, then read at
// every poll.
void BM_PollerReport(benchmark::State& state) {
  Rig& rig = TheRig();
  const cpd::BindingSnapshot bindings = cpd::SnapshotOf(rig.device.mapping.bindings);
  cpd::ReportReader reader;
  reader.ReserveForEveryControl();
  reader.Shape(bindings, rig.inputs);
  cpd::XboxGamepad gamepad;
  const bool skip = state.range(0) != 0;
  gSkipUpdates = skip;
  Measure(state, [&] {
    reader.Read(rig.device._ptr, bindings, rig.inputs, gamepad);
    benchmark::DoNotOptimize(gamepad);
  });
  gSkipUpdates = false;
}
BENCHMARK(BM_PollerReport)->ArgName("update_skipped")->Arg(0)->Arg(1);

// What the polling thread did per device and poll before it kept a reader: list the bound
// controls, then translate.
void BM_OurPollStep(benchmark::State& state) {
  Rig& rig = TheRig();
  cpd::XboxGamepad gamepad;
  std::vector<cpd::InputId> inputs;
  Measure(state, [&] {
    cpd::GetMappedInputs(rig.device.mapping.bindings, inputs);
    cpd::GetXboxReportFromSDLmap(rig.device, inputs, gamepad);
    benchmark::DoNotOptimize(gamepad);
  });
}
BENCHMARK(BM_OurPollStep);

void BM_OurPollStepWithFreshList(benchmark::State& state) {
  Rig& rig = TheRig();
  cpd::XboxGamepad gamepad;
  Measure(state, [&] {
    std::vector<cpd::InputId> inputs;
    cpd::GetMappedInputs(rig.device.mapping.bindings, inputs);
    cpd::GetXboxReportFromSDLmap(rig.device, inputs, gamepad);
    benchmark::DoNotOptimize(gamepad);
  });
}
BENCHMARK(BM_OurPollStepWithFreshList);

// The one SDL_JoystickUpdate each report makes; subtracting it from BM_OurReport gives the
// translation's own cost.
void BM_SdlJoystickUpdate(benchmark::State& state) {
  TheRig();
  Measure(state, [] { SDL_JoystickUpdate(); });
}
BENCHMARK(BM_SdlJoystickUpdate);

void ReadController(SDL_GameController* controller, std::array<int32_t, 21>& values) {
  size_t next = 0;
  for (int button = SDL_CONTROLLER_BUTTON_A; button <= SDL_CONTROLLER_BUTTON_DPAD_RIGHT; ++button) {
    values[next++] =
        SDL_GameControllerGetButton(controller, static_cast<SDL_GameControllerButton>(button));
  }
  for (int axis = SDL_CONTROLLER_AXIS_LEFTX; axis < SDL_CONTROLLER_AXIS_MAX; ++axis) {
    values[next++] =
        SDL_GameControllerGetAxis(controller, static_cast<SDL_GameControllerAxis>(axis));
  }
}

// SDL's GameController layer: one update, then 15 buttons and 6 axes.
void BM_SdlGameControllerReport(benchmark::State& state) {
  Rig& rig = TheRig();
  std::array<int32_t, 21> values{};
  Measure(state, [&] {
    SDL_GameControllerUpdate();
    ReadController(rig.controller, values);
    benchmark::DoNotOptimize(values);
  });
}
BENCHMARK(BM_SdlGameControllerReport);

void BM_SdlGameControllerReadsOnly(benchmark::State& state) {
  Rig& rig = TheRig();
  std::array<int32_t, 21> values{};
  Measure(state, [&] {
    ReadController(rig.controller, values);
    benchmark::DoNotOptimize(values);
  });
}
BENCHMARK(BM_SdlGameControllerReadsOnly);

}  // namespace

BENCHMARK_MAIN();
