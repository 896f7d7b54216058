// Keeps a check apart from the program that it watches.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_ASIDE_H
#define VORNDATABASE_TOOLS_VORNCHECK_ASIDE_H

#include <cerrno>

namespace vorncheck {

// Runs a check: neither its exceptions nor its errno reach the program. A check without memory is
// not made.
template <typename Check>
void Aside(Check check) noexcept {
  const int saved = errno;
  try {
    check();
  } catch (...) {
  }
  errno = saved;
}

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_ASIDE_H
