#include "joystick_manager/module_lifetime.h"

#include <atomic>
#include <utility>

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

ModuleReference ModuleReference::ToThisModule() {
  ModuleReference reference;
#if !defined(_WIN32)
  Dl_info self{};
  if (dladdr(reinterpret_cast<void*>(&PinThisModule), &self) != 0 && self.dli_fname != nullptr) {
    // Finds the module already loaded and counts one more reference to it. The program itself
    // cannot be named this way (and cannot be unloaded either), so a bridge linked into it gets
    // no handle and needs none.
    reference.mHandle = dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
  }
#endif
  return reference;
}

ModuleReference::~ModuleReference() {
#if !defined(_WIN32)
  if (mHandle != nullptr) {
    dlclose(mHandle);
  }
#endif
}

ModuleReference::ModuleReference(ModuleReference&& other) noexcept : mHandle(other.mHandle) {
  other.mHandle = nullptr;
}

ModuleReference& ModuleReference::operator=(ModuleReference&& other) noexcept {
  if (this != &other) {
    ModuleReference dropped(std::move(*this));
    mHandle = other.mHandle;
    other.mHandle = nullptr;
  }
  return *this;
}

bool ProcessIsExiting() {
  return gProcessExiting.load();
}

void MarkProcessExiting() {
  gProcessExiting.store(true);
}

}  // namespace cpd
