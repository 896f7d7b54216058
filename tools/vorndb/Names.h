// The names and pairs on the command line. The library writes names into its
// statements as they are, so only plain ones get that far.

#ifndef VORNDB_NAMES_H
#define VORNDB_NAMES_H

#include <cstddef>
#include <string>
#include <vector>

namespace vorndb {

// COLUMN=VALUE
struct Assignment {
  std::string column;
  std::string value;
};

// COLUMN:TYPE
struct TypedColumn {
  std::string column;
  std::string type;
};

// TABLE.COLUMN
struct TableColumn {
  std::string table;
  std::string column;
};

// All of these throw UsageError for a name that is not plain, or a text of another form.
void RequirePlainName(const std::string& kind, const std::string& name);
std::string ParseTable(const std::string& text);
Assignment ParseAssignment(const std::string& text);
TypedColumn ParseTypedColumn(const std::string& text);
TableColumn ParseTableColumn(const std::string& text);

// A condition of a join, whose column may be TABLE.COLUMN.
Assignment ParseJoinCondition(const std::string& text);

// Throws UsageError when two of the names are one to SQLite, which does not mind case.
void RequireDistinct(const std::vector<std::string>& columns);

// The text with each single quote doubled, as the library needs values.
std::string Quoted(const std::string& value);

// Distinct column names. The library keeps the pointers to them and lists columns in the
// order of their addresses: in a single block that is the order of the command line.
class NameBlock {
 public:
  explicit NameBlock(const std::vector<Assignment>& assignments);

  const char* operator[](std::size_t index) const { return m_block.c_str() + m_starts[index]; }

 private:
  std::string m_block;
  std::vector<std::size_t> m_starts;
};

}  // namespace vorndb

#endif  // VORNDB_NAMES_H
