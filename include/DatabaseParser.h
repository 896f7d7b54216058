/// @file
/// From a prepared statement to a cursor.

#ifndef VORNDATABASE_DATABASEPARSER_H
#define VORNDATABASE_DATABASEPARSER_H

struct sqlite3;
struct sqlite3_stmt;

class Cursor;

/// Steps a statement that was prepared with the legacy `sqlite3_prepare`, and stores its rows.
/// `Database` makes one for each query; applications do not need it.
///
/// A parse returns the result of its last `sqlite3_step`: 101 (`SQLITE_DONE`) after a complete run.
/// A busy step is repeated under the policy of `IsRetryLimit`. The step after its limit is the
/// last, and so is the step after an error; a row of the last step is not read. (The legacy
/// interface restarts a failed statement, so that step may well return a row.) Any other code is
/// stepped over, without limit; `ParseExistTable` reads it as a row. A null statement is stepped for
/// ever. Rows already stored stay. Neither parse finalizes the statement or closes the connection.
///
/// There is no state, and so no lock. Records have the file name `DatabasePasrser.cpp`; entries are
/// not logged.
class DatabaseParser {
 public:
  /// There is no state.
  DatabaseParser();
  /// There is no state.
  virtual ~DatabaseParser();

  /// There is no state to copy.
  DatabaseParser(const DatabaseParser&) = default;
  /// There is no state to copy.
  DatabaseParser& operator=(const DatabaseParser&) = default;

  /// Stores in `exists`, on every return, whether the first column of any row was positive. Logs
  /// "SQLITE STEP ERROR!!!" for a step that fails with code 1.
  int ParseExistTable(sqlite3_stmt* stmt, bool& exists);

  /// Empties the cursor and fills it with the rows: numbers and strings in SQLite's text form, NULL
  /// and blobs as the empty string. The first row declares the columns; without one there are none.
  /// Logs "SQLITE STEP ERROR!!! %s" with the text of the connection `db` for a step that fails with
  /// code 1, and "UNKNOWN TYPE" for each blob. Throws `std::logic_error` if SQLite, short of
  /// memory, returns no text, and `std::bad_alloc`.
  int ParseDatabase(sqlite3* db, sqlite3_stmt* stmt, Cursor& cursor);

  /// The same policy and records as `Database::IsRetryLimit`.
  bool IsRetryLimit(int& count);
};

#endif  // VORNDATABASE_DATABASEPARSER_H
