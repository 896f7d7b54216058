// What a log reader writes in front of a line.

#ifndef VORNDB_LOGPREFIX_H
#define VORNDB_LOGPREFIX_H

#include <string>
#include <string_view>

namespace vorndb {

// Each part as it is written; empty where it cannot be told.
struct LogPrefix {
  std::string time;
  std::string process;
  std::string thread;
  char priority = '\0';  // one of VDIWEF, or NUL
};

// Reads the beginning of a line. What follows the prefix does not matter.
LogPrefix ParseLogPrefix(std::string_view text);

}  // namespace vorndb

#endif  // VORNDB_LOGPREFIX_H
