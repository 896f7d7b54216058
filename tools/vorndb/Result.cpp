#include "Result.h"

#include <algorithm>
#include <iterator>

#include "Cursor.h"
#include "Errors.h"

namespace vorndb {

namespace {

// A cursor counts the cells of the column that is second by name. Equal names share a list,
// which then has as many cells for every row.
void CountRows(Result& result) {
  const auto cells = static_cast<std::size_t>(result.cursor.GetCount());
  if (result.counts.size() > 1) {
    result.rowCount = cells / std::next(result.counts.begin())->second;
  } else if (result.columns.size() > 1) {
    result.doubts.emplace_back(
        "With no other column, how many rows there are cannot be told either.");
  } else {
    result.rowCount = cells;
    result.doubts.emplace_back(
        "The result has a single column. A cursor then counts one row, whatever there is; rows "
        "after the first cannot be reached. Give the table a second column.");
  }
}

// The doubt, if there are records of the kind from the fetching of rows.
void AddDoubt(Result& result, const Log& log, LogEvent event, const std::string& subject,
              const std::string& sentence) {
  const auto count = std::count_if(log.begin(), log.end(), [event](const LogLine& line) {
    return line.event == event && line.function == "ParseDatabase";
  });
  if (count > 0) {
    result.doubts.push_back(subject + ": " + std::to_string(count) + ". " + sentence);
  }
}

}  // namespace

Result ReadResult(Cursor& cursor, const Log& log) {
  Result result{cursor};
  if (cursor.GetColumn(result.columns) == 0) {
    for (const std::string& name : result.columns) {
      ++result.counts[name];
    }
    for (const auto& [name, count] : result.counts) {
      if (count > 1) {
        result.doubts.push_back(
            "The result has " + std::to_string(count) + " columns named " + name +
            ". A cursor keeps their cells in one list, so that they cannot be told apart and "
            "are left out. Give the tables distinct column names.");
      }
    }
    CountRows(result);
  }
  AddDoubt(result, log, LogEvent::kUnknownType, "Cells with binary data (blobs)",
           "The library gives them as empty texts.");
  // The platform may protect its log.
  AddDoubt(result, log, LogEvent::kUnreadable, "Lines of the log that cannot be read",
           "They tell of blobs, or that the result is not complete.");
  return result;
}

Row RowOf(const Result& result, std::size_t row) {
  Row cells;
  for (const std::string& name : result.columns) {
    std::optional<std::string>& cell = cells.emplace_back();
    if (result.counts.at(name) == 1 &&
        (result.cursor.MoveToPosition(static_cast<int>(row)) != 0 ||
         result.cursor.GetString(name.c_str(), cell.emplace()) != 0)) {
      throw Failure("row " + std::to_string(row + 1) + " of the result lacks the column " + name);
    }
  }
  return cells;
}

}  // namespace vorndb
