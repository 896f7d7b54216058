#include "Result.h"

#include <iterator>

#include "Errors.h"
#include "log/LogSink.h"

namespace vorndb {

Result::Result(Cursor& cursor, const Log& log) : m_cursor(cursor) {
  if (cursor.GetColumn(m_columns) == 0) {
    for (const std::string& name : m_columns) {
      ++m_counts[name];
    }
    for (const auto& [name, count] : m_counts) {
      if (count > 1) {
        AddDoubt("The result has " + std::to_string(count) + " columns named " + name +
                 ". A cursor keeps their cells in one list, so that they cannot be told apart and "
                 "are left out. Give the tables distinct column names.");
      }
    }
    CountRows();
  }
  AddDoubtsOfLog(log);
}

// A cursor counts the cells of the column that is second by name. Equal names share a list,
// which then has as many cells for every row.
void Result::CountRows() {
  const auto cells = static_cast<std::size_t>(m_cursor.GetCount());
  if (m_counts.size() > 1) {
    m_rowCount = cells / std::next(m_counts.begin())->second;
  } else if (m_columns.size() > 1) {
    AddDoubt("With no other column, how many rows there are cannot be told either.");
  } else {
    m_rowCount = cells;
    AddDoubt(
        "The result has a single column. A cursor then counts one row, whatever there is; rows "
        "after the first cannot be reached. Give the table a second column.");
  }
}

// Blobs arrive as empty cells; only the log records them.
void Result::AddDoubtsOfLog(const Log& log) {
  if (const std::size_t blobs = CountInRows(log, LogEvent::kUnknownType); blobs > 0) {
    AddDoubt("Cells with binary data (blobs): " + std::to_string(blobs) +
             ". The library gives them as empty texts.");
  }
  if (const std::size_t unreadable = CountInRows(log, LogEvent::kUnreadable); unreadable > 0) {
    AddDoubt("Lines of the log that cannot be read: " + std::to_string(unreadable) +
             ". They tell of blobs, or that the result is not complete.");
  }
}

std::optional<std::string> Result::Cell(std::size_t row, std::size_t column) {
  const std::string& name = m_columns[column];
  if (m_counts[name] > 1) {
    return std::nullopt;
  }
  std::string text;
  if (m_cursor.MoveToPosition(static_cast<int>(row)) != 0 ||
      m_cursor.GetString(name.c_str(), text) != 0) {
    throw Failure("row " + std::to_string(row + 1) + " of the result lacks the column " + name);
  }
  return text;
}

}  // namespace vorndb
