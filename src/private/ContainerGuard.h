// The one way to change a container that several threads may change.

#ifndef VORNDATABASE_SRC_PRIVATE_CONTAINERGUARD_H
#define VORNDATABASE_SRC_PRIVATE_CONTAINERGUARD_H

#include <VornMutex.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>

#include "private/Log.h"

namespace vorn {

// Holds the named lock of one container from construction until Unlock().
//
// This is not a scoped lock. If an exception leaves the change, the mutex is destroyed locked: the
// utility library decides about a lock whose container may be half changed.
//
// Its code is inline, since a query takes a guard for every cell.
class ContainerGuard {
 public:
  // Forms the lock's name from the container's address and locks it. A name that
  // cannot be formed is logged from `site`; the lock is then taken under
  // whatever the buffer holds. Of the buffer only the text is initialised: to clear it
  // takes 65 instructions on the device, for every cell of a query.
  // cppcheck-suppress uninitMemberVar
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init)
  ContainerGuard(const LogSite& site, const void* container) : m_mutex(FormName(site, container)) {
    m_mutex.Lock();
  }

  ContainerGuard(const ContainerGuard&) = delete;
  ContainerGuard& operator=(const ContainerGuard&) = delete;

  void Unlock() { m_mutex.Unlock(); }

 private:
  const char* FormName(const LogSite& site, const void* container) {
    m_name[0] = '\0';
    // GCC takes the result to be at least 1 and drops this branch when it
    // optimises; the build tells it not to (-fno-printf-return-value).
    if (std::snprintf(m_name, sizeof m_name, "%" PRIxPTR,
                      reinterpret_cast<std::uintptr_t>(container)) < 1) {
      LogUnnamed(site);
    }
    return m_name;
  }

  static void LogUnnamed(const LogSite& site);

  char m_name[100];
  VornMutex m_mutex;
};

}  // namespace vorn

#endif  // VORNDATABASE_SRC_PRIVATE_CONTAINERGUARD_H
