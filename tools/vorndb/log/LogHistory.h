// The operations that a log reports.

#ifndef VORNDB_LOG_LOGHISTORY_H
#define VORNDB_LOG_LOGHISTORY_H

#include <cstddef>
#include <functional>
#include <istream>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "log/LogLine.h"

namespace vorndb {

// How often each of these texts applies.
using Counts = std::map<std::string, std::size_t>;

// The ends of operations that failed.
constexpr char kEndFailed[] = "failed";
constexpr char kEndNotOpened[] = "not opened";

// The members that log a failure but no success.
constexpr char kQueries[] = "Select or JoinSelect or CheckExistTable";

struct Operation {
  std::size_t number = 0;  // by its first line, from 1
  bool isListed = false;
  LogPrefix prefix;                 // of its first line
  std::string members;              // of Database, one of which it is; empty if it may be any
  std::optional<std::string> file;  // printable
  std::string end;                  // if a record shows it
  std::string code;
  std::string text;
  int waits = 0;            // of 100 ms each
  int limits = 0;           // how often it did not wait any longer
  bool stepped = false;     // rows were fetched
  bool begun = true;        // its beginning is in the log
  bool leftBehind = false;  // its thread went on to something else
  Counts faults;            // of its rows, also of reading them before the thread's next operation
};

struct LogHistory {
  // Takes an operation when it has ended or its thread went on, perhaps again, after each later
  // failure to read a cursor, and at the end of the log.
  std::function<void(Operation&)> listener;

  std::size_t operations = 0;
  Counts counts;  // of lines, and of events outside of operations
  std::set<std::string> notes;
};

// Unless `since` is empty, lines before the first one of that time are left out. False if the log
// has no line of the library. Throws Failure.
bool ReadHistory(std::istream& log, const std::string& since, LogHistory& history);

// The end of an operation, as far as its records show.
struct Outcome {
  std::string label;
  std::string note;  // explains the label; may be empty
};

Outcome OutcomeOf(const Operation& operation);

}  // namespace vorndb

#endif  // VORNDB_LOG_LOGHISTORY_H
