#include "HeapSpy.h"

#include <algorithm>
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

std::vector<Array> arrays;
std::vector<std::size_t> released;
std::vector<std::string> events;
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
    const HeapPause pause;
    arrays.push_back({block, size});
  }
}

void RemoveArray(void* block) {
  if (!IsWatching()) {
    return;
  }
  const HeapPause pause;
  const auto found = std::find_if(arrays.begin(), arrays.end(),
                                  [block](const Array& array) { return array.block == block; });
  if (found != arrays.end()) {
    released.push_back(found->size);
    arrays.erase(found);
  }
}

}  // namespace

void Start() {
  arrays.clear();
  released.clear();
  events.clear();
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
  for (const Array& array : arrays) {
    sizes.push_back(array.size);
  }
  return sizes;
}

std::vector<std::size_t> ArraysReleased() {
  const HeapPause pause;
  return released;
}

FaultPoint& Point() { return faultPoint; }

std::vector<std::string> Events() {
  const HeapPause pause;
  return events;
}

void Note(const char* word) {
  if (watching) {
    const HeapPause pause;
    events.emplace_back(word);
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
