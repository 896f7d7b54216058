#include <algorithm>
#include <iostream>
#include <iterator>
#include <map>
#include <set>

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

// "COLUMN='VALUE' COLUMN='VALUE'", of the first columns.
std::string Shown(const Names& names, const Row& row, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += ' ' + Printable(names[i]) + '=' + Shown(row[i]);
  }
  return text;
}

// "INTEGER", "TEXT NOT NULL, key 1"
std::string Shown(const Column& column) {
  return (column.type.empty() ? "without type" : Printable(column.type)) +
         (column.isNotNull ? " NOT NULL" : "") +
         (column.key > 0 ? ", key " + std::to_string(column.key) : "");
}

const Column* Find(const Table& table, const std::string& name) {
  const auto found = std::find_if(table.columns.begin(), table.columns.end(),
                                  [&name](const Column& column) { return column.name == name; });
  return found == table.columns.end() ? nullptr : &*found;
}

// Rows with these columns only.
std::vector<Row> RowsOf(const Table& table, const Names& names) {
  std::vector<Row> rows(table.rows.size());
  for (const std::string& name : names) {
    const auto index = static_cast<std::size_t>(Find(table, name) - table.columns.data());
    for (std::size_t row = 0; row < rows.size(); ++row) {
      rows[row].push_back(table.rows[row][index]);
    }
  }
  return rows;
}

// Prints the differences of two tables with one name.
class TableDiff {
 public:
  TableDiff(std::string name, const Table& left, const Table& right)
      : m_name(std::move(name)), m_left(left), m_right(right) {}

  // Whether there are any.
  bool Print() {
    PrintColumns();
    PrintRows();
    return m_differs;
  }

 private:
  void Differ(const std::string& line) {
    if (!m_differs) {
      std::cout << m_name << '\n';
    }
    m_differs = true;
    std::cout << line << '\n';
  }

  // Common columns are kept, those of the key first.
  void PrintColumns() {
    for (const Column& column : m_left.columns) {
      const Column* const other = Find(m_right, column.name);
      const std::string start = "column " + Printable(column.name);
      if (other == nullptr) {
        Differ("- " + start + ' ' + Shown(column));
        continue;
      }
      if (Shown(column) != Shown(*other)) {
        Differ("! " + start + ": " + Shown(column) + " -> " + Shown(*other));
      }
      const bool isKey = column.key > 0 && other->key > 0;
      m_common.insert(isKey ? m_common.begin() + m_keyCount++ : m_common.end(), column.name);
    }
    for (const Column& column : m_right.columns) {
      if (Find(m_left, column.name) == nullptr) {
        Differ("+ column " + Printable(column.name) + ' ' + Shown(column));
      }
    }
  }

  // Rows with the same key are one; without a key, rows that are equal.
  void PrintRows() {
    const std::size_t all = m_common.size();
    const auto keyCount = m_keyCount == 0 ? all : static_cast<std::size_t>(m_keyCount);
    const auto keyOf = [keyCount](const Row& row) {
      return Row(row.begin(), std::next(row.begin(), static_cast<std::ptrdiff_t>(keyCount)));
    };
    std::multimap<Row, Row> others;
    for (const Row& row : RowsOf(m_right, m_common)) {
      others.emplace(keyOf(row), row);
    }
    for (const Row& row : RowsOf(m_left, m_common)) {
      const auto other = others.find(keyOf(row));
      if (other == others.end()) {
        Differ('-' + Shown(m_common, row, all));
        continue;
      }
      PrintCells(row, other->second, keyCount);
      others.erase(other);
    }
    for (const auto& [key, row] : others) {
      Differ('+' + Shown(m_common, row, all));
    }
  }

  void PrintCells(const Row& left, const Row& right, std::size_t keyCount) {
    std::string changes;
    for (std::size_t i = keyCount; i < left.size(); ++i) {
      if (left[i] != right[i]) {
        changes += (changes.empty() ? ": " : ", ") + Printable(m_common[i]) + ' ' + Shown(left[i]) +
                   " -> " + Shown(right[i]);
      }
    }
    if (!changes.empty()) {
      Differ('!' + Shown(m_common, left, keyCount) + changes);
    }
  }

  std::string m_name;
  const Table& m_left;
  const Table& m_right;
  bool m_differs = false;
  Names m_common;
  std::ptrdiff_t m_keyCount = 0;  // of the common columns
};

bool DifferIn(const Arguments& arguments, const std::string& table) {
  RequirePlainName("table", table);
  const bool isInFrom = HasTable(arguments.from, table);
  if (isInFrom != HasTable(arguments.to, table)) {
    std::cout << table << ": only in " << (isInFrom ? arguments.from : arguments.to) << '\n';
    return true;
  }
  const Table left = ReadTable(arguments.from, table);
  return TableDiff(table, left, ReadTable(arguments.to, table)).Print();
}

Names TablesOfBoth(const Arguments& arguments) {
  std::set<std::string> tables(arguments.tables.begin(), arguments.tables.end());
  if (tables.empty()) {
    for (const std::string& file : {arguments.from, arguments.to}) {
      for (const std::string& table : TablesOf(file)) {
        tables.insert(table);
      }
    }
  }
  return {tables.begin(), tables.end()};
}

}  // namespace

void Diff(const Arguments& arguments) {
  constexpr int kDiffers = 1;
  constexpr int kTrouble = 2;
  int status = 0;
  // Other tables are compared when one cannot be.
  const auto attempt = [&status](auto compare) {
    try {
      status = std::max(status, compare() ? kDiffers : 0);
    } catch (const std::runtime_error& problem) {
      Tell(problem.what());
      status = kTrouble;
    }
  };
  Names tables;
  attempt([&] {
    RequireExisting(arguments.from);
    RequireExisting(arguments.to);
    tables = TablesOfBoth(arguments);
    return false;
  });
  for (const std::string& table : tables) {
    attempt([&] { return DifferIn(arguments, table); });
  }
  if (status != 0) {
    throw Answer{status};
  }
}

}  // namespace vorndb
