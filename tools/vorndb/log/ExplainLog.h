// The command explain-log.

#ifndef VORNDB_LOG_EXPLAINLOG_H
#define VORNDB_LOG_EXPLAINLOG_H

#include <istream>
#include <ostream>

namespace vorndb {

// Reads a captured log and writes the operations in it. Returns false, having written
// nothing, when the log holds no line of the library.
bool ExplainLog(std::istream& log, std::ostream& output);

// Writes a reference of the log's messages in Markdown.
void WriteLogReference(std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_LOG_EXPLAINLOG_H
