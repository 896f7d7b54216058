// The command that writes the rows of a file.

#ifndef VORNDB_IMPORT_H
#define VORNDB_IMPORT_H

#include "Arguments.h"

namespace vorndb {

// Writes row after row, and stops at the first that fails: Failure tells its line.
void Import(const Arguments& arguments);

}  // namespace vorndb

#endif  // VORNDB_IMPORT_H
