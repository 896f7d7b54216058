// Call stacks of the program.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_STACK_H
#define VORNDATABASE_TOOLS_VORNCHECK_STACK_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace vorncheck {

// Return addresses, from the call into the library outwards.
using Stack = std::vector<const void*>;
constexpr std::size_t kMaximumFrames = 16;

// The stack of this thread from a call site on; of the site alone if the stack cannot be unwound
// as far as that.
Stack StackFrom(const void* site);

struct Frame {
  std::string function;  // empty if it has no symbol
  std::string file;      // empty without debug information
  int line = 0;
  std::string object;  // the program or shared library
  unsigned long offset = 0;
};

// Runs a function on a stack of its own, one at a time: to read debug information takes more than
// a thread may have.
void OnLargeStack(const std::function<void()>& function);

// The call at a return address. The result is kept. For a function on the large stack.
const Frame& FrameAt(const void* address);

// Held by the thread that forks, so that the child can use it.
void LockLargeStack();
void UnlockLargeStack();

}  // namespace vorncheck

// The call site of the exported function that this is used in.
#define VORN_SITE (static_cast<const void*>(__builtin_return_address(0)))

#endif  // VORNDATABASE_TOOLS_VORNCHECK_STACK_H
