#include "Completion.h"

#include "Commands.h"
#include "DatabaseFile.h"
#include "Names.h"
#include "Result.h"

namespace vorndb {

namespace {

using Words = std::vector<std::string>;

void AddPlain(Words& words, const std::string& name, const std::string& begin,
              const std::string& end) {
  if (IsPlainName(name)) {
    words.push_back(begin + name + end);
  }
}

Words Tables(const std::string& file, const std::string& end) {
  Words tables;
  for (const std::string& table : IsThere(file) ? TablesOf(file) : Words()) {
    AddPlain(tables, table, "", end);
  }
  return tables;
}

Words Columns(const std::string& file, const std::string& table, const std::string& begin,
              const std::string& end) {
  Words columns;
  if (IsPlainName(table) && IsThere(file)) {
    for (const Column& column : ColumnsOf(file, table)) {
      AddPlain(columns, column.name, begin, end);
    }
  }
  return columns;
}

// "TABLE." first, and then "TABLE.COLUMN".
Words QualifiedColumns(const std::string& file, const std::string& word, const std::string& end) {
  const std::size_t dot = word.find('.');
  const std::string table = word.substr(0, dot);
  return dot == std::string::npos ? Tables(file, ".") : Columns(file, table, table + '.', end);
}

}  // namespace

Words Candidates(const std::string& name, const Arguments& arguments, const std::string& word) {
  const std::string& file = arguments.file;
  const std::string& table = arguments.table;
  if (name == "--format") {
    return FormatNames();
  }
  if (name == "TABLE" || name == "TABLES") {
    return Tables(arguments.from.empty() ? file : arguments.from, "");
  }
  if (name == "LEFT" || name == "RIGHT") {
    return QualifiedColumns(file, word, "");
  }
  if (name == "--where" || name == "VALUES") {
    return table.empty() ? QualifiedColumns(file, word, "=") : Columns(file, table, "", "=");
  }
  const bool isColumn = name == "--columns" || name == "--order";
  return isColumn ? Columns(file, table, "", "") : Words();
}

}  // namespace vorndb
