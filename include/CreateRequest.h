/// @file
/// The request to create one table.

#ifndef VORNDATABASE_CREATEREQUEST_H
#define VORNDATABASE_CREATEREQUEST_H

#include <string>
#include <utility>
#include <vector>

#include "BasePath.h"

/// Creates a table, unless it exists: a name, an optional primary key, an optional second key
/// column, and further columns. Run by `Database::CreateTable`, any number of times.
///
/// Without a primary key the table gets the column `_ID INTEGER PRIMARY KEY`. A composite key
/// counts only beside a primary key. A single key is NOT NULL; the two columns of a composite key
/// may be NULL unless their types exclude it ("TEXT NOT NULL"). Nothing is checked: SQLite rejects,
/// for example, a column that is named twice.
///
/// Table, keys and column types are copied. **Names of further columns are kept by pointer**: keep
/// them alive and unchanged until the request has run.
///
/// `SetColumnKey` holds a named lock of the column list; after an exception the platform's library
/// decides whether it is released. Nothing else is locked. Every member declared here logs its
/// entry; a lock without a name is logged, too.
class CreateRequest : public BasePath {
 public:
  /// Column name, by pointer, and its type, in the order of setting.
  using ColumnKeys = std::vector<std::pair<const char*, std::string>>;

  /// Creates a request without table, keys and columns.
  CreateRequest();

  /// Releases all copies. Takes no lock.
  ~CreateRequest() override;

  /// Stores a copy of the table name, which the statement gets unquoted. Null changes nothing. Set
  /// it once: a repeated call leaks the earlier copy. Throws `std::bad_alloc`.
  void SetTable(const char* table);

  /// Stores copies of the name and the SQL type of the primary key; null leaves either as it was.
  /// The key counts once both are set and not empty. Set it once: a repeated call leaks the earlier
  /// copies. Throws `std::bad_alloc`, the name perhaps set.
  void SetPrimaryKey(const char* name, const char* type);

  /// Stores copies of the name and the SQL type of the second key column, as `SetPrimaryKey` does.
  void SetCompositeKey(const char* name, const char* type);

  /// Appends a column: its name, kept by pointer, and a copy of its SQL type, which constraints may
  /// follow. Throws `std::logic_error` for a null type, and `std::bad_alloc`, the list unchanged.
  void SetColumnKey(const char* name, const char* type);

  /// Assigns the table name to `table`; leaves `table` as it was if none is set. Throws
  /// `std::bad_alloc`.
  void GetTable(std::string& table);

  /// Assigns the name and the type of the primary key if both are set; otherwise neither. Throws
  /// `std::bad_alloc`.
  void GetPrimaryKey(std::string& name, std::string& type);

  /// Assigns the name and the type of the second key column, as `GetPrimaryKey` does.
  void GetCompositeKey(std::string& name, std::string& type);

  /// Assigns a copy of the column list. It shares the pointers to column names. Takes no lock.
  /// Throws `std::bad_alloc`.
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
