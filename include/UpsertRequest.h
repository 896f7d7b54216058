/// @file
/// The request to insert or replace one row.

#ifndef VORNDATABASE_UPSERTREQUEST_H
#define VORNDATABASE_UPSERTREQUEST_H

#include <string>

#include "BaseSet.h"

/// Asks to insert a row into one table, replacing rows with the same key or the
/// same value in a UNIQUE column.
///
/// Only the values (`SetData`) are read; conditions are ignored. A replaced row
/// is deleted first: columns that the request does not name get their defaults.
///
/// **Lifecycle.** Set the location (`SetPath`), the table and values,
/// pass the request to `Database::Upsert`, as often as needed, and destroy it.
///
/// **Threads.** The table name is not guarded by any lock.
///
/// **Log.** Every member declared here writes one trace line (priority 3) with
/// its own name; inherited ones write none.
class UpsertRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  UpsertRequest();

  /// Releases the table name that is held.
  ~UpsertRequest() override;

  /// Stores a copy of the table name.
  ///
  /// @param table table name, NUL-terminated; null changes nothing. It is
  ///        written into the statement as it stands, unquoted.
  /// @warning Set it once. A repeated call replaces the name but never releases
  ///          the earlier copy.
  /// @throws std::bad_alloc when memory is exhausted; the name is unchanged.
  void SetTable(const char* table);

  /// Reads the table name back.
  ///
  /// @param[out] table receives the name; left exactly as it was when no table
  ///        has been set.
  /// @throws std::bad_alloc when memory is exhausted.
  void GetTable(std::string& table);

 private:
  char* m_table = nullptr;
};

#endif  // VORNDATABASE_UPSERTREQUEST_H
