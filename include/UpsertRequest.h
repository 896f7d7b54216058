/// @file
/// The request to insert or replace one row.

#ifndef VORNDATABASE_UPSERTREQUEST_H
#define VORNDATABASE_UPSERTREQUEST_H

#include <string>

#include "BaseSet.h"

/// Inserts a row of values (`SetData`) and replaces the rows with the same key or the same value in
/// a UNIQUE column. Conditions (`SetWhere`) are ignored. Run by `Database::Upsert`, any number of
/// times.
///
/// A replaced row is deleted first: columns that the request does not name get their defaults.
///
/// The table name is not locked. Every member declared here logs its entry.
class UpsertRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  UpsertRequest();

  /// Releases the table name.
  ~UpsertRequest() override;

  /// Stores a copy of the table name, which the statement gets unquoted. Null changes nothing. Set
  /// it once: a repeated call leaks the earlier copy. Throws `std::bad_alloc`, the name unchanged.
  void SetTable(const char* table);

  /// Assigns the table name to `table`; leaves `table` as it was if none is set. Throws
  /// `std::bad_alloc`.
  void GetTable(std::string& table);

 private:
  char* m_table = nullptr;
};

#endif  // VORNDATABASE_UPSERTREQUEST_H
