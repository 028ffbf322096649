// Holds the secure store for the watcher's read-merge-write, so that another process using the
// same store cannot write between the read and the write. Only the default store can be held
// (cpd_joystick/store_update.h); with a host's own store the lock holds nothing, and the merge
// alone keeps the other process's choices unless both write at the same moment.
#pragma once

namespace cpd {

class StoreUpdateLock {
 public:
  StoreUpdateLock();
  ~StoreUpdateLock();
  StoreUpdateLock(const StoreUpdateLock&) = delete;
  StoreUpdateLock& operator=(const StoreUpdateLock&) = delete;
  StoreUpdateLock(StoreUpdateLock&&) = delete;
  StoreUpdateLock& operator=(StoreUpdateLock&&) = delete;

  // False when the store can be held but was not (another process held it too long): the
  // caller must not write.
  bool Usable() const { return mUsable; }
  // True while the store is held: lines for the host's sink then wait until it is let go.
  bool Holds() const { return mRelease != nullptr; }

 private:
  void (*mRelease)() = nullptr;
  bool mUsable = true;
};

}  // namespace cpd
