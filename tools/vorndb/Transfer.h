// Rows on their way into a table.

#ifndef VORNDB_TRANSFER_H
#define VORNDB_TRANSFER_H

#include <cstdint>
#include <functional>
#include <istream>
#include <string>

#include "Commands.h"
#include "Names.h"

namespace vorndb {

// How far rows are read.
struct Position {
  Place here = {};           // of the row that is read, or that should begin
  Place after = {};          // the first place that the next row can have
  std::uintmax_t taken = 0;  // bytes, or rows
};

// A file that is imported.
struct Input {
  std::string name;  // for messages
  char separator;    // of CSV, between values; 0 for JSON
  Position position = {};
};

using TakeRow = std::function<void(const Pairs& values)>;

// Reads all rows. Returns their columns in the order in which they are met, with types that keep
// the values. A line ends in "\n", "\r\n" or "\r". Throws Failure, with the line, also for a runtime
// error of `take`: "NAME, line 7: …".
Pairs ReadInput(std::istream& source, Input& input, const TakeRow& take);

// Runs `feed`, which passes rows for the table of the arguments, each for an upsert of its own, and
// keeps the position up to date. Shows the progress; a total of 0 is unknown. Prints the number of
// rows, after a failure or a signal with the place to go on from, if that is known. Throws Answer.
void UpsertRows(const Arguments& arguments, const Position& position, std::uintmax_t total,
                const std::function<void(const TakeRow&)>& feed);

}  // namespace vorndb

#endif  // VORNDB_TRANSFER_H
