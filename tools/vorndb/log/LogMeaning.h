// What the library's own lines mean; docs/log.md lists them all.

#ifndef VORNDB_LOGMEANING_H
#define VORNDB_LOGMEANING_H

#include <optional>
#include <string>

#include "log/LogLine.h"

namespace vorndb {

enum class LogEvent {
  kEntered,       // a member was called
  kOpening,       // an operation opens its file: `text` names it
  kOpenFailed,    // with `code` and SQLite's `text`
  kSelectFailed,  // the select's own line about a failed open, with `code`
  kSucceeded,     // a write
  kFailed,        // a write, or a query's preparation, with `code` and `text`
  kBusy,          // the thread waits; `code` counts
  kBusyLimit,     // it does not go on waiting
  kStepFailed,    // fetching rows, perhaps with `text`
  kBlob,          // a cell without text
  kReadFailed,    // a cell or a row of a cursor; `text` tells why
  kMoved,         // to the end of a cursor
  kLockUnnamed,
  kUnreadable,
};

struct LogMeaning {
  LogEvent event = LogEvent::kUnreadable;
  // The message is protected, or damaged: `event` is known by place and priority alone.
  bool unreadable = false;
  std::string code;
  std::string text;
};

// Nothing for a line that the library does not write.
std::optional<LogMeaning> MeaningOf(const LogLine& line);

}  // namespace vorndb

#endif  // VORNDB_LOGMEANING_H
