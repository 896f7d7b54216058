// Watches operator new and delete between two points, and makes the former fail.

#ifndef VORN_TESTS_SUPPORT_HEAPSPY_H
#define VORN_TESTS_SUPPORT_HEAPSPY_H

#include <cstddef>
#include <string>
#include <vector>

#include "FaultPoint.h"

namespace heap_spy {

// Starts watching the calling thread, from nothing; Stop ends it, Resume goes on.
void Start();
void Stop();
void Resume();

// Sizes of the arrays taken with array new since Start and not released with
// array delete, in the order of their taking.
std::vector<std::size_t> ArraysHeld();

// Sizes of the arrays taken since Start and released with array delete, in the
// order of their release.
std::vector<std::size_t> ArraysReleased();

// What happened since Start, in order: "allocate", "release", and the words of Note.
std::vector<std::string> Events();
void Note(const char* word);

// Blocks taken since Start and not released.
int BlocksHeld();

// Makes an allocation of the calling thread throw.
FaultPoint& Point();

}  // namespace heap_spy

#endif  // VORN_TESTS_SUPPORT_HEAPSPY_H
