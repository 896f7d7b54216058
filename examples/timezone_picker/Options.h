// The command line.

#ifndef TIMEZONE_PICKER_OPTIONS_H
#define TIMEZONE_PICKER_OPTIONS_H

#include <stdexcept>
#include <string>

struct Options {
  bool help = false;
  bool keep = false;
  std::string country;
  std::string directory;
  std::string zoneinfo = "/usr/share/zoneinfo";
};

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

extern const char kUsage[];

// Throws UsageError for wrong use.
Options ParseOptions(int argc, char** argv);

#endif  // TIMEZONE_PICKER_OPTIONS_H
