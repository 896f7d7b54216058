// The database file, its tables, and the explanation of a call that fails on it.

#ifndef VORNDB_DATABASEFILE_H
#define VORNDB_DATABASEFILE_H

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Database.h"
#include "Errors.h"
#include "Names.h"
#include "Result.h"
#include "log/LogLine.h"

class BasePath;

namespace vorndb {

// Throws UsageError for a path without a file name.
void RequireFileName(const std::string& file);

// Sets the location of a request.
void Locate(const std::string& file, BasePath& request);

bool IsThere(const std::string& file);

// Throws Failure when there is no such file. SQLite would make an empty one.
void RequireExisting(const std::string& file);

// From now on SQLite syncs no file in this process. A loss of power can then damage a database.
void StopSyncs();

// Syncs a database. Throws Failure.
void Sync(const std::string& file);

// Whether there is a table of that name; throws Failure when that is unknown.
bool HasTable(const std::string& file, const std::string& table);

// Whether there is no such table; false when that is unknown.
bool LacksTable(const std::string& file, const std::string& table);

struct Column {
  std::string name;
  std::string type;
  bool holdsNumbers = false;  // by its type
  bool isNotNull = false;
  int key = 0;  // its place in the primary key, from 1, or 0
};

// Both throw Failure. A table that does not exist has no columns.
Texts TablesOf(const std::string& file);
std::vector<Column> ColumnsOf(const std::string& file, const std::string& table);

Texts NamesOf(const std::vector<Column>& columns);

// The statements that made a table with its indexes and triggers, or everything for no name.
Texts StatementsOf(const std::string& file, const std::string& table);

// A table of SQLite's, with the columns of a table.
std::string ColumnTable(const std::string& table);

// The rows with these columns, and with nothing for NULL. Throws Failure for cells that the
// library does not give as they are.
std::vector<Row> ReadRows(const std::string& file, const std::string& table, const Texts& columns);

// Throws Failure for a table of which nothing is found, unless the name is empty.
void RequireTable(const std::string& file, const std::string& table, std::size_t found);

// Throws Failure if there is a reason why the last rows of a query are missing.
void ExpectComplete(const std::string& file, const std::string& stop);

// A call of the library whose result is not 0.
struct CallFailure : Failure {
  CallFailure(const std::string& file, int aResult, const std::string& aText);

  int result;
  std::string text;  // SQLite's, unless it is unreadable
};

// Calls the library, and returns the lines of its log. To read them takes longer than a write, so
// that is left to those who need them. Throws CallFailure.
Texts Observe(const std::string& file, const std::function<int()>& call);

// Calls the library likewise. Throws Failure, with hints on these tables and their columns.
void OnTables(const std::string& file, const Texts& tables, const std::function<void()>& call);

// Runs a query. Throws Failure.
template <typename Request>
Result Query(const std::string& file, Request& request, int (Database::*run)(Request&, Cursor&)) {
  RequireExisting(file);
  Locate(file, request);
  auto cursor = std::make_unique<Cursor>();
  const Texts lines = Observe(file, [&] { return (Database().*run)(request, *cursor); });
  return ReadResult(std::move(cursor), ReadLines(lines));
}

// A request with values and conditions. It refers to their names.
template <typename Request>
struct Statement {
  Statement(const Pairs& values, const Pairs& where) : names(NamesOf(values) + NamesOf(where)) {
    const char* name = names.c_str();
    for (const auto& [column, value] : values) {
      request.SetData(name, Escaped(value, "'", '\'').c_str());
      name += column.size() + 1;
    }
    for (const auto& [column, value] : where) {
      request.SetWhere(name, Escaped(value, "'", '\'').c_str());
      name += column.size() + 1;
    }
  }

  std::string names;
  Request request;
};

}  // namespace vorndb

#endif  // VORNDB_DATABASEFILE_H
