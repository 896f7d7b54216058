// Keeps a check apart from the program that it watches.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_ASIDE_H
#define VORNDATABASE_TOOLS_VORNCHECK_ASIDE_H

#include <pthread.h>

#include <cerrno>

namespace vorncheck {

// Runs a check: neither its exceptions nor its errno reach the program, and the thread is not
// cancelled in it. A check without memory is not made.
template <typename Check>
void Aside(Check check) noexcept {
  const int saved = errno;
  int state = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
  try {
    check();
  } catch (...) {
  }
  pthread_setcancelstate(state, nullptr);
  errno = saved;
}

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_ASIDE_H
