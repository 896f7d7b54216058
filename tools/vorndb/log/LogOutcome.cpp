#include "log/LogOutcome.h"

namespace vorndb {

namespace {

// Of an operation without a line about its end.
Outcome OutcomeWithoutEnd(const Operation& operation, ProcessLevel level) {
  const bool opened = operation.fileState != Operation::File::kNotNamed;
  if (operation.kind.empty()) {
    return level.successes ? Outcome::kNoSuccess : Outcome::kNoFailure;
  }
  if (operation.kind == "OpenDB") {
    return opened ? Outcome::kOpened : Outcome::kNoEnd;
  }
  if (!IsQuery(operation.kind)) {
    return Outcome::kNoEnd;
  }
  if (operation.stepped) {
    return Outcome::kPrepared;
  }
  if (!opened) {
    return Outcome::kNoEnd;
  }
  return operation.leftBehind ? Outcome::kPrepared : Outcome::kNothingYet;
}

}  // namespace

Outcome OutcomeOf(const Operation& operation, ProcessLevel level) {
  switch (operation.end) {
    case Operation::End::kSucceeded:
      return Outcome::kSucceeded;
    case Operation::End::kFailed:
      return Outcome::kFailed;
    case Operation::End::kNotOpened:
      return Outcome::kNotOpened;
    case Operation::End::kUnreadable:
      return Outcome::kUnreadable;
    case Operation::End::kNone:
      break;
  }
  return OutcomeWithoutEnd(operation, level);
}

OutcomeText TextOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::kSucceeded:
      return {"succeeded", nullptr};
    case Outcome::kFailed:
      return {"failed", nullptr};
    case Outcome::kNotOpened:
      return {"not opened", nullptr};
    case Outcome::kPrepared:
      return {"prepared",
              "a query logs nothing when it succeeds; its statement was prepared, unless an "
              "exception left it before"};
    case Outcome::kOpened:
      return {"opened",
              "the application called OpenDB itself, which logs nothing when it succeeds"};
    case Outcome::kNoEnd:
      return {"no end in the log",
              "an exception left it, its process ended or was still at it, or lines are missing"};
    case Outcome::kNothingYet:
      return {"no failure up to the end of the log",
              "nothing else of its thread follows; it may not have come to its end"};
    case Outcome::kNoFailure:
      return {"no failure in the log",
              "lines of success (priority 4) of its process are not in the log: a write that "
              "succeeded, a query that was prepared, or OpenDB alone"};
    case Outcome::kNoSuccess:
      return {"neither success nor failure in the log",
              "its entry (priority 3) is not in the log: a query that was prepared, OpenDB alone, "
              "or a write whose end is missing"};
    case Outcome::kUnreadable:
      return {"ended, how is unreadable", nullptr};
  }
  return {"", nullptr};
}

}  // namespace vorndb
