// The host's listeners, in registration order, and the fan-out of every callback to them.
#pragma once

#include <cstdint>
#include <list>
#include <mutex>
#include <string>

#include "cpd_joystick/joystick_api.h"

namespace cpd {

class ListenerRegistry {
 public:
  // Adds `listener` unless it is registered already; a null pointer is stored like any other.
  void Add(CpdJoystickNotify* listener);
  // Removes `listener` if it is registered, after any callback that is running has returned;
  // true when no listener is left.
  bool Remove(CpdJoystickNotify* listener);
  void Clear();

  // Call every listener in registration order, under the listener lock, with the calling thread
  // marked as being inside a callback. A listener that throws is logged and skipped.
  void NotifyData(const JoystickDataPacket* data, int32_t length);
  void NotifyEvent(const std::string& event, const EventRecord& record);
  void NotifyDevListUpdate();

  // True while the calling thread runs a listener callback. A listener that registers or
  // unregisters from there would wait for the very lock its caller holds, or join its own
  // thread; such calls are refused instead.
  static bool InsideCallback();

 private:
  template <typename Call>
  void ForEachListener(Call call);

  // Held while listeners are called, so that once a listener's removal has returned it is never
  // called again and the host may free it.
  std::mutex mMutex;
  std::list<CpdJoystickNotify*> mListeners;
};

}  // namespace cpd
