#include <VornMutex.h>

#include <mutex>
#include <string>

#include "Bench.h"

namespace bench {

namespace {

constexpr int kMostThreads = 8;

// What the library does around each change, but for the name's formatting.
void LockByName(benchmark::State& state, bool sameName) {
  const std::string name = "7ffc0123456" + std::to_string(sameName ? 0 : state.thread_index());
  for (auto _ : state) {
    VornMutex mutex(name.c_str());
    mutex.Lock();
    mutex.Unlock();
  }
}

// For comparison, a mutex that needs not be found.
void LockMutex(benchmark::State& state, bool same) {
  struct alignas(64) Padded {
    std::mutex mutex;
  };
  static Padded mutexes[kMostThreads];
  std::mutex& mutex = mutexes[same ? 0 : state.thread_index()].mutex;
  for (auto _ : state) {
    mutex.lock();
    mutex.unlock();
  }
}

}  // namespace

void RegisterLocks() {
  for (const bool same : {false, true}) {
    const std::string suffix = same ? "/lock/same" : "/lock/different";
    for (int threads = 1; threads <= kMostThreads; threads *= 2) {
      benchmark::RegisterBenchmark(("raw" + suffix).c_str(), LockMutex, same)
          ->Threads(threads)
          ->UseRealTime();
      benchmark::RegisterBenchmark(("vorn" + suffix).c_str(), LockByName, same)
          ->Threads(threads)
          ->UseRealTime();
    }
  }
}

}  // namespace bench
