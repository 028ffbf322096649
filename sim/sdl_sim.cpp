// The simulator's state and SDL2's joystick functions over it. One mutex guards everything; the
// update hook runs with it released so that it can script values.
#include "sdl_sim.h"

#include "pad_models.h"

#include <SDL.h>
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Inputs {
  std::vector<Sint16> axes;
  std::vector<Uint8> buttons;
  std::vector<Uint8> hats;
};

// SDL keeps the speeds and the rumble's end on its one joystick object per device, shared by every
// open of it, so they live with the device here.
struct Motors {
  bool present = false;
  Uint16 low = 0;
  Uint16 high = 0;
  std::optional<Clock::time_point> expiry;  // armed only while a timed rumble runs
  std::vector<sim_motor_change> changes;
};

struct Device {
  int id = 0;
  bool hasName = false;
  bool hasPath = false;
  std::string name;
  std::string path;
  Uint16 vid = 0;
  Uint16 pid = 0;
  int numAxes = 0;
  int numButtons = 0;
  int numHats = 0;
  bool plugged = true;
  Inputs pending;    // what the script set
  Inputs published;  // what SDL reports, copied from pending at each update
  Motors motors;
};

}  // namespace

// SDL's opaque handle type.
struct _SDL_Joystick {
  Device* device = nullptr;
  bool open = true;
};

namespace {

struct Simulator {
  std::mutex mutex;
  std::deque<std::unique_ptr<Device>> devices;  // by id; never shrinks, so pointers stay valid
  std::deque<std::unique_ptr<_SDL_Joystick>> handles;
  Uint32 initialised = 0;
  std::string failInit;
  std::string failOpen;
  bool failInitArmed = false;
  bool failOpenArmed = false;
  sim_update_hook hook = nullptr;
  void* hookContext = nullptr;
  uint64_t updates = 0;
  bool journalEnabled = true;
  std::vector<sim_call> journal;
};

Simulator& Sim() {
  static auto* simulator = new Simulator();  // outlives every caller, even at exit
  return *simulator;
}

thread_local std::string tLastError;

constexpr size_t JOURNAL_LIMIT = 2'000'000;

uint64_t ThisThread() {
  return static_cast<uint64_t>(pthread_self());
}

// Records a call; the caller holds the lock. The arguments' text is only built when it is kept,
// so that a run with the journal off costs what the bridge's own work costs.
template <typename Arguments>
void Record(const char* function, Arguments arguments) {
  Simulator& sim = Sim();
  if (!sim.journalEnabled || sim.journal.size() >= JOURNAL_LIMIT) {
    return;
  }
  sim_call call{};
  std::snprintf(call.function, sizeof call.function, "%s", function);
  std::snprintf(call.arguments, sizeof call.arguments, "%s", std::string(arguments()).c_str());
  call.thread = ThisThread();
  sim.journal.push_back(call);
}

std::string Quoted(const char* text) {
  return text != nullptr ? "\"" + std::string(text) + "\"" : "null";
}

std::string Hex(Uint32 value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

std::string Pointer(const void* pointer) {
  char text[32];
  std::snprintf(text, sizeof text, "%p", pointer);
  return text;
}

std::vector<Device*> PluggedDevices() {
  std::vector<Device*> plugged;
  for (const auto& device : Sim().devices) {
    if (device->plugged) {
      plugged.push_back(device.get());
    }
  }
  return plugged;
}

Device* DeviceAtIndex(int deviceIndex) {
  const std::vector<Device*> plugged = PluggedDevices();
  if (deviceIndex < 0 || static_cast<size_t>(deviceIndex) >= plugged.size()) {
    return nullptr;
  }
  return plugged[static_cast<size_t>(deviceIndex)];
}

Device* DeviceById(int id) {
  Simulator& sim = Sim();
  if (id < 0 || static_cast<size_t>(id) >= sim.devices.size()) {
    return nullptr;
  }
  return sim.devices[static_cast<size_t>(id)].get();
}

// The device behind an open handle whose controller is still plugged, else null.
Device* LiveDevice(SDL_Joystick* joystick) {
  if (joystick == nullptr || !joystick->open || joystick->device == nullptr ||
      !joystick->device->plugged) {
    return nullptr;
  }
  return joystick->device;
}

template <typename Value>
Value ReadInput(const std::vector<Value>& values, int index) {
  return (index >= 0 && static_cast<size_t>(index) < values.size())
             ? values[static_cast<size_t>(index)]
             : Value{0};
}

template <typename Value>
void WriteInput(std::vector<Value>& values, int index, Value value) {
  if (index >= 0 && static_cast<size_t>(index) < values.size()) {
    values[static_cast<size_t>(index)] = value;
  }
}

// Unplugged controllers read 0 whatever they hold, so only the plugged ones are published.
void PublishPendingValues() {
  for (const auto& device : Sim().devices) {
    if (device->plugged) {
      device->published = device->pending;
    }
  }
}

size_t CountOf(int count) {
  return count > 0 ? static_cast<size_t>(count) : 0;
}

// A controller as it is when plugged: every input at rest.
std::unique_ptr<Device> NewDevice(const char* name, const char* path, uint16_t vid, uint16_t pid,
                                  int axes, int buttons, int hats) {
  auto device = std::make_unique<Device>();
  device->hasName = name != nullptr;
  device->hasPath = path != nullptr;
  device->name = name != nullptr ? name : "";
  device->path = path != nullptr ? path : "";
  device->vid = vid;
  device->pid = pid;
  device->numAxes = axes;
  device->numButtons = buttons;
  device->numHats = hats;
  device->pending = Inputs{std::vector<Sint16>(CountOf(axes)), std::vector<Uint8>(CountOf(buttons)),
                           std::vector<Uint8>(CountOf(hats))};
  device->published = device->pending;
  return device;
}

// Gives the device the next id and plugs it; the caller holds the lock.
int Add(std::unique_ptr<Device> device) {
  device->id = static_cast<int>(Sim().devices.size());
  Sim().devices.push_back(std::move(device));
  return Sim().devices.back()->id;
}

// SDL's own words for a rumble it cannot pass on.
constexpr const char* INVALID_JOYSTICK = "Parameter 'joystick' is invalid";
constexpr const char* DISCONNECTED = "Rumble failed, device disconnected";
constexpr const char* UNSUPPORTED = "That operation is not supported";
// SDL caps every rumble's duration at this.
constexpr Uint32 MAX_RUMBLE_MS = 0xFFFF;

uint64_t Micros(Clock::time_point at) {
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(at.time_since_epoch()).count());
}

void SetSpeeds(Motors& motors, Uint16 low, Uint16 high, int cause, Clock::time_point now) {
  if (low == motors.low && high == motors.high) {
    return;
  }
  motors.low = low;
  motors.high = high;
  motors.changes.push_back(sim_motor_change{low, high, cause, Micros(now)});
}

// SDL ends a timed rumble itself (a rumble at 0, 0) when it runs out or its joystick closes; one
// without a duration runs until the program stops it.
void StopTimedRumble(Motors& motors, int cause, Clock::time_point now) {
  if (motors.expiry) {
    SetSpeeds(motors, 0, 0, cause, now);
    motors.expiry.reset();
  }
}

// Why the device cannot take new speeds, or null when it can.
const char* RumbleRefusal(SDL_Joystick* joystick) {
  if (LiveDevice(joystick) == nullptr) {
    return DISCONNECTED;
  }
  return joystick->device->motors.present ? nullptr : UNSUPPORTED;
}

// Speeds that already run never reach SDL's driver, so even a pad without motors, or a detached
// one, accepts them; only their duration changes.
int Rumble(SDL_Joystick* joystick, Uint16 low, Uint16 high, Uint32 durationMs) {
  if (joystick == nullptr || !joystick->open) {
    tLastError = INVALID_JOYSTICK;
    return -1;
  }
  Motors& motors = joystick->device->motors;
  const Clock::time_point now = Clock::now();
  if (low != motors.low || high != motors.high) {
    if (const char* refusal = RumbleRefusal(joystick)) {
      tLastError = refusal;
      return -1;
    }
    SetSpeeds(motors, low, high, SIM_MOTORS_SET, now);
  }
  motors.expiry.reset();
  if ((low != 0 || high != 0) && durationMs != 0) {
    motors.expiry = now + std::chrono::milliseconds(std::min(durationMs, MAX_RUMBLE_MS));
  }
  return 0;
}

void ExpireRumbles(Clock::time_point now) {
  for (const auto& device : Sim().devices) {
    Motors& motors = device->motors;
    if (device->plugged && motors.expiry && now >= *motors.expiry) {
      StopTimedRumble(motors, SIM_MOTORS_EXPIRED, now);
    }
  }
}

bool HasOpenHandle(const Device* device) {
  return std::any_of(Sim().handles.begin(), Sim().handles.end(),
                     [&](const auto& handle) { return handle->open && handle->device == device; });
}

// Every open of a device shares SDL's one joystick object, which stops a timed rumble when the
// last of them closes; a detached device is out of its reach.
void CloseHandle(SDL_Joystick* joystick) {
  if (joystick == nullptr || !joystick->open) {
    return;
  }
  joystick->open = false;
  Device* device = joystick->device;
  if (device->plugged && !HasOpenHandle(device)) {
    StopTimedRumble(device->motors, SIM_MOTORS_CLOSED, Clock::now());
  }
}

}  // namespace

// ---- script side ----------------------------------------------------------------------------

extern "C" {

int sim_plug(const char* name, const char* path, uint16_t vid, uint16_t pid, int axes, int buttons,
             int hats) {
  auto device = NewDevice(name, path, vid, pid, axes, buttons, hats);
  std::lock_guard<std::mutex> lock(Sim().mutex);
  return Add(std::move(device));
}

int sim_plug_model(const char* key, const char* path) {
  const sim::PadModel* model = key != nullptr ? sim::FindPadModel(key) : nullptr;
  if (model == nullptr) {
    return -1;
  }
  auto device = NewDevice(model->name, path, model->vid, model->pid, model->axes, model->buttons,
                          model->hats);
  // Given before it is listed, so that no open can find it without them.
  device->motors.present = model->motors;
  std::lock_guard<std::mutex> lock(Sim().mutex);
  return Add(std::move(device));
}

int sim_replug(int id) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Device* device = DeviceById(id);
  if (device == nullptr || !device->plugged) {
    return -1;
  }
  device->plugged = false;
  auto again = NewDevice(device->hasName ? device->name.c_str() : nullptr,
                         device->hasPath ? device->path.c_str() : nullptr, device->vid, device->pid,
                         device->numAxes, device->numButtons, device->numHats);
  again->motors.present = device->motors.present;
  return Add(std::move(again));
}

void sim_unplug(int id) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  if (Device* device = DeviceById(id)) {
    device->plugged = false;
  }
}

int sim_is_plugged(int id) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  const Device* device = DeviceById(id);
  return device != nullptr && device->plugged ? 1 : 0;
}

void sim_set_axis(int id, int axis, int16_t value) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  if (Device* device = DeviceById(id)) {
    WriteInput<Sint16>(device->pending.axes, axis, value);
  }
}

void sim_set_button(int id, int button, uint8_t pressed) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  if (Device* device = DeviceById(id)) {
    WriteInput<Uint8>(device->pending.buttons, button, pressed);
  }
}

void sim_set_hat(int id, int hat, uint8_t bits) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  if (Device* device = DeviceById(id)) {
    WriteInput<Uint8>(device->pending.hats, hat, bits);
  }
}

void sim_set_update_hook(sim_update_hook hook, void* context) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Sim().hook = hook;
  Sim().hookContext = context;
}

void sim_set_motors(int id, int present) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  if (Device* device = DeviceById(id)) {
    Motors& motors = device->motors;
    motors.present = present != 0;
    if (!motors.present) {
      motors.low = 0;
      motors.high = 0;
      motors.expiry.reset();
    }
  }
}

int sim_motors(int id, uint16_t* low, uint16_t* high) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  const Device* device = DeviceById(id);
  const Motors none;
  const Motors& motors = device != nullptr ? device->motors : none;
  if (low != nullptr) {
    *low = motors.low;
  }
  if (high != nullptr) {
    *high = motors.high;
  }
  return motors.present ? 1 : 0;
}

size_t sim_motor_changes(int id, sim_motor_change* out, size_t capacity) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  const Device* device = DeviceById(id);
  if (device == nullptr) {
    return 0;
  }
  const std::vector<sim_motor_change>& changes = device->motors.changes;
  if (out != nullptr) {
    std::copy_n(changes.begin(), std::min(capacity, changes.size()), out);
  }
  return changes.size();
}

void sim_fail_next_init(const char* error) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Sim().failInit = error != nullptr ? error : "";
  Sim().failInitArmed = true;
}

void sim_fail_next_open(const char* error) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Sim().failOpen = error != nullptr ? error : "";
  Sim().failOpenArmed = true;
}

size_t sim_journal(sim_call* out, size_t capacity) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  const std::vector<sim_call>& journal = Sim().journal;
  if (out != nullptr) {
    std::copy_n(journal.begin(), std::min(capacity, journal.size()), out);
  }
  return journal.size();
}

void sim_clear_journal(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Sim().journal.clear();
}

void sim_set_journal_enabled(int enabled) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Sim().journalEnabled = enabled != 0;
}

uint64_t sim_this_thread(void) {
  return ThisThread();
}

uint64_t sim_update_count(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  return Sim().updates;
}

int sim_is_initialised(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  return (Sim().initialised & SDL_INIT_JOYSTICK) != 0 ? 1 : 0;
}

int sim_open_handles(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  return static_cast<int>(std::count_if(Sim().handles.begin(), Sim().handles.end(),
                                        [](const auto& handle) { return handle->open; }));
}

void sim_reset(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  for (const auto& device : Sim().devices) {
    device->plugged = false;
    device->motors = Motors{};
  }
  Sim().failInitArmed = false;
  Sim().failOpenArmed = false;
  Sim().hook = nullptr;
  Sim().hookContext = nullptr;
  Sim().journal.clear();
}

}  // extern "C"

// ---- SDL side -------------------------------------------------------------------------------

extern "C" {

SDL_bool SDL_SetHint(const char* name, const char* value) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Quoted(name) + ", " + Quoted(value); });
  return SDL_TRUE;
}

Uint32 SDL_WasInit(Uint32 flags) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Hex(flags); });
  return Sim().initialised & flags;
}

int SDL_Init(Uint32 flags) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Hex(flags); });
  if (Sim().failInitArmed) {
    Sim().failInitArmed = false;
    tLastError = Sim().failInit;
    return -1;
  }
  Sim().initialised |= flags;
  return 0;
}

const char* SDL_GetError(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return ""; });
  return tLastError.c_str();
}

void SDL_Quit(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return ""; });
  Sim().initialised = 0;
  for (const auto& handle : Sim().handles) {
    CloseHandle(handle.get());  // SDL closes what is still open
  }
}

void SDL_JoystickUpdate(void) {
  sim_update_hook hook = nullptr;
  void* context = nullptr;
  uint64_t number = 0;
  {
    std::lock_guard<std::mutex> lock(Sim().mutex);
    Record(__func__, [&] { return ""; });
    PublishPendingValues();
    ExpireRumbles(Clock::now());
    number = Sim().updates++;
    hook = Sim().hook;
    context = Sim().hookContext;
  }
  if (hook == nullptr) {
    return;
  }
  hook(context, number);
  std::lock_guard<std::mutex> lock(Sim().mutex);
  PublishPendingValues();
}

int SDL_NumJoysticks(void) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return ""; });
  return static_cast<int>(PluggedDevices().size());
}

const char* SDL_JoystickPathForIndex(int device_index) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return std::to_string(device_index); });
  const Device* device = DeviceAtIndex(device_index);
  return device != nullptr && device->hasPath ? device->path.c_str() : nullptr;
}

SDL_Joystick* SDL_JoystickOpen(int device_index) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return std::to_string(device_index); });
  Device* device = DeviceAtIndex(device_index);
  if (Sim().failOpenArmed || device == nullptr) {
    tLastError = Sim().failOpenArmed ? Sim().failOpen : "Joystick index out of range";
    Sim().failOpenArmed = false;
    return nullptr;
  }
  auto handle = std::make_unique<_SDL_Joystick>();
  handle->device = device;
  Sim().handles.push_back(std::move(handle));
  return Sim().handles.back().get();
}

void SDL_JoystickClose(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  CloseHandle(joystick);
}

SDL_bool SDL_JoystickGetAttached(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  return LiveDevice(joystick) != nullptr ? SDL_TRUE : SDL_FALSE;
}

const char* SDL_JoystickName(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  const Device* device = joystick != nullptr ? joystick->device : nullptr;
  return device != nullptr && device->hasName ? device->name.c_str() : nullptr;
}

const char* SDL_JoystickPath(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  const Device* device = joystick != nullptr ? joystick->device : nullptr;
  return device != nullptr && device->hasPath ? device->path.c_str() : nullptr;
}

Uint16 SDL_JoystickGetVendor(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  return joystick != nullptr && joystick->device != nullptr ? joystick->device->vid : 0;
}

Uint16 SDL_JoystickGetProduct(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  return joystick != nullptr && joystick->device != nullptr ? joystick->device->pid : 0;
}

int SDL_JoystickNumAxes(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  return joystick != nullptr && joystick->device != nullptr ? joystick->device->numAxes : -1;
}

int SDL_JoystickNumButtons(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  return joystick != nullptr && joystick->device != nullptr ? joystick->device->numButtons : -1;
}

int SDL_JoystickNumHats(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  return joystick != nullptr && joystick->device != nullptr ? joystick->device->numHats : -1;
}

Sint16 SDL_JoystickGetAxis(SDL_Joystick* joystick, int axis) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick) + ", " + std::to_string(axis); });
  const Device* device = LiveDevice(joystick);
  return device != nullptr ? ReadInput(device->published.axes, axis) : Sint16{0};
}

Uint8 SDL_JoystickGetHat(SDL_Joystick* joystick, int hat) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick) + ", " + std::to_string(hat); });
  const Device* device = LiveDevice(joystick);
  return device != nullptr ? ReadInput(device->published.hats, hat) : Uint8{0};
}

Uint8 SDL_JoystickGetButton(SDL_Joystick* joystick, int button) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick) + ", " + std::to_string(button); });
  const Device* device = LiveDevice(joystick);
  return device != nullptr ? ReadInput(device->published.buttons, button) : Uint8{0};
}

SDL_bool SDL_JoystickHasRumble(SDL_Joystick* joystick) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] { return Pointer(joystick); });
  const Device* device = LiveDevice(joystick);
  return device != nullptr && device->motors.present ? SDL_TRUE : SDL_FALSE;
}

int SDL_JoystickRumble(SDL_Joystick* joystick, Uint16 low_frequency_rumble,
                       Uint16 high_frequency_rumble, Uint32 duration_ms) {
  std::lock_guard<std::mutex> lock(Sim().mutex);
  Record(__func__, [&] {
    return Pointer(joystick) + ", " + std::to_string(low_frequency_rumble) + ", " +
           std::to_string(high_frequency_rumble) + ", " + std::to_string(duration_ms);
  });
  return Rumble(joystick, low_frequency_rumble, high_frequency_rumble, duration_ms);
}

}  // extern "C"
