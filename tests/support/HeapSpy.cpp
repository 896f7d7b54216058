#include "HeapSpy.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "HeapPause.h"

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
thread_local FaultPoint faultPoint;
thread_local unsigned watch = 0;  // the number of the present one
thread_local int blocksHeld = 0;

bool IsWatching() { return watching && !HeapPause::IsOn(); }

void NoteBlock(const char* word) {
  if (IsWatching()) {
    Note(word);
  }
}

// Precedes every block.
struct alignas(std::max_align_t) Tag {
  unsigned watch;  // in which the block was taken; 0: in none
};

void* Allocate(std::size_t size) {
  if (!HeapPause::IsOn() && faultPoint.Fails()) {
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(sizeof(Tag) + size);
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  const bool counts = IsWatching();
  blocksHeld += counts ? 1 : 0;
  return new (memory) Tag{counts ? watch : 0} + 1;
}

void Release(void* block) {
  if (block == nullptr) {
    return;
  }
  NoteBlock("release");
  Tag* const tag = static_cast<Tag*>(block) - 1;
  if (tag->watch != 0 && tag->watch == watch) {
    --blocksHeld;
  }
  std::free(tag);
}

void AddArray(void* block, std::size_t size) {
  if (IsWatching()) {
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
  blocksHeld = 0;
  ++watch;
  watching = true;
}

void Stop() { watching = false; }

void Resume() { watching = true; }

int BlocksHeld() { return blocksHeld; }

std::vector<std::size_t> ArraysHeld() {
  const HeapPause pause;
  std::vector<std::size_t> sizes;
  for (std::size_t i = 0; i < arrayCount; ++i) {
    sizes.push_back(arrays[i].size);
  }
  return sizes;
}

std::vector<std::size_t> ArraysReleased() {
  const HeapPause pause;
  return std::vector<std::size_t>(released.begin(),
                                  released.begin() + static_cast<std::ptrdiff_t>(releasedCount));
}

void FailAfter(int successes, FaultPoint::Kind kind) { faultPoint.Set(successes, kind); }

int FailNever() {
  faultPoint.Clear();
  return faultPoint.Failures();
}

std::vector<std::string> Events() {
  const HeapPause pause;
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
  heap_spy::NoteBlock("allocate");
  return heap_spy::Allocate(size);
}

void* operator new[](std::size_t size) {
  heap_spy::NoteBlock("allocate");
  void* const block = heap_spy::Allocate(size);
  heap_spy::AddArray(block, size);
  return block;
}

void operator delete(void* block) noexcept { heap_spy::Release(block); }

void operator delete(void* block, std::size_t) noexcept { operator delete(block); }

void operator delete[](void* block) noexcept {
  heap_spy::RemoveArray(block);
  heap_spy::Release(block);
}

void operator delete[](void* block, std::size_t) noexcept { operator delete[](block); }
