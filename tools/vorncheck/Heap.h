// The memory of the checker is apart from the application's: a name that was freed is not
// overwritten by a note of it, and the application's heap is laid out as without the checker.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_HEAP_H
#define VORNDATABASE_TOOLS_VORNCHECK_HEAP_H

namespace vorncheck {

// Held by the thread that forks, so that the child can use the heap.
void LockHeap();
void UnlockHeap();

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_HEAP_H
