#include "VornMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <iterator>
#include <list>
#include <string>
#include <thread>
#include <vector>

#include "RunOnThreads.h"

namespace {

class VornMutexTest : public ::testing::Test {
 protected:
  void TearDown() override {
    held.clear();
    EXPECT_EQ(0, VornMutex::CountNames());
  }

  // Long enough for a thread that can go on to have gone on. Where it is not, as on a busy
  // machine, a test notices less, and does not fail.
  static void WaitAWhile() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

  // Expects that another thread gets the lock of that name once `holder`, which has
  // it, lets go, and not before.
  static void ExpectToBeHeldBy(VornMutex& holder, const std::string& name) {
    std::atomic<bool> isLocked{false};
    std::thread other([&] {
      VornMutex guard(name.c_str());
      guard.Lock();
      isLocked = true;
    });
    WaitAWhile();
    EXPECT_FALSE(isLocked);
    holder.Unlock();
    other.join();
    EXPECT_TRUE(isLocked);
  }

  // Holds one more name until the end of the test.
  void Hold(const std::string& name) {
    held.emplace_back(name.c_str());
    held.back().Lock();
  }

  std::list<VornMutex> held;
};

TEST_F(VornMutexTest, EqualNamesShareOneLockAndAreCopied) {
  for (const std::string name : {"name", ""}) {
    std::string buffer = name;
    VornMutex holder(buffer.c_str());
    buffer = "else";
    holder.Lock();
    EXPECT_EQ(1, VornMutex::CountNames());
    ExpectToBeHeldBy(holder, name);
  }
}

// The other thread takes more names than the registry has shards, so that some share one
// with a name that is held. It hangs if it waits.
TEST_F(VornMutexTest, UnequalNamesDoNotWaitForEachOther) {
  for (int name = 0; name < 50; ++name) {
    Hold(std::to_string(name));
  }
  std::thread([] {
    for (int name = 50; name < 1000; ++name) {
      VornMutex guard(std::to_string(name).c_str());
      guard.Lock();
    }
  }).join();
}

TEST_F(VornMutexTest, CountsTheNamesThatAreHeld) {
  VornMutex first("name");
  VornMutex other("other");
  EXPECT_EQ(0, VornMutex::CountNames());
  first.Lock();
  EXPECT_EQ(1, VornMutex::CountNames());
  other.Lock();
  EXPECT_EQ(2, VornMutex::CountNames());
  first.Unlock();
  EXPECT_EQ(1, VornMutex::CountNames());
  other.Unlock();
  EXPECT_EQ(0, VornMutex::CountNames());
}

TEST_F(VornMutexTest, AGuardDestroyedWhileLockedLeavesTheNameUsable) {
  VornMutex survivor("name");
  {
    VornMutex guard("name");
    guard.Lock();
  }
  survivor.Lock();
  survivor.Unlock();
  VornMutex later("name");
  later.Lock();
}

TEST_F(VornMutexTest, AnUnlockedGuardLeavesTheHolderAlone) {
  VornMutex holder("name");
  holder.Lock();
  {
    VornMutex bystander("name");
    bystander.Unlock();
  }
  { VornMutex bystander("name"); }
  ExpectToBeHeldBy(holder, "name");
}

// The hash takes the first and the last eight characters, so many of these names share a shard.
TEST_F(VornMutexTest, NamesOfAnyLengthAreToldApart) {
  for (std::size_t length = 8; length < 40; ++length) {
    std::string name(length, 'n');
    name[length / 2] = 'm';
    Hold(name);
  }
  for (std::size_t length = 0; length < 40; ++length) {
    Hold(std::string(length, 'n'));
  }
  EXPECT_EQ(static_cast<int>(held.size()), VornMutex::CountNames());
  ExpectToBeHeldBy(held.back(), std::string(39, 'n'));
}

// Each thread holds one name until it has the next: threads meet in a shard that another
// name keeps busy, wait there for their own name, and leave it empty. In the first
// rounds a thread gives way now and then, rarely enough for a busy machine.
TEST_F(VornMutexTest, ThreadsExcludeEachOtherNameByName) {
  constexpr std::size_t kNames = 300;
  constexpr int kThreads = 4;
  constexpr int kRounds = 300;
  std::vector<int> counters(kNames);
  RunOnThreads(kThreads, [&counters](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      std::list<VornMutex> guards;
      for (std::size_t name = 0; name < kNames; ++name) {
        guards.emplace_back(std::to_string(name).c_str());
        guards.back().Lock();
        if (guards.size() > 1) {
          guards.pop_front();
        }
        const int seen = counters[name];
        if (round < 20 && name % 60 == static_cast<std::size_t>(thread)) {
          std::this_thread::yield();
        }
        counters[name] = seen + 1;
      }
    }
  });
  EXPECT_EQ(std::vector<int>(kNames, kThreads * kRounds), counters);
}

// More names are held than the registry has shards, so that every shard is in use when two
// threads wait for one more name, and when its holders go, in whatever order.
TEST_F(VornMutexTest, AWaiterIsWokenAmongOtherNames) {
  for (int number = 0; number < 2000; ++number) {
    Hold("7ffc0000" + std::to_string(1000 + number));
  }
  VornMutex holder("7ffc0000abcd");
  holder.Lock();
  std::atomic<int> holders{0};
  std::thread release([&] {
    WaitAWhile();
    EXPECT_EQ(0, holders);
    // Wakes those who wait in the same shard, though not for these names.
    held.erase(held.begin(), std::next(held.begin(), 1000));
    WaitAWhile();
    EXPECT_EQ(0, holders);
    holder.Unlock();
    held.clear();
  });
  RunOnThreads(2, [&holders](int) {
    VornMutex guard("7ffc0000abcd");
    guard.Lock();
    EXPECT_EQ(1, ++holders);
    std::this_thread::yield();
    --holders;
  });
  release.join();
}

// Run under a sanitizer for threads, this shows that it sees the lock.
TEST_F(VornMutexTest, GuardsMadeAfreshInEveryCallExcludeEachOther) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 5000;
  int counter = 0;
  RunOnThreads(kThreads, [&counter](int) {
    for (int round = 0; round < kRounds; ++round) {
      VornMutex guard("counter");
      guard.Lock();
      ++counter;
      guard.Unlock();
    }
  });
  EXPECT_EQ(kThreads * kRounds, counter);
}

}  // namespace
