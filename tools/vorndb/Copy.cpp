#include <filesystem>
#include <system_error>

#include "Commands.h"
#include "Errors.h"
#include "RowWriter.h"
#include "Rows.h"
#include "Terminal.h"

namespace vorndb {

namespace {

// A table with these columns. The library names a key that is missing.
void CreateLike(const Arguments& write, const std::vector<Column>& columns) {
  Arguments create = write;
  for (const Column& column : columns) {
    const std::string text = column.name + ':' + (column.type.empty() ? "BLOB" : column.type);
    const bool isNumbered = column.name == "_ID" && column.type == "INTEGER";
    if (column.key == 0) {
      create.columns.emplace_back(text + (column.isNotNull ? " NOT NULL" : ""));
    } else if (column.key == 1 && !isNumbered) {
      create.key.emplace(text);
    } else if (column.key == 2) {
      create.composite.emplace(text);
    }
    FailIf(column.key > 2, "the library makes no table with a key of more than two columns");
  }
  Create(create);
}

std::vector<std::string> NamesOf(const std::vector<Column>& columns) {
  std::vector<std::string> names;
  for (const Column& column : columns) {
    names.push_back(column.name);
  }
  return names;
}

// NULL is a value that is not given.
std::vector<Assignment> ValuesOf(const std::vector<Column>& columns, const Row& row) {
  std::vector<Assignment> values;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (row[i]) {
      values.emplace_back();
      values.back().column = columns[i].name;
      values.back().value = *row[i];
    }
  }
  return values;
}

void CopyTable(const Arguments& write, const std::string& from) {
  const std::vector<Column> columns = ColumnsOf(from, write.table);
  RequireTable(from, write.table, columns.size());
  const std::vector<Row> rows = ReadRows(from, write.table, NamesOf(columns));
  if (write.sql || !IsThere(write.file) || !HasTable(write.file, write.table)) {
    CreateLike(write, columns);
    if (!write.sql && StatementsOf(from, write.table) != StatementsOf(write.file, write.table)) {
      Tell("warning: the copy of " + write.table +
           " has names, types and keys of its columns only; vorndb schema shows the difference");
    }
  }
  RowWriter writer(write, rows.size());
  for (std::size_t row = 0; row < rows.size(); ++row) {
    try {
      writer.Write(ValuesOf(columns, rows[row]), row + 1, "");
    } catch (const Failure& failure) {
      writer.Fail(write.table + ": " + failure.what(), "");
    }
  }
  writer.Finish();
}

}  // namespace

void Copy(const Arguments& arguments) {
  RequireExisting(arguments.from);
  std::error_code ignored;
  FailIf(std::filesystem::equivalent(arguments.from, arguments.to, ignored),
         arguments.to + " is the same file");
  const bool all = arguments.tables.empty();
  for (const std::string& table : all ? TablesOf(arguments.from) : arguments.tables) {
    RequirePlainName("table", table);
    Arguments write = arguments;
    write.file = arguments.to;
    write.table = table;
    CopyTable(write, arguments.from);
  }
}

}  // namespace vorndb
