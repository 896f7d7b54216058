/// @file
/// The request to change rows of one table.

#ifndef VORNDATABASE_UPDATEREQUEST_H
#define VORNDATABASE_UPDATEREQUEST_H

#include <string>

#include "BaseSet.h"

/// Writes values (`SetData`) into the rows that meet the conditions (`SetWhere`). Run by
/// `Database::Update`, any number of times.
///
/// At least one condition is required: without any, the statement is incomplete and SQLite rejects
/// it, except for a value with an undoubled quote and " AND" (see `SqlGenerator::GetUpdateSql`).
///
/// The table name is not locked. Every member declared here logs its entry.
class UpdateRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  UpdateRequest();

  /// Releases the table name.
  ~UpdateRequest() override;

  /// Stores a copy of the table name, which the statement gets unquoted. Null changes nothing. Set
  /// it once: a repeated call leaks the earlier copy. Throws `std::bad_alloc`, the name unchanged.
  void SetTable(const char* table);

  /// Assigns the table name to `table`; leaves `table` as it was if none is set. Throws
  /// `std::bad_alloc`.
  void GetTable(std::string& table);

 private:
  char* m_table = nullptr;
};

#endif  // VORNDATABASE_UPDATEREQUEST_H
