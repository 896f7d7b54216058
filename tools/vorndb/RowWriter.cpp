#include "RowWriter.h"

#include <iostream>

#include "DatabaseFile.h"
#include "Errors.h"
#include "Signals.h"
#include "Terminal.h"

namespace vorndb {

namespace {

// Syncs what is written. Returns the problem, which may be empty, with all that there is to add:
// after a failed sync the rows are not durable.
std::string End(const Arguments& arguments, std::string problem, std::size_t count,
                const Place& next) {
  if (arguments.sql) {
    return problem;
  }
  if (!problem.empty()) {
    problem += "; rows before it that are written: " + std::to_string(count);
    problem += next.line == 0 ? "" : "; go on with --from-line " + next.Text();
  }
  const std::string unsynced = arguments.noSync ? Sync(arguments.file) : "";
  return problem + (problem.empty() || unsynced.empty() ? "" : "; ") + unsynced;
}

}  // namespace

void UpsertRows(const Arguments& arguments, std::uintmax_t total,
                const std::function<void(const WriteRow&)>& feed,
                const std::function<Place()>& here) {
  if (arguments.noSync) {
    StopSyncs();
  }
  Progress progress(total, !arguments.sql && !arguments.verbose && !arguments.quiet);
  std::size_t count = 0;
  Place next;
  const auto end = [&](const std::string& problem, const Place& place) {
    progress.Wipe();
    return End(arguments, problem, count, place);
  };
  SignalWatch watch([&] { Tell(end("interrupted", next)); });
  std::string problem;
  try {
    feed([&, upsert = arguments](const Pairs& values, std::uintmax_t done,
                                 const Place& after) mutable {
      const auto lock = watch.Lock();
      upsert.values = values;
      Upsert(upsert);
      next = after;
      progress.Show(done, ++count);
    });
  } catch (const Failure& failure) {
    problem = failure.what();
  }
  const auto lock = watch.Lock();
  problem = end(problem, here());
  FailIf(!problem.empty(), problem);
  if (!arguments.sql && !arguments.quiet) {
    std::cout << Counted(count, "row") << " written to " << arguments.table << '\n';
  }
}

}  // namespace vorndb
