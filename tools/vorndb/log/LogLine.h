// The records of a captured log, with their meaning by the table that the library logs through.

#ifndef VORNDB_LOG_LOGLINE_H
#define VORNDB_LOG_LOGLINE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorndb {

enum LogPriority { kDebug = 3, kInfo, kWarning, kError };

// The message of a record, or one of several with the same meaning.
enum class LogEvent {
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy) k##name,
#include "private/LogMessages.h"
  kSucceeded,   // a write
  kFailed,      // a write, or the preparation of a query, with `code` and `text`
  kReadFailed,  // a cell or a row of a cursor, for the reason in `message`
  kUnreadable,
};

// The part that a log reader writes in front of a record; empty where it is unknown.
struct LogPrefix {
  std::string time;
  std::string process;
  std::string thread;
  char priority = '\0';  // one of VDIWEF, or NUL
};

// "PREFIX FILE: FUNCTION(NUMBER) > MESSAGE"
struct LogLine {
  LogPrefix prefix;
  std::string file;
  std::string function;
  std::string number;
  std::string message;

  // Set by SetMeaning.
  LogEvent event = LogEvent::kUnreadable;
  bool unreadable = false;  // `event` follows from call site and priority alone
  std::string code;
  std::string text;
};

// Nothing for a line of another form.
std::optional<LogLine> ParseLogLine(std::string_view text);

// Text behind the prefix is ignored.
LogPrefix ParseLogPrefix(std::string_view text);

// False for a line that the library does not write. The line may be protected or damaged.
bool SetMeaning(LogLine& line);

// The letter that log readers show.
char LetterOf(int priority);

// The library logs to this program instead of to the system's log: its records have the
// causes of failures, and the errors of queries that return 0.
using Log = std::vector<LogLine>;

// Whether every line is also written to standard error.
void ShowLog(bool show);

// The lines of warnings and errors since the last call.
std::vector<std::string> TakeLines();

// The records of these lines.
Log ReadLines(const std::vector<std::string>& lines);

}  // namespace vorndb

#endif  // VORNDB_LOG_LOGLINE_H
