#include "c_api/c_listener.h"

#include <cstring>
#include <vector>

#include "common/log.h"
#include "joystick_manager/manager_call.h"

namespace cpd::capi {

namespace {

using Change = JoystickManager::ListenerChange;

// The manager's registration operations under the names of the exports they stand for, so a
// failure's line reads as it does for a C++ host.
Change ManagerRegister(CListener* adapter) {
  return CallManager("JoysticAPI_RegsisterNotify", Change::REFUSED,
                     [&](JoystickManager& manager) { return manager.RegsisterNotify(adapter); });
}

Change ManagerUnregister(CListener* adapter) {
  return CallManager("JoysticAPI_UnregsisterNotify", Change::REFUSED,
                     [&](JoystickManager& manager) { return manager.UnregsisterNotify(adapter); });
}

int32_t CodeOf(Change change) {
  return change == Change::REFUSED ? CPD_JOYSTICK_ERROR : CPD_JOYSTICK_OK;
}

}  // namespace

static_assert(sizeof(cpd_joystick_packet) == sizeof(JoystickDataPacket),
              "the C packet is the C++ packet's 17 bytes");
static_assert(offsetof(cpd_joystick_packet, dwPacketNumber) ==
                      offsetof(JoystickDataPacket, dwPacketNumber) &&
                  offsetof(cpd_joystick_packet, wButtons) ==
                      offsetof(JoystickDataPacket, wButtons) &&
                  offsetof(cpd_joystick_packet, sThumbRY) == offsetof(JoystickDataPacket, sThumbRY),
              "the C packet's fields sit where the C++ packet's do");

bool CListener::HasCallbacksOf(const cpd_joystick_listener& callbacks) const {
  return mCallbacks.on_data == callbacks.on_data &&
         mCallbacks.on_dev_list_update == callbacks.on_dev_list_update &&
         mCallbacks.on_event == callbacks.on_event && mCallbacks.user == callbacks.user;
}

void CListener::OnJoystickData(const JoystickDataPacket* data, int32_t length) {
  cpd_joystick_packet packet{};
  std::memcpy(&packet, data, sizeof packet);
  mCallbacks.on_data(mCallbacks.user, &packet, length);
}

void CListener::OnDevListUpdate() {
  mCallbacks.on_dev_list_update(mCallbacks.user);
}

void CListener::OnJoystickEvent(std::string event, const EventRecord& record) {
  std::vector<cpd_joystick_field> fields;
  fields.reserve(record.size());
  for (const auto& field : record) {
    fields.push_back({field.first.c_str(), field.second.c_str()});
  }
  mCallbacks.on_event(mCallbacks.user, event.c_str(), fields.data(), fields.size());
}

CListenerTable& CListenerTable::Instance() {
  static auto* const table = new CListenerTable();  // outlives every host call
  return *table;
}

CListener* CListenerTable::Find(const cpd_joystick_listener* listener) {
  std::lock_guard<std::mutex> lock(mAdaptersMutex);
  const auto found = mAdapters.find(listener);
  return found != mAdapters.end() ? found->second.get() : nullptr;
}

int32_t CListenerTable::Register(const cpd_joystick_listener& listener) {
  std::lock_guard<std::mutex> lifecycle(mLifecycleMutex);
  CListener* adapter = Find(&listener);
  if (adapter != nullptr && !adapter->HasCallbacksOf(listener)) {
    CPD_LOG_ERROR("%p refused: another listener is registered at this address, unregister it first",
                  static_cast<const void*>(&listener));
    return CPD_JOYSTICK_ERROR;
  }
  if (adapter == nullptr) {
    auto created = std::make_unique<CListener>(listener);
    adapter = created.get();
    std::lock_guard<std::mutex> lock(mAdaptersMutex);
    mAdapters.emplace(&listener, std::move(created));
  }
  // Kept even if the manager refuses: it may hold the adapter already, and unregistering
  // removes it from both.
  return CodeOf(ManagerRegister(adapter));
}

int32_t CListenerTable::Unregister(const cpd_joystick_listener* listener) {
  Change change = Change::REFUSED;
  {
    std::lock_guard<std::mutex> lifecycle(mLifecycleMutex);
    // An unknown listener goes to the manager as null, which it treats like any pointer it does
    // not hold: nothing is removed, and polling stops if no listener is left.
    change = ManagerUnregister(Find(listener));
    if (change == Change::REFUSED) {
      return CPD_JOYSTICK_ERROR;
    }
    std::lock_guard<std::mutex> lock(mAdaptersMutex);
    mAdapters.erase(listener);
  }
  if (change == Change::STOPPED) {
    JoystickManager::WaitForLayoutChoicesStored();
  }
  return CPD_JOYSTICK_OK;
}

int32_t CListenerTable::RefuseRegister(CListener* adapter) {
  return CodeOf(ManagerRegister(adapter));
}

int32_t CListenerTable::RefuseUnregister(CListener* adapter) {
  return CodeOf(ManagerUnregister(adapter));  // refused: polling cannot have stopped
}

}  // namespace cpd::capi
