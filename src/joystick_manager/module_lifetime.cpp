#include "joystick_manager/module_lifetime.h"

#include <atomic>

#if defined(_WIN32)
#include <windows.h>
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

bool ProcessIsExiting() {
  return gProcessExiting.load();
}

void MarkProcessExiting() {
  gProcessExiting.store(true);
}

}  // namespace cpd
