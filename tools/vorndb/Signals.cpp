#include "Signals.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <csignal>
#include <cstdlib>
#include <thread>
#include <utility>

namespace vorndb {

namespace {

sigset_t EndingSignals() {
  sigset_t signals{};
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN) {
      static_cast<void>(sigaddset(&signals, number));
    }
  }
  return signals;
}

// Lives until the process ends, as its thread does. The signals are blocked and stay pending, so
// that they are seen from their arrival on.
struct State {
  std::mutex mutex;
  std::function<void()> work = [] {};
  const sigset_t signals = EndingSignals();
  const int arrivals = signalfd(-1, &signals, SFD_CLOEXEC);

  State() {
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, nullptr));
    std::thread([this] {
      while (!HasSignal(-1)) {
      }
      Hold();
    }).detach();
  }

  // Waits so long for a signal; -1 waits without end.
  bool HasSignal(int milliseconds) const {
    pollfd arrival{arrivals, POLLIN, 0};
    return poll(&arrival, 1, milliseconds) == 1;
  }

  std::unique_lock<std::mutex> Hold() {
    std::unique_lock<std::mutex> lock(mutex);
    if (HasSignal(0)) {
      work();
      // Ends the process, unless it is the first one of a container.
      static_cast<void>(pthread_sigmask(SIG_UNBLOCK, &signals, nullptr));
      std::_Exit(EXIT_FAILURE);
    }
    return lock;
  }
};

State& TheState() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one for all signals
  static State& state = *new State;
  return state;
}

}  // namespace

std::shared_ptr<void> WatchSignals(std::function<void()> work) {
  const auto lock = HoldSignals();
  TheState().work = std::move(work);
  return {nullptr, [](void* /*nothing*/) {
            const std::lock_guard<std::mutex> end(TheState().mutex);
            TheState().work = [] {};
          }};
}

std::unique_lock<std::mutex> HoldSignals() { return TheState().Hold(); }

}  // namespace vorndb
