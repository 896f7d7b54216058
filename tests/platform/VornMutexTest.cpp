#include "VornMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

namespace {

// Long enough for a thread that can go on to have gone on.
constexpr std::chrono::milliseconds kWhile(50);

// Expects that another thread gets the lock of that name once `holder`, which has
// it, lets go, and not before.
void ExpectToBeHeldBy(VornMutex& holder, const std::string& name) {
  std::atomic<bool> isLocked{false};
  std::thread other([&] {
    VornMutex guard(name.c_str());
    guard.Lock();
    isLocked = true;
    guard.Unlock();
  });
  std::this_thread::sleep_for(kWhile);
  EXPECT_FALSE(isLocked);
  holder.Unlock();
  other.join();
  EXPECT_TRUE(isLocked);
}

TEST(VornMutexTest, EqualNamesShareOneLock) {
  VornMutex holder("name");
  holder.Lock();
  ExpectToBeHeldBy(holder, "name");
}

TEST(VornMutexTest, UnequalNamesDoNotWaitForEachOther) {
  // The other thread takes more names than the registry has parts, so that some
  // share one with a name that is held.
  std::vector<std::unique_ptr<VornMutex>> guards;
  for (int name = 0; name < 50; ++name) {
    guards.push_back(std::make_unique<VornMutex>(std::to_string(name).c_str()));
    guards.back()->Lock();
  }
  auto other = std::async(std::launch::async, [] {
    for (int name = 50; name < 1000; ++name) {
      VornMutex guard(std::to_string(name).c_str());
      guard.Lock();
      guard.Unlock();
    }
  });
  EXPECT_EQ(std::future_status::ready, other.wait_for(std::chrono::seconds(20)));
}

TEST(VornMutexTest, ALockGoesWithItsLastGuard) {
  ASSERT_EQ(0, VornMutex::CountNames());
  {
    VornMutex first("name");
    VornMutex second("name");
    VornMutex other("other");
    EXPECT_EQ(2, VornMutex::CountNames());
  }
  EXPECT_EQ(0, VornMutex::CountNames());
}

TEST(VornMutexTest, AGuardDestroyedWhileLockedLeavesTheNameUsable) {
  VornMutex survivor("name");
  try {
    VornMutex guard("name");
    guard.Lock();
    throw std::string("an exception");
  } catch (const std::string&) {
  }
  survivor.Lock();
  survivor.Unlock();
  VornMutex later("name");
  later.Lock();
  later.Unlock();
}

TEST(VornMutexTest, DestructionOfAnUnlockedGuardLeavesTheHolderAlone) {
  VornMutex holder("name");
  holder.Lock();
  { VornMutex bystander("name"); }
  ExpectToBeHeldBy(holder, "name");
}

TEST(VornMutexTest, UnlockOfAnUnlockedGuardDoesNothing) {
  VornMutex holder("name");
  holder.Lock();
  VornMutex bystander("name");
  bystander.Unlock();
  ExpectToBeHeldBy(holder, "name");
}

TEST(VornMutexTest, TheEmptyNameIsAName) {
  VornMutex guard("");
  guard.Lock();
  guard.Unlock();
  EXPECT_EQ(1, VornMutex::CountNames());
}

// Run under a sanitizer for threads, this shows that it sees the lock.
TEST(VornMutexTest, GuardsMadeAfreshInEveryCallExcludeEachOther) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 5000;
  int counter = 0;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&counter] {
      for (int round = 0; round < kRounds; ++round) {
        VornMutex guard("counter");
        guard.Lock();
        ++counter;
        guard.Unlock();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(kThreads * kRounds, counter);
  EXPECT_EQ(0, VornMutex::CountNames());
}

}  // namespace
