// The rows of a query, as far as a cursor can be trusted with them.

#ifndef VORNDB_RESULT_H
#define VORNDB_RESULT_H

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "Cursor.h"

namespace vorndb {

class Result {
 public:
  struct Column {
    std::string name;
    bool known;  // whether its cells can be told
  };

  // How often each name stands among the columns.
  using NameCounts = std::map<std::string, int>;

  // Reads from the cursor, which has to live as long and is moved.
  explicit Result(Cursor& cursor);

  const std::vector<Column>& Columns() const { return m_columns; }
  int RowCount() const { return m_rowCount; }

  // The cell of a known column.
  std::string Cell(int row, std::size_t column);

  // What of the result cannot be shown as it is in the database, and why; a sentence each.
  const std::vector<std::string>& Doubts() const { return m_doubts; }

 private:
  void CountRows(const NameCounts& counts);

  Cursor& m_cursor;
  std::vector<Column> m_columns;
  std::vector<std::string> m_doubts;
  int m_rowCount = 0;
};

}  // namespace vorndb

#endif  // VORNDB_RESULT_H
