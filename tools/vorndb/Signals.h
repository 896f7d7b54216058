// Work that is done before a signal ends the process. A signal that is ignored, as in a background
// job, stays ignored.

#ifndef VORNDB_SIGNALS_H
#define VORNDB_SIGNALS_H

#include <functional>
#include <memory>
#include <mutex>

namespace vorndb {

// While the result lives, SIGHUP, SIGINT and SIGTERM run the work, which may call any function but
// not throw, before they end the process. There may be one watch at a time.
std::shared_ptr<void> WatchSignals(std::function<void()> work);

// The work does not begin while the lock is held. After a signal, this does not return.
std::unique_lock<std::mutex> HoldSignals();

}  // namespace vorndb

#endif  // VORNDB_SIGNALS_H
