#include "Signals.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>
#include <utility>

namespace vorndb {

namespace {

// Lives until the process ends, as the thread does.
struct State {
  std::mutex mutex;
  std::function<void()> work;
  std::atomic<bool> arrived{false};
};

State& TheState() {
  static State& state = *new State;
  return state;
}

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

// They stay blocked, so that each waits for the thread.
void AwaitSignal(const sigset_t& signals) {
  int number = 0;
  static_cast<void>(sigwait(&signals, &number));
  TheState().arrived = true;
  const std::lock_guard<std::mutex> lock(TheState().mutex);
  if (TheState().work) {
    TheState().work();
  }
  static_cast<void>(kill(getpid(), number));
  static_cast<void>(pthread_sigmask(SIG_UNBLOCK, &signals, nullptr));
}

void StartThread() {
  static const bool started = [] {
    const sigset_t signals = EndingSignals();
    static_cast<void>(pthread_sigmask(SIG_BLOCK, &signals, nullptr));
    std::thread(AwaitSignal, signals).detach();
    return true;
  }();
  static_cast<void>(started);
}

}  // namespace

SignalWatch::SignalWatch(std::function<void()> work) {
  TheState().work = std::move(work);
  StartThread();
}

SignalWatch::~SignalWatch() {
  const std::lock_guard<std::mutex> lock(TheState().mutex);
  TheState().work = nullptr;
}

std::unique_lock<std::mutex> SignalWatch::Lock() {
  while (TheState().arrived) {
    static_cast<void>(pause());
  }
  return std::unique_lock<std::mutex>(TheState().mutex);
}

}  // namespace vorndb
