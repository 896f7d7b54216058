// Work that is done before a signal ends the process. A signal that is ignored, as in a background
// job, stays ignored.

#ifndef VORNDB_SIGNALS_H
#define VORNDB_SIGNALS_H

#include <functional>
#include <mutex>

namespace vorndb {

// While it lives, SIGHUP, SIGINT and SIGTERM first run the work, outside of a signal handler: it may
// call any function. Then the signal ends the process. There may be one watch at a time.
class SignalWatch {
 public:
  // The work may not throw.
  explicit SignalWatch(std::function<void()> work);
  ~SignalWatch();

  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // The work does not begin while the lock is held. After a signal, this does not return.
  std::unique_lock<std::mutex> Lock();
};

}  // namespace vorndb

#endif  // VORNDB_SIGNALS_H
