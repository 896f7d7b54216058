// Runs an operation of the library on one file, and the statement that it should
// make of it on a copy of that file, over a connection of the test's own. Both must
// come to the same.

#ifndef VORN_TESTS_HOSTILE_HOSTILETEST_H
#define VORN_TESTS_HOSTILE_HOSTILETEST_H

#include <functional>
#include <string>
#include <vector>

#include "Cursor.h"
#include "Database.h"
#include "LibraryTest.h"
#include "TemporaryDatabase.h"

using Strings = std::vector<std::string>;

// What SQLite, asked directly, says to a statement.
struct Verdict {
  int code = 0;
  std::string message;        // empty when it accepts
  Strings columns;            // of a query that has rows
  std::vector<Strings> rows;  // NULL as an empty text
};

// What is to be logged about an operation.
struct Operation {
  const char* member;
  const char* word;  // the first of its message
  enum Kind { kWrite, kQuery, kExistence } kind;
};

constexpr Operation kUpdate = {"Update", "update", Operation::kWrite};
constexpr Operation kDelete = {"Delete", "delete", Operation::kWrite};
constexpr Operation kUpsert = {"Upsert", "Upsert", Operation::kWrite};
constexpr Operation kCreateTable = {"CreateTable", "createTable", Operation::kWrite};
constexpr Operation kDropTable = {"DropTable", "DropTable", Operation::kWrite};
constexpr Operation kSelect = {"Select", "SELECT", Operation::kQuery};
constexpr Operation kJoinSelect = {"JoinSelect", "JoinSelect", Operation::kQuery};
constexpr Operation kCheckExistTable = {"CheckExistTable", "CheckExistTable",
                                        Operation::kExistence};

// Two tables, `contact` with the columns uid and name and `note` with id, owner and
// body; and the objects of a caller.
class HostileTest : public LibraryTest {
 protected:
  HostileTest();

  // Both files as they were made.
  void StartAfresh();

  // Runs `run` and expects exactly what SQLite makes of `sql`. The caller's objects
  // must be usable afterwards. Returns SQLite's verdict.
  Verdict ExpectVerdict(const Operation& operation, const std::string& sql,
                        const std::function<int()>& run);

  // Gives a request the location, and its table.
  template <typename Request>
  void Address(Request& request, const char* table) {
    file.Locate(request);
    request.SetTable(table);
  }

  bool IsUntouched() const;
  Strings Tables() const;

  TemporaryDatabase file;
  Database database;
  Cursor cursor;
  bool exists = false;

 private:
  void ExpectCalls(const Operation& operation, const std::string& sql) const;
  void ExpectLog(const Operation& operation, const Verdict& verdict) const;
  void ExpectResult(const Operation& operation, const Verdict& verdict);
  void ExpectUsable();

  TemporaryDatabase m_copy;
  std::string m_pristine;
};

// The verdict of a connection of the test's own.
Verdict Ask(const std::string& path, const std::string& sql, Operation::Kind kind);

// All lines but the traces of requests and cursor.
Strings OperationLines();

#endif  // VORN_TESTS_HOSTILE_HOSTILETEST_H
