// The names and pairs on the command line. The library writes names into its
// statements as they are, so only plain ones get that far.

#ifndef VORNDB_NAMES_H
#define VORNDB_NAMES_H

#include <cstddef>
#include <string>
#include <vector>

namespace vorndb {

// "A, B, C"
std::string Joined(const std::vector<std::string>& names);

// A letter or '_' first, then letters, digits and '_'.
bool IsPlainName(const std::string& name);

// Throws UsageError for a name that is not plain, as do all the constructors here; they also
// do for a text of another form.
void RequirePlainName(const std::string& kind, const std::string& name);

// COLUMN=VALUE
struct Assignment {
  Assignment() = default;
  explicit Assignment(const std::string& text);

  std::string column;
  std::string value;
};

// COLUMN:TYPE
struct TypedColumn {
  TypedColumn() = default;
  explicit TypedColumn(const std::string& text);

  std::string column;
  std::string type;
};

// COLUMN:TYPE or COLUMN
struct KeyColumn : TypedColumn {
  KeyColumn() = default;
  explicit KeyColumn(const std::string& text);
};

// TABLE.COLUMN
struct TableColumn {
  TableColumn() = default;
  explicit TableColumn(const std::string& text);

  std::string table;
  std::string column;
};

// A condition of a join, whose column may be TABLE.COLUMN.
struct JoinCondition : Assignment {
  JoinCondition() = default;
  explicit JoinCondition(const std::string& text);
};

// COLUMN, COLUMN:asc or COLUMN:desc
struct ColumnOrder {
  ColumnOrder() = default;
  explicit ColumnOrder(const std::string& text);

  std::string column;
  bool descending = false;
};

// LINE or LINE:ROW, where a row of a file begins.
struct Place {
  Place() = default;
  Place(std::size_t aLine, std::size_t aRow) : line(aLine), row(aRow) {}
  explicit Place(const std::string& text);

  std::string Text() const;
  // The place of another row, which begins in this line.
  Place NextIn(std::size_t aLine) const { return {aLine, aLine == line ? row + 1 : 1}; }

  std::size_t line = 0;
  std::size_t row = 1;  // among those that begin in the line
};

bool operator<(const Place& left, const Place& right);

// "; did you mean NAME?" with the name that is most similar, or nothing.
std::string Suggestion(const std::string& word, const std::vector<std::string>& names);

// Throws UsageError when two of the names are one to SQLite, which does not mind case.
void RequireDistinct(const std::vector<std::string>& columns);

// The text with each single quote doubled, as the library needs values.
std::string Quoted(const std::string& value);

// The names of distinct columns, each with a NUL. The library keeps pointers to names and
// lists columns in the order of addresses: in one text that is the command line's order.
std::string NamesOf(const std::vector<Assignment>& assignments);

}  // namespace vorndb

#endif  // VORNDB_NAMES_H
