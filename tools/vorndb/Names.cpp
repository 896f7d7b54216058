#include "Names.h"

#include <regex.h>
#include <sqlite3.h>

#include <algorithm>
#include <iomanip>
#include <numeric>
#include <set>
#include <sstream>
#include <tuple>
#include <utility>

#include "Errors.h"

namespace vorndb {

namespace {

constexpr char kPlainName[] = "^[A-Za-z_][A-Za-z0-9_]*$";

// Words, perhaps with a length behind one: "TEXT", "DECIMAL(10, 2)", "REAL NOT NULL". The
// library writes a type into its statement as it is, too.
constexpr char kPlainType[] =
    "^[A-Za-z_][A-Za-z0-9_]*( [A-Za-z0-9_]+)*"
    "(\\([0-9]+(, ?[0-9]+)?\\)( [A-Za-z0-9_]+)*)?$";

// Not std::regex, which calls itself for each character of a long text.
bool Matches(const std::string& text, const char* pattern) {
  regex_t compiled{};
  if (regcomp(&compiled, pattern, REG_EXTENDED | REG_NOSUB) != 0) {
    throw std::bad_alloc();
  }
  const bool matches = regexec(&compiled, text.c_str(), 0, nullptr, 0) == 0;
  regfree(&compiled);
  return matches;
}

// Both sides of the first separator.
std::pair<std::string, std::string> Split(const std::string& text, char separator,
                                          const std::string& form) {
  const std::size_t position = text.find(separator);
  RefuseIf(position == std::string::npos, "'" + text + "' is not " + form);
  return {text.substr(0, position), text.substr(position + 1)};
}

// The insertions, deletions and changes of a character, or of its case, that make one text
// the other.
std::size_t EditsBetween(const std::string& left, const std::string& right) {
  std::vector<std::size_t> edits(right.size() + 1);
  std::iota(edits.begin(), edits.end(), 0);
  for (std::size_t row = 0; row < left.size(); ++row) {
    std::size_t diagonal = std::exchange(edits[0], row + 1);
    for (std::size_t column = 0; column < right.size(); ++column) {
      const std::size_t changed = diagonal + (left[row] == right[column] ? 0 : 1);
      diagonal = edits[column + 1];
      edits[column + 1] = std::min({changed, diagonal + 1, edits[column] + 1});
    }
  }
  return edits.back();
}

}  // namespace

std::string Joined(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) {
    list += (list.empty() ? "" : ", ") + name;
  }
  return list;
}

bool IsPlainName(const std::string& name) { return Matches(name, kPlainName); }

void RequirePlainName(const std::string& kind, const std::string& name) {
  RefuseIf(!IsPlainName(name), "'" + name + "' is no plain name for a " + kind +
                                   ": a letter or '_' first, then letters, digits and '_'");
}

Assignment::Assignment(const std::string& text) {
  std::tie(column, value) = Split(text, '=', "COLUMN=VALUE");
  RequirePlainName("column", column);
}

TypedColumn::TypedColumn(const std::string& text) {
  std::tie(column, type) = Split(text, ':', "COLUMN:TYPE");
  RequirePlainName("column", column);
  RefuseIf(!Matches(type, kPlainType),
           "'" + type + "' is no plain type for the column " + column +
               ": words, and perhaps a length, such as TEXT, VARCHAR(20) or REAL NOT NULL");
}

KeyColumn::KeyColumn(const std::string& text) {
  if (text.find(':') == std::string::npos) {
    column = text;
  } else {
    TypedColumn::operator=(TypedColumn(text));
  }
}

TableColumn::TableColumn(const std::string& text) {
  std::tie(table, column) = Split(text, '.', "TABLE.COLUMN");
  RequirePlainName("table", table);
  RequirePlainName("column", column);
}

JoinCondition::JoinCondition(const std::string& text) {
  std::tie(column, value) = Split(text, '=', "COLUMN=VALUE");
  if (column.find('.') == std::string::npos) {
    RequirePlainName("column", column);
  } else {
    TableColumn{column};
  }
}

ColumnOrder::ColumnOrder(const std::string& text) : column(text.substr(0, text.find(':'))) {
  const std::string direction = text.substr(column.size());
  RefuseIf(direction != "" && direction != ":asc" && direction != ":desc",
           "'" + text + "' is not COLUMN, COLUMN:asc or COLUMN:desc");
  descending = direction == ":desc";
}

Place::Place(const std::string& text) {
  RefuseIf(!Matches(text, "^[0-9]{1,9}(:[0-9]{1,9})?$"), "'" + text + "' is not LINE or LINE:ROW");
  const std::size_t colon = text.find(':');
  line = std::stoul(text.substr(0, colon));
  row = colon == std::string::npos ? 1 : std::stoul(text.substr(colon + 1));
}

std::string Place::Text() const {
  return std::to_string(line) + (row == 1 ? "" : ':' + std::to_string(row));
}

bool operator<(const Place& left, const Place& right) {
  return std::tie(left.line, left.row) < std::tie(right.line, right.row);
}

std::string Suggestion(const std::string& word, const std::vector<std::string>& names) {
  const std::size_t most = std::max<std::size_t>(1, word.size() / 3);
  std::pair<std::size_t, std::string> nearest(most + 1, "");
  for (const std::string& name : names) {
    nearest = std::min(nearest, {EditsBetween(word, name), name});
  }
  return nearest.second.empty() ? "" : "; did you mean " + nearest.second + '?';
}

void RequireDistinct(const std::vector<std::string>& columns) {
  const auto precedes = [](const std::string& left, const std::string& right) {
    return sqlite3_stricmp(left.c_str(), right.c_str()) < 0;
  };
  std::set<std::string, decltype(precedes)> seen(precedes);
  for (const std::string& column : columns) {
    RefuseIf(!seen.insert(column).second, "the column " + column + " is given twice");
  }
}

std::string Quoted(const std::string& value) {
  std::ostringstream quoted;
  quoted << std::quoted(value, '\'', '\'');
  const std::string text = quoted.str();
  return text.substr(1, text.size() - 2);
}

std::string NamesOf(const std::vector<Assignment>& assignments) {
  std::string names;
  std::vector<std::string> columns;
  for (const Assignment& assignment : assignments) {
    names += assignment.column + '\0';
    columns.push_back(assignment.column);
  }
  RequireDistinct(columns);
  return names;
}

}  // namespace vorndb
