// Runs an operation of the library on one file, and the statement that it should
// make of it on a copy of that file, over a connection of the test's own. Both must
// come to the same.

#ifndef VORN_TESTS_HOSTILE_HOSTILETEST_H
#define VORN_TESTS_HOSTILE_HOSTILETEST_H

#include <memory>
#include <string>
#include <vector>

#include "LibraryTest.h"
#include "Operations.h"
#include "TemporaryDatabase.h"

using operations::Strings;
using operations::Texts;

// What SQLite, asked directly, says to a statement.
struct Verdict {
  int code = 0;
  std::string message;        // empty when it accepts
  Strings columns;            // of a query that has rows
  std::vector<Strings> rows;  // NULL as an empty text
};

// The tables of operations::Schema(), and the objects of a caller.
class HostileTest : public LibraryTest {
 protected:
  HostileTest();

  // Both files as they were made.
  void StartAfresh();

  // Runs an operation.
  int Run(const std::string& member, const Texts& texts);

  // Runs an operation and expects exactly what SQLite makes of its statement. The caller's
  // objects must be usable afterwards. Returns SQLite's verdict.
  Verdict Expect(const operations::Operation& operation, const Texts& texts);
  // A case of the catalogue with another text.
  Verdict Expect(const std::string& name, const std::string& slot, const std::string& text);
  // The same of an operation that has run.
  Verdict ExpectVerdict(const std::string& member, const std::string& sql, int code);

  bool IsUntouched() const;
  Strings Tables() const;
  Strings Contacts() const { return file.Rows("SELECT uid FROM contact ORDER BY uid"); }

  TemporaryDatabase file;
  Database database;
  Cursor cursor;
  bool exists = false;

 private:
  void ExpectCalls(const operations::Operation& operation, const std::string& sql) const;
  void ExpectLog(const operations::Operation& operation, const Verdict& verdict) const;
  void ExpectResult(const operations::Operation& operation, const Verdict& verdict);
  void ExpectUsable();

  TemporaryDatabase m_copy;
  std::string m_pristine;
};

// All lines but the traces of requests and cursor.
Strings OperationLines();

#endif  // VORN_TESTS_HOSTILE_HOSTILETEST_H
