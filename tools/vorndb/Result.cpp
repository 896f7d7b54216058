#include "Result.h"

#include <iterator>

#include "Errors.h"

namespace vorndb {

namespace {

// How often each name stands in the result, in the order of the cursor's own map.
Result::NameCounts CountNames(const std::vector<std::string>& names) {
  Result::NameCounts counts;
  for (const std::string& name : names) {
    ++counts[name];
  }
  return counts;
}

}  // namespace

Result::Result(Cursor& cursor) : m_cursor(cursor) {
  std::vector<std::string> names;
  if (cursor.GetColumn(names) != 0) {
    return;
  }
  const NameCounts counts = CountNames(names);
  for (const std::string& name : names) {
    m_columns.push_back({name, counts.at(name) == 1});
  }
  for (const auto& [name, count] : counts) {
    if (count > 1) {
      m_doubts.push_back("The result has " + std::to_string(count) + " columns named " + name +
                         ". A cursor keeps their cells in one list, so that they cannot be told "
                         "apart and are left out. Give the tables distinct column names.");
    }
  }
  CountRows(counts);
}

// A cursor counts the cells of the column that is second by name. Equal names share a list,
// which then has as many cells for every row.
void Result::CountRows(const NameCounts& counts) {
  if (counts.size() > 1) {
    m_rowCount = m_cursor.GetCount() / std::next(counts.begin())->second;
  } else if (m_columns.size() > 1) {
    m_doubts.emplace_back("With no other column, how many rows there are cannot be told either.");
  } else {
    m_rowCount = m_cursor.GetCount();
    m_doubts.emplace_back(
        "The result has a single column. A cursor then counts one row, whatever there is; rows "
        "after the first cannot be reached. Give the table a second column.");
  }
}

std::string Result::Cell(int row, std::size_t column) {
  std::string text;
  if (m_cursor.MoveToPosition(row) != 0 ||
      m_cursor.GetString(m_columns[column].name.c_str(), text) != 0) {
    throw Failure("row " + std::to_string(row + 1) + " of the result lacks the column " +
                  m_columns[column].name);
  }
  return text;
}

}  // namespace vorndb
