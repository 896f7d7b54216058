// The operation that runs on a thread, observed through its calls of SQLite, and its checks.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_OPERATION_H
#define VORNDATABASE_TOOLS_VORNCHECK_OPERATION_H

#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Check.h"
#include "Objects.h"

class Cursor;
struct sqlite3;

namespace vorncheck {

struct Operation {
  using Clock = std::chrono::steady_clock;

  // The operation uses the items in some places of its request.
  Operation(const Call& theCall, unsigned thePlaces);
  ~Operation();
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // The statement is checked when it is first known.
  void NoteStatement(const char* statement);

  // A call that finds the file busy is repeated.
  void NoteAttempt(int result);
  void NoteRepeated();

  // The one that runs on this thread, or null.
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  static inline thread_local Operation* current = nullptr;

  const Call call;
  const unsigned places;
  Operation* const outer = current;
  const Clock::time_point start = Clock::now();

  std::string path;
  std::string sql;
  std::string checkedTable;
  std::set<sqlite3*> leaked;

  int waits = 0;
  Clock::time_point busySince;  // or the epoch
  Clock::duration waited{};
  std::string holders;

  int step = 0;  // the last result of stepping
  std::size_t rows = 0;
  std::size_t cells = 0;
  std::vector<std::pair<std::size_t, bool>> emptyCells;
  std::string failure;
};

// The processes that hold a lock of SQLite on a database file, from the system's table of locks,
// such as "process 4711 (settings)".
std::string LockHolders(const std::string& database);

void CheckBefore(const Operation& operation);
void CheckAfter(const Operation& operation, int result);
void CheckCursor(const Operation& operation, const Cursor& cursor);

// Runs an operation between its checks.
template <typename Next>
int Run(const Operation& operation, Next next) {
  const Use use(operation.call);
  Check([&] { CheckBefore(operation); });
  const int result = next();
  Check([&] { CheckAfter(operation, result); });
  return result;
}

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_OPERATION_H
