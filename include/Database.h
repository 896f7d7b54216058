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

/// Runs requests. Each operation opens the database file that its request
/// names, creating it when missing, runs one statement and closes the file.
///
/// **Result codes.** Every operation returns 0 (`SQLITE_OK`) on success and
/// otherwise SQLite's result code of the step that failed: the open (14,
/// `SQLITE_CANTOPEN`, for a missing directory), the execution or the
/// preparation (1, `SQLITE_ERROR`, for a missing table). **A query returns 0
/// once its statement is prepared, whatever its stepping meets afterwards**; a
/// fault while stepping shows in the log and in a cursor with fewer rows.
///
/// **Busy files.** While SQLite answers `SQLITE_BUSY` (5), the call is repeated
/// after 100 ms. With every attempt busy, 17 attempts and 15 waits are made, so
/// a loop costs at most 1.5 s; the calling thread sleeps meanwhile.
///
/// **Open failure.** SQLite may hand out a handle even when it fails to open a
/// file. That handle is not closed and stays allocated.
///
/// **Whole or not at all.** A write with result 0 is done; with any other result,
/// nothing of its statement is, unless what failed came after the commit: the
/// release of the lock, a removal of the journal that took place and was reported
/// as failed, the cutting of a file with `auto_vacuum`. Then all of it is done.
///
/// **Exceptions.** Nothing is thrown or caught here. `std::logic_error` (a
/// location that was never set, a null table or column name, in a query also a
/// text for which SQLite had no memory) and `std::bad_alloc` pass through; a file
/// that was open is closed on the way. A write is not done then, unless memory
/// ended while its success line was converted; a cursor holds the rows so far, of
/// which the last may lack cells.
///
/// **Threads.** An object has no state and every operation has a connection of
/// its own, so one object may serve any number of threads at once; requests and
/// cursors must not be changed by another thread meanwhile.
///
/// **Log.** Every member but `IsRetryLimit` begins with a trace line (priority
/// 3). The other lines stand with the members, beside those of `OpenDB` and, for
/// a busy file, of `IsRetryLimit`; texts in quotes are printf formats.
class Database {
 public:
  /// Writes its trace line; opens nothing.
  Database();
  /// Writes its trace line; closes nothing.
  ~Database();

  /// Does nothing: there is no state to copy.
  Database(const Database&) = default;
  /// Does nothing: there is no state to copy.
  /// @return this object.
  Database& operator=(const Database&) = default;

  /// Writes values into the rows that meet the conditions.
  ///
  /// @param request location, table, values and conditions; only read.
  /// @return 0 or SQLite's result code; 1 without any condition, since the
  ///         statement is then incomplete (see `SqlGenerator::GetUpdateSql`).
  ///
  /// Log: "update SUCCESS[%d]" (4) or "update FAILED[%d]: %s" (6) with the code
  /// and SQLite's text.
  int Update(UpdateRequest& request);

  /// Deletes the rows that meet the conditions, all rows when there are none.
  ///
  /// @param request location, table and conditions; only read.
  /// @return 0, also when no row matched, or SQLite's result code.
  ///
  /// Log: "delete SUCCESS[%d]" (4) or "delete FAILED[%d]: %s" (6).
  int Delete(DeleteRequest& request);

  /// Inserts a row, replacing those with the same key or the same value in a
  /// UNIQUE column.
  ///
  /// @param request location, table and values; only read.
  /// @return 0 or SQLite's result code.
  ///
  /// Log: "Upsert SUCCESS[%d]" (4) or "Upsert FAILED[%d]: %s" (6).
  int Upsert(UpsertRequest& request);

  /// Creates a table; an existing table or view of that name, in whatever case,
  /// is left as it is.
  ///
  /// @param request location, table, keys and columns; only read.
  /// @return 0, also when such a table or view exists, or SQLite's result code.
  ///
  /// Log: "createTable SUCCESS[%d]" (4) or "createTable FAILED[%d]: %s" (6).
  int CreateTable(CreateRequest& request);

  /// Drops a table.
  ///
  /// @param request location and table; only read.
  /// @return 0 or SQLite's result code; 1 when there is no such table.
  ///
  /// Log: "DropTable SUCCESS[%d]" (4) or "DropTable FAILED[%d]: %s" (6).
  int DropTable(DropRequest& request);

  /// Reads the rows of one table that meet the conditions.
  ///
  /// @param request location, table and conditions; only read.
  /// @param cursor receives the whole result as text, replacing what it held;
  ///        left as it was when another result than 0 is returned.
  /// @return 0 once the statement is prepared, or SQLite's result code.
  ///
  /// Log: "OpenDB Error: %d" (4) when the file cannot be opened, "SELECT
  /// FAILED[%d]: %s" (6) when the statement cannot be prepared, and the lines of
  /// `DatabaseParser::ParseDatabase`.
  int Select(SelectRequest& request, Cursor& cursor);

  /// Reads the rows of an inner join of two tables.
  ///
  /// @param request location, sides and conditions; only read.
  /// @param cursor as in `Select`.
  /// @return as in `Select`.
  ///
  /// Log: "JoinSelect FAILED[%d]: %s" (6) when the statement cannot be prepared,
  /// and the lines of `DatabaseParser::ParseDatabase`.
  int JoinSelect(JoinRequest& request, Cursor& cursor);

  /// Tells whether a table exists.
  ///
  /// @param path the location; any request will do. Only read.
  /// @param table table name, NUL-terminated, not null; a quote in it breaks
  ///        the query.
  /// @param[out] exists receives the answer; left as it was unless 0 is
  ///        returned.
  /// @return 0 once the query is prepared, or SQLite's result code.
  /// @throws std::logic_error for a null table name.
  ///
  /// Log: "CheckExistTable FAILED[%d]: %s" (6) when the query cannot be
  /// prepared, and the lines of `DatabaseParser::ParseExistTable`.
  int CheckExistTable(BasePath& path, const char* table, bool& exists);

  /// Opens a database file, creating it when missing.
  ///
  /// @param[out] db receives SQLite's handle, which the caller closes with
  ///        `sqlite3_close`; after a failure, too, it may be non-null.
  /// @param dir directory of the file.
  /// @param file name of the file.
  /// @return 0 or SQLite's result code of the last attempt.
  ///
  /// Log: "DB file: %s %s" (6, though it is no failure) with directory and file
  /// name; "DB open failed. Error no(%d): %s" (6) with the code and SQLite's
  /// text; the lines of `IsRetryLimit`.
  int OpenDB(sqlite3*& db, std::string dir, std::string file);

  /// Counts one busy result, and waits 100 ms unless the limit of 16 is reached.
  ///
  /// @param[in,out] count busy results so far in the caller's loop; incremented.
  /// @return false when the caller is to go on retrying; true when one last
  ///         attempt is left.
  ///
  /// Log: "SQLITE BUSY[%d]" (5) with the new count, or at the limit "RETRY COUNT
  /// is reached LIMIT, SQLITE_BUSY" (6). No trace line.
  bool IsRetryLimit(int& count);
};

#endif  // VORNDATABASE_DATABASE_H
