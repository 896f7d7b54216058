// Call stacks of the program.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_STACK_H
#define VORNDATABASE_TOOLS_VORNCHECK_STACK_H

#include <cstddef>
#include <string>
#include <vector>

namespace vorncheck {

// Return addresses, from the call into the library outwards.
using Stack = std::vector<const void*>;
constexpr std::size_t kMaximumFrames = 16;

// The stack of this thread from a call site on. If unwinding does not reach the site, the site
// alone.
Stack StackFrom(const void* site);

struct Frame {
  std::string function;  // empty if it has no symbol
  std::string file;      // empty without debug information
  int line = 0;
  std::string object;  // the program or shared library
  unsigned long offset = 0;
};

// The calls of a stack, up to main(). Reads debug information, which needs a large thread stack.
// WriteMutex() is held.
std::vector<Frame> FramesOf(const Stack& stack);

}  // namespace vorncheck

// The call site of the exported function that this is used in.
#define VORN_SITE (static_cast<const void*>(__builtin_return_address(0)))

#endif  // VORNDATABASE_TOOLS_VORNCHECK_STACK_H
