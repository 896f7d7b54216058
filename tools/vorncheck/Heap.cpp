// The notes have a heap of their own. In the application's heap, the note of a name could take the
// memory of the name when that is freed, and hide the dangling pointer.

#include <sys/mman.h>

#include <cstddef>
#include <memory_resource>
#include <mutex>
#include <new>

#include "Check.h"

namespace vorncheck {
namespace {

class Pages : public std::pmr::memory_resource {
  void* do_allocate(std::size_t size, std::size_t /*alignment*/) override {
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
      throw std::bad_alloc();
    }
    return memory;
  }
  void do_deallocate(void* memory, std::size_t size, std::size_t /*alignment*/) override {
    munmap(memory, size);
  }
  bool do_is_equal(const memory_resource& other) const noexcept override { return this == &other; }
};

constexpr std::size_t kLargestPooled = std::size_t{1} << 16;

struct Heap {
  std::mutex mutex;
  Pages pages;
  std::pmr::unsynchronized_pool_resource pool{{0, kLargestPooled}, &pages};
};

// Usable before constructors run, and to the very end.
Heap& TheHeap() {
  alignas(Heap) static char memory[sizeof(Heap)];
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  static auto* const heap = new (memory) Heap;
  return *heap;
}

// The size of a block is before it.
constexpr std::size_t kHeader = alignof(std::max_align_t);

}  // namespace

std::mutex& HeapMutex() { return TheHeap().mutex; }

}  // namespace vorncheck

using vorncheck::kHeader;
using vorncheck::TheHeap;

void* operator new(std::size_t size) {
  const std::lock_guard<std::mutex> lock(TheHeap().mutex);
  void* const block = TheHeap().pool.allocate(size + kHeader);
  return new (block) std::size_t(size + kHeader) + kHeader / sizeof(std::size_t);
}

void operator delete(void* memory) noexcept {
  if (memory != nullptr) {
    auto* const block = static_cast<std::size_t*>(memory) - kHeader / sizeof(std::size_t);
    const std::lock_guard<std::mutex> lock(TheHeap().mutex);
    TheHeap().pool.deallocate(block, *block);
  }
}

void operator delete(void* memory, std::size_t /*size*/) noexcept { operator delete(memory); }
