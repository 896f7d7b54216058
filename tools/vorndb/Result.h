// The rows of a query, as far as a cursor can be trusted with them.

#ifndef VORNDB_RESULT_H
#define VORNDB_RESULT_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "Cursor.h"
#include "log/LogSink.h"

namespace vorndb {

class Result {
 public:
  // Reads from the cursor, which has to live as long and is moved. The log is the query's.
  Result(Cursor& cursor, const std::vector<LoggedLine>& log);

  const std::vector<std::string>& Columns() const { return m_columns; }
  std::size_t RowCount() const { return m_rowCount; }

  // The cell, or nothing in a column whose cells are unknown.
  std::optional<std::string> Cell(std::size_t row, std::size_t column);

  // Why the result does not show everything as it is in the database; a sentence each.
  const std::vector<std::string>& Doubts() const { return m_doubts; }
  void AddDoubt(const std::string& doubt) { m_doubts.push_back(doubt); }

 private:
  void CountRows();
  void AddDoubtsOfLog(const std::vector<LoggedLine>& log);

  Cursor& m_cursor;
  std::vector<std::string> m_columns;
  std::map<std::string, std::size_t> m_counts;  // how often there is a column of each name
  std::vector<std::string> m_doubts;
  std::size_t m_rowCount = 0;
};

}  // namespace vorndb

#endif  // VORNDB_RESULT_H
