// The same work on several threads at once.

#ifndef VORN_TESTS_SUPPORT_RUNONTHREADS_H
#define VORN_TESTS_SUPPORT_RUNONTHREADS_H

#include <thread>
#include <vector>

// Calls work(0) to work(count - 1), each on a thread of its own, and waits for them.
template <typename Work>
void RunOnThreads(int count, Work work) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < count; ++thread) {
    threads.emplace_back(work, thread);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

#endif  // VORN_TESTS_SUPPORT_RUNONTHREADS_H
