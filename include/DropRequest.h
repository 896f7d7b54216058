/// @file
/// The request to drop one table.

#ifndef VORNDATABASE_DROPREQUEST_H
#define VORNDATABASE_DROPREQUEST_H

#include <string>

#include "BasePath.h"

/// Drops one table. A table that does not exist is an error, with SQLite's code 1. Run by
/// `Database::DropTable`, any number of times.
///
/// The table name is not locked. Every member declared here logs its entry.
class DropRequest : public BasePath {
 public:
  /// Creates a request without a table.
  DropRequest();

  /// Releases the table name.
  ~DropRequest() override;

  /// Stores a copy of the table name, which the statement gets unquoted. Null changes nothing. Set
  /// it once: a repeated call leaks the earlier copy. Throws `std::bad_alloc`, the name unchanged.
  void SetTable(const char* table);

  /// Assigns the table name to `table`; leaves `table` as it was if none is set. Throws
  /// `std::bad_alloc`.
  void GetTable(std::string& table);

 private:
  char* m_table = nullptr;
};

#endif  // VORNDATABASE_DROPREQUEST_H
