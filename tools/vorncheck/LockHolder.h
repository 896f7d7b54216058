// The process that keeps a database file busy.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_LOCKHOLDER_H
#define VORNDATABASE_TOOLS_VORNCHECK_LOCKHOLDER_H

#include <string>

namespace vorncheck {

// The processes that hold a lock of SQLite on a database file, from the system's table of locks,
// such as "process 4711 (settings)".
std::string LockHolders(const std::string& database);

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_LOCKHOLDER_H
