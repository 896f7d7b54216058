// The rows of a query, as far as a cursor can be trusted with them, and the forms in which
// they are written.

#ifndef VORNDB_RESULT_H
#define VORNDB_RESULT_H

#include <cstddef>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "Cursor.h"
#include "log/LogSink.h"

namespace vorndb {

class Result {
 public:
  // Reads from the cursor, which has to live as long and is moved. The log is the query's.
  Result(Cursor& cursor, const Log& log);

  const std::vector<std::string>& Columns() const { return m_columns; }
  std::size_t RowCount() const { return m_rowCount; }

  // The cell, or nothing in a column whose cells are unknown.
  std::optional<std::string> Cell(std::size_t row, std::size_t column);

  // Why the result does not show everything as it is in the database; a sentence each.
  const std::vector<std::string>& Doubts() const { return m_doubts; }
  void AddDoubt(const std::string& doubt) { m_doubts.push_back(doubt); }

 private:
  void CountRows();
  void AddDoubtsOfLog(const Log& log);

  Cursor& m_cursor;
  std::vector<std::string> m_columns;
  std::map<std::string, std::size_t> m_counts;  // how often there is a column of each name
  std::vector<std::string> m_doubts;
  std::size_t m_rowCount = 0;
};

// Throws UsageError for a text that is no format.
void RequireFormat(const std::string& text);

// By the ending of its name; throws UsageError for another one.
std::string FormatOfFile(const std::string& path);

// Writes a result; without a format, as a table. A table's lines fit the width if one is
// given and the number of columns allows it. What a format cannot hold becomes a doubt.
void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_RESULT_H
