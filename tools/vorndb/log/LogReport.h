// The history of a log, as a text.

#ifndef VORNDB_LOGREPORT_H
#define VORNDB_LOGREPORT_H

#include <ostream>

#include "log/LogHistory.h"

namespace vorndb {

// How many lines of a log are what.
struct LineCounts {
  int own = 0;
  int unreadable = 0;  // of the library's: protected, or damaged
  int continued = 0;   // that go on with a text of the line before
  int foreign = 0;
};

void WriteReport(const LogHistory& history, const LineCounts& counts, std::ostream& output);

}  // namespace vorndb

#endif  // VORNDB_LOGREPORT_H
