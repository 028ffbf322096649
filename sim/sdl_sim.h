/* The SDL2 joystick simulator: scripted controllers behind SDL2's own joystick functions.
 *
 * The simulator is built as libSDL2-2.0.so.0 in a folder of its own. A program that links it (or
 * finds it first on the library search path) makes the unchanged bridge library talk to it
 * instead of to the system's SDL2. This header is the script side: plug and unplug controllers,
 * move their inputs, make SDL calls fail, and read back every SDL call that was made.
 *
 * All functions are thread-safe: a test scripts from its own thread while the bridge's polling
 * thread calls SDL. */
#ifndef CPD_SDL_SIM_H
#define CPD_SDL_SIM_H

/* A C interface, so that any test or tool can script it. */
/* NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using) */
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Plugs a controller and returns its id (never reused). `name` and `path` may be null: SDL then
 * reports no name or no path. Negative counts are reported as they are; reads of inputs outside
 * the counts give 0. The controller takes the next SDL device index after those plugged before. */
int sim_plug(const char* name, const char* path, uint16_t vid, uint16_t pid, int axes, int buttons,
             int hats);
/* Plugs the controller of the catalogue (pad_models.h) whose key is `key`, at `path`; -1 when
 * no model has that key. */
int sim_plug_model(const char* key, const char* path);
/* Unplugs it: the count drops, later device indexes move down by one, and an open handle
 * reports itself detached and reads 0. */
void sim_unplug(int id);
/* Pulls a plugged controller out and puts the same one back at once, as a loose cable does: the
 * count never drops, an open handle reports itself detached, and the controller comes back last
 * in plug order with every input at rest. Returns its new id; -1 when `id` is not plugged. */
int sim_replug(int id);
/* 1 while plugged. */
int sim_is_plugged(int id);

/* Input values take effect at the next SDL_JoystickUpdate, as with a real device. */
void sim_set_axis(int id, int axis, int16_t value);
void sim_set_button(int id, int button, uint8_t pressed);
void sim_set_hat(int id, int hat, uint8_t bits);

/* Called inside every SDL_JoystickUpdate, after pending values were applied and before the
 * update returns; a script may set values from there that the same update then publishes.
 * Null removes it. The callback must not call SDL functions. */
typedef void (*sim_update_hook)(void* context, uint64_t update_number);
void sim_set_update_hook(sim_update_hook hook, void* context);

/* Motors. A controller has none unless its model has them (sim_plug_model) or it is given them
 * here before it is opened. SDL_JoystickHasRumble reports them and SDL_JoystickRumble drives them
 * as SDL2 does: the speeds hold until the call's duration runs out (checked in each
 * SDL_JoystickUpdate), a call with the speeds already running only extends the duration, and
 * closing a handle whose motors run stops them. Without motors, SDL_JoystickRumble fails. */
void sim_set_motors(int id, int present);

/* Why a controller's motor speeds changed. */
enum { SIM_MOTORS_SET = 0, SIM_MOTORS_EXPIRED = 1, SIM_MOTORS_CLOSED = 2 };
typedef struct sim_motor_change {
  uint16_t low;
  uint16_t high;
  int cause;          /* SIM_MOTORS_SET, SIM_MOTORS_EXPIRED or SIM_MOTORS_CLOSED */
  uint64_t at_micros; /* steady-clock time of the change, in microseconds */
} sim_motor_change;

/* The speeds the controller's motors run at now; returns 1 when it has motors, else 0 (and the
 * speeds read 0). */
int sim_motors(int id, uint16_t* low, uint16_t* high);
/* Copies up to `capacity` of the controller's speed changes, oldest first, and returns how many
 * there are. A call that leaves the speeds as they are is no change. */
size_t sim_motor_changes(int id, sim_motor_change* out, size_t capacity);

/* The next SDL_Init (or SDL_JoystickOpen) fails once, and SDL_GetError then gives `error`. */
void sim_fail_next_init(const char* error);
void sim_fail_next_open(const char* error);

/* One SDL call as the simulator saw it. */
typedef struct sim_call {
  char function[40];   /* e.g. "SDL_JoystickOpen" */
  char arguments[160]; /* the arguments as text, e.g. "0" or "\"SDL_JOYSTICK_THREAD\", \"1\"" */
  uint64_t thread;     /* pthread_self() of the caller, see sim_this_thread */
} sim_call;

/* Copies up to `capacity` journal entries, oldest first, and returns how many there are. */
size_t sim_journal(sim_call* out, size_t capacity);
void sim_clear_journal(void);
/* Journaling is on by default; long interactive runs may turn it off. */
void sim_set_journal_enabled(int enabled);
/* The id the journal records for the calling thread. */
uint64_t sim_this_thread(void);

/* How many SDL_JoystickUpdate calls were made, and whether SDL's joystick subsystem is up. */
uint64_t sim_update_count(void);
int sim_is_initialised(void);
/* Handles currently open (opened and not yet closed). */
int sim_open_handles(void);

/* Unplugs everything, forgets failures, hook and journal. SDL is left as it is. */
void sim_reset(void);

#ifdef __cplusplus
}
/* NOLINTEND(modernize-deprecated-headers, modernize-use-using) */

#include <string>
#include <vector>

namespace sim {

/* The whole journal, for C++ tests. */
inline std::vector<sim_call> Journal() {
  std::vector<sim_call> calls(sim_journal(nullptr, 0) + 1024);
  const size_t total = sim_journal(calls.data(), calls.size());
  calls.resize(total < calls.size() ? total : calls.size());
  return calls;
}

/* Every speed change of one controller, for C++ tests. */
inline std::vector<sim_motor_change> MotorChanges(int id) {
  std::vector<sim_motor_change> changes(sim_motor_changes(id, nullptr, 0) + 64);
  const size_t total = sim_motor_changes(id, changes.data(), changes.size());
  changes.resize(total < changes.size() ? total : changes.size());
  return changes;
}

}  // namespace sim
#endif

#endif /* CPD_SDL_SIM_H */
