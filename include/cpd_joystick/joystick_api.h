// The host's view of the joystick bridge: six functions, one listener interface and the records
// they exchange. Field order, widths and the listener's slot order are part of the binary
// interface; a host declaring these types itself must match them exactly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <string>

#include "cpd_joystick/export.h"

// Ordered key/value record handed with every listener event.
using EventRecord = std::map<std::string, std::string>;

// One entry of the device list. `name`/`path` repeat `devName`/`devPath` on purpose: hosts
// read either pair.
struct _CpdJoystickDeviceInfo {  // NOLINT(bugprone-reserved-identifier): the host's name
  uint16_t vid = 0;
  uint16_t pid = 0;
  uint16_t index = 0;  // slot index 0..3, the first argument of JoysticAPI_SetMapping
  std::string devName;
  std::string devPath;
  uint8_t flag = 0;  // reserved, never set by the library; hosts ignore it
  uint16_t mappingIndex = 0;
  std::string name;
  std::string path;
};

// One entry of the layout catalogue; both numbers carry the layout kind.
struct _CpdJoystickMappingInfo {  // NOLINT(bugprone-reserved-identifier): the host's name
  uint16_t index = 0;
  uint16_t mappingIndex = 0;  // the second argument of JoysticAPI_SetMapping
  std::string name;
};

// The 17 bytes handed to OnJoystickData. Bytes 1..16 are laid out like XInput's XINPUT_STATE,
// so dwPacketNumber is unaligned: copy it out byte-wise.
//
// dwPacketNumber counts the packets sent for this controller since its polling run began (every
// hot-plug starts a new run at 0), one more per packet, so a gap means a lost packet. With the
// default 30 ms poll interval a packet goes out on every poll, and the number is also the poll
// count; with a shorter interval (JoysticAPI_SetPollInterval) a packet goes out as soon as the
// state changes and at least every 30 ms otherwise.
#pragma pack(push, 1)
struct JoystickDataPacket {
  uint8_t slot;
  uint32_t dwPacketNumber;
  uint16_t wButtons;
  uint8_t bLeftTrigger;
  uint8_t bRightTrigger;
  int16_t sThumbLX;
  int16_t sThumbLY;
  int16_t sThumbRX;
  int16_t sThumbRY;
};
#pragma pack(pop)

static_assert(sizeof(JoystickDataPacket) == 17, "the packet is 17 packed bytes");
static_assert(offsetof(JoystickDataPacket, dwPacketNumber) == 1, "packet number at byte 1");
static_assert(offsetof(JoystickDataPacket, wButtons) == 5, "gamepad state starts at byte 5");
static_assert(offsetof(JoystickDataPacket, bLeftTrigger) == 7, "left trigger at byte 7");
static_assert(offsetof(JoystickDataPacket, bRightTrigger) == 8, "right trigger at byte 8");
static_assert(offsetof(JoystickDataPacket, sThumbLX) == 9, "left stick X at byte 9");
static_assert(offsetof(JoystickDataPacket, sThumbLY) == 11, "left stick Y at byte 11");
static_assert(offsetof(JoystickDataPacket, sThumbRX) == 13, "right stick X at byte 13");
static_assert(offsetof(JoystickDataPacket, sThumbRY) == 15, "right stick Y at byte 15");

// Implemented by the host. The library stores only the pointer; it never creates, copies or
// deletes a listener. All three calls arrive on the library's polling thread, one at a time.
// Registering or unregistering from inside one of them is refused.
class CPD_JOYSTICK_API CpdJoystickNotify {
 public:
  CpdJoystickNotify() = default;
  CpdJoystickNotify(const CpdJoystickNotify&) = default;
  CpdJoystickNotify& operator=(const CpdJoystickNotify&) = default;
  virtual ~CpdJoystickNotify();

  // `data` is valid only during the call; `length` is always 17.
  virtual void OnJoystickData(const JoystickDataPacket* data, int32_t length) = 0;
  virtual void OnDevListUpdate() = 0;
  virtual void OnJoystickEvent(std::string event, const EventRecord& record) = 0;
};

// The first registration starts polling, the last unregistration stops it. Both return 0.
CPD_JOYSTICK_API int32_t JoysticAPI_RegsisterNotify(CpdJoystickNotify* notify);
CPD_JOYSTICK_API int32_t JoysticAPI_UnregsisterNotify(CpdJoystickNotify* notify);

// Copies of the current device list and of the layout catalogue.
CPD_JOYSTICK_API std::list<_CpdJoystickDeviceInfo> JoysticAPI_GetDevList();
CPD_JOYSTICK_API std::list<_CpdJoystickMappingInfo> JoysticAPI_GetMappingList();

// Forces layout `mappingIndex` on the controller in slot `index` and remembers it for that
// controller model. 0 on success, negative on failure.
CPD_JOYSTICK_API int32_t JoysticAPI_SetMapping(uint16_t index, uint16_t mappingIndex);

// Accepted for compatibility; does nothing and returns 0.
CPD_JOYSTICK_API int32_t JoysticAPI_Calibration(uint16_t index);

// Sets the poll interval in milliseconds, 1 to 30; 30 is the default. Below 30, a controller's
// packet is sent as soon as its state changes and at least every 30 ms otherwise, so an idle pad
// still sends about 33 packets a second and a change reaches listeners within about one
// interval; log lines and events keep their default rate. Takes effect at the next poll, from any
// thread, before or after the first registration. Returns 0, or -1 (with an error line, nothing
// changed) for a value outside 1 to 30 or a call made from inside a listener callback.
// The environment variable CPD_JOYSTICK_POLL_MS sets the interval the process starts with.
CPD_JOYSTICK_API int32_t JoysticAPI_SetPollInterval(uint16_t milliseconds);

// Runs the two motors of the controller in slot `index` (as for JoysticAPI_SetMapping) at these
// speeds, 0 = off and 65535 = full, until a later call changes them: (0, 0) stops them. Only the
// latest call for a slot counts, and it reaches the controller within about a millisecond.
// Returns 0 when that controller will run its motors at these speeds, -1 when no open controller
// holds the slot, -2 when it has no motors; neither failure changes anything or logs a line.
// Any thread may call it, as often as a game sends and from inside a listener callback: it never
// waits for the polling thread, the log sink or the secure store.
// The motors stop when the last listener unregisters, when the library is unloaded, and when
// their controller is closed to re-open the controllers after a plug or an unplug; a controller
// that comes back on the same device path in the same slot runs again at the speeds last asked
// of it, and a request never reaches a different controller than the one it was made for.
CPD_JOYSTICK_API int32_t JoysticAPI_SetVibration(uint16_t index, uint16_t lowFrequency,
                                                 uint16_t highFrequency);
