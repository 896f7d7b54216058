/// @file
/// The texts handed to SQLite: the database path and the statements.

#ifndef VORNDATABASE_SQLGENERATOR_H
#define VORNDATABASE_SQLGENERATOR_H

#include <string>

class CreateRequest;
class DeleteRequest;
class DropRequest;
class JoinRequest;
class SelectRequest;
class UpdateRequest;
class UpsertRequest;

/// Builds the path of a database file and the text of one SQL statement from a
/// request.
///
/// It is pure text assembly: nothing is bound, checked or escaped. Table and
/// column names are written bare; every value stands between single quotes,
/// numbers included. **A single quote in a value ends its literal early**, so a
/// caller doubles it ("O''Brien"). Whatever is wrong shows up when SQLite runs
/// the text.
///
/// Every member replaces its output whole, once, at the end; when an exception
/// is thrown, the output is unchanged.
///
/// **Threads.** The class has no state; requests are read without a lock.
///
/// **Log.** None of its own; the getters of the requests write their trace
/// lines.
///
/// @throws std::bad_alloc from every member when memory is exhausted.
/// @throws std::logic_error from the members that write column names, when a
///         request holds a null column name.
class SqlGenerator {
 public:
  /// Does nothing: there is no state.
  SqlGenerator();
  /// Does nothing: there is no state.
  virtual ~SqlGenerator();

  /// Does nothing: there is no state to copy.
  SqlGenerator(const SqlGenerator&) = default;
  /// Does nothing: there is no state to copy.
  /// @return this object.
  SqlGenerator& operator=(const SqlGenerator&) = default;

  /// Joins directory and file name into a path: a "/" is put between them
  /// unless the directory ends in one or is empty.
  /// @param dir directory, with or without a trailing "/".
  /// @param file file name.
  /// @param[out] path receives the path.
  void GetDBPath(std::string dir, std::string file, std::string& path);

  /// "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='…'"
  /// @param table table name; a quote in it ends the text early.
  /// @param[out] sql receives the statement.
  void GetCheckTableSql(std::string table, std::string& sql);

  /// "CREATE TABLE IF NOT EXISTS …"
  /// @param request table, keys and columns; only read.
  /// @param[out] sql receives the statement.
  void GetCreateTableSql(CreateRequest& request, std::string& sql);

  /// "DROP TABLE …"
  /// @param request table; only read.
  /// @param[out] sql receives the statement.
  void GetDropTableSql(DropRequest& request, std::string& sql);

  /// "SELECT * FROM …", with a WHERE clause when there are conditions.
  /// @param request table and conditions; only read.
  /// @param[out] sql receives the statement.
  void GetSelectSql(SelectRequest& request, std::string& sql);

  /// "SELECT  * FROM … INNER JOIN … ON … = …" (two blanks after SELECT), with a
  /// WHERE clause when there are conditions.
  /// @param request sides and conditions; only read.
  /// @param[out] sql receives the statement.
  void GetJoinSql(JoinRequest& request, std::string& sql);

  /// "INSERT OR REPLACE INTO … (…) VALUES (…)"
  /// @param request table and values; only read.
  /// @param[out] sql receives the statement.
  void GetUpsertSql(UpsertRequest& request, std::string& sql);

  /// "UPDATE … SET … WHERE …". The WHERE is written even without conditions, and
  /// SQLite then rejects the statement as incomplete. It is always cut at its last
  /// " AND", however, which without conditions may stand inside a value: after an
  /// undoubled quote ("x' AND") what is left is complete and changes every row.
  /// @param request table, values and conditions; only read.
  /// @param[out] sql receives the statement.
  void GetUpdateSql(UpdateRequest& request, std::string& sql);

  /// "DELETE  FROM …" (two blanks after DELETE), with a WHERE clause when there
  /// are conditions.
  /// @param request table and conditions; only read.
  /// @param[out] sql receives the statement.
  void GetDeleteSql(DeleteRequest& request, std::string& sql);
};

#endif  // VORNDATABASE_SQLGENERATOR_H
