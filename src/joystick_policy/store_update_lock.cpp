#include "joystick_policy/store_update_lock.h"

#include "cpd_joystick/sd_config.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>

// Weak: the bridge also runs with a store of the host's or of a test that has no lock.
extern "C" __attribute__((weak)) int cpd_joystick_store_begin_update(void);
extern "C" __attribute__((weak)) void cpd_joystick_store_end_update(void);
#endif

namespace cpd {

namespace {

struct UpdateFunctions {
  int (*begin)() = nullptr;
  void (*end)() = nullptr;
};

#if defined(_WIN32)
template <typename Function>
Function Find(HMODULE module, const char* name) {
  // Through void(*)(), the one function type any function pointer converts to without a warning.
  return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// A host that brings its own store brings its own cpd_joystick_store.dll, which has the
// functions only if it offers the same lock.
UpdateFunctions FindUpdateFunctions() {
  const HMODULE store = GetModuleHandleW(L"cpd_joystick_store.dll");
  if (store == nullptr) {
    return {};
  }
  UpdateFunctions found;
  found.begin = Find<int (*)()>(store, "cpd_joystick_store_begin_update");
  found.end = Find<void (*)()>(store, "cpd_joystick_store_end_update");
  return found.begin != nullptr && found.end != nullptr ? found : UpdateFunctions{};
}
#else
// The default store's library is always loaded beside the bridge, but a host that defines the
// store's members itself takes precedence; the lock is then the default store's and guards
// nothing the host uses, so it is left alone.
UpdateFunctions FindUpdateFunctions() {
  if (cpd_joystick_store_begin_update == nullptr || cpd_joystick_store_end_update == nullptr) {
    return {};
  }
  Dl_info store{};
  Dl_info lock{};
  if (dladdr(reinterpret_cast<void*>(&sd::SDConfig::GetInstance), &store) == 0 ||
      dladdr(reinterpret_cast<void*>(&cpd_joystick_store_begin_update), &lock) == 0 ||
      store.dli_fbase != lock.dli_fbase) {
    return {};
  }
  return {&cpd_joystick_store_begin_update, &cpd_joystick_store_end_update};
}
#endif

const UpdateFunctions& Functions() {
  static const UpdateFunctions functions = FindUpdateFunctions();
  return functions;
}

}  // namespace

StoreUpdateLock::StoreUpdateLock() {
  const UpdateFunctions& functions = Functions();
  if (functions.begin == nullptr) {
    return;
  }
  mUsable = functions.begin() != 0;
  if (mUsable) {
    mRelease = functions.end;
  }
}

StoreUpdateLock::~StoreUpdateLock() {
  if (mRelease != nullptr) {
    mRelease();
  }
}

}  // namespace cpd
