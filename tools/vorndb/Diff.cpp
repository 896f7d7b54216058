#include <algorithm>
#include <iostream>
#include <set>
#include <stdexcept>

#include "Commands.h"
#include "Errors.h"
#include "Rows.h"
#include "Terminal.h"

namespace vorndb {

namespace {

using Names = std::vector<std::string>;

// A line for a row: "- COLUMN='VALUE' COLUMN=NULL".
std::string LineOf(char sign, const std::string& kind, const Names& columns, const Row& row) {
  std::string line = sign + kind;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string value = row[i] ? '\'' + Quoted(*row[i]) + '\'' : "NULL";
    line += ' ' + columns[i] + '=' + value;
  }
  return Printable(line);
}

// Adds the rows of some kind that one table only has. A row that is changed is two lines, one
// after the other, since its first cells are its key.
void AddDifferences(const std::string& kind, const Names& columns, std::vector<Row> left,
                    std::vector<Row> right, Names& lines) {
  std::sort(left.begin(), left.end());
  std::sort(right.begin(), right.end());
  auto other = right.begin();
  for (auto row = left.begin(); row != left.end() || other != right.end();) {
    if (row != left.end() && other != right.end() && *row == *other) {
      ++row;
      ++other;
    } else if (other == right.end() || (row != left.end() && *row < *other)) {
      lines.push_back(LineOf('-', kind, columns, *row++));
    } else {
      lines.push_back(LineOf('+', kind, columns, *other++));
    }
  }
}

// The columns that both tables have, those of a key first.
Names CommonColumns(const std::vector<Column>& left, const std::vector<Column>& right) {
  Names names;
  for (const bool isKey : {true, false}) {
    for (const Column& column : left) {
      const auto isSame = [&](const Column& other) { return other.name == column.name; };
      if ((column.key > 0) == isKey && std::any_of(right.begin(), right.end(), isSame)) {
        names.push_back(column.name);
      }
    }
  }
  return names;
}

bool DifferIn(const std::string& left, const std::string& right, const std::string& table) {
  RequirePlainName("table", table);
  const bool isLeft = HasTable(left, table);
  if (isLeft != HasTable(right, table)) {
    std::cout << table << ": only in " << (isLeft ? left : right) << '\n';
    return true;
  }
  Names lines;
  const Names parts{"name", "type", "notnull", "dflt_value", "pk"};
  AddDifferences(" column", parts, ReadRows(left, ColumnTable(table), parts),
                 ReadRows(right, ColumnTable(table), parts), lines);
  const Names columns = CommonColumns(ColumnsOf(left, table), ColumnsOf(right, table));
  AddDifferences("", columns, ReadRows(left, table, columns), ReadRows(right, table, columns),
                 lines);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    std::cout << (i == 0 ? table + '\n' : "") << lines[i] << '\n';
  }
  return !lines.empty();
}

std::set<std::string> TablesOfBoth(const Arguments& arguments) {
  std::set<std::string> tables(arguments.tables.begin(), arguments.tables.end());
  for (const std::string& file : {arguments.from, arguments.to}) {
    RequireExisting(file);
    if (arguments.tables.empty()) {
      const Names own = TablesOf(file);
      tables.insert(own.begin(), own.end());
    }
  }
  return tables;
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
      Tell(problem.what());
      status = kTrouble;
    }
  };
  attempt([&] {
    for (const std::string& table : TablesOfBoth(arguments)) {
      attempt([&] {
        const bool differs = DifferIn(arguments.from, arguments.to, table);
        status = std::max(status, differs ? kDiffers : 0);
      });
    }
  });
  if (status != 0) {
    throw Answer{status};
  }
}

}  // namespace vorndb
