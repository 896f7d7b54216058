// The retry policy for a database file that is busy.

#ifndef VORNDATABASE_SRC_PRIVATE_BUSYRETRY_H
#define VORNDATABASE_SRC_PRIVATE_BUSYRETRY_H

#include <sqlite3.h>

#include "private/Log.h"

namespace vorn {

// Counts one busy result in `count`, logging from `site`. Below the limit it waits and returns
// false; at the limit it returns true, and the caller makes one last attempt.
bool CountBusyAndWait(const LogSite& site, int& count);

// The calls of one loop into SQLite. They share a counter; its policy is the owner's
// IsRetryLimit.
template <typename Owner>
class BusyRetry {
 public:
  explicit BusyRetry(Owner& owner) : m_owner(owner) {}

  // Repeats a call while it returns busy; once more after the limit.
  template <typename Attempt>
  int Call(Attempt attempt) {
    int rc = attempt();
    while (rc == SQLITE_BUSY && !m_isLast) {
      m_isLast = m_owner.IsRetryLimit(m_count);
      rc = attempt();
    }
    return rc;
  }

  // Leaves one attempt. IsLast() is also true after the limit.
  void MakeNextLast() { m_isLast = true; }
  bool IsLast() const { return m_isLast; }

 private:
  Owner& m_owner;
  int m_count = 0;
  bool m_isLast = false;
};

}  // namespace vorn

#endif  // VORNDATABASE_SRC_PRIVATE_BUSYRETRY_H
