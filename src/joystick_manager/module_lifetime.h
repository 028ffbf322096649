#pragma once

namespace cpd {

// Keeps the module that holds the bridge loaded until the process ends, from the first call on.
// Only the Windows DLL needs it (see dll_main.cpp); elsewhere it does nothing.
void PinThisModule();

// A reference of the bridge's own to the module its code lives in, held while a polling thread
// may run that code. A host's dlclose then only drops the host's reference: the module stays
// mapped, and its static objects stay alive, until the holder lets go. Taken and let go only on
// a host's thread that is calling into the bridge (which holds a reference of its own), never on
// the polling thread, which cannot unmap the code it runs. Where the bridge is pinned (Windows)
// or linked into the program itself, there is nothing to hold and both calls do nothing.
class ModuleHold {
 public:
  ModuleHold() = default;
  ModuleHold(const ModuleHold&) = delete;
  ModuleHold& operator=(const ModuleHold&) = delete;
  ModuleHold(ModuleHold&&) = delete;
  ModuleHold& operator=(ModuleHold&&) = delete;
  // Never lets go: a hold still taken at exit belongs to a thread that may still run.
  ~ModuleHold() = default;

  void Take();
  void Release();

 private:
  void* mHandle = nullptr;
};

// True once the process is ending and its other threads are already gone. On Windows the DLL's
// static objects are destroyed only after that, and then must not wait for or wake a thread:
// its synchronisation objects may have been left mid-operation. Always false elsewhere.
bool ProcessIsExiting();
void MarkProcessExiting();

}  // namespace cpd
