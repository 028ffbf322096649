// The DLL's entry point, and why the bridge never leaves its address space once it is used.
//
// The entry point runs under the loader lock, where waiting for another thread deadlocks (that
// thread needs the same lock to end) and loading a library may too. So it does the one thing
// that is safe there and reports success.
//
// Unloading is the harder case. The polling thread and the policy watcher run the bridge's code;
// if FreeLibrary unmapped it under them, the host would crash, and the static destructors that
// stop them would have to join them under the loader lock, which deadlocks. The bridge
// therefore pins itself the first time a host calls in (PinThisModule): a FreeLibrary after that
// only drops the host's reference, the threads stop when the last listener goes, and the code
// stays mapped until the process ends.
//
// When the process ends, Windows has already stopped every other thread before it detaches the
// DLL, and the C runtime destroys the DLL's static objects right after this entry point returns.
// Those threads may have been stopped inside a wait, leaving their condition variables and
// mutexes mid-operation; the entry point records that the process is exiting so that the
// destructors leave the threads alone instead of waking or joining them.
#include <windows.h>

#include "joystick_manager/module_lifetime.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(module);
  } else if (reason == DLL_PROCESS_DETACH && reserved != nullptr) {
    cpd::MarkProcessExiting();
  }
  return TRUE;
}
