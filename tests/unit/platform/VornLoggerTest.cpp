#include "VornLogger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "RunOnThreads.h"

namespace {

using ::testing::SizeIs;

TEST(VornLoggerTest, IsOnePerProcess) {
  EXPECT_NE(nullptr, VornLogger::GetInstance());
  EXPECT_EQ(VornLogger::GetInstance(), VornLogger::GetInstance());
}

TEST(VornLoggerTest, DoesNotConvertUnlessTold) {
  VornLogger* const logger = VornLogger::GetInstance();
  EXPECT_FALSE(logger->GetEncryptionFlag());
  logger->SetEncryptionFlag(true);
  EXPECT_TRUE(logger->GetEncryptionFlag());
  logger->SetEncryptionFlag(false);
  EXPECT_FALSE(logger->GetEncryptionFlag());
}

TEST(VornLoggerTest, TheProtectedFormHasEveryByteAndNoText) {
  VornLogger* const logger = VornLogger::GetInstance();
  EXPECT_EQ("<protected 8 776f52207473614c>", logger->ConvertToSecureLog("Last Row"));
  EXPECT_EQ("<protected 3 ff00c3>", logger->ConvertToSecureLog(std::string("\xC3\0\xFF", 3)));
  EXPECT_EQ("<protected 0 >", logger->ConvertToSecureLog(""));
}

TEST(VornLoggerTest, HasATag) { EXPECT_STREQ("VORN", VornLogger::GetInstance()->GetLogTag()); }

TEST(VornLoggerTest, AThreadKeepsItsBuffer) {
  VornLogger* const logger = VornLogger::GetInstance();
  const int index = logger->GetBufferIndex();
  EXPECT_EQ(index, logger->GetBufferIndex());
  char* const buffer = VornLogger::GetBuffer(index);
  EXPECT_EQ(buffer, VornLogger::GetBuffer(index));
  std::memset(buffer, 'x', 599);
}

TEST(VornLoggerTest, LivingThreadsHaveBuffersOfTheirOwn) {
  constexpr int kThreads = 20;
  std::atomic<int> missing{kThreads};
  std::vector<char*> buffers(kThreads);
  RunOnThreads(kThreads, [&](int thread) {
    char* const mine = VornLogger::GetBuffer(VornLogger::GetInstance()->GetBufferIndex());
    std::memset(mine, 'x', 599);
    buffers[static_cast<std::size_t>(thread)] = mine;
    // None ends before all have theirs.
    for (--missing; missing > 0;) {
      std::this_thread::yield();
    }
  });
  EXPECT_THAT(std::set<char*>(buffers.begin(), buffers.end()), SizeIs(kThreads));
}

TEST(VornLoggerTest, AThreadThatEndsPassesItsBufferOn) {
  std::set<int> indices;
  for (int round = 0; round < 10; ++round) {
    std::thread([&] { indices.insert(VornLogger::GetInstance()->GetBufferIndex()); }).join();
  }
  EXPECT_EQ(1U, indices.size());
}

TEST(VornLoggerTest, AnUnknownIndexThrows) {
  EXPECT_THROW(VornLogger::GetBuffer(-1), std::out_of_range);
  EXPECT_THROW(VornLogger::GetBuffer(1000000), std::out_of_range);
}

}  // namespace
