// Isolates the checks from the program.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_CHECK_H
#define VORNDATABASE_TOOLS_VORNCHECK_CHECK_H

#include <mutex>

namespace vorncheck {

// Held by each check.
std::mutex& CheckMutex();

// The scope of a check. The thread is not cancelled in it, and its errno is restored. Its findings
// are written at the end.
class Aside {
 public:
  Aside();
  ~Aside();

 private:
  int m_error;
  int m_cancellation = 0;
};

// Runs a check. Checks are not nested. No exception reaches the program: a check that runs out of
// memory is dropped.
template <typename Function>
void Check(Function check) noexcept {
  const Aside aside;
  try {
    check();
  } catch (...) {
  }
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
