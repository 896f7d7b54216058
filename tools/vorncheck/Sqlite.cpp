// The functions of SQLite that show the course of an operation.

#include <sqlite3.h>

#include "Next.h"
#include "Operation.h"

using vorncheck::Aside;
using vorncheck::Operation;

namespace {

// SQLite calls its own functions, too.
// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local bool isInside = false;

// Calls the next definition. If an operation calls, it is shown the result.
template <typename Call, typename Show>
int Observe(Call call, Show show) {
  Operation* const operation = isInside ? nullptr : Operation::Current();
  if (operation == nullptr) {
    return call();
  }
  isInside = true;
  const int result = call();
  isInside = false;
  Aside([&] { show(*operation, result); });
  return result;
}

// Likewise for a call that is repeated while the file is busy.
template <typename Call, typename Show>
int ObserveAttempt(Call call, Show show) {
  if (Operation* const operation = isInside ? nullptr : Operation::Current()) {
    operation->BeginAttempt();
  }
  return Observe(call, [&](Operation& operation, int result) {
    show(operation, result);
    operation.EndAttempt(result);
  });
}

const char* Message(sqlite3* connection) { return VORN_NEXT(sqlite3_errmsg)(connection); }

}  // namespace

// SQLite's header has other names for the parameters.
// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name)

int sqlite3_open(const char* path, sqlite3** connection) {
  return ObserveAttempt(
      [&] { return VORN_NEXT(sqlite3_open)(path, connection); },
      [&](Operation& operation, int result) { operation.Open(path, *connection, result); });
}

int sqlite3_close(sqlite3* connection) {
  return Observe([&] { return VORN_NEXT(sqlite3_close)(connection); },
                 [&](Operation& operation, int) { operation.Close(connection); });
}

int sqlite3_exec(sqlite3* connection, const char* sql, int (*callback)(void*, int, char**, char**),
                 void* data, char** error) {
  return ObserveAttempt(
      [&] { return VORN_NEXT(sqlite3_exec)(connection, sql, callback, data, error); },
      [&](Operation& operation, int) { operation.Run(sql); });
}

int sqlite3_prepare(sqlite3* connection, const char* sql, int length, sqlite3_stmt** statement,
                    const char** tail) {
  return ObserveAttempt(
      [&] { return VORN_NEXT(sqlite3_prepare)(connection, sql, length, statement, tail); },
      [&](Operation& operation, int) { operation.Run(sql); });
}

int sqlite3_step(sqlite3_stmt* statement) {
  return ObserveAttempt([&] { return VORN_NEXT(sqlite3_step)(statement); },
                        [&](Operation& operation, int result) {
                          operation.Step(result);
                          if (result != SQLITE_ROW && result != SQLITE_DONE) {
                            operation.Fail(Message(VORN_NEXT(sqlite3_db_handle)(statement)));
                          }
                        });
}

int sqlite3_finalize(sqlite3_stmt* statement) {
  sqlite3* const connection =
      Operation::Current() != nullptr ? VORN_NEXT(sqlite3_db_handle)(statement) : nullptr;
  return Observe([&] { return VORN_NEXT(sqlite3_finalize)(statement); },
                 [&](Operation& operation, int result) {
                   // Some failures have their text by now only.
                   if (result != SQLITE_OK) {
                     operation.Fail(Message(connection));
                   }
                 });
}

int sqlite3_column_type(sqlite3_stmt* statement, int column) {
  return Observe([&] { return VORN_NEXT(sqlite3_column_type)(statement, column); },
                 [](Operation& operation, int type) { operation.ReadCell(type); });
}

// NOLINTEND(readability-inconsistent-declaration-parameter-name)
