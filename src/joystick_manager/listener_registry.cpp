#include "joystick_manager/listener_registry.h"

#include <algorithm>
#include <exception>

#include "common/log.h"

namespace cpd {

namespace {

thread_local bool tInsideListenerCall = false;

class InsideCallbackScope {
 public:
  InsideCallbackScope() { tInsideListenerCall = true; }
  ~InsideCallbackScope() { tInsideListenerCall = false; }
  InsideCallbackScope(const InsideCallbackScope&) = delete;
  InsideCallbackScope& operator=(const InsideCallbackScope&) = delete;
};

}  // namespace

void ListenerRegistry::Add(CpdJoystickNotify* listener) {
  std::lock_guard<std::mutex> lock(mMutex);
  if (std::find(mListeners.begin(), mListeners.end(), listener) == mListeners.end()) {
    mListeners.push_back(listener);
  }
}

bool ListenerRegistry::Remove(CpdJoystickNotify* listener) {
  std::lock_guard<std::mutex> lock(mMutex);
  mListeners.remove(listener);
  return mListeners.empty();
}

void ListenerRegistry::Clear() {
  std::lock_guard<std::mutex> lock(mMutex);
  mListeners.clear();
}

bool ListenerRegistry::InsideCallback() {
  return tInsideListenerCall;
}

template <typename Call>
void ListenerRegistry::ForEachListener(Call call) {
  std::lock_guard<std::mutex> lock(mMutex);
  InsideCallbackScope inside;
  for (CpdJoystickNotify* listener : mListeners) {
    try {
      call(*listener);
    } catch (const std::exception& error) {
      CPD_LOG_ERROR("listener %p threw: %s", static_cast<void*>(listener), error.what());
    } catch (...) {
      CPD_LOG_ERROR("listener %p threw a non-standard exception", static_cast<void*>(listener));
    }
  }
}

void ListenerRegistry::NotifyData(const JoystickDataPacket* data, int32_t length) {
  ForEachListener([&](CpdJoystickNotify& listener) { listener.OnJoystickData(data, length); });
}

void ListenerRegistry::NotifyEvent(const std::string& event, const EventRecord& record) {
  ForEachListener([&](CpdJoystickNotify& listener) { listener.OnJoystickEvent(event, record); });
}

void ListenerRegistry::NotifyDevListUpdate() {
  ForEachListener([](CpdJoystickNotify& listener) { listener.OnDevListUpdate(); });
}

}  // namespace cpd
