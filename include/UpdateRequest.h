/// @file
/// The request to change rows of one table.

#ifndef VORNDATABASE_UPDATEREQUEST_H
#define VORNDATABASE_UPDATEREQUEST_H

#include <string>

#include "BaseSet.h"

/// Asks to write values into the rows of one table that meet the conditions.
///
/// Values come from `SetData`, conditions from `SetWhere`. At least one
/// condition is needed: without any the statement is incomplete and SQLite
/// rejects it. (Unless a value holds an undoubled quote and an " AND" behind it:
/// `SqlGenerator::GetUpdateSql` tells why.)
///
/// **Lifecycle.** Set the location (`SetPath`), the table, values and conditions,
/// pass the request to `Database::Update`, as often as needed, and destroy it.
///
/// **Threads.** The table name is not guarded by any lock.
///
/// **Log.** Every member declared here writes one trace line (priority 3) with
/// its own name; inherited ones write none.
class UpdateRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  UpdateRequest();

  /// Releases the table name that is held.
  ~UpdateRequest() override;

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

#endif  // VORNDATABASE_UPDATEREQUEST_H
