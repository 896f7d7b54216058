#include "Heap.h"

#include <sys/mman.h>

#include <array>
#include <cstddef>
#include <mutex>
#include <new>

namespace vorncheck {
namespace {

// Before the memory of each block; keeps it aligned.
struct alignas(std::max_align_t) Header {
  std::size_t order = 0;   // the block has two to this power of bytes
  Header* next = nullptr;  // in the list of free blocks
};

constexpr std::size_t kSmallest = 5;
constexpr std::size_t kLargest = 16;  // larger ones are mapped each
constexpr std::size_t kChunk = std::size_t{1} << 20;

constexpr std::size_t SizeOf(std::size_t order) { return std::size_t{1} << order; }

struct Heap {
  std::mutex mutex;
  std::array<Header*, kLargest + 1> free{};
  char* rest = nullptr;  // of the last chunk
  std::size_t left = 0;
};

// Usable before constructors run, and to the very end.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
Heap heap;

char* Map(std::size_t size) {
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    throw std::bad_alloc();
  }
  return static_cast<char*>(memory);
}

// A new block; of a chunk that is too small for it, the rest is lost.
char* Carve(std::size_t size) {
  if (heap.left < size) {
    heap.rest = Map(kChunk);
    heap.left = kChunk;
  }
  char* const block = heap.rest;
  heap.rest += size;
  heap.left -= size;
  return block;
}

Header* Allocate(std::size_t order) {
  if (order > kLargest) {
    return new (Map(SizeOf(order))) Header{order};
  }
  const std::lock_guard<std::mutex> lock(heap.mutex);
  Header*& first = heap.free[order];
  if (first == nullptr) {
    return new (Carve(SizeOf(order))) Header{order};
  }
  Header* const block = first;
  first = block->next;
  return block;
}

void Release(Header* block) {
  if (block->order > kLargest) {
    munmap(block, SizeOf(block->order));
    return;
  }
  const std::lock_guard<std::mutex> lock(heap.mutex);
  block->next = heap.free[block->order];
  heap.free[block->order] = block;
}

}  // namespace

void LockHeap() { heap.mutex.lock(); }
void UnlockHeap() { heap.mutex.unlock(); }

}  // namespace vorncheck

void* operator new(std::size_t size) {
  std::size_t order = vorncheck::kSmallest;
  while (vorncheck::SizeOf(order) < size + sizeof(vorncheck::Header)) {
    ++order;
  }
  return vorncheck::Allocate(order) + 1;
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) {
    vorncheck::Release(static_cast<vorncheck::Header*>(memory) - 1);
  }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
