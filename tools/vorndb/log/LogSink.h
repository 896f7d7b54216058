// The library logs to this program instead of to the system's log: its records have the
// causes of failures, and the errors of queries that return 0.

#ifndef VORNDB_LOG_LOGSINK_H
#define VORNDB_LOG_LOGSINK_H

#include <cstddef>
#include <string>
#include <vector>

#include "log/LogLine.h"

namespace vorndb {

using Log = std::vector<LogLine>;

// Whether every line is also written to standard error.
void ShowLog(bool show);

// The warnings and errors since the last call.
Log TakeLog();

// SQLite's text for the failure of an operation, or nothing.
std::string FailureIn(const Log& log);

// The reason why a result is truncated, or nothing if it is complete.
std::string BreakIn(const Log& log);

// The records of a kind that were written while rows were fetched: kUnknownType for a blob;
// kUnreadable for a blob or a truncated result, if the platform protects its log.
std::size_t CountInRows(const Log& log, LogEvent event);

}  // namespace vorndb

#endif  // VORNDB_LOG_LOGSINK_H
