// The ends of a run other than success.

#ifndef VORNDB_ERRORS_H
#define VORNDB_ERRORS_H

#include <stdexcept>
#include <string>

namespace vorndb {

enum ExitStatus { kFailed = 1, kWrongUse = 2 };

// Wrong use. Nothing has been done.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// An operation that failed, in plain words.
struct Failure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The exit status is an answer, without a message.
struct Answer {
  int status;
};

inline void RefuseIf(bool wrong, const std::string& problem) {
  if (wrong) {
    throw UsageError(problem);
  }
}

inline void FailIf(bool failed, const std::string& problem) {
  if (failed) {
    throw Failure(problem);
  }
}

}  // namespace vorndb

#endif  // VORNDB_ERRORS_H
