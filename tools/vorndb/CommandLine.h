// The declaration of all commands and options.

#ifndef VORNDB_COMMANDLINE_H
#define VORNDB_COMMANDLINE_H

namespace vorndb {

// Runs the command, or prints help or the version. Throws as the commands do.
void RunCommandLine(int argc, const char* const* argv);

}  // namespace vorndb

#endif  // VORNDB_COMMANDLINE_H
