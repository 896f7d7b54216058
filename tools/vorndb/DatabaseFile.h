// The database file, and the explanation of a call that fails on it.

#ifndef VORNDB_DATABASEFILE_H
#define VORNDB_DATABASEFILE_H

#include <string>
#include <vector>

#include "log/LogLine.h"

class BasePath;

namespace vorndb {

// The result of a call of the library, and the lines of its log. To read them takes longer than
// a write, so that is left to those who need them.
struct CallResult {
  int result = 0;
  std::vector<std::string> lines;
};

template <typename Operation>
CallResult Observe(Operation operation) {
  TakeLines();
  const int result = operation();
  return {result, TakeLines()};
}

// Throws UsageError for a path without a file name.
void RequireFileName(const std::string& file);

// Sets the location of a request.
void Locate(const std::string& file, BasePath& request);

bool IsThere(const std::string& file);

// Throws Failure when there is no such file. SQLite would make an empty one.
void RequireExisting(const std::string& file);

// Whether there is a table of that name; throws Failure when that is unknown.
bool HasTable(const std::string& file, const std::string& table);

struct Column {
  std::string name;
  std::string type;
  bool holdsNumbers = false;  // by its type
  bool isNotNull = false;
  int key = 0;  // its place in the primary key, from 1, or 0
};

// Both throw Failure. A table that does not exist has no columns.
std::vector<std::string> TablesOf(const std::string& file);
std::vector<Column> ColumnsOf(const std::string& file, const std::string& table);

// The statements that made a table with its indexes and triggers, or everything for no name.
std::vector<std::string> StatementsOf(const std::string& file, const std::string& table);

// A table of SQLite's, with the columns of a table.
std::string ColumnTable(const std::string& table);

// Throws Failure, in plain words, unless the result of a call on these tables is 0.
void ExpectSuccess(const std::string& file, const std::vector<std::string>& tables,
                   const CallResult& call);

// Whether a query has all its rows. Its result is 0 either way.
bool IsComplete(const CallResult& call);

// Throws Failure for a query whose rows are incomplete.
void ExpectComplete(const std::string& file, const CallResult& call);

// Throws Failure for a table of which nothing is found, unless the name is empty.
void RequireTable(const std::string& file, const std::string& table, std::size_t found);

// Whether there is no such table; false when that is unknown.
bool LacksTable(const std::string& file, const std::string& table);

}  // namespace vorndb

#endif  // VORNDB_DATABASEFILE_H
