// The same work on several threads at once.

#ifndef VORN_TESTS_SUPPORT_RUNONTHREADS_H
#define VORN_TESTS_SUPPORT_RUNONTHREADS_H

#include <atomic>
#include <thread>
#include <vector>

// Calls work(0) to work(count - 1), each on a thread of its own, and waits for them.
// They begin when all are there: a short work would be done before the next begins.
template <typename Work>
void RunOnThreads(int count, Work work) {
  std::atomic<int> missing{count};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < count; ++thread) {
    threads.emplace_back([&missing, &work, thread] {
      --missing;
      while (missing > 0) {
        std::this_thread::yield();
      }
      work(thread);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

#endif  // VORN_TESTS_SUPPORT_RUNONTHREADS_H
