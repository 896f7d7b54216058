// The rows of a query, as far as a cursor can be trusted with them, and the forms in which
// they are written.

#ifndef VORNDB_RESULT_H
#define VORNDB_RESULT_H

#include <cstddef>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "log/LogLine.h"

class Cursor;

namespace vorndb {

struct Result {
  Cursor& cursor;  // the rows are in it
  std::vector<std::string> columns = {};
  std::map<std::string, std::size_t> counts = {};  // how often there is a column of each name
  std::size_t rowCount = 0;
  // Why the result does not show everything as it is in the database; a sentence each.
  std::vector<std::string> doubts = {};
};

// Cells, or nothing in a column whose cells are unknown.
using Row = std::vector<std::optional<std::string>>;

// The cursor has to live as long, and is moved. The log is the query's.
Result ReadResult(Cursor& cursor, const Log& log);
Row RowOf(const Result& result, std::size_t row);

// Throws UsageError for a text that is no format.
void RequireFormat(const std::string& text);

// By the ending of its name; throws UsageError for another one.
std::string FormatOfFile(const std::string& path);

// Writes a result; without a format, as a table. A table's lines fit the width if one is
// given and the number of columns allows it. What a format cannot hold becomes a doubt.
void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_RESULT_H
