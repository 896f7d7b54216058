/// @file
/// The operations on a database file.

#ifndef VORNDATABASE_DATABASE_H
#define VORNDATABASE_DATABASE_H

#include <string>

struct sqlite3;

class BasePath;
class CreateRequest;
class Cursor;
class DeleteRequest;
class DropRequest;
class JoinRequest;
class SelectRequest;
class UpdateRequest;
class UpsertRequest;

/// Runs requests. Each operation opens the database file of its request, creating a missing file,
/// runs one statement and closes the file.
///
/// An operation returns 0 (`SQLITE_OK`), or SQLite's result code of the step that failed: the open
/// (14 for a missing directory), the execution or the preparation (1 for a missing table). **A
/// query returns 0 once its statement is prepared, also if a step fails later**: the cursor is then
/// truncated, and the log has the reason. While SQLite returns `SQLITE_BUSY` (5), the call is
/// repeated under the policy of `IsRetryLimit`.
///
/// A write with result 0 is done. A write with another result is not done at all, except for a
/// failure after the commit: the release of the lock, a removal of the journal that took place and
/// was reported as failed, the truncation of a file with `auto_vacuum`. Then it is done as a whole.
///
/// **Exceptions** pass through: `std::logic_error` for a location that was never set, a null table
/// or column name, or a cell for which SQLite had no memory; `std::bad_alloc`. The file is closed,
/// unless memory ended in the conversion of a record of `OpenDB`. A write is not done, unless
/// memory ended in the conversion of its success record. A cursor is unchanged, or holds the rows
/// so far, of which the last may lack cells. If memory ends in the conversion of a destructor's
/// record, the process ends.
///
/// **Threads.** An object has no state, so any number of threads may share it. During an operation
/// no other thread may change its request, or use its cursor.
///
/// **Log.** Members and the getters of a request log their entry; `IsRetryLimit` and copies do not.
/// An operation also has the records of `OpenDB` and `IsRetryLimit`.
class Database {
 public:
  /// Opens nothing.
  Database();
  /// Closes nothing.
  ~Database();

  /// There is no state to copy.
  Database(const Database&) = default;
  /// There is no state to copy.
  Database& operator=(const Database&) = default;

  /// Writes values into the rows that meet the conditions. Returns 1 if there is no condition,
  /// since the statement is then incomplete (but see `SqlGenerator::GetUpdateSql`). Logs "update
  /// SUCCESS[%d]" or "update FAILED[%d]: %s" with the code and SQLite's text.
  int Update(UpdateRequest& request);

  /// Deletes the rows that meet the conditions, all rows if there is no condition. Returns 0 also
  /// if no row matched. Logs "delete SUCCESS[%d]" or "delete FAILED[%d]: %s".
  int Delete(DeleteRequest& request);

  /// Inserts a row and replaces those with the same key or the same value in a UNIQUE column. Logs
  /// "Upsert SUCCESS[%d]" or "Upsert FAILED[%d]: %s".
  int Upsert(UpsertRequest& request);

  /// Creates a table. An existing table or view of that name, in upper or lower case, is left as it
  /// is, with result 0. Logs "createTable SUCCESS[%d]" or "createTable FAILED[%d]: %s".
  int CreateTable(CreateRequest& request);

  /// Drops a table. Returns 1 if there is none. Logs "DropTable SUCCESS[%d]" or "DropTable
  /// FAILED[%d]: %s".
  int DropTable(DropRequest& request);

  /// Replaces the content of `cursor` by the rows that meet the conditions; leaves it unchanged if
  /// the result is not 0. Logs "OpenDB Error: %d" for a failed open, "SELECT FAILED[%d]: %s" for a
  /// failed preparation, and the records of `DatabaseParser::ParseDatabase`.
  int Select(SelectRequest& request, Cursor& cursor);

  /// Reads an inner join of two tables into `cursor`, as `Select` does. Logs "JoinSelect
  /// FAILED[%d]: %s" for a failed preparation, and the records of `DatabaseParser::ParseDatabase`.
  int JoinSelect(JoinRequest& request, Cursor& cursor);

  /// Stores in `exists` whether a table of exactly that name exists; a view does not count. Leaves
  /// `exists` unchanged if the result is not 0; a failed step gives result 0 and false. The
  /// location may be any request. An undoubled quote in the name breaks the query; a null name
  /// throws `std::logic_error`. Logs "CheckExistTable FAILED[%d]: %s" for a failed preparation, and
  /// the records of `DatabaseParser::ParseExistTable`.
  int CheckExistTable(BasePath& path, const char* table, bool& exists);

  /// Opens a database file, creating a missing one, and returns the result of the last attempt. The
  /// caller closes `db` with `sqlite3_close`. SQLite may allocate a handle also for a failed open:
  /// a repeated attempt leaks the handle of a busy one, and the operations leak that of the last.
  /// Logs "DB file: %s %s" at error level, though it is no failure; after a failure "DB open failed.
  /// Error no(%d): %s".
  int OpenDB(sqlite3*& db, std::string dir, std::string file);

  /// Counts a busy result of the caller's loop in `count`. Below 16 it logs "SQLITE BUSY[%d]" with
  /// the new count, sleeps 100 ms and returns false; otherwise it logs "RETRY COUNT is reached
  /// LIMIT, SQLITE_BUSY" and returns true: one last attempt is left. A loop makes at most 17
  /// attempts and 15 waits, 1.5 s in all. The open, the execution, the preparation and the steps
  /// have a loop each.
  bool IsRetryLimit(int& count);
};

#endif  // VORNDATABASE_DATABASE_H
