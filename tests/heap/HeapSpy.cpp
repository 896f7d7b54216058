#include "HeapSpy.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <new>

namespace heap_spy {

namespace {

struct Array {
  void* block;
  std::size_t size;
};

// Of fixed size, since they are written while the heap is in use.
std::array<Array, 64> arrays;
std::size_t arrayCount = 0;
std::array<std::size_t, 64> released;
std::size_t releasedCount = 0;
std::array<const char*, 256> events;
std::size_t eventCount = 0;
thread_local bool watching = false;
thread_local int successesLeft = -1;  // negative: no allocation is to fail

// While the spy itself uses the heap.
struct Pause {
  Pause() : wasWatching(watching) { watching = false; }
  ~Pause() { watching = wasWatching; }
  const bool wasWatching;
};

void* Allocate(std::size_t size) {
  if (successesLeft >= 0 && successesLeft-- == 0) {
    throw std::bad_alloc();
  }
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void NoteRelease(const void* block) {
  if (block != nullptr) {
    Note("release");
  }
}

void AddArray(void* block, std::size_t size) {
  if (watching) {
    if (arrayCount == arrays.size()) {
      std::abort();
    }
    arrays[arrayCount++] = {block, size};
  }
}

void RemoveArray(void* block) {
  const auto end = arrays.begin() + static_cast<std::ptrdiff_t>(arrayCount);
  const auto found = std::find_if(arrays.begin(), end,
                                  [block](const Array& array) { return array.block == block; });
  if (found == end) {
    return;
  }
  if (releasedCount < released.size()) {
    released[releasedCount++] = found->size;
  }
  std::move(found + 1, end, found);
  --arrayCount;
}

}  // namespace

void Start() {
  arrayCount = 0;
  releasedCount = 0;
  eventCount = 0;
  watching = true;
}

void Stop() { watching = false; }

std::vector<std::size_t> ArraysHeld() {
  const Pause pause;
  std::vector<std::size_t> sizes;
  for (std::size_t i = 0; i < arrayCount; ++i) {
    sizes.push_back(arrays[i].size);
  }
  return sizes;
}

std::vector<std::size_t> ArraysReleased() {
  const Pause pause;
  return std::vector<std::size_t>(released.begin(),
                                  released.begin() + static_cast<std::ptrdiff_t>(releasedCount));
}

void FailAfter(int successes) { successesLeft = successes; }

void FailNever() { successesLeft = -1; }

std::vector<std::string> Events() {
  const Pause pause;
  return std::vector<std::string>(events.begin(),
                                  events.begin() + static_cast<std::ptrdiff_t>(eventCount));
}

void Note(const char* word) {
  if (watching && eventCount < events.size()) {
    events[eventCount++] = word;
  }
}

}  // namespace heap_spy

void* operator new(std::size_t size) {
  heap_spy::Note("allocate");
  return heap_spy::Allocate(size);
}

void* operator new[](std::size_t size) {
  heap_spy::Note("allocate");
  void* const block = heap_spy::Allocate(size);
  heap_spy::AddArray(block, size);
  return block;
}

void operator delete(void* block) noexcept {
  heap_spy::NoteRelease(block);
  std::free(block);
}

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

void operator delete[](void* block) noexcept {
  heap_spy::NoteRelease(block);
  heap_spy::RemoveArray(block);
  std::free(block);
}

void operator delete[](void* block, std::size_t) noexcept { operator delete[](block); }
