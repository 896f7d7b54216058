#include "Names.h"

#include <regex.h>
#include <sqlite3.h>

#include <algorithm>
#include <numeric>
#include <set>
#include <utility>

#include "Errors.h"

namespace vorndb {

namespace {

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

// Both sides of the first separator. The left one is a name.
Pair Split(const std::string& text, char separator, const std::string& form,
           const std::string& kind = "column") {
  const std::size_t position = text.find(separator);
  RefuseIf(position == std::string::npos, "'" + text + "' is not " + form);
  Pair pair(text.substr(0, position), text.substr(position + 1));
  RequirePlainName(kind, pair.first);
  return pair;
}

// The least number of insertions, deletions and changes of a character.
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

std::string Joined(const Texts& names) {
  std::string list;
  for (const std::string& name : names) {
    list += (list.empty() ? "" : ", ") + name;
  }
  return list;
}

bool IsPlainName(const std::string& name) { return Matches(name, "^[A-Za-z_][A-Za-z0-9_]*$"); }

void RequirePlainName(const std::string& kind, const std::string& name) {
  RefuseIf(!IsPlainName(name), "'" + name + "' is no plain name for a " + kind +
                                   ": a letter or '_' first, then letters, digits and '_'");
}

Pair ParseAssignment(const std::string& text) { return Split(text, '=', "COLUMN=VALUE"); }

Pair ParseTypedColumn(const std::string& text) {
  Pair pair = Split(text, ':', "COLUMN:TYPE");
  RefuseIf(!Matches(pair.second, kPlainType),
           "'" + pair.second + "' is no plain type for the column " + pair.first +
               ": words, and perhaps a length, such as TEXT, VARCHAR(20) or REAL NOT NULL");
  return pair;
}

Pair ParseKeyColumn(const std::string& text) {
  return text.find(':') == std::string::npos ? Pair(text, "") : ParseTypedColumn(text);
}

Pair ParseTableColumn(const std::string& text) {
  Pair pair = Split(text, '.', "TABLE.COLUMN", "table");
  RequirePlainName("column", pair.second);
  return pair;
}

Pair ParseJoinCondition(const std::string& text) {
  const std::string name = text.substr(0, text.find('='));
  if (name == text || name.find('.') == std::string::npos) {
    return ParseAssignment(text);
  }
  ParseTableColumn(name);
  return {name, text.substr(name.size() + 1)};
}

Pair ParseOrder(const std::string& text) {
  const std::size_t colon = text.find(':');
  Pair pair(text.substr(0, colon), colon == std::string::npos ? "asc" : text.substr(colon + 1));
  RefuseIf(pair.second != "asc" && pair.second != "desc",
           "'" + text + "' is not COLUMN, COLUMN:asc or COLUMN:desc");
  return pair;
}

Place ParsePlace(const std::string& text) {
  RefuseIf(!Matches(text, "^[0-9]{1,9}(:[0-9]{1,9})?$"), "'" + text + "' is not LINE or LINE:ROW");
  const std::size_t colon = text.find(':');
  const std::string row = colon == std::string::npos ? "1" : text.substr(colon + 1);
  return {std::stoul(text.substr(0, colon)), std::stoul(row)};
}

std::string TextOf(const Place& place) {
  return std::to_string(place.line) + (place.row == 1 ? "" : ':' + std::to_string(place.row));
}

std::string Suggestion(const std::string& word, const Texts& names) {
  const std::size_t most = std::max<std::size_t>(1, word.size() / 3);
  std::pair<std::size_t, std::string> nearest(most + 1, "");
  for (const std::string& name : names) {
    nearest = std::min(nearest, {EditsBetween(word, name), name});
  }
  return nearest.second.empty() ? "" : "; did you mean " + nearest.second + '?';
}

void RequireDistinct(const Texts& columns) {
  const auto precedes = [](const std::string& left, const std::string& right) {
    return sqlite3_stricmp(left.c_str(), right.c_str()) < 0;
  };
  std::set<std::string, decltype(precedes)> seen(precedes);
  for (const std::string& column : columns) {
    RefuseIf(!seen.insert(column).second, "the column " + column + " is given twice");
  }
}

std::string NamesOf(const Pairs& pairs) {
  std::string names;
  Texts columns;
  for (const auto& [column, value] : pairs) {
    names += column + '\0';
    columns.push_back(column);
  }
  RequireDistinct(columns);
  return names;
}

std::string Escaped(const std::string& text, std::string_view characters, char escape,
                    std::string_view letters) {
  std::string escaped;
  for (const char c : text) {
    const std::size_t index = characters.find(c);
    escaped.append(index == std::string_view::npos ? 0 : 1, escape);
    escaped += index < letters.size() ? letters[index] : c;
  }
  return escaped;
}

}  // namespace vorndb
