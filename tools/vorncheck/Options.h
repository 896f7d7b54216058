// The options of vorncheck. Each is also an environment variable, by which the launcher passes it
// on: --quiet-after is VORNCHECK_QUIET_AFTER.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_OPTIONS_H
#define VORNDATABASE_TOOLS_VORNCHECK_OPTIONS_H

#include <CLI/CLI.hpp>
#include <string>
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

void Declare(CLI::App& app, Options& options);

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_OPTIONS_H
