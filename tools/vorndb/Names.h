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

// A letter or an underscore, then letters, digits and underscores, all of ASCII.
bool IsPlainName(const std::string& name);

// All of these throw UsageError for a name that is not plain, or a text of another form.
void RequirePlainName(const std::string& what, const std::string& name);
Assignment ParseAssignment(const std::string& text);
TypedColumn ParseTypedColumn(const std::string& text);
TableColumn ParseTableColumn(const std::string& text);

// A condition of a join, whose column may be TABLE.COLUMN.
Assignment ParseJoinCondition(const std::string& text);

// Throws UsageError when two of the names are one to SQLite, which does not mind case.
void RequireDistinct(const std::vector<std::string>& columns);

// The text, with each single quote doubled: what the library wants of a value.
std::string Quoted(const std::string& value);

// Column names as the library wants them: it keeps the pointers, and lists columns in the
// order of their addresses. Standing one behind the other in a single block they stay in
// the order in which they were given.
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
