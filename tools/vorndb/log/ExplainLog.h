// The command explain-log.

#ifndef VORNDB_EXPLAINLOG_H
#define VORNDB_EXPLAINLOG_H

#include <istream>
#include <ostream>

namespace vorndb {

// Reads a captured log and writes what happened. Returns false, having written nothing,
// when the log holds no line of the library.
bool ExplainLog(std::istream& log, std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_EXPLAINLOG_H
