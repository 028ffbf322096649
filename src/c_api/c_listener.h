// A C listener seen as a CpdJoystickNotify, and the table of those registered through the C
// interface. The manager keeps listening, ordering and refusing exactly as for C++ listeners;
// this only translates the calls and keeps each adapter alive while the manager may call it.
#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "cpd_joystick/cpd_joystick.h"
#include "cpd_joystick/joystick_api.h"

namespace cpd::capi {

class CListener final : public CpdJoystickNotify {
 public:
  // Copies the callbacks: the caller's struct is never read again.
  explicit CListener(const cpd_joystick_listener& callbacks) : mCallbacks(callbacks) {}

  bool HasCallbacksOf(const cpd_joystick_listener& callbacks) const;

  void OnJoystickData(const JoystickDataPacket* data, int32_t length) override;
  void OnDevListUpdate() override;
  void OnJoystickEvent(std::string event, const EventRecord& record) override;

 private:
  const cpd_joystick_listener mCallbacks;
};

// The adapters of the C listeners registered now, by the address of the caller's struct. An
// adapter is destroyed only after the manager let go of it.
class CListenerTable {
 public:
  static CListenerTable& Instance();

  int32_t Register(const cpd_joystick_listener& listener);
  int32_t Unregister(const cpd_joystick_listener* listener);
  // Hand a call made from inside a callback to the manager, which refuses it with its line;
  // the table is left alone, since this thread may already be inside one of its calls.
  static int32_t RefuseRegister(CListener* adapter);
  static int32_t RefuseUnregister(CListener* adapter);

  CListener* Find(const cpd_joystick_listener* listener);

 private:
  CListenerTable() = default;

  // Serialises registering and unregistering, so the table and the manager's listener list
  // change together. Held while the manager runs, so never taken on the polling thread.
  std::mutex mLifecycleMutex;
  // Guards mAdapters alone; held only for a look-up or a change, never around other code.
  std::mutex mAdaptersMutex;
  std::map<const cpd_joystick_listener*, std::unique_ptr<CListener>> mAdapters;
};

}  // namespace cpd::capi
