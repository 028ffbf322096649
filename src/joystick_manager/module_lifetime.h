#pragma once

namespace cpd {

// Keeps the module that holds the bridge loaded until the process ends, from the first call on.
// Only the Windows DLL needs it (see dll_main.cpp); elsewhere it does nothing.
void PinThisModule();

// One counted reference to the module the bridge's code lives in, held while a polling thread may
// run that code: a host's dlclose then only drops the host's reference, and the module stays
// mapped, its static objects alive, until the reference goes. Taking and dropping one takes the
// loader's lock, so neither happens under a lock of the library: a host that unregisters from a
// module's destructor holds the loader's lock and then asks for the library's locks. Dropped only
// on a host's thread that is calling into the bridge (so the host holds a reference of its own),
// never on the polling thread, which cannot unmap the code it runs. Where the bridge is pinned
// (Windows) or linked into the program itself, there is nothing to count and it stays empty.
class ModuleReference {
 public:
  ModuleReference() = default;
  static ModuleReference ToThisModule();
  ~ModuleReference();
  ModuleReference(ModuleReference&& other) noexcept;
  ModuleReference& operator=(ModuleReference&& other) noexcept;
  ModuleReference(const ModuleReference&) = delete;
  ModuleReference& operator=(const ModuleReference&) = delete;

  explicit operator bool() const { return mHandle != nullptr; }

 private:
  void* mHandle = nullptr;
};

// True once the process is ending and its other threads are already gone. On Windows the DLL's
// static objects are destroyed only after that, and then must not wait for or wake a thread:
// its synchronisation objects may have been left mid-operation. Always false elsewhere.
bool ProcessIsExiting();
void MarkProcessExiting();

}  // namespace cpd
