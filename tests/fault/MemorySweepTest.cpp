// Memory runs out at every point of every operation: the library's own, and
// SQLite's.

#include <gtest/gtest.h>

#include "FakePlatform.h"
#include "HeapSpy.h"
#include "LibraryTest.h"
#include "SqliteHeap.h"
#include "Sweep.h"

namespace {

Fault OwnMemory(bool protectsLog) {
  return {protectsLog ? "the library's memory, protected lines" : "the library's memory",
          heap_spy::FailAfter, heap_spy::FailNever, protectsLog};
}

Fault SqliteMemory() { return {"SQLite's memory", sqlite_heap::FailAfter, sqlite_heap::FailNever}; }

class MemorySweepTest : public LibraryTest, public ::testing::WithParamInterface<SubjectMaker> {};

TEST_P(MemorySweepTest, TheLibrarysOwn) { EXPECT_GT(SweepOver(GetParam(), OwnMemory(false)), 0); }

// Lines that are converted take memory, too.
TEST_P(MemorySweepTest, TheLibrarysOwnWithProtectedLines) {
  EXPECT_GT(SweepOver(GetParam(), OwnMemory(true)), 0);
}

TEST_P(MemorySweepTest, SqliteS) { EXPECT_GT(SweepOver(GetParam(), SqliteMemory()), 0); }

TEST_P(MemorySweepTest, SqliteSWithAHotJournal) {
  EXPECT_GT(SweepOver(GetParam(), SqliteMemory(), Journal::kHot), 0);
}

INSTANTIATE_TEST_SUITE_P(, MemorySweepTest, ::testing::ValuesIn(AllSubjects()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
