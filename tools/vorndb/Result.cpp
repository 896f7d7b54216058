#include "Result.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <map>
#include <numeric>

#include "Errors.h"

namespace vorndb {

namespace {

// A cursor counts the cells of the column that is second by name. Equal names share a list,
// which then has as many cells for every row.
void ReadColumns(Result& result) {
  std::map<std::string, std::size_t> counts;
  for (const std::string& name : result.columns) {
    ++counts[name];
  }
  for (const auto& [name, count] : counts) {
    if (count > 1) {
      result.shared.insert(name);
      result.doubts.push_back(
          "The result has " + std::to_string(count) + " columns named " + name +
          ". A cursor keeps their cells in one list, so they cannot be distinguished and "
          "are left out. Give the tables distinct column names.");
    }
  }
  auto rows = static_cast<std::size_t>(result.cursor->GetCount());
  if (counts.size() > 1) {
    rows /= std::next(counts.begin())->second;
  } else if (result.columns.size() > 1) {
    rows = 0;
    result.doubts.emplace_back("Without another column, the number of rows is unknown, too.");
  } else {
    result.doubts.emplace_back(
        "The result has a single column. A cursor then counts one row at most; rows after the "
        "first cannot be reached. Give the table a second column.");
  }
  result.rows.resize(rows);
  std::iota(result.rows.begin(), result.rows.end(), 0);
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

void RequireColumn(const Result& result, const std::string& column) {
  if (std::count(result.columns.begin(), result.columns.end(), column) == 0) {
    throw Failure("the result has no column " + column + Suggestion(column, result.columns));
  }
}

void Sort(Result& result, const Pair& order) {
  const auto& [column, direction] = order;
  const bool descends = direction == "desc";
  std::vector<std::pair<std::optional<Number>, std::string>> keys;
  const Texts columns = std::exchange(result.columns, {column});
  EachRow(result, [&keys](const Row& row) {
    const std::string text = row[0].value_or("");
    keys.emplace_back(NumberIn(text), text);
  });
  result.columns = columns;
  const bool areNumbers = std::all_of(
      keys.begin(), keys.end(), [](const auto& key) { return key.first || key.second.empty(); });
  std::stable_sort(result.rows.begin(), result.rows.end(),
                   [&](std::size_t left, std::size_t right) {
                     const auto& one = keys[descends ? right : left];
                     const auto& other = keys[descends ? left : right];
                     return areNumbers ? one.first < other.first : one.second < other.second;
                   });
}

}  // namespace

std::optional<Number> NumberIn(const std::string& text) {
  Number number;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number.first);
  if (read.ec != std::errc() || read.ptr != end || !std::isfinite(number.first)) {
    return std::nullopt;
  }
  std::from_chars(text.data(), end, number.second);
  return number;
}

std::string StopIn(const std::string& file, const Log& log) {
  const std::string problem = "the result from " + file + " is not complete; ";
  for (const LogLine& line : log) {
    if (line.event == LogEvent::kStepFailed || line.event == LogEvent::kExistStepFailed) {
      return problem + "reading stopped" + (line.text.empty() ? "" : " with: " + line.text);
    }
    // Only the wait for a row truncates a result; elsewhere the last attempt decides.
    if (line.event == LogEvent::kBusyLimit && line.file == "DatabasePasrser.cpp") {
      return problem + "the file stayed busy";
    }
  }
  return "";
}

Result ReadResult(const std::string& file, std::unique_ptr<Cursor> cursor, const Log& log) {
  Result result{std::move(cursor)};
  if (result.cursor->GetColumn(result.columns) == 0) {
    ReadColumns(result);
  }
  result.stop = StopIn(file, log);
  AddDoubt(result, log, LogEvent::kUnknownType, "Cells with binary data (blobs)",
           "The library gives them as empty texts.");
  // The platform may protect its log.
  AddDoubt(result, log, LogEvent::kUnreadable, "Unreadable records of the log",
           "Each is a blob, or a failure that has truncated the result.");
  return result;
}

void Choose(Result& result, const Choice& choice) {
  if (result.columns.empty()) {
    return;
  }
  if (choice.order) {
    RequireColumn(result, choice.order->first);
    Sort(result, *choice.order);
  }
  for (const std::string& column : choice.columns) {
    RequireColumn(result, column);
  }
  result.columns = choice.columns.empty() ? result.columns : choice.columns;
  result.rows.resize(std::min(result.rows.size(), choice.limit.value_or(result.rows.size())));
}

void EachRow(const Result& result, const std::function<void(const Row&)>& take) {
  Row cells;
  for (const std::string& name : result.columns) {
    cells.push_back(result.shared.count(name) > 0 ? std::nullopt
                                                  : std::make_optional<std::string>());
  }
  for (const std::size_t position : result.rows) {
    bool lacks = result.cursor->MoveToPosition(static_cast<int>(position)) != 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      lacks = lacks ||
              (cells[i] && result.cursor->GetString(result.columns[i].c_str(), *cells[i]) != 0);
    }
    if (lacks) {
      throw Failure("row " + std::to_string(position + 1) + " of the result cannot be read");
    }
    take(cells);
  }
}

}  // namespace vorndb
