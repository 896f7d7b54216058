// The functions of SQLite that show the course of an operation.

#include <sqlite3.h>

#include <utility>

#include "Check.h"
#include "Next.h"
#include "Operation.h"

using vorncheck::Check;
using vorncheck::Operation;

namespace {

// Passes a call on, and its result to the operation that made it. Calls that SQLite makes itself
// are not observed.
template <typename Call, typename Show>
int Observe(Call call, Show show) {
  Operation* const operation = std::exchange(Operation::Current(), nullptr);
  if (operation != nullptr) {
    operation->NoteRepeated();
  }
  const int result = call();
  if (operation != nullptr) {
    Check([&] { show(*operation, result); });
  }
  Operation::Current() = operation;
  return result;
}

// The same for a call that is repeated while the file is busy.
template <typename Call, typename Show>
int ObserveAttempt(Call call, Show show) {
  return Observe(call, [&](Operation& operation, int result) {
    show(operation, result);
    if (result == SQLITE_BUSY) {
      operation.NoteBusy();
    }
  });
}

}  // namespace

// SQLite's header has other names for the parameters.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

int sqlite3_open(const char* path, sqlite3** connection) {
  return ObserveAttempt([&] { return VORN_NEXT(sqlite3_open)(path, connection); },
                        [&](Operation& operation, int result) {
                          operation.path = path;
                          if (result != SQLITE_OK && *connection != nullptr) {
                            operation.leaked.insert(*connection);
                          }
                        });
}

int sqlite3_close(sqlite3* connection) {
  return Observe([&] { return VORN_NEXT(sqlite3_close)(connection); },
                 [&](Operation& operation, int /*result*/) { operation.leaked.erase(connection); });
}

int sqlite3_exec(sqlite3* connection, const char* sql, int (*callback)(void*, int, char**, char**),
                 void* data, char** error) {
  return ObserveAttempt(
      [&] { return VORN_NEXT(sqlite3_exec)(connection, sql, callback, data, error); },
      [&](Operation& operation, int /*result*/) { operation.NoteStatement(sql); });
}

int sqlite3_prepare(sqlite3* connection, const char* sql, int length, sqlite3_stmt** statement,
                    const char** tail) {
  return ObserveAttempt(
      [&] { return VORN_NEXT(sqlite3_prepare)(connection, sql, length, statement, tail); },
      [&](Operation& operation, int /*result*/) { operation.NoteStatement(sql); });
}

int sqlite3_step(sqlite3_stmt* statement) {
  sqlite3* const connection = VORN_NEXT(sqlite3_db_handle)(statement);
  const auto message = VORN_NEXT(sqlite3_errmsg);
  return ObserveAttempt([&] { return VORN_NEXT(sqlite3_step)(statement); },
                        [&](Operation& operation, int result) {
                          operation.isStepped = true;
                          operation.isComplete = result == SQLITE_DONE;
                          operation.isRowUnread = result == SQLITE_ROW;
                          if (result != SQLITE_ROW && result != SQLITE_DONE) {
                            operation.failure = message(connection);
                          }
                        });
}

int sqlite3_finalize(sqlite3_stmt* statement) {
  sqlite3* const connection = VORN_NEXT(sqlite3_db_handle)(statement);
  const auto message = VORN_NEXT(sqlite3_errmsg);
  return Observe([&] { return VORN_NEXT(sqlite3_finalize)(statement); },
                 [&](Operation& operation, int result) {
                   // Some failures have their text by now only.
                   if (result != SQLITE_OK) {
                     operation.failure = message(connection);
                   }
                 });
}

int sqlite3_column_type(sqlite3_stmt* statement, int column) {
  return Observe([&] { return VORN_NEXT(sqlite3_column_type)(statement, column); },
                 [](Operation& operation, int type) {
                   operation.rows += operation.isRowUnread ? 1 : 0;
                   operation.isRowUnread = false;
                   if (type == SQLITE_NULL || type == SQLITE_BLOB) {
                     operation.emptyCells.emplace_back(operation.cells, type == SQLITE_BLOB);
                   }
                   ++operation.cells;
                 });
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
