// The rows of a query, and the forms in which they are written.

#ifndef VORNDB_RESULT_H
#define VORNDB_RESULT_H

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Cursor.h"
#include "Names.h"
#include "log/LogLine.h"

namespace vorndb {

struct Result {
  std::unique_ptr<Cursor> cursor;  // the rows are in it
  Texts columns = {};
  std::set<std::string> shared = {};         // names of several columns, whose cells are unknown
  std::vector<std::size_t> rows = {};        // their positions in the cursor
  std::set<std::string> numberColumns = {};  // whose cells JSON has as numbers
  // Why the result does not show everything as it is in the database; a sentence each.
  Texts doubts = {};
  std::string stop = {};  // the failure that the last rows are missing, or nothing
};

// Cells, or nothing in a column whose cells are unknown.
using Row = std::vector<std::optional<std::string>>;

// A number, and its whole part as exactly as 64 bits can hold it.
using Number = std::pair<double, long long>;

// Nothing for a text that is more than a number, or less.
std::optional<Number> NumberIn(const std::string& text);

// The part of a result to be shown.
struct Choice {
  Texts columns;              // all if empty
  std::optional<Pair> order;  // a column with "asc" or "desc"
  std::optional<std::size_t> limit;
};

// The log is that of a query on the file.
Result ReadResult(const std::string& file, std::unique_ptr<Cursor> cursor, const Log& log);

// The reason why such a query has not read its last rows, or nothing. Its result is 0 either way.
std::string StopIn(const std::string& file, const Log& log);

// Leaves the chosen rows and columns. A column of numbers is sorted by value. Throws Failure for
// a column that the result lacks.
void Choose(Result& result, const Choice& choice);

// Throws Failure for a row that cannot be read.
void EachRow(const Result& result, const std::function<void(const Row&)>& take);

// The first is the default.
Texts FormatNames();

// By the ending of its name; throws UsageError for another one.
std::string FormatOfFile(const std::string& path);

// Writes a result; without a format, as a table. A table's lines fit the width if one is
// given and the number of columns allows it. Bytes that a format cannot hold become a doubt.
void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_RESULT_H
