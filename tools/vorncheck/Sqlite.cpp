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
template <typename Note, typename Function, typename... Arguments>
int Observe(Note note, Function next, Arguments... arguments) {
  Operation* const operation = std::exchange(Operation::current, nullptr);
  if (operation != nullptr) {
    operation->NoteRepeated();
  }
  const int result = next(arguments...);
  if (operation != nullptr) {
    Check([&] { note(*operation, result); });
  }
  Operation::current = operation;
  return result;
}

// The text of the last error. The functions are found before the check.
auto ErrorOf(sqlite3_stmt* statement) {
  return [connection = VORN_NEXT(sqlite3_db_handle)(statement),
          message = VORN_NEXT(sqlite3_errmsg)] { return message(connection); };
}

}  // namespace

// SQLite's header has other names for the parameters.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

int sqlite3_open(const char* path, sqlite3** connection) {
  const auto note = [&](Operation& operation, int result) {
    operation.path = path;
    operation.NoteAttempt(result);
    if (result != SQLITE_OK && *connection != nullptr) {
      operation.leaked.insert(*connection);
    }
  };
  return Observe(note, VORN_NEXT(sqlite3_open), path, connection);
}

int sqlite3_close(sqlite3* connection) {
  const auto note = [&](Operation& operation, int /*result*/) {
    operation.leaked.erase(connection);
  };
  return Observe(note, VORN_NEXT(sqlite3_close), connection);
}

int sqlite3_exec(sqlite3* connection, const char* sql, int (*callback)(void*, int, char**, char**),
                 void* data, char** error) {
  const auto note = [&](Operation& operation, int result) {
    operation.NoteStatement(sql);
    operation.NoteAttempt(result);
  };
  return Observe(note, VORN_NEXT(sqlite3_exec), connection, sql, callback, data, error);
}

int sqlite3_prepare(sqlite3* connection, const char* sql, int length, sqlite3_stmt** statement,
                    const char** tail) {
  const auto note = [&](Operation& operation, int result) {
    operation.NoteStatement(sql);
    operation.NoteAttempt(result);
  };
  return Observe(note, VORN_NEXT(sqlite3_prepare), connection, sql, length, statement, tail);
}

int sqlite3_step(sqlite3_stmt* statement) {
  const auto note = [error = ErrorOf(statement)](Operation& operation, int result) {
    operation.step = result;
    operation.NoteAttempt(result);
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
      operation.failure = error();
    }
  };
  return Observe(note, VORN_NEXT(sqlite3_step), statement);
}

int sqlite3_finalize(sqlite3_stmt* statement) {
  // Some failures have their text by now only.
  const auto note = [error = ErrorOf(statement)](Operation& operation, int result) {
    if (result != SQLITE_OK) {
      operation.failure = error();
    }
  };
  return Observe(note, VORN_NEXT(sqlite3_finalize), statement);
}

int sqlite3_column_type(sqlite3_stmt* statement, int column) {
  const auto note = [&](Operation& operation, int type) {
    operation.rows += column == 0 ? 1 : 0;
    if (type == SQLITE_NULL || type == SQLITE_BLOB) {
      operation.emptyCells.emplace_back(operation.cells, type == SQLITE_BLOB);
    }
    ++operation.cells;
  };
  return Observe(note, VORN_NEXT(sqlite3_column_type), statement, column);
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
