// The rows of a query, as far as a cursor can be trusted with them, and the forms in which
// they are written.

#ifndef VORNDB_RESULT_H
#define VORNDB_RESULT_H

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "DatabaseFile.h"
#include "Names.h"
#include "log/LogLine.h"

class Cursor;

namespace vorndb {

struct Result {
  Cursor& cursor;  // the rows are in it
  std::vector<std::string> columns = {};
  std::set<std::string> shared = {};  // names of several columns, whose cells are unknown
  std::size_t rowCount = 0;
  std::vector<std::size_t> order = {};       // positions in the cursor, unless they are in order
  std::set<std::string> numberColumns = {};  // whose cells JSON has as numbers
  // Why the result does not show everything as it is in the database; a sentence each.
  std::vector<std::string> doubts = {};
};

// Cells, or nothing in a column whose cells are unknown.
using Row = std::vector<std::optional<std::string>>;

// A number, and its whole part as exactly as 64 bits can hold it.
using Number = std::pair<double, long long>;

// Nothing for a text that is more than a number, or less.
std::optional<Number> NumberIn(const std::string& text);

// The part of a result to be shown.
struct Choice {
  std::vector<std::string> columns;  // all if empty
  std::optional<ColumnOrder> order;
  std::optional<std::size_t> limit;
};

// The cursor has to live as long, and is moved. The log is the query's.
Result ReadResult(Cursor& cursor, const Log& log);

// Whether a column has no cell but numbers and empty texts.
bool HasNumbersOnly(const Result& result, const std::string& column);

// Leaves the chosen rows and columns. A column of numbers is sorted by value. Throws Failure for
// a column that the result lacks.
void Choose(Result& result, const Choice& choice);

// Reads a row into cells that may be another row's.
void ReadRow(const Result& result, std::size_t row, Row& cells);

template <typename Take>
void EachRow(const Result& result, Take take) {
  Row cells;
  for (std::size_t row = 0; row < result.rowCount; ++row) {
    ReadRow(result, row, cells);
    take(cells);
  }
}

// The first is the default.
std::vector<std::string> FormatNames();

// Throws UsageError for a text that is no format.
void RequireFormat(const std::string& text);

// By the ending of its name; throws UsageError for another one.
std::string FormatOfFile(const std::string& path);

// Writes a result; without a format, as a table. A table's lines fit the width if one is
// given and the number of columns allows it. Bytes that a format cannot hold become a doubt.
void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_RESULT_H
