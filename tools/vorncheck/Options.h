// The options of vorncheck. Each is also an environment variable, by which the launcher passes it
// on: --quiet-after is VORNCHECK_QUIET_AFTER.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_OPTIONS_H
#define VORNDATABASE_TOOLS_VORNCHECK_OPTIONS_H

#include <string>
#include <utility>
#include <vector>

#include "Kinds.h"

namespace vorncheck {

struct Options {
  std::vector<std::string> only;
  std::vector<std::string> except;
  bool isFatal = false;
  int status = 3;
  std::string json;  // empty, or an absolute path
  int quietAfter = 10;
  std::string suppressions;  // likewise
  int mainThread = 0;        // milliseconds

  bool IsOn(Kind kind) const;
};

// The options in the environment. Throws std::exception for a wrong one.
Options ReadEnvironment();

struct CommandLine {
  Options options;
  std::vector<std::pair<std::string, std::string>> variables;  // for the environment
  std::vector<std::string> program;  // with its arguments; empty if help was asked for
};

// The command line of the launcher. Prints help. Throws std::exception for a wrong one.
CommandLine ReadCommandLine(int count, char** arguments);

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_OPTIONS_H
