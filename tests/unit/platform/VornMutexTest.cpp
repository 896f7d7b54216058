#include "VornMutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
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

TEST(VornMutexTest, CountsTheNamesThatAreHeld) {
  ASSERT_EQ(0, VornMutex::CountNames());
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
  VornMutex holder("");
  holder.Lock();
  EXPECT_EQ(1, VornMutex::CountNames());
  ExpectToBeHeldBy(holder, "");
}

TEST(VornMutexTest, TheNameIsCopied) {
  std::string name = "name";
  VornMutex holder(name.c_str());
  name = "else";
  holder.Lock();
  ExpectToBeHeldBy(holder, "name");
}

TEST(VornMutexTest, NamesOfAnyLengthAreToldApart) {
  // They share ends with each other, and are shorter and longer than what is told
  // apart quickly.
  std::vector<std::unique_ptr<VornMutex>> guards;
  for (std::size_t length = 0; length < 40; ++length) {
    guards.push_back(std::make_unique<VornMutex>(std::string(length, 'n').c_str()));
    guards.back()->Lock();
  }
  for (std::size_t length = 8; length < 40; ++length) {
    std::string name(length, 'n');
    name[length / 2] = 'm';
    guards.push_back(std::make_unique<VornMutex>(name.c_str()));
    guards.back()->Lock();
  }
  EXPECT_EQ(static_cast<int>(guards.size()), VornMutex::CountNames());
  ExpectToBeHeldBy(*guards[20], std::string(20, 'n'));
}

// All names are held by turns: threads meet in a part of the registry that another
// name keeps busy, wait there for their own name, and leave it empty.
TEST(VornMutexTest, ThreadsExcludeEachOtherNameByName) {
  constexpr std::size_t kNames = 300;
  constexpr int kThreads = 4;
  constexpr int kRounds = 20;
  std::vector<int> counters(kNames);
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&counters] {
      for (int round = 0; round < kRounds; ++round) {
        for (std::size_t name = 0; name < kNames; ++name) {
          VornMutex guard(std::to_string(name).c_str());
          guard.Lock();
          const int seen = counters[name];
          std::this_thread::yield();
          counters[name] = seen + 1;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(std::vector<int>(kNames, kThreads * kRounds), counters);
  EXPECT_EQ(0, VornMutex::CountNames());
}

// More names are held than the registry has parts, so that every part is in use when two
// threads wait for one more name, and when its holders go, in whatever order.
TEST(VornMutexTest, AWaiterIsWokenAmongOtherNames) {
  std::vector<std::unique_ptr<VornMutex>> others;
  for (int number = 0; number < 2000; ++number) {
    others.push_back(
        std::make_unique<VornMutex>(("7ffc0000" + std::to_string(1000 + number)).c_str()));
    others.back()->Lock();
  }
  VornMutex holder("7ffc0000abcd");
  holder.Lock();
  std::atomic<int> holders{0};
  std::vector<std::thread> waiters;
  for (int thread = 0; thread < 2; ++thread) {
    waiters.emplace_back([&holders] {
      VornMutex guard("7ffc0000abcd");
      guard.Lock();
      EXPECT_EQ(1, ++holders);
      std::this_thread::sleep_for(kWhile / 10);
      --holders;
      guard.Unlock();
    });
  }
  std::this_thread::sleep_for(kWhile);
  EXPECT_EQ(0, holders);
  // Wakes those who wait in the same part, though not for these names.
  others.erase(others.begin(), others.begin() + 1000);
  std::this_thread::sleep_for(kWhile);
  EXPECT_EQ(0, holders);
  holder.Unlock();
  others.clear();
  for (std::thread& waiter : waiters) {
    waiter.join();
  }
  EXPECT_EQ(0, VornMutex::CountNames());
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
