// The fixture of all tests that run the library on the fakes.

#ifndef VORN_TESTS_SUPPORT_LIBRARYTEST_H
#define VORN_TESTS_SUPPORT_LIBRARYTEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FakePlatform.h"
#include "Journal.h"
#include "SqliteSpy.h"

class LibraryTest : public ::testing::Test {
 protected:
  LibraryTest() { ForgetEvents(); }

  // Whatever a test leaves open by the library's contract, it closes itself.
  void TearDown() override {
    fake::ThrowAtLoggerCall(0);
    EXPECT_THAT(sqlite_spy::OpenStatements(), ::testing::IsEmpty());
    EXPECT_THAT(sqlite_spy::OpenConnections(), ::testing::IsEmpty());
    sqlite_spy::CloseConnections();
  }

  // Starts afresh: no events, no scripts.
  static void ForgetEvents() {
    journal::Clear();
    sqlite_spy::Reset();
    fake::ResetPlatform();
  }
};

#endif  // VORN_TESTS_SUPPORT_LIBRARYTEST_H
