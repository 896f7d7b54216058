// The messages of the library, from the table that it logs through.

#ifndef VORNDB_LOG_LOGTABLE_H
#define VORNDB_LOG_LOGTABLE_H

#include <string>
#include <vector>

#include "log/LogLine.h"

namespace vorndb {

struct LogMessage {
  const char* chapter;  // of the log reference
  LogEvent event;
  int priority;
  const char* priorityName;
  std::string format;
  std::string sites;  // "FILE: FUNCTION FUNCTION; FILE: FUNCTION"
  const char* meaning;
  const char* remedy;
};

// In the order of the log reference.
const std::vector<LogMessage>& LogMessages();

// The letter that log readers show.
char LetterOf(int priority);

// False for a line that the library does not write. The line may be protected or damaged.
bool SetMeaning(LogLine& line);

// The members of Database that log a failure but no success.
const std::vector<std::string>& Queries();

}  // namespace vorndb

#endif  // VORNDB_LOG_LOGTABLE_H
