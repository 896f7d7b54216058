// The signals that end the process, but for those that are ignored, as for a background job.

#ifndef VORNDB_SIGNALS_H
#define VORNDB_SIGNALS_H

#include <functional>
#include <mutex>

namespace vorndb {

// While it lives, such a signal first runs the work, on a thread of its own, where functions are
// safe that are not in a handler. Then it ends the process as usual. There may be one at a time.
class SignalWatch {
 public:
  // The work may not throw.
  explicit SignalWatch(std::function<void()> work);
  ~SignalWatch();

  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // Keeps the work from beginning. Does not return once a signal has arrived.
  std::unique_lock<std::mutex> Lock();
};

}  // namespace vorndb

#endif  // VORNDB_SIGNALS_H
