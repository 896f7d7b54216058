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
#include <vector>

#include "log/LogLine.h"

namespace vorndb {

// The end of an operation, as far as its records show: a label, and a note that explains it.
// Sentences without capital and full stop.
// clang-format off
#define VORN_OUTCOMES(outcome)                                                                 \
  outcome(kSucceeded, "succeeded", "")                                                         \
  outcome(kFailed, "failed", "")                                                               \
  outcome(kNotOpened, "not opened", "")                                                        \
  outcome(kPrepared, "prepared",                                                               \
    "a query logs nothing when it succeeds; its statement was prepared, unless an exception"   \
    " ended it first")                                                                         \
  outcome(kOpened, "opened",                                                                   \
    "the application called OpenDB itself, which logs nothing when it succeeds")               \
  outcome(kNoEnd, "no end in the log",                                                         \
    "an exception ended it, its process ended or was still running it, or lines are missing")  \
  outcome(kNothingYet, "no failure up to the end of the log",                                  \
    "no record of its thread follows; it may still have been running")                         \
  outcome(kNoFailure, "no failure in the log",                                                 \
    "records of success (priority 4) of its process are not in the log; it is a write that"    \
    " succeeded, a query that was prepared, or OpenDB alone")                                  \
  outcome(kNoSuccess, "neither success nor failure in the log",                                \
    "its entry (priority 3) is not in the log; it is a query that was prepared, OpenDB alone," \
    " or a write whose end is missing")                                                        \
  outcome(kUnreadable, "ended with an unreadable outcome", "")
// clang-format on

enum class Outcome {
#define VORN_OUTCOME(name, label, note) name,
  VORN_OUTCOMES(VORN_OUTCOME)
#undef VORN_OUTCOME
};

// Members of Database, one of which an operation is; none where all are possible.
using Members = std::vector<std::string>;

// Those that log a failure but no success.
const Members& Queries();

struct Operation {
  std::size_t position = 0;  // by its first line, from 1
  std::size_t number = 0;    // in the report; 0 before
  LogPrefix prefix;          // of its first line
  Members members;
  std::optional<std::string> file;  // printable
  std::optional<Outcome> end;       // if a record shows it
  std::string code;
  std::string text;
  int waits = 0;            // of 100 ms each
  int limits = 0;           // how often it did not wait any longer
  int stepLimits = 0;       // of these, while rows were fetched
  bool stepped = false;     // rows were fetched
  bool begun = true;        // its beginning is in the log
  bool leftBehind = false;  // its thread went on to something else
  std::size_t blobs = 0;
  std::size_t busyUnreadable = 0;  // lines of a wait or of the limit
  std::size_t stepUnreadable = 0;
  std::vector<std::string> stepFailures;
  // Failures to read the cursor before the thread's next operation.
  std::map<std::string, int> readFailures;
};

struct LogHistory {
  // Takes an operation when it has ended or its thread went on, perhaps again, after each later
  // failure to read a cursor, and at the end of the log.
  std::function<void(Operation&)> listener;

  // Lines by kind.
  std::size_t own = 0;         // of the library
  std::size_t unreadable = 0;  // of these, protected or damaged
  std::size_t continued = 0;   // with the rest of a text of the line before
  std::size_t foreign = 0;

  std::size_t operations = 0;
  // Failures to read a cursor before the first operation of a thread.
  std::map<std::string, int> earlyReadFailures;
  int unnamedLocks = 0;
  bool lacksThreads = false;        // there are lines without a thread
  std::set<std::string> successes;  // the processes with records of priority 4 or lower
};

// Unless `since` is empty, lines before the first one of that time are left out. Throws Failure.
void ReadHistory(std::istream& log, const std::string& since, LogHistory& history);

Outcome OutcomeOf(const LogHistory& history, const Operation& operation);

}  // namespace vorndb

#endif  // VORNDB_LOG_LOGHISTORY_H
