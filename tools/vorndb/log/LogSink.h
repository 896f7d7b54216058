// Where the library's log lines go: to this program, instead of to the system's log. They
// are what tells why an operation failed, and what a query does not report.

#ifndef VORNDB_LOGSINK_H
#define VORNDB_LOGSINK_H

#include <vector>

#include "log/LogLine.h"
#include "log/LogMeaning.h"

namespace vorndb {

struct LoggedLine {
  LogLine line;
  LogMeaning meaning;
};

// Whether every line is also written to standard error.
void ShowLog(bool show);

// The lines since the last call that are more than notices.
std::vector<LoggedLine> TakeLog();

}  // namespace vorndb

#endif  // VORNDB_LOGSINK_H
