// The names and pairs on the command line. The library writes names into its
// statements as they are, so only plain ones get that far.

#ifndef VORNDB_NAMES_H
#define VORNDB_NAMES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

namespace vorndb {

using Texts = std::vector<std::string>;

// The names of the entries of a table.
template <typename Table>
Texts NamesIn(const Table& table) {
  Texts names;
  for (const auto& entry : table) {
    names.emplace_back(entry.name);
  }
  return names;
}

// "A, B, C"
std::string Joined(const Texts& names);

bool IsPlainName(const std::string& name);

// Throws UsageError for a name that is not plain, as do the parsing functions; they also do for
// a text of another form.
void RequirePlainName(const std::string& kind, const std::string& name);

// The texts on both sides of a separator.
using Pair = std::pair<std::string, std::string>;
using Pairs = std::vector<Pair>;

Pair ParseAssignment(const std::string& text);     // COLUMN=VALUE
Pair ParseTypedColumn(const std::string& text);    // COLUMN:TYPE
Pair ParseKeyColumn(const std::string& text);      // COLUMN:TYPE or COLUMN
Pair ParseTableColumn(const std::string& text);    // TABLE.COLUMN
Pair ParseJoinCondition(const std::string& text);  // COLUMN=VALUE or TABLE.COLUMN=VALUE
Pair ParseOrder(const std::string& text);          // COLUMN, COLUMN:asc or COLUMN:desc

// LINE or LINE:ROW, where a row of a file begins.
struct Place {
  bool operator<(const Place& other) const {
    return std::tie(line, row) < std::tie(other.line, other.row);
  }

  std::size_t line = 0;
  std::size_t row = 1;  // among those that begin in the line
};

Place ParsePlace(const std::string& text);
std::string TextOf(const Place& place);

// "; did you mean NAME?" with the name that is most similar, or nothing.
std::string Suggestion(const std::string& word, const Texts& names);

// Throws UsageError when two of the names are one to SQLite, which does not mind case.
void RequireDistinct(const Texts& columns);

// The names of distinct columns, each with a NUL. The library keeps pointers to names and
// lists columns in the order of addresses: in one text that is the command line's order.
std::string NamesOf(const Pairs& pairs);

// The text with `escape` in front of each of the characters, which become the letters if there
// are some. The library needs a second single quote for each one in a value.
std::string Escaped(const std::string& text, std::string_view characters, char escape,
                    std::string_view letters = "");

}  // namespace vorndb

#endif  // VORNDB_NAMES_H
