// Rows of a table for commands that need each value as it is in the database.

#ifndef VORNDB_ROWS_H
#define VORNDB_ROWS_H

#include <string>
#include <vector>

#include "Result.h"

namespace vorndb {

// The rows with these columns, and with nothing for NULL. Throws Failure for cells that the
// library does not give as they are.
std::vector<Row> ReadRows(const std::string& file, const std::string& table,
                          const std::vector<std::string>& columns);

}  // namespace vorndb

#endif  // VORNDB_ROWS_H
