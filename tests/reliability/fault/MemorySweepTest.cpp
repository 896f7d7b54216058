// Memory runs out at every point of every operation: the library's own, and
// SQLite's.

#include <gtest/gtest.h>

#include "FakePlatform.h"
#include "HeapSpy.h"
#include "LibraryTest.h"
#include "SqliteHeap.h"
#include "Sweep.h"

namespace {

Fault OwnMemory() {
  return {"the library's memory", "an allocation", heap_spy::FailAfter, heap_spy::FailNever, true};
}

// Lines that are converted take memory, too: that of a success comes when all is
// done.
Fault OwnMemoryWithProtectedLines() {
  Fault fault = OwnMemory();
  fault.kind += " with protected lines";
  fault.protectsLog = true;
  fault.mayComeAfterEffect = true;
  return fault;
}

Fault SqliteMemory() {
  return {"SQLite's memory", "an allocation", sqlite_heap::FailAfter, sqlite_heap::FailNever};
}

class MemorySweepTest : public LibraryTest,
                        public ::testing::WithParamInterface<operations::Operation> {};

TEST_P(MemorySweepTest, TheLibrarysOwn) { EXPECT_GT(SweepOver(GetParam(), OwnMemory()), 0); }

TEST_P(MemorySweepTest, TheLibrarysOwnWithProtectedLines) {
  EXPECT_GT(SweepOver(GetParam(), OwnMemoryWithProtectedLines()), 0);
}

TEST_P(MemorySweepTest, SqliteS) { EXPECT_GT(SweepOver(GetParam(), SqliteMemory()), 0); }

INSTANTIATE_TEST_SUITE_P(, MemorySweepTest, ::testing::ValuesIn(operations::All()),
                         [](const auto& test) { return test.param.member; });

}  // namespace
