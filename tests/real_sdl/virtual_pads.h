/* Controllers for tests on the system's real SDL2: SDL's own virtual joysticks, plugged and
 * unplugged by a test and found by the bridge like any other controller.
 *
 * SDL lists a virtual joystick without a device path, and the bridge enumerates controllers by
 * path; and every SDL_Quit of the bridge's polling thread removes them. This small library sits
 * in front of the real SDL2 (it must come before it in the program's global scope: link it, or
 * dlopen it with RTLD_GLOBAL before loading the bridge) and puts back only what a real device
 * would have:
 *   - SDL_JoystickPathForIndex and SDL_JoystickPath answer "/dev/input/virtual<id>" for a pad;
 *   - SDL_Init attaches the pads that are plugged, SDL_Quit forgets them (SDL removed them);
 *   - SDL_JoystickUpdate first attaches what was plugged and detaches what was unplugged since,
 *     on the thread that calls SDL (the bridge's polling thread), then lets SDL update.
 * Everything else (initialisation, the libraries SDL loads and unloads, its threads and locks,
 * opening, reading, detach reports) is SDL's own.
 *
 * The functions below only set what the next SDL call applies, so any thread may call them. */
#ifndef CPD_VIRTUAL_PADS_H
#define CPD_VIRTUAL_PADS_H

/* NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using) */
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { VPAD_MAX = 8 };

/* Plugs pad `id` (0 to VPAD_MAX - 1) as a controller called `name`: it is attached at the next
 * SDL_JoystickUpdate or SDL_Init. Returns 0, or -1 for a bad id or counts. */
int vpad_plug(int id, const char* name, uint16_t vendor, uint16_t product, int axes, int buttons,
              int hats);
/* Unplugs it: SDL reports it detached at the next SDL_JoystickUpdate. */
void vpad_unplug(int id);
/* 1 while SDL lists the pad. */
int vpad_attached(int id);

/* What the pad reports from the next SDL_JoystickUpdate on. */
void vpad_set_axis(int id, int axis, int16_t value);
void vpad_set_button(int id, int button, int pressed);
void vpad_set_hat(int id, int hat, uint8_t bits);

/* Gives pad `id` motors from its next plug on: SDL's virtual joystick then takes a rumble
 * callback, SDL_JoystickHasRumble reports it, and every speed change SDL makes (a rumble call
 * with new speeds, the end of a rumble's duration, a close while it runs) is recorded. SDL shares
 * one joystick among all opens of a pad and this library keeps one open, so the close that stops
 * a timed rumble is the pad's unplug or SDL_Quit. */
void vpad_set_motors(int id, int present);

/* One speed change SDL made to a pad's motors. */
typedef struct vpad_motor_change {
  uint16_t low;
  uint16_t high;
  uint64_t at_micros; /* steady-clock time of the change, in microseconds */
} vpad_motor_change;

/* Copies up to `capacity` of pad `id`'s speed changes since it was last plugged, oldest first,
 * and returns how many there are. */
size_t vpad_motor_changes(int id, vpad_motor_change* out, size_t capacity);

/* Unplugs every pad and releases every input. */
void vpad_reset(void);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-deprecated-headers, modernize-use-using) */

#endif /* CPD_VIRTUAL_PADS_H */
