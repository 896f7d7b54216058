#include <algorithm>
#include <iostream>
#include <optional>

#include "DatabaseFile.h"
#include "Errors.h"
#include "Signals.h"
#include "Terminal.h"
#include "Transfer.h"

namespace vorndb {

namespace {

// Syncs the rows if that is left. Returns the problem, or nothing; the number of rows and the next
// place are added to it.
std::string EndWith(const Arguments& arguments, std::string problem, std::size_t count,
                    const Place& next) {
  if (arguments.sql) {
    return problem;
  }
  if (!problem.empty()) {
    problem += "; rows written to " + arguments.table + ": " + std::to_string(count);
    problem += next.line == 0 ? "" : "; go on with --from-line " + TextOf(next);
  }
  const std::string unsynced = arguments.noSync ? Sync(arguments.file) : "";
  return problem + (problem.empty() || unsynced.empty() ? "" : "; ") + unsynced;
}

}  // namespace

void UpsertRows(const Arguments& arguments, const Position& position, std::uintmax_t total,
                const std::function<void(const TakeRow&)>& feed) {
  if (arguments.noSync) {
    StopSyncs();
  }
  const bool isShown = !arguments.sql && !arguments.verbose && !arguments.quiet;
  std::optional<Progress> progress(std::in_place, total, isShown);
  std::size_t count = 0;
  Place next;
  const auto end = [&](const std::string& problem) {
    progress.reset();
    return EndWith(arguments, problem, count, next);
  };
  const auto watch = WatchSignals([&end] { PrintMessage(end("interrupted")); });
  Arguments upsert = arguments;
  const auto take = [&](const Pairs& values) {
    if (position.here < arguments.fromLine) {
      return;
    }
    const auto lock = HoldSignals();
    upsert.values = values;
    Upsert(upsert);
    next = position.after;
    progress->Show(position.taken, ++count);
  };
  std::string problem;
  try {
    feed(take);
  } catch (const Failure& failure) {
    problem = failure.what();
  }
  const auto lock = HoldSignals();
  if (!problem.empty()) {
    next = std::max(arguments.fromLine, position.here);
  }
  problem = end(problem);
  // Without the lock a signal may end the process at once.
  if (!problem.empty()) {
    PrintMessage(problem);
    throw Answer{kFailed};
  }
  if (!arguments.sql && !arguments.quiet) {
    std::cout << Counted(count, "row") << " written to " << arguments.table << std::endl;
  }
}

}  // namespace vorndb
