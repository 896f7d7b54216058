/// @file
/// Desktop stub of the utility library's named mutex.

#ifndef VORN_PLATFORM_VORNMUTEX_H
#define VORN_PLATFORM_VORNMUTEX_H

#include <string>

namespace vornutil {
struct Shard;
}

/// A guard on the lock of a given name.
///
/// Within the process, guards of equal names exclude each other; guards of unequal
/// names never wait for each other. Like `std::mutex`, the lock is not recursive: one
/// thread holding it through one guard must not lock it through another.
///
/// Names up to 15 characters take nothing from the heap: there are no locks, only
/// guards that hold their names.
///
/// Guards of different threads may be made, locked and destroyed at the same
/// time. One guard belongs to one thread.
class VornMutex {
 public:
  /// Makes an unlocked guard.
  /// @param name name of the lock, NUL-terminated, copied; the empty name is a
  ///        name like any other.
  /// @throws std::bad_alloc when memory is exhausted.
  explicit VornMutex(const char* name);

  /// Destroys the guard. One that is still locked, because an exception left
  /// the code that it guards, is unlocked, so that the name stays usable.
  ~VornMutex();

  VornMutex(const VornMutex&) = delete;
  VornMutex& operator=(const VornMutex&) = delete;

  /// Waits until the lock is held.
  void Lock();

  /// Releases the lock. Does nothing unless this guard holds it.
  void Unlock();

  /// The number of names that are held at the moment. A member of the stub
  /// only, for tests.
  static int CountNames();

 private:
  const std::string m_name;
  vornutil::Shard* const m_shard;
  VornMutex* m_next = nullptr;  // in the shard's list, while locked
  bool m_isLocked = false;

  friend struct vornutil::Shard;
};

#endif  // VORN_PLATFORM_VORNMUTEX_H
