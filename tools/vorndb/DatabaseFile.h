// The database file, its tables, and the explanation of a call that fails on it.

#ifndef VORNDB_DATABASEFILE_H
#define VORNDB_DATABASEFILE_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BaseSet.h"
#include "Database.h"
#include "Names.h"
#include "Result.h"
#include "log/LogLine.h"

namespace vorndb {

bool IsThere(const std::string& file);

// Throws Failure when there is no such file. SQLite would make an empty one.
void RequireExisting(const std::string& file);

// From now on SQLite syncs no file in this process. A loss of power can then damage a database.
void StopSyncs();

// Syncs a database. Returns the problem, or nothing.
std::string Sync(const std::string& file);

// The functions below throw Failure when the file cannot be read.

bool HasTable(const std::string& file, const std::string& table);

// "table NAME" or "view NAME", as the name is in the file, or nothing. Case does not matter.
std::string Namesake(const std::string& file, const std::string& name);

struct Column {
  std::string name;
  std::string type;
  bool isNotNull = false;
  int key = 0;  // its place in the primary key, from 1, or 0
};

// A table that does not exist has no columns.
Texts TablesOf(const std::string& file);
std::vector<Column> ColumnsOf(const std::string& file, const std::string& table);

// The statements that made a table with its indexes and triggers, or everything for no name.
Texts StatementsOf(const std::string& file, const std::string& table);

// A table of SQLite's, with the columns of a table.
std::string ColumnTable(const std::string& table);

// The rows with these columns, and with nothing for NULL. Throws Failure for cells that the
// library does not give as they are.
std::vector<Row> ReadRows(const std::string& file, const std::string& table, const Texts& columns);

// Throws Failure for a table of which nothing is found, unless the name is empty.
void RequireTable(const std::string& file, const std::string& table, std::size_t found);

// Calls the library with a request on the file, and returns the lines of its log. To read them
// takes longer than a write, so that is left to those who need them. Throws Failure.
Texts Observe(const std::string& file, BasePath& request, const std::function<int()>& call);

// Adds hints on these tables and their columns to a failure of Observe within the call.
void OnTables(const std::string& file, const Texts& tables, const std::function<void()>& call);

// Runs a query. Throws Failure.
template <typename Request>
Result Query(const std::string& file, Request& request, int (Database::*run)(Request&, Cursor&)) {
  RequireExisting(file);
  auto cursor = std::make_unique<Cursor>();
  const Texts lines = Observe(file, request, [&] { return (Database().*run)(request, *cursor); });
  return ReadResult(file, std::move(cursor), ReadLines(lines));
}

// A request with values and conditions. It refers to their names.
template <typename Request>
struct Statement {
  Statement(const Pairs& values, const Pairs& where) : names(NamesOf(values) + NamesOf(where)) {
    const char* name = names.c_str();
    const auto add = [&](const Pairs& pairs, void (BaseSet::*set)(const char*, const char*)) {
      for (const auto& [column, value] : pairs) {
        (request.*set)(name, Escaped(value, "'", '\'').c_str());
        name += column.size() + 1;
      }
    };
    add(values, &BaseSet::SetData);
    add(where, &BaseSet::SetWhere);
  }

  std::string names;
  Request request;
};

}  // namespace vorndb

#endif  // VORNDB_DATABASEFILE_H
