#include "VornMutex.h"

#include <array>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

namespace vornutil {

namespace {
struct Shard;
}

// The lock of one name, as long as it has users.
struct NamedLock {
  std::mutex mutex;
  Shard* shard = nullptr;
  const std::string* name = nullptr;  // the key in the shard
  int users = 0;                      // guarded by the shard's mutex
};

namespace {

// A part of the registry. Its mutex is held for a look-up only, and two threads
// meet there only when their names fall into the same shard.
struct Shard {
  std::mutex mutex;
  std::unordered_map<std::string, NamedLock> locks;
};

using Registry = std::array<Shard, 64>;

Registry& Shards() {
  // Never destroyed: guards may be made until the process is gone.
  static auto* const shards = new Registry;  // NOLINT(*-avoid-non-const-global-variables)
  return *shards;
}

NamedLock* Acquire(std::string name) {
  Registry& shards = Shards();
  Shard& shard = shards[std::hash<std::string>()(name) % shards.size()];
  const std::lock_guard<std::mutex> hold(shard.mutex);
  const auto [entry, isNew] = shard.locks.try_emplace(std::move(name));
  NamedLock& lock = entry->second;
  if (isNew) {
    lock.shard = &shard;
    lock.name = &entry->first;
  }
  ++lock.users;
  return &lock;
}

void Release(NamedLock* lock) {
  Shard& shard = *lock->shard;
  const std::lock_guard<std::mutex> hold(shard.mutex);
  if (--lock->users == 0) {
    shard.locks.erase(shard.locks.find(*lock->name));
  }
}

}  // namespace

}  // namespace vornutil

VornMutex::VornMutex(const char* name) : m_lock(vornutil::Acquire(name)) {}

VornMutex::~VornMutex() {
  Unlock();
  vornutil::Release(m_lock);
}

void VornMutex::Lock() {
  m_lock->mutex.lock();
  m_isLocked = true;
}

void VornMutex::Unlock() {
  if (m_isLocked) {
    m_isLocked = false;
    m_lock->mutex.unlock();
  }
}

int VornMutex::CountNames() {
  std::size_t count = 0;
  for (vornutil::Shard& shard : vornutil::Shards()) {
    const std::lock_guard<std::mutex> hold(shard.mutex);
    count += shard.locks.size();
  }
  return static_cast<int>(count);
}
