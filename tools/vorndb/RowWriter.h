// Many rows for one table, each with an upsert of its own.

#ifndef VORNDB_ROWWRITER_H
#define VORNDB_ROWWRITER_H

#include <cstdint>
#include <functional>

#include "Commands.h"

namespace vorndb {

// Writes a row. `done` is the part of the total up to its end, and `next` the place to go on from
// after it, if there is one.
using WriteRow = std::function<void(const Pairs& values, std::uintmax_t done, const Place& next)>;

// Runs `feed`, which writes rows to the table of the arguments, and prints their number. A failure
// of it, which is at the place `here`, and a signal get the number and the place to go on from.
// Shows the progress; a total of 0 is unknown. Throws Failure.
void UpsertRows(const Arguments& arguments, std::uintmax_t total,
                const std::function<void(const WriteRow&)>& feed,
                const std::function<Place()>& here);

}  // namespace vorndb

#endif  // VORNDB_ROWWRITER_H
