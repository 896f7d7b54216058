/// @file
/// The request to read rows of one table.

#ifndef VORNDATABASE_SELECTREQUEST_H
#define VORNDATABASE_SELECTREQUEST_H

#include <string>

#include "BaseSet.h"

/// Asks for all columns of the rows of one table that meet the conditions.
///
/// Only the conditions (`SetWhere`) are read; values set with `SetData` are
/// ignored. Without a condition every row is selected.
///
/// **Lifecycle.** Set the location (`SetPath`), the table and any conditions,
/// pass the request to `Database::Select`, as often as needed, and destroy it.
///
/// **Threads.** The table name is not guarded by any lock.
///
/// **Log.** Every member declared here writes one trace line (priority 3) with
/// its own name; inherited ones write none.
class SelectRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  SelectRequest();

  /// Releases the table name that is held.
  ~SelectRequest() override;

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

#endif  // VORNDATABASE_SELECTREQUEST_H
