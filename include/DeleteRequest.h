/// @file
/// The request to delete rows of one table.

#ifndef VORNDATABASE_DELETEREQUEST_H
#define VORNDATABASE_DELETEREQUEST_H

#include <string>

#include "BaseSet.h"

/// Asks to delete the rows of one table that meet the conditions.
///
/// Only the conditions (`SetWhere`) are read; values set with `SetData` are
/// ignored. **Without a condition every row is deleted.**
///
/// **Lifecycle.** Set the location (`SetPath`), the table and any conditions,
/// pass the request to `Database::Delete`, as often as needed, and destroy it.
///
/// **Threads.** The table name is not guarded by any lock.
///
/// **Log.** Every member declared here writes one trace line (priority 3) with
/// its own name; inherited ones write none.
class DeleteRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  DeleteRequest();

  /// Releases the table name that is held.
  ~DeleteRequest() override;

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

#endif  // VORNDATABASE_DELETEREQUEST_H
