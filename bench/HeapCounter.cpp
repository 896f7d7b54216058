#include "HeapCounter.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>

// The C library's own, behind the names that are taken here.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace bench {

namespace {

bool isCounting = false;
HeapUse use;
std::ptrdiff_t held = 0;

// What a block takes, which may be more than was asked for.
std::ptrdiff_t SizeOf(void* block) {
  return static_cast<std::ptrdiff_t>(malloc_usable_size(block));
}

void* Taken(void* block) {
  if (isCounting && block != nullptr) {
    const std::ptrdiff_t size = SizeOf(block);
    ++use.allocations;
    use.bytes += static_cast<std::size_t>(size);
    held += size;
    use.peak = static_cast<std::size_t>(std::max(static_cast<std::ptrdiff_t>(use.peak), held));
  }
  return block;
}

void Given(void* block) {
  if (isCounting && block != nullptr) {
    held -= SizeOf(block);
  }
}

}  // namespace

void StartCounting() {
  use = HeapUse();
  held = 0;
  isCounting = true;
}

HeapUse StopCounting() {
  isCounting = false;
  return use;
}

}  // namespace bench

extern "C" {

void* malloc(std::size_t size) noexcept { return bench::Taken(__libc_malloc(size)); }

void* calloc(std::size_t count, std::size_t size) noexcept {
  return bench::Taken(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) noexcept {
  bench::Given(block);
  return bench::Taken(__libc_realloc(block, size));
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return bench::Taken(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  *block = memalign(alignment, size);
  return *block != nullptr ? 0 : ENOMEM;
}

void free(void* block) noexcept {
  bench::Given(block);
  __libc_free(block);
}
}
