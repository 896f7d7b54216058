// Memory runs out at every point of every operation: the library's own, and
// SQLite's.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <stdexcept>

#include "HeapSpy.h"
#include "LibraryTest.h"
#include "Sweep.h"

namespace {

FaultPoint sqlitePoint;
sqlite3_mem_methods heap;

void* Allocate(int size) { return sqlitePoint.Fails() ? nullptr : heap.xMalloc(size); }

void* Reallocate(void* block, int size) {
  return sqlitePoint.Fails() ? nullptr : heap.xRealloc(block, size);
}

// SQLite takes another heap only before its first use. Without the memory that it keeps in hand
// for small things, every request can fail.
const bool kInstalled = [] {
  bool isDone = sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0) == SQLITE_OK &&
                sqlite3_config(SQLITE_CONFIG_GETMALLOC, &heap) == SQLITE_OK;
  sqlite3_mem_methods methods = heap;
  methods.xMalloc = Allocate;
  methods.xRealloc = Reallocate;
  isDone = isDone && sqlite3_config(SQLITE_CONFIG_MALLOC, &methods) == SQLITE_OK;
  return isDone ? isDone : throw std::logic_error("SQLite is in use");
}();

class MemorySweepTest : public LibraryTest,
                        public ::testing::WithParamInterface<operations::Operation> {};

TEST_P(MemorySweepTest, TheLibrarysOwn) {
  EXPECT_GT(SweepOver(GetParam(), {"the library's memory", "allocation", heap_spy::Point(), true}),
            0);
}

// Lines that are converted take memory, too: that of a success comes when all is done.
TEST_P(MemorySweepTest, TheLibrarysOwnWithProtectedLines) {
  EXPECT_GT(SweepOver(GetParam(), {"the library's memory with protected lines", "allocation",
                                   heap_spy::Point(), true, true, true}),
            0);
}

TEST_P(MemorySweepTest, SqliteS) {
  EXPECT_GT(SweepOver(GetParam(), {"SQLite's memory", "allocation", sqlitePoint}), 0);
}

INSTANTIATE_TEST_SUITE_P(, MemorySweepTest, ::testing::ValuesIn(operations::All()),
                         [](const auto& test) { return test.param.member; });

}  // namespace
