#include <algorithm>
#include <cstddef>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <utility>

#include "Commands.h"
#include "Errors.h"
#include "Rows.h"
#include "Terminal.h"

namespace vorndb {

namespace {

using Names = std::vector<std::string>;

std::string Shown(const std::optional<std::string>& cell) {
  return cell ? '\'' + Printable(Quoted(*cell)) + '\'' : "NULL";
}

// " COLUMN='VALUE' COLUMN='VALUE'", of the first columns.
std::string Shown(const Names& columns, const Row& row, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += ' ' + Printable(columns[i]) + '=' + Shown(row[i]);
  }
  return text;
}

// Prints the differences of two tables with one name.
class TableDiff {
 public:
  explicit TableDiff(std::string table) : m_table(std::move(table)) {}

  bool Found() const { return m_found; }

  // Rows of some kind, whose first cells are their key.
  void Compare(const std::string& kind, const Names& columns, std::size_t keyCount,
               const std::vector<Row>& left, const std::vector<Row>& right) {
    const auto keyOf = [keyCount](const Row& row) {
      return Row(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(keyCount));
    };
    std::multimap<Row, Row> others;
    for (const Row& row : right) {
      others.emplace(keyOf(row), row);
    }
    for (const Row& row : left) {
      const auto other = others.find(keyOf(row));
      if (other == others.end()) {
        Print('-' + kind + Shown(columns, row, row.size()));
        continue;
      }
      if (row != other->second) {
        Print('!' + kind + Shown(columns, row, keyCount) + Changes(columns, row, other->second));
      }
      others.erase(other);
    }
    for (const auto& [key, row] : others) {
      Print('+' + kind + Shown(columns, row, row.size()));
    }
  }

 private:
  void Print(const std::string& line) {
    std::cout << (m_found ? "" : m_table + '\n') << line << '\n';
    m_found = true;
  }

  static std::string Changes(const Names& columns, const Row& left, const Row& right) {
    std::string changes;
    for (std::size_t i = 0; i < left.size(); ++i) {
      if (left[i] != right[i]) {
        changes += (changes.empty() ? ": " : ", ") + Printable(columns[i]) + ' ' + Shown(left[i]) +
                   " -> " + Shown(right[i]);
      }
    }
    return changes;
  }

  std::string m_table;
  bool m_found = false;
};

// The columns that both tables have, those of both keys first. Without a key, a row is its own.
std::pair<Names, std::size_t> CommonColumns(const std::vector<Column>& left,
                                            const std::vector<Column>& right) {
  Names names;
  std::ptrdiff_t keyCount = 0;
  for (const Column& column : left) {
    for (const Column& other : right) {
      if (column.name == other.name) {
        const bool isKey = column.key > 0 && other.key > 0;
        names.insert(isKey ? names.begin() + keyCount++ : names.end(), column.name);
      }
    }
  }
  const std::size_t all = names.size();
  return {std::move(names), keyCount > 0 ? static_cast<std::size_t>(keyCount) : all};
}

bool DifferIn(const std::string& left, const std::string& right, const std::string& table) {
  RequirePlainName("table", table);
  const bool isLeft = HasTable(left, table);
  if (isLeft != HasTable(right, table)) {
    std::cout << table << ": only in " << (isLeft ? left : right) << '\n';
    return true;
  }
  TableDiff diff(table);
  const Names parts{"name", "type", "notnull", "dflt_value", "pk"};
  diff.Compare(" column", parts, 1, ReadRows(left, ColumnTable(table), parts),
               ReadRows(right, ColumnTable(table), parts));
  const auto [columns, keyCount] = CommonColumns(ColumnsOf(left, table), ColumnsOf(right, table));
  diff.Compare("", columns, keyCount, ReadRows(left, table, columns),
               ReadRows(right, table, columns));
  return diff.Found();
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
