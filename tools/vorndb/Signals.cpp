#include "Signals.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
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
  std::function<void()> work;
  const sigset_t signals = EndingSignals();

  State() {
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, nullptr));
    std::thread([this] { AwaitSignal(); }).detach();
  }

  bool HasSignal() const {
    sigset_t arrived{};
    static_cast<void>(sigpending(&arrived));
    return sigandset(&arrived, &arrived, &signals) == 0 && sigisemptyset(&arrived) == 0;
  }

  void AwaitSignal() {
    pollfd arrival{signalfd(-1, &signals, SFD_CLOEXEC), POLLIN, 0};
    while (poll(&arrival, 1, -1) != 1) {
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (work) {
      work();
    }
    // Ends the process.
    static_cast<void>(pthread_sigmask(SIG_UNBLOCK, &signals, nullptr));
  }
};

State& TheState() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one for all signals
  static State& state = *new State;
  return state;
}

}  // namespace

SignalWatch::SignalWatch(std::function<void()> work) {
  const std::lock_guard<std::mutex> lock(TheState().mutex);
  TheState().work = std::move(work);
}

SignalWatch::~SignalWatch() {
  const std::lock_guard<std::mutex> lock(TheState().mutex);
  TheState().work = nullptr;
}

std::unique_lock<std::mutex> SignalWatch::Lock() {
  std::unique_lock<std::mutex> lock(TheState().mutex);
  if (TheState().HasSignal()) {
    lock.unlock();
    for (;;) {
      static_cast<void>(pause());
    }
  }
  return lock;
}

}  // namespace vorndb
