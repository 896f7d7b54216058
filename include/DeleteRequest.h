/// @file
/// The request to delete rows of one table.

#ifndef VORNDATABASE_DELETEREQUEST_H
#define VORNDATABASE_DELETEREQUEST_H

#include <string>

#include "BaseSet.h"

/// Deletes the rows that meet the conditions (`SetWhere`); **all rows, if there is no condition**.
/// Values (`SetData`) are ignored. Run by `Database::Delete`, any number of times.
///
/// The table name is not locked. Every member declared here logs its entry.
class DeleteRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  DeleteRequest();

  /// Releases the table name.
  ~DeleteRequest() override;

  /// Stores a copy of the table name, which the statement gets unquoted. Null changes nothing. Set
  /// it once: a repeated call leaks the earlier copy. Throws `std::bad_alloc`, the name unchanged.
  void SetTable(const char* table);

  /// Assigns the table name to `table`; leaves `table` as it was if none is set. Throws
  /// `std::bad_alloc`.
  void GetTable(std::string& table);

 private:
  char* m_table = nullptr;
};

#endif  // VORNDATABASE_DELETEREQUEST_H
