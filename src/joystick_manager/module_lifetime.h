#pragma once

namespace cpd {

// Keeps the module that holds the bridge loaded until the process ends, from the first call on.
// Only the Windows DLL needs it (see dll_main.cpp); elsewhere it does nothing.
void PinThisModule();

// True once the process is ending and its other threads are already gone. On Windows the DLL's
// static objects are destroyed only after that, and then must not wait for or wake a thread:
// its synchronisation objects may have been left mid-operation. Always false elsewhere.
bool ProcessIsExiting();
void MarkProcessExiting();

}  // namespace cpd
