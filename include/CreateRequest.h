/// @file
/// The request to create one table.

#ifndef VORNDATABASE_CREATEREQUEST_H
#define VORNDATABASE_CREATEREQUEST_H

#include <string>
#include <utility>
#include <vector>

#include "BasePath.h"

/// Describes a table to be created, unless it exists: its name, an optional
/// primary key, an optional second key column, and further columns.
///
/// Without a primary key the table gets the column `_ID INTEGER PRIMARY KEY`. A
/// composite key counts only beside a primary key. A single key is NOT NULL; the
/// two columns of a composite one may be NULL unless their types say otherwise
/// ("TEXT NOT NULL"). Nothing is checked: the same column twice, say, is written
/// twice and rejected by SQLite.
///
/// **Ownership.** Table, keys and column types are copied. The **names of
/// further columns are kept by pointer**: keep them alive and unchanged until
/// the request has been run.
///
/// **Lifecycle.** Fill it, pass it to `Database::CreateTable`, destroy it.
///
/// **Threads.** `SetColumnKey` runs under a named lock of the column list and
/// may be called from several threads. Nothing else is guarded.
///
/// **Log.** Every member declared here writes one trace line (priority 3) with
/// its own name; inherited ones write none.
/// Should the name of the lock ever fail to be formatted, "Failed to get
/// MUTEX_NAME at %s::%s[%d]" (priority 6) follows.
class CreateRequest : public BasePath {
 public:
  /// Column name, by pointer, and its type, in the order of setting.
  using ColumnKeys = std::vector<std::pair<const char*, std::string>>;

  /// Creates a request without table, keys or columns.
  CreateRequest();

  /// Releases the copies that are held. Takes no lock.
  ~CreateRequest() override;

  /// Stores a copy of the table name.
  ///
  /// @param table table name, NUL-terminated; null changes nothing. It is
  ///        written into the statement as it stands, unquoted.
  /// @warning Set it once. A repeated call never releases the earlier copy.
  /// @throws std::bad_alloc when memory is exhausted.
  void SetTable(const char* table);

  /// Stores copies of the name and the SQL type of the primary key column. The
  /// key counts as given once both are set and non-empty.
  ///
  /// @param name column name; null leaves it as it was.
  /// @param type SQL type; null leaves it as it was.
  /// @warning Set it once. A repeated call never releases the earlier copies.
  /// @throws std::bad_alloc when memory is exhausted.
  void SetPrimaryKey(const char* name, const char* type);

  /// Stores copies of the name and the SQL type of the second key column, which
  /// makes the primary key composite. As `SetPrimaryKey` otherwise.
  ///
  /// @param name column name; null leaves it as it was.
  /// @param type SQL type; null leaves it as it was.
  void SetCompositeKey(const char* name, const char* type);

  /// Appends one column.
  ///
  /// @param name column name; kept by pointer (see the class).
  /// @param type SQL type text such as "TEXT", copied and written into the
  ///        statement as it stands; constraints may follow the type.
  /// @throws std::logic_error for a null type; the list is unchanged.
  /// @throws std::bad_alloc when memory is exhausted; the list is unchanged.
  void SetColumnKey(const char* name, const char* type);

  /// Reads the table name back.
  ///
  /// @param[out] table receives the name; left as it was when none has been set.
  void GetTable(std::string& table);

  /// Reads the primary key back. Both outputs are assigned when both texts are
  /// set; otherwise neither is touched.
  ///
  /// @param[out] name receives the column name.
  /// @param[out] type receives the SQL type.
  void GetPrimaryKey(std::string& name, std::string& type);

  /// Reads the second key column back. As `GetPrimaryKey` otherwise.
  ///
  /// @param[out] name receives the column name.
  /// @param[out] type receives the SQL type.
  void GetCompositeKey(std::string& name, std::string& type);

  /// Copies the column list out. The copy shares the caller's column-name
  /// pointers. Takes no lock.
  ///
  /// @param[out] keys is replaced by the copy.
  void GetColumnKey(ColumnKeys& keys);

 private:
  char* m_table = nullptr;
  char* m_primaryKeyName = nullptr;
  char* m_primaryKeyType = nullptr;
  char* m_compositeKeyName = nullptr;
  char* m_compositeKeyType = nullptr;
  ColumnKeys m_columnKeys;
};

#endif  // VORNDATABASE_CREATEREQUEST_H
