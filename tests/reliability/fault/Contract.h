// What an operation owes its caller, worked out from what SQLite answered to its
// calls: the oracle of the sweeps. To work it out takes nothing of the library.

#ifndef VORN_TESTS_FAULT_CONTRACT_H
#define VORN_TESTS_FAULT_CONTRACT_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Cursor.h"
#include "SqliteSpy.h"

namespace contract {

// Everything that a cursor holds.
struct CursorImage {
  std::vector<std::string> names;
  std::map<std::string, std::vector<std::string>> cells;
  int position = -1;
};
bool operator==(const CursorImage& left, const CursorImage& right);
std::ostream& operator<<(std::ostream& stream, const CursorImage& image);
CursorImage ImageOf(Cursor& cursor);

// One of the operations, by what distinguishes it from the others.
struct Operation {
  std::string member;
  std::string success;               // the word of a write's success line; empty: a query
  std::string failure;               // the word of its failure line
  bool reportsOpenFailure = false;   // with a line of its own
  bool fillsCursor = false;          // else, if it is a query, it sets a flag
  std::string requestFile;           // the request's source file
  std::vector<std::string> getters;  // of the request, in the order of their traces
  std::string directory, fileName;   // its database file
};

// How the operation ended.
enum class End { kReturned, kBadAlloc, kLogicError };

struct Owed {
  End end = End::kReturned;
  int result = 0;                    // if it returned
  std::vector<std::string> lines;    // as fake::Lines gives them
  std::size_t linesForSure = 0;      // so many of them if it threw
  std::vector<CursorImage> cursors;  // one of these
  bool exists = false;
  int waits = 0;
  int connectionsLeft = 0;  // open, by contract
  int textsLeft = 0;        // of SQLite's, not freed, by contract
  std::string deviation;    // the call that should not have been made; empty: none
};

// `end` is what happened: after an exception, less is sure. `cursor` and `exists`
// are what the caller's held before.
Owed WorkOut(const Operation& operation, const std::vector<sqlite_spy::Reply>& replies, End end,
             const CursorImage& cursor, bool exists);

}  // namespace contract

#endif  // VORN_TESTS_FAULT_CONTRACT_H
