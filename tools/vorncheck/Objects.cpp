#include "Objects.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_map>

#include "Next.h"
#include "Report.h"
#include "TheOnly.h"

namespace vorncheck {
namespace {

// Threads that use different objects seldom wait for one another.
struct Shard {
  std::mutex mutex;
  std::unordered_map<const void*, Object> objects;
};

using Shards = std::array<Shard, 16>;

Shard& ShardOf(const void* object) {
  auto& shards = TheOnly<Shards>();
  return shards[reinterpret_cast<std::uintptr_t>(object) / 64 % shards.size()];
}

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local int threadNumber = 0;

Using MakeUsing(Access access, const char* symbol, const void* site) {
  if (threadNumber == 0) {
    threadNumber = static_cast<int>(syscall(SYS_gettid));
  }
  // The address is the thread's own.
  return {&threadNumber, threadNumber, access, symbol, site};
}

bool AreInOrder(const Using& one, const Using& other) {
  return one.thread == other.thread ||
         (one.access == other.access && one.access != Access::kChange);
}

Finding Conflict(const Using& mine, const Using& other) {
  const auto number = [](const Using& use) { return std::to_string(use.number); };
  Finding finding(NameOf(mine.symbol) + " on thread " + number(mine) + " uses an object while " +
                  NameOf(other.symbol) + " on thread " + number(other) + " uses it");
  finding.stacks = {{"this thread", StackFrom(mine.site)}, {"the other thread", {other.site}}};
  return finding;
}

}  // namespace

LockedObject::LockedObject(const void* address) {
  Shard& shard = ShardOf(address);
  m_lock = std::unique_lock<std::mutex>(shard.mutex);
  m_object = &shard.objects[address];
}

void Forget(const void* object) {
  Shard& shard = ShardOf(object);
  const std::lock_guard<std::mutex> lock(shard.mutex);
  shard.objects.erase(object);
}

Use::Use(const void* object, Access access, const char* symbol, const void* site) noexcept
    : m_object(object) {
  Aside([&] {
    const Using mine = MakeUsing(access, symbol, site);
    Using other{};
    {
      LockedObject locked(object);
      for (const Using& use : locked->uses) {
        if (!AreInOrder(mine, use)) {
          other = use;
          m_isAlone = false;
        }
      }
      locked->uses.push_back(mine);
    }
    if (!m_isAlone) {
      Report(Kind::kConcurrentChange, site, [&] { return Conflict(mine, other); });
    }
  });
}

Use::~Use() {
  Aside([&] {
    Shard& shard = ShardOf(m_object);
    const std::lock_guard<std::mutex> lock(shard.mutex);
    // A destructor has removed it.
    const auto object = shard.objects.find(m_object);
    if (object == shard.objects.end()) {
      return;
    }
    auto& uses = object->second.uses;
    const auto mine = std::find_if(uses.begin(), uses.end(),
                                   [](const Using& use) { return use.thread == &threadNumber; });
    if (mine != uses.end()) {
      uses.erase(mine);
    }
  });
}

void LockObjects() {
  for (Shard& shard : TheOnly<Shards>()) {
    shard.mutex.lock();
  }
}

void UnlockObjects() {
  for (Shard& shard : TheOnly<Shards>()) {
    shard.mutex.unlock();
  }
}

void ForgetUses() {
  threadNumber = 0;
  for (Shard& shard : TheOnly<Shards>()) {
    for (auto& entry : shard.objects) {
      entry.second.uses.clear();
    }
  }
}

}  // namespace vorncheck
