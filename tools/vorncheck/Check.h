// Isolates the checks from the program.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_CHECK_H
#define VORNDATABASE_TOOLS_VORNCHECK_CHECK_H

#include <functional>
#include <mutex>

namespace vorncheck {

// Held by each check.
std::mutex& CheckMutex();

// Runs a check, then writes its findings. The thread is not cancelled meanwhile, and its errno is
// restored. Checks are not nested. No exception reaches the program: a check that runs out of
// memory is dropped.
void RunCheck(const std::function<void()>& check) noexcept;

template <typename Function>
void Check(const Function& check) noexcept {
  // A reference needs no memory.
  RunCheck(std::cref(check));
}

// The only object of a type. It is never destroyed, since a program may use the library before
// main() and until its very end.
template <typename Type>
Type& TheOnly() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  static auto* const object = new Type;
  return *object;
}

// Held by a thread that forks, so that the child can use the heap.
std::mutex& HeapMutex();

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_CHECK_H
