/// @file
/// The request to read rows of one table.

#ifndef VORNDATABASE_SELECTREQUEST_H
#define VORNDATABASE_SELECTREQUEST_H

#include <string>

#include "BaseSet.h"

/// Reads all columns of the rows that meet the conditions (`SetWhere`); of all rows, if there is no
/// condition. Values (`SetData`) are ignored. Run by `Database::Select`, any number of times.
///
/// The table name is not locked. Every member declared here logs its entry.
class SelectRequest : public BaseSet {
 public:
  /// Creates a request without a table.
  SelectRequest();

  /// Releases the table name.
  ~SelectRequest() override;

  /// Stores a copy of the table name, which the statement gets unquoted. Null changes nothing. Set
  /// it once: a repeated call leaks the earlier copy. Throws `std::bad_alloc`, the name unchanged.
  void SetTable(const char* table);

  /// Assigns the table name to `table`; leaves `table` as it was if none is set. Throws
  /// `std::bad_alloc`.
  void GetTable(std::string& table);

 private:
  char* m_table = nullptr;
};

#endif  // VORNDATABASE_SELECTREQUEST_H
