// The commands on two database files.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>
#include <system_error>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Terminal.h"
#include "Transfer.h"

namespace vorndb {

namespace {

// A line for a row: "- COLUMN='VALUE' COLUMN=NULL".
std::string LineOf(char sign, const std::string& kind, const Texts& columns, const Row& row) {
  std::string line = sign + kind;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string value = row[i] ? '\'' + Escaped(*row[i], "'", '\'') + '\'' : "NULL";
    line += ' ' + columns[i] + '=' + value;
  }
  return Printable(line) + '\n';
}

// Lines for the rows that only one of the tables has. A row that is changed is two lines, one after
// the other, since its first cells are its key.
std::string Differences(const Arguments& files, const std::string& kind, const std::string& table,
                        const Texts& columns) {
  std::map<Row, int> surplus;  // how many more of them the first table has
  for (const Row& row : ReadRows(files.file, table, columns)) {
    ++surplus[row];
  }
  for (const Row& row : ReadRows(files.path, table, columns)) {
    --surplus[row];
  }
  std::string lines;
  for (const auto& [row, count] : surplus) {
    for (int left = std::abs(count); left > 0; --left) {
      lines += LineOf(count > 0 ? '-' : '+', kind, columns, row);
    }
  }
  return lines;
}

// The columns that both tables have, those of a key first.
Texts CommonColumns(const Arguments& files, const std::string& table) {
  const Texts others = NamesIn(ColumnsOf(files.path, table));
  Texts names;
  std::ptrdiff_t keys = 0;
  for (const Column& column : ColumnsOf(files.file, table)) {
    if (std::count(others.begin(), others.end(), column.name) > 0) {
      names.insert(column.key > 0 ? names.begin() + keys++ : names.end(), column.name);
    }
  }
  return names;
}

bool Differ(const Arguments& files, const std::string& table) {
  RequirePlainName("table", table);
  const bool isFirst = HasTable(files.file, table);
  if (isFirst != HasTable(files.path, table)) {
    std::cout << table << ": only in " << (isFirst ? files.file : files.path) << '\n';
    return true;
  }
  const Texts parts{"name", "type", "notnull", "dflt_value", "pk"};
  const std::string lines = Differences(files, " column", ColumnTable(table), parts) +
                            Differences(files, "", table, CommonColumns(files, table));
  std::cout << (lines.empty() ? "" : table + '\n') << lines;
  return !lines.empty();
}

// A table with these columns. The library names a key that is missing.
void CreateLike(const Arguments& write, const std::vector<Column>& columns) {
  Arguments create = write;
  for (const Column& column : columns) {
    const std::string text = column.name + ':' + (column.type.empty() ? "BLOB" : column.type);
    const bool isNumbered = column.name == "_ID" && column.type == "INTEGER";
    if (column.key == 0) {
      create.columns.push_back(ParseTypedColumn(text + (column.isNotNull ? " NOT NULL" : "")));
    } else if (column.key == 1 && !isNumbered) {
      create.key = ParseTypedColumn(text);
    } else if (column.key == 2) {
      create.composite = ParseTypedColumn(text);
    }
    FailIf(column.key > 2,
           "the key of " + write.table + " has more than two columns, and the library makes none");
  }
  Create(create);
}

void CopyTable(const Arguments& write, const std::string& from) {
  const std::vector<Column> columns = ColumnsOf(from, write.table);
  RequireTable(from, write.table, columns.size());
  const std::vector<Row> rows = ReadRows(from, write.table, NamesIn(columns));
  if (write.sql || !IsThere(write.file) || !HasTable(write.file, write.table)) {
    CreateLike(write, columns);
    if (!write.sql && StatementsOf(from, write.table) != StatementsOf(write.file, write.table)) {
      PrintMessage(
          "warning: the copy of " + write.table +
          " keeps only the names, types and keys of its columns; vorndb schema shows the rest");
    }
  }
  Position position;
  UpsertRows(write, position, rows.size(), [&](const TakeRow& take) {
    for (const Row& row : rows) {
      ++position.taken;
      Pairs values;
      for (std::size_t i = 0; i < row.size(); ++i) {
        // NULL is a value that is not given.
        if (row[i]) {
          values.emplace_back(columns[i].name, *row[i]);
        }
      }
      take(values);
    }
  });
}

}  // namespace

// Other tables are compared when one cannot be.
void Diff(const Arguments& arguments) {
  constexpr int kDiffers = 1;
  constexpr int kTrouble = 2;
  int status = 0;
  const auto attempt = [&status](auto compare) {
    try {
      compare();
    } catch (const std::runtime_error& problem) {
      PrintMessage(problem.what());
      status = kTrouble;
    }
  };
  attempt([&] {
    std::set<std::string> tables;
    for (const std::string& file : {arguments.file, arguments.path}) {
      RequireExisting(file);
      const Texts found = arguments.tables.empty() ? TablesOf(file) : arguments.tables;
      tables.insert(found.begin(), found.end());
    }
    for (const std::string& table : tables) {
      attempt([&] { status = std::max(status, Differ(arguments, table) ? kDiffers : 0); });
    }
  });
  if (status != 0) {
    throw Answer{status};
  }
}

void Copy(const Arguments& arguments) {
  RequireExisting(arguments.file);
  std::error_code ignored;
  FailIf(std::filesystem::equivalent(arguments.file, arguments.path, ignored),
         arguments.path + " is the same file");
  for (const std::string& table :
       arguments.tables.empty() ? TablesOf(arguments.file) : arguments.tables) {
    RequirePlainName("table", table);
    Arguments write = arguments;
    write.file = arguments.path;
    write.table = table;
    CopyTable(write, arguments.file);
  }
}

}  // namespace vorndb
