// Counts what the whole process takes from the heap, the libraries that it uses
// included.

#ifndef VORNDATABASE_BENCH_HEAPCOUNTER_H
#define VORNDATABASE_BENCH_HEAPCOUNTER_H

#include <cstddef>

namespace bench {

struct HeapUse {
  std::size_t allocations = 0;  // calls that gave a block, or another size to one
  std::size_t bytes = 0;        // of all these blocks together
  std::size_t peak = 0;         // most bytes that were held at a time, beyond the first
};

// Counts from here on, for a process with one thread.
void StartCounting();
HeapUse StopCounting();

}  // namespace bench

#endif  // VORNDATABASE_BENCH_HEAPCOUNTER_H
