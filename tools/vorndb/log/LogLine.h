// One line of a captured log.

#ifndef VORNDB_LOGLINE_H
#define VORNDB_LOGLINE_H

#include <optional>
#include <string>
#include <string_view>

#include "log/LogPrefix.h"

namespace vorndb {

// "FILE: FUNCTION(NUMBER) > MESSAGE" behind a log reader's prefix.
struct LogLine {
  LogPrefix prefix;
  std::string file;
  std::string function;
  std::string number;
  std::string message;
};

// Nothing for a line of another form.
std::optional<LogLine> ParseLogLine(std::string_view text);

}  // namespace vorndb

#endif  // VORNDB_LOGLINE_H
