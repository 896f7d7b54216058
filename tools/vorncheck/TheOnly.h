// The global state of the checker.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_THEONLY_H
#define VORNDATABASE_TOOLS_VORNCHECK_THEONLY_H

namespace vorncheck {

// The only object of a type. It is never destroyed, since a program may use the library before
// main() and until its very end.
template <typename Type>
Type& TheOnly() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  static auto* const object = new Type;
  return *object;
}

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_THEONLY_H
