// What each command does.

#ifndef VORNDB_COMMANDS_H
#define VORNDB_COMMANDS_H

#include "Arguments.h"

namespace vorndb {

// Runs the command, or prints its statement. Throws Failure or UsageError.
void Run(const Arguments& arguments);

}  // namespace vorndb

#endif  // VORNDB_COMMANDS_H
