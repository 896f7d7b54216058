// The command line: its grammar and its help.

#ifndef VORNDB_COMMANDLINE_H
#define VORNDB_COMMANDLINE_H

namespace vorndb {

// Runs the command, or prints help or the version. Throws UsageError for wrong use, and
// Failure.
void RunCommandLine(int argc, const char* const* argv);

}  // namespace vorndb

#endif  // VORNDB_COMMANDLINE_H
