#include "SqliteHeap.h"

#include <sqlite3.h>

#include <cstdlib>

namespace sqlite_heap {

namespace {

FaultPoint faultPoint;
sqlite3_mem_methods real;

void* Allocate(int size) { return faultPoint.Fails() ? nullptr : real.xMalloc(size); }

void* Reallocate(void* block, int size) {
  return faultPoint.Fails() ? nullptr : real.xRealloc(block, size);
}

// SQLite takes another heap only before its first use.
const bool kInstalled = [] {
  if (sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0) != SQLITE_OK ||
      sqlite3_config(SQLITE_CONFIG_GETMALLOC, &real) != SQLITE_OK) {
    std::abort();
  }
  sqlite3_mem_methods methods = real;
  methods.xMalloc = Allocate;
  methods.xRealloc = Reallocate;
  if (sqlite3_config(SQLITE_CONFIG_MALLOC, &methods) != SQLITE_OK) {
    std::abort();
  }
  return true;
}();

}  // namespace

void FailAfter(int successes, FaultPoint::Kind kind) { faultPoint.Set(successes, kind); }

int FailNever() {
  faultPoint.Clear();
  return faultPoint.Failures();
}

}  // namespace sqlite_heap
