// The oracle of the sweeps: rules about one run of an operation, which follow from the
// answers that SQLite gave. They share no code, and no structure, with the library.

#ifndef VORN_TESTS_RELIABILITY_FAULT_CONTRACT_H
#define VORN_TESTS_RELIABILITY_FAULT_CONTRACT_H

#include <functional>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "Cursor.h"
#include "Operations.h"
#include "SqliteSpy.h"

namespace contract {

using operations::Strings;

constexpr int kAttempts = 17;  // of a busy call

// Everything that a cursor holds: the names of its columns, their cells, its position.
using CursorImage = std::tuple<Strings, std::map<std::string, Strings>, int>;
CursorImage ImageOf(Cursor& cursor);

enum class End { kReturned, kBadAlloc, kLogicError };

// One run, as far as it can be seen from outside.
struct Run {
  End end = End::kReturned;
  int result = 0;
  Strings lines;
  Strings locks, waits;
  std::vector<sqlite_spy::Reply> replies;
  CursorImage cursorBefore, cursor;
  bool existsBefore = false, exists = false;
};
// Runs an operation; `begin` and `end` are called right before and after.
Run Record(operations::Call& call, Database& database, const std::function<void()>& begin = {},
           const std::function<void()>& end = {});

// Judges a run that has just been made, and releases what it left open by contract. `all` is
// a run with the same request on the same file to which nothing happened.
void Judge(const operations::Operation& operation, const TemporaryDatabase& file, const Run& run,
           const Run& all);

// Every lock was made, taken, released and destroyed; an exception leaves out the release of
// the one that it met. Answers whether it met one.
bool JudgeLocks(const Strings& events, bool threw);

}  // namespace contract

#endif  // VORN_TESTS_RELIABILITY_FAULT_CONTRACT_H
