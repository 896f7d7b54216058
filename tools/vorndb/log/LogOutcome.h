// How an operation ended, as far as its lines tell.

#ifndef VORNDB_LOGOUTCOME_H
#define VORNDB_LOGOUTCOME_H

#include "log/LogHistory.h"

namespace vorndb {

enum class Outcome {
  kSucceeded,
  kFailed,
  kNotOpened,
  kPrepared,
  kOpened,
  kNoEnd,       // known to be missing
  kNothingYet,  // a query at the end of the log
  kNoFailure,   // where lines of success are not in the log
  kNoSuccess,   // nor failure, where the kind is not known
  kUnreadable,
};

// Both texts are sentences without capital and full stop; the second explains the first,
// or is null.
struct OutcomeText {
  const char* label;
  const char* note;
};

Outcome OutcomeOf(const Operation& operation, ProcessLevel level);

OutcomeText TextOf(Outcome outcome);

}  // namespace vorndb

#endif  // VORNDB_LOGOUTCOME_H
