// Runs an operation of the library on one file, and its statement on a copy of that file, over
// a connection of the test's own. Both must come to the same.

#ifndef VORN_TESTS_RELIABILITY_HOSTILE_HOSTILETEST_H
#define VORN_TESTS_RELIABILITY_HOSTILE_HOSTILETEST_H

#include <string>

#include "LibraryTest.h"
#include "Operations.h"
#include "TemporaryDatabase.h"

using operations::Strings;
using operations::Texts;

// The tables of operations::Schema(), and the objects of a caller.
class HostileTest : public LibraryTest {
 protected:
  HostileTest();

  // Both files as they were made.
  void StartAfresh();

  // Runs an operation.
  int Run(const std::string& member, const Texts& texts);

  // Runs an operation and expects exactly SQLite's own answer to its statement, which is
  // returned. The caller's objects must be usable afterwards.
  Answer Expect(const operations::Operation& operation, const Texts& texts);
  // A case of the catalogue with another text.
  Answer Expect(const std::string& name, const std::string& slot, const std::string& text);
  // The same of an operation that has run.
  Answer ExpectAnswer(const std::string& member, const std::string& sql, int code);

  bool IsUntouched() const;
  Strings Tables() const;
  Strings Contacts() const { return file.Rows("SELECT uid FROM contact ORDER BY uid"); }

  TemporaryDatabase file;
  Database database;
  Cursor cursor;
  bool exists = false;

 private:
  void ExpectCalls(const operations::Operation& operation, const std::string& sql) const;
  void ExpectLog(const operations::Operation& operation, const Answer& answer) const;
  void ExpectCursor(const Answer& answer);

  TemporaryDatabase m_copy;
  std::string m_pristine;
};

// All lines but the traces of requests and cursor.
Strings OperationLines();

#endif  // VORN_TESTS_RELIABILITY_HOSTILE_HOSTILETEST_H
