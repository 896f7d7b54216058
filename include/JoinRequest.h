/// @file
/// The request to read an inner join of two tables.

#ifndef VORNDATABASE_JOINREQUEST_H
#define VORNDATABASE_JOINREQUEST_H

#include <string>

#include "BaseSet.h"

/// Asks for all columns of an inner join of two tables on the equality of one
/// column of each.
///
/// Only the conditions (`SetWhere`) of the base are read; their names are
/// written as given, so qualify one where needed ("note.kind"). Columns of equal
/// name in both tables share one entry of the resulting `Cursor`: give joined
/// tables distinct column names.
///
/// **Ownership.** The four texts are copied.
///
/// **Threads.** The sides are not guarded by any lock.
///
/// **Log.** Every member declared here writes one trace line (priority 3) with
/// its own name; inherited ones write none.
class JoinRequest : public BaseSet {
 public:
  /// Creates a request with neither side set.
  JoinRequest();

  /// Releases the copies that are held.
  ~JoinRequest() override;

  /// Stores copies of the left side's table and column.
  ///
  /// @param table table name; null leaves it as it was.
  /// @param column column name; null leaves it as it was.
  /// @warning Set each once. A repeated call never releases the earlier copies.
  /// @throws std::bad_alloc when memory is exhausted.
  void SetLeftJoin(const char* table, const char* column);

  /// Stores copies of the right side's table and column. As `SetLeftJoin`
  /// otherwise.
  ///
  /// @param table table name; null leaves it as it was.
  /// @param column column name; null leaves it as it was.
  void SetRightJoin(const char* table, const char* column);

  /// Reads the left side back. Both outputs are assigned when both texts are
  /// set; otherwise neither is touched.
  ///
  /// @param[out] table receives the table name.
  /// @param[out] column receives the column name.
  void GetLeftJoin(std::string& table, std::string& column);

  /// Reads the right side back. As `GetLeftJoin` otherwise.
  ///
  /// @param[out] table receives the table name.
  /// @param[out] column receives the column name.
  void GetRightJoin(std::string& table, std::string& column);

 private:
  char* m_leftTable = nullptr;
  char* m_leftColumn = nullptr;
  char* m_rightTable = nullptr;
  char* m_rightColumn = nullptr;
};

#endif  // VORNDATABASE_JOINREQUEST_H
