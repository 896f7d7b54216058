/// @file
/// From a prepared statement to a cursor.

#ifndef VORNDATABASE_DATABASEPARSER_H
#define VORNDATABASE_DATABASEPARSER_H

struct sqlite3;
struct sqlite3_stmt;

class Cursor;

/// Steps a statement that was prepared with the legacy `sqlite3_prepare` and
/// turns its rows into the library's own results.
///
/// `Database` makes one per query; applications have no need of it. Neither
/// parse finalizes the statement or closes the connection.
///
/// **Stepping.** A busy step is repeated under the rule of `IsRetryLimit`. After
/// an error one more step is made, and its code is the one returned; as the
/// legacy interface restarts a failed statement, that code may well be 100
/// (`SQLITE_ROW`), and its row is not read. So it is for a file that becomes free
/// for the last attempt only: nothing is found in it. Any other code is stepped
/// over at once, without limit. Rows already copied stay in the cursor when a
/// parse stops early.
///
/// **Threads.** The class has no state.
///
/// **Log.** No trace lines. The lines that stand with the members, and those of
/// `IsRetryLimit` while a step is busy, carry the file name
/// `DatabasePasrser.cpp`.
class DatabaseParser {
 public:
  /// Does nothing: there is no state.
  DatabaseParser();
  /// Does nothing: there is no state.
  virtual ~DatabaseParser();

  /// Does nothing: there is no state to copy.
  DatabaseParser(const DatabaseParser&) = default;
  /// Does nothing: there is no state to copy.
  /// @return this object.
  DatabaseParser& operator=(const DatabaseParser&) = default;

  /// Steps a query whose first column is a count.
  ///
  /// @param stmt the prepared statement; stays the caller's.
  /// @param[out] exists written on every return: true when some row's count was
  ///        positive.
  /// @return result code of the last `sqlite3_step`; 101 (`SQLITE_DONE`) after a
  ///         complete run.
  ///
  /// Log: "SQLITE STEP ERROR!!!" (6) for a step that fails with code 1.
  int ParseExistTable(sqlite3_stmt* stmt, bool& exists);

  /// Steps a query to its end and fills a cursor with its rows.
  ///
  /// Integers, floating-point numbers and texts are stored in SQLite's own text
  /// rendering; NULL is stored as the empty text, and so is a blob. The columns
  /// are declared when the first row arrives: without a row there are none.
  ///
  /// @param db the statement's connection, for the text of errors; stays the
  ///        caller's.
  /// @param stmt the prepared statement; stays the caller's.
  /// @param cursor emptied first, then filled.
  /// @return result code of the last `sqlite3_step`; 101 (`SQLITE_DONE`) after a
  ///         complete run.
  /// @throws std::logic_error when SQLite, short of memory, hands out no text.
  /// @throws std::bad_alloc when memory is exhausted.
  ///
  /// Log: "SQLITE STEP ERROR!!! %s" (6) with SQLite's text for a step that fails
  /// with code 1; "UNKNOWN TYPE" (6) for each blob.
  int ParseDatabase(sqlite3* db, sqlite3_stmt* stmt, Cursor& cursor);

  /// The rule, the constants and the log lines of `Database::IsRetryLimit`.
  ///
  /// @param[in,out] count busy results so far in the caller's loop; incremented.
  /// @return as there.
  bool IsRetryLimit(int& count);
};

#endif  // VORNDATABASE_DATABASEPARSER_H
