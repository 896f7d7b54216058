// What the log tells of a query, and its result does not.

#ifndef VORNDB_QUERYLOG_H
#define VORNDB_QUERYLOG_H

#include <cstddef>
#include <string>
#include <vector>

#include "log/LogSink.h"

namespace vorndb {

// Why the rows are not all of them, or nothing if they are.
std::string BreakOf(const std::vector<LoggedLine>& lines);

// How many cells are blobs.
std::size_t CountBlobs(const std::vector<LoggedLine>& lines);

// How many lines tell of a break or of a blob, but not of which: a platform may make them
// unreadable. Only the place in front of them stays.
std::size_t CountUnreadable(const std::vector<LoggedLine>& lines);

}  // namespace vorndb

#endif  // VORNDB_QUERYLOG_H
