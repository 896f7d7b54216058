// All rows of a table, for commands that need each value as it is in the database.

#ifndef VORNDB_ROWS_H
#define VORNDB_ROWS_H

#include <string>
#include <vector>

#include "DatabaseFile.h"
#include "Result.h"

namespace vorndb {

struct Table {
  std::vector<Column> columns;
  std::vector<Row> rows;  // with nothing for NULL
};

// Throws Failure for a table that does not exist, and for cells that the library does not give
// as they are.
Table ReadTable(const std::string& file, const std::string& name);

}  // namespace vorndb

#endif  // VORNDB_ROWS_H
