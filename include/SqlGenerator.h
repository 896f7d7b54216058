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

/// Builds the path of a database file and the text of one SQL statement from a request, which is
/// only read.
///
/// Nothing is bound, checked or escaped. Table and column names are written bare; every value is
/// between single quotes, numbers included. **A single quote in a value ends its literal early**,
/// so the application doubles it ("O''Brien"). Errors surface when SQLite prepares the statement.
///
/// Every member replaces its output as its last step. `std::bad_alloc`, and `std::logic_error` for
/// a null column name, leave it unchanged. There is no state and no lock; only the requests'
/// getters log their entries.
class SqlGenerator {
 public:
  /// There is no state.
  SqlGenerator();
  /// There is no state.
  virtual ~SqlGenerator();

  /// There is no state to copy.
  SqlGenerator(const SqlGenerator&) = default;
  /// There is no state to copy.
  SqlGenerator& operator=(const SqlGenerator&) = default;

  /// Joins directory and file name, with a "/" unless the directory ends in one or is empty.
  void GetDBPath(std::string dir, std::string file, std::string& path);

  /// "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='…'". A quote in the name ends
  /// the literal early.
  void GetCheckTableSql(std::string table, std::string& sql);

  /// "CREATE TABLE IF NOT EXISTS …"
  void GetCreateTableSql(CreateRequest& request, std::string& sql);

  /// "DROP TABLE …"
  void GetDropTableSql(DropRequest& request, std::string& sql);

  /// "SELECT * FROM …", with a WHERE clause if there are conditions.
  void GetSelectSql(SelectRequest& request, std::string& sql);

  /// "SELECT  * FROM … INNER JOIN … ON … = …" (two spaces after SELECT), with a WHERE clause if
  /// there are conditions.
  void GetJoinSql(JoinRequest& request, std::string& sql);

  /// "INSERT OR REPLACE INTO … (…) VALUES (…)"
  void GetUpsertSql(UpsertRequest& request, std::string& sql);

  /// "UPDATE … SET … WHERE …". Without conditions the statement ends in WHERE, and SQLite rejects
  /// it. The text is always cut at its last " AND", however, which without conditions may be part
  /// of a value: after an undoubled quote ("x' AND") the statement is complete and changes every
  /// row.
  void GetUpdateSql(UpdateRequest& request, std::string& sql);

  /// "DELETE  FROM …" (two spaces after DELETE), with a WHERE clause if there are conditions.
  void GetDeleteSql(DeleteRequest& request, std::string& sql);
};

#endif  // VORNDATABASE_SQLGENERATOR_H
