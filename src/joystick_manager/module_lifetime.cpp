#include "joystick_manager/module_lifetime.h"

#include <atomic>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace cpd {

namespace {

std::atomic<bool> gProcessExiting{false};

}  // namespace

void PinThisModule() {
#if defined(_WIN32)
  // Called outside the loader lock, on the host's first call into the bridge; pinning once is
  // enough for the life of the process.
  static const bool pinned = [] {
    HMODULE self = nullptr;
    return GetModuleHandleExW(
               GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
               reinterpret_cast<LPCWSTR>(&PinThisModule), &self) != 0;
  }();
  static_cast<void>(pinned);
#endif
}

void ModuleHold::Take() {
#if !defined(_WIN32)
  if (mHandle != nullptr) {
    return;
  }
  Dl_info self{};
  if (dladdr(reinterpret_cast<void*>(&PinThisModule), &self) == 0 || self.dli_fname == nullptr) {
    return;
  }
  // Finds the module already loaded and counts one more reference to it. The program itself
  // cannot be named this way (and cannot be unloaded either), so a bridge linked into it gets
  // no handle and needs none.
  mHandle = dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
#endif
}

void ModuleHold::Release() {
#if !defined(_WIN32)
  if (mHandle != nullptr) {
    dlclose(mHandle);
    mHandle = nullptr;
  }
#endif
}

bool ProcessIsExiting() {
  return gProcessExiting.load();
}

void MarkProcessExiting() {
  gProcessExiting.store(true);
}

}  // namespace cpd
