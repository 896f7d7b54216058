// The library logs to this program instead of to the system's log: its records have the
// causes of failures, and the errors of queries that return 0.

#ifndef VORNDB_LOG_LOGSINK_H
#define VORNDB_LOG_LOGSINK_H

#include <vector>

#include "log/LogLine.h"

namespace vorndb {

using Log = std::vector<LogLine>;

// Whether every line is also written to standard error.
void ShowLog(bool show);

// The warnings and errors since the last call.
Log TakeLog();

}  // namespace vorndb

#endif  // VORNDB_LOG_LOGSINK_H
