/* The joystick bridge for hosts that are not built with the library's own C++ compiler and
 * standard library: C, Python, C#, Rust, Go, or C++ from another toolchain.
 *
 * Plain C (C99, and valid C++): fixed-width integers, C strings, structs of those and function
 * pointers. Every function forwards to the same manager as the C++ functions of joystick_api.h,
 * so both interfaces see one device list, one set of listeners and one polling thread.
 *
 * Results: 0 or a count on success, a negative code on failure. When a call fails the library
 * has logged an error line; cpd_joystick_last_error() gives that line to the caller.
 *
 *   static void on_data(void* user, const cpd_joystick_packet* packet, int32_t size) {...}
 *   static void on_list(void* user) {...}
 *   static void on_event(void* user, const char* event, const cpd_joystick_field* fields,
 *                        size_t count) {...}
 *   static cpd_joystick_listener listener = {on_data, on_list, on_event, NULL};
 *   cpd_joystick_register(&listener);      // the first listener starts polling
 *   ...
 *   cpd_joystick_unregister(&listener);    // the last one stops it
 */
#ifndef CPD_JOYSTICK_CPD_JOYSTICK_H
#define CPD_JOYSTICK_CPD_JOYSTICK_H

/* NOLINTBEGIN(modernize-deprecated-headers, modernize-use-using) */
#include <stddef.h>
#include <stdint.h>

#include "cpd_joystick/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes. Lists return their entry count (0 or more) instead of CPD_JOYSTICK_OK;
 * cpd_joystick_set_mapping returns what JoysticAPI_SetMapping returns. */
#define CPD_JOYSTICK_OK 0
/* The library refused the call or failed; its error line says why. */
#define CPD_JOYSTICK_ERROR (-1)
/* A null pointer where a value is needed, or a listener with a null callback. */
#define CPD_JOYSTICK_ERROR_ARGUMENT (-2)
/* cpd_joystick_set_vibration only: the controller in the slot has no motors. */
#define CPD_JOYSTICK_NO_MOTORS (-3)

/* Sizes of the text fields, terminating zero included. Longer texts are cut at a character
 * boundary and the entry's `truncated` is set. */
#define CPD_JOYSTICK_NAME_SIZE 256
#define CPD_JOYSTICK_PATH_SIZE 256
#define CPD_JOYSTICK_MAPPING_NAME_SIZE 32

/* `truncated` bits. */
#define CPD_JOYSTICK_NAME_TRUNCATED 1
#define CPD_JOYSTICK_PATH_TRUNCATED 2

/* One controller of the device list. */
typedef struct cpd_joystick_device_info {
  uint16_t vid;
  uint16_t pid;
  uint16_t index;         /* slot 0..3: the first argument of cpd_joystick_set_mapping */
  uint16_t mapping_index; /* the layout applied now (1..6) */
  uint8_t flag;           /* reserved, never set by the library; ignore it */
  uint8_t truncated;      /* CPD_JOYSTICK_NAME_TRUNCATED | CPD_JOYSTICK_PATH_TRUNCATED */
  char name[CPD_JOYSTICK_NAME_SIZE];
  char path[CPD_JOYSTICK_PATH_SIZE];
} cpd_joystick_device_info;

/* One layout of the catalogue. */
typedef struct cpd_joystick_mapping_info {
  uint16_t index;
  uint16_t mapping_index;                    /* the second argument of cpd_joystick_set_mapping */
  uint8_t truncated;                         /* CPD_JOYSTICK_NAME_TRUNCATED */
  char name[CPD_JOYSTICK_MAPPING_NAME_SIZE]; /* e.g. "MAPPING_XBOX" */
} cpd_joystick_mapping_info;

/* The 17 bytes a listener gets per controller and poll, packed and little-endian. Bytes 1..16
 * are laid out like XInput's XINPUT_STATE; `dwPacketNumber` is unaligned, so read the fields
 * through the struct, never through a pointer to one of them. */
#pragma pack(push, 1)
typedef struct cpd_joystick_packet {
  uint8_t slot;
  uint32_t dwPacketNumber;
  uint16_t wButtons;
  uint8_t bLeftTrigger;
  uint8_t bRightTrigger;
  int16_t sThumbLX;
  int16_t sThumbLY;
  int16_t sThumbRX;
  int16_t sThumbRY;
} cpd_joystick_packet;
#pragma pack(pop)

/* One key/value pair of an event, in ascending key order. */
typedef struct cpd_joystick_field {
  const char* key;
  const char* value;
} cpd_joystick_field;

/* A listener. All three callbacks must be set; they run on the library's polling thread, one
 * at a time, and every pointer they get is valid only during the call. `user` is handed back
 * unchanged. A callback must not register or unregister: such calls are refused.
 *
 * Ownership: the caller owns the struct. The library copies the callbacks and `user` when it is
 * registered and identifies the listener by the struct's address until cpd_joystick_unregister
 * returns; keep the struct (and whatever `user` points to) until then. Registering a different
 * listener at the same address while the first is still registered is refused. */
typedef struct cpd_joystick_listener {
  void (*on_data)(void* user, const cpd_joystick_packet* packet, int32_t size);
  void (*on_dev_list_update)(void* user);
  void (*on_event)(void* user, const char* event, const cpd_joystick_field* fields, size_t count);
  void* user;
} cpd_joystick_listener;

/* Adds the listener (a second registration of the same one changes nothing) and starts polling
 * if it was stopped. CPD_JOYSTICK_OK, CPD_JOYSTICK_ERROR or CPD_JOYSTICK_ERROR_ARGUMENT. */
CPD_JOYSTICK_API int32_t cpd_joystick_register(const cpd_joystick_listener* listener);
/* Removes the listener; no callback reaches it after this returns. Unregistering the last one
 * stops polling. An unknown listener is not an error. */
CPD_JOYSTICK_API int32_t cpd_joystick_unregister(const cpd_joystick_listener* listener);

/* Copies up to `capacity` entries into `devices` and returns how many the list has. With
 * capacity 0 (devices may then be null) it only counts. A result above `capacity` means the
 * buffer was too small: the first `capacity` entries were copied and an error line logged. */
CPD_JOYSTICK_API int32_t cpd_joystick_get_dev_list(cpd_joystick_device_info* devices,
                                                   size_t capacity);
/* The same for the layout catalogue, which is empty until the first registration. */
CPD_JOYSTICK_API int32_t cpd_joystick_get_mapping_list(cpd_joystick_mapping_info* mappings,
                                                       size_t capacity);

/* Forces layout `mapping_index` on the controller in slot `index` and remembers it for that
 * controller model: 0 on success, negative on failure (no controller in the slot, unknown
 * layout). */
CPD_JOYSTICK_API int32_t cpd_joystick_set_mapping(uint16_t index, uint16_t mapping_index);
/* Accepted for compatibility; does nothing and returns 0. */
CPD_JOYSTICK_API int32_t cpd_joystick_calibration(uint16_t index);

/* The poll interval in milliseconds, 1 to 30 (30, the default, polls and sends every 30 ms;
 * shorter sends a controller's packet as soon as its state changes). As
 * JoysticAPI_SetPollInterval: 0, or CPD_JOYSTICK_ERROR with an error line. */
CPD_JOYSTICK_API int32_t cpd_joystick_set_poll_interval(uint16_t milliseconds);

/* Runs the motors of the controller in slot `index` at `low` and `high` (0 = off, 65535 = full)
 * until a later call changes them; (0, 0) stops them. As JoysticAPI_SetVibration: CPD_JOYSTICK_OK,
 * CPD_JOYSTICK_ERROR when no open controller holds the slot, CPD_JOYSTICK_NO_MOTORS when it has no
 * motors. Neither failure logs a line (cpd_joystick_last_error() gives ""): a host may call it
 * blindly, from any thread and from inside a callback, as often as a game sends. */
CPD_JOYSTICK_API int32_t cpd_joystick_set_vibration(uint16_t index, uint16_t low, uint16_t high);

/* The layout-choice changes (one per controller model, and a cleared policy) that the secure
 * store has not taken yet: 0 when everything chosen is stored. A change the store refuses (a
 * read-only folder, a full disk, a host's store that says no) stays pending and is tried again
 * about once a second, with no error line; a host can ask this to tell its user. */
CPD_JOYSTICK_API int32_t cpd_joystick_unstored_choices(void);

/* The library's version, e.g. "0.1.0". */
CPD_JOYSTICK_API const char* cpd_joystick_version(void);
/* The error lines the library logged during this thread's last call of a function above, one
 * per line; "" when that call logged none. Valid until this thread's next such call. */
CPD_JOYSTICK_API const char* cpd_joystick_last_error(void);

#ifdef __cplusplus
}
#endif
/* NOLINTEND(modernize-deprecated-headers, modernize-use-using) */

#endif /* CPD_JOYSTICK_CPD_JOYSTICK_H */
