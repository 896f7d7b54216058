#include "VornMutex.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <utility>

namespace vornutil {

// A part of the names that are held.
//
// A guard that is the only one here enters and leaves with one atomic step each.
// When a second one comes, both are in a list, under a mutex, and so are all others
// until the list is empty. Two threads meet here only when their names fall into the
// same shard; shards do not share a cache line.
struct alignas(64) Shard {
  // Waits until nobody holds the guard's name, and makes the guard its holder.
  void Hold(VornMutex& guard) {
    void* nobody = nullptr;
    if (m_alone.compare_exchange_strong(nobody, &guard)) {
      return;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    UseList();
    while (IsListed(guard.m_name)) {
      m_isAwaited = true;
      m_released.wait(lock);
      UseList();
    }
    List(guard);
  }

  void Release(VornMutex& guard) {
    void* alone = &guard;
    if (m_alone.compare_exchange_strong(alone, nullptr)) {
      return;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    Unlist(guard);
    if (m_listed == nullptr) {
      m_alone = nullptr;
    }
    const bool isAwaited = std::exchange(m_isAwaited, false);
    lock.unlock();
    // Those who wait for other names wait on.
    if (isAwaited) {
      m_released.notify_all();
    }
  }

  int CountHolders() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    UseList();
    int count = 0;
    for (const VornMutex* guard = m_listed; guard != nullptr; guard = guard->m_next) {
      ++count;
    }
    if (count == 0) {
      m_alone = nullptr;
    }
    return count;
  }

 private:
  // Whoever was alone finds itself in the list when it leaves.
  void UseList() {
    void* const alone = m_alone.exchange(this);
    if (alone != nullptr && alone != this) {
      List(*static_cast<VornMutex*>(alone));
    }
  }

  void List(VornMutex& guard) {
    guard.m_next = m_listed;
    m_listed = &guard;
  }

  void Unlist(VornMutex& guard) {
    VornMutex** link = &m_listed;
    while (*link != &guard) {
      link = &(*link)->m_next;
    }
    *link = guard.m_next;
  }

  bool IsListed(const std::string& name) const {
    const VornMutex* guard = m_listed;
    while (guard != nullptr && guard->m_name != name) {
      guard = guard->m_next;
    }
    return guard != nullptr;
  }

  // The guard that is alone here; the shard itself while the list is in use.
  std::atomic<void*> m_alone{nullptr};
  std::mutex m_mutex;
  std::condition_variable m_released;
  VornMutex* m_listed = nullptr;
  bool m_isAwaited = false;
};

namespace {

using Shards = std::array<Shard, 256>;

Shards& AllShards() {
  // Never destroyed: guards may be made until the process is gone.
  static auto* const shards = new Shards;  // NOLINT(*-avoid-non-const-global-variables)
  return *shards;
}

// Containers' names are addresses, mostly of 8 digits or more, and of at most 16: their
// two ends tell them apart.
std::size_t HashOf(const std::string& name) {
  std::uint64_t first = 0;
  std::uint64_t last = 0;
  if (name.size() < sizeof first) {
    return std::hash<std::string>()(name);
  }
  std::memcpy(&first, name.data(), sizeof first);
  std::memcpy(&last, name.data() + name.size() - sizeof last, sizeof last);
  constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;  // 2^64 by the golden ratio
  // Twice, since a multiplication passes differences on to higher bits only.
  const std::uint64_t mixed = (first ^ (last << 1)) * kMultiplier;
  return static_cast<std::size_t>(((mixed ^ (mixed >> 32)) * kMultiplier) >> 48);
}

Shard* ShardOf(const std::string& name) {
  Shards& shards = AllShards();
  return &shards[HashOf(name) % shards.size()];
}

}  // namespace

}  // namespace vornutil

VornMutex::VornMutex(const char* name) : m_name(name), m_shard(vornutil::ShardOf(m_name)) {}

VornMutex::~VornMutex() { Unlock(); }

void VornMutex::Lock() {
  m_shard->Hold(*this);
  m_isLocked = true;
}

void VornMutex::Unlock() {
  if (m_isLocked) {
    m_isLocked = false;
    m_shard->Release(*this);
  }
}

int VornMutex::CountNames() {
  int count = 0;
  for (vornutil::Shard& shard : vornutil::AllShards()) {
    count += shard.CountHolders();
  }
  return count;
}
