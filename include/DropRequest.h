/// @file
/// The request to drop one table.

#ifndef VORNDATABASE_DROPREQUEST_H
#define VORNDATABASE_DROPREQUEST_H

#include <string>

#include "BasePath.h"

/// Asks to drop one table. Dropping a table that does not exist fails with
/// SQLite's code 1.
///
/// **Lifecycle.** Set the location (`SetPath`) and the table,
/// pass the request to `Database::DropTable`, as often as needed, and destroy it.
///
/// **Threads.** The table name is not guarded by any lock.
///
/// **Log.** Every member declared here writes one trace line (priority 3) with
/// its own name; inherited ones write none.
class DropRequest : public BasePath {
 public:
  /// Creates a request without a table.
  DropRequest();

  /// Releases the table name that is held.
  ~DropRequest() override;

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

#endif  // VORNDATABASE_DROPREQUEST_H
