// Counts what goes through operator new and delete, between two points.

#ifndef VORN_TESTS_HEAP_HEAPSPY_H
#define VORN_TESTS_HEAP_HEAPSPY_H

#include <cstddef>
#include <string>
#include <vector>

namespace heap_spy {

// Starts counting from nothing; Stop ends it. Only the calling thread counts.
void Start();
void Stop();

// Blocks taken from the heap since Start, released ones included.
int Allocations();

// Sizes of the arrays taken with array new since Start and not released with
// array delete, in the order of their taking.
std::vector<std::size_t> ArraysHeld();

// What happened since Start, in order: "allocate", "release", and the words of
// Note, which must be literals.
std::vector<std::string> Events();
void Note(const char* word);

}  // namespace heap_spy

#endif  // VORN_TESTS_HEAP_HEAPSPY_H
