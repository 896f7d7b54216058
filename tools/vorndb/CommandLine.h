// The command line: its grammar, its help, and what of it is refused.

#ifndef VORNDB_COMMANDLINE_H
#define VORNDB_COMMANDLINE_H

#include <optional>

#include "Arguments.h"

namespace vorndb {

// What is asked for; or nothing, if it was help or the version, which is then printed.
// Throws UsageError for wrong use, and for what no careful caller of the library does.
std::optional<Arguments> ParseCommandLine(int argc, const char* const* argv);

}  // namespace vorndb

#endif  // VORNDB_COMMANDLINE_H
