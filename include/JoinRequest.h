/// @file
/// The request to read an inner join of two tables.

#ifndef VORNDATABASE_JOINREQUEST_H
#define VORNDATABASE_JOINREQUEST_H

#include <string>

#include "BaseSet.h"

/// Reads all columns of an inner join of two tables on the equality of one column of each. Run by
/// `Database::JoinSelect`, any number of times.
///
/// Conditions (`SetWhere`) are applied, with their column names as given: qualify a name that both
/// tables have ("note.kind"). Values (`SetData`) are ignored. Columns of equal name in both tables
/// share one entry of the `Cursor`: give joined tables distinct column names.
///
/// The four strings are copied and not locked. Every member declared here logs its entry.
class JoinRequest : public BaseSet {
 public:
  /// Creates a request with neither side set.
  JoinRequest();

  /// Releases all copies.
  ~JoinRequest() override;

  /// Stores copies of the left table and its column; null leaves either as it was. Set each once: a
  /// repeated call leaks the earlier copies. Throws `std::bad_alloc`, the table perhaps set.
  void SetLeftJoin(const char* table, const char* column);

  /// Stores copies of the right table and its column, as `SetLeftJoin` does.
  void SetRightJoin(const char* table, const char* column);

  /// Assigns the left table and its column if both are set; otherwise neither. Throws
  /// `std::bad_alloc`.
  void GetLeftJoin(std::string& table, std::string& column);

  /// Assigns the right table and its column, as `GetLeftJoin` does.
  void GetRightJoin(std::string& table, std::string& column);

 private:
  char* m_leftTable = nullptr;
  char* m_leftColumn = nullptr;
  char* m_rightTable = nullptr;
  char* m_rightColumn = nullptr;
};

#endif  // VORNDATABASE_JOINREQUEST_H
