#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "Report.h"

namespace vorncheck {
namespace {

std::string Variable(const std::string& option) {
  const char* const value = std::getenv(("VORNCHECK_" + option).c_str());
  return value != nullptr ? value : "";
}

int Number(const char* option, int preset, int largest = INT_MAX) {
  const std::string text = Variable(option);
  int number = preset;
  if (!text.empty() && (!IsWhole(text, number) || number < 0 || number > largest)) {
    throw std::runtime_error(Text(option, " is not from 0 to ", largest, ": ", text));
  }
  return number;
}

// The program may change its folder.
std::string Path(const char* option) {
  const std::string path = Variable(option);
  return path.empty() ? path : std::filesystem::absolute(path).string();
}

std::size_t KindNumber(const std::string& identifier) {
  std::string known;
  for (std::size_t number = 0; number < kKindCount; ++number) {
    if (identifier == kKinds[number].identifier) {
      return number;
    }
    known.append(" ").append(kKinds[number].identifier);
  }
  throw std::runtime_error("no finding is named " + identifier + "; there are:" + known);
}

std::bitset<kKindCount> KindsIn(const char* option) {
  std::bitset<kKindCount> kinds;
  std::istringstream list(Variable(option));
  for (std::string identifier; std::getline(list, identifier, ',');) {
    kinds.set(KindNumber(identifier));
  }
  return kinds;
}

std::vector<std::string> ReadSuppressions(const std::string& path) {
  std::vector<std::string> suppressions;
  std::ifstream file(path);
  if (!path.empty() && !file) {
    throw std::runtime_error("cannot read " + path);
  }
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string identifier;
    std::string function;
    if (words >> identifier && identifier[0] != '#') {
      if (!std::getline(words >> std::ws, function)) {
        throw std::runtime_error("a suppression is an identifier and a function: " + line);
      }
      function.erase(function.find_last_not_of(" \t\r") + 1);
      suppressions.push_back(Text(identifier, ' ', function));
    }
  }
  return suppressions;
}

Options ReadOptions() {
  const auto only = KindsIn("ONLY");
  Options options{(only.none() ? ~only : only) & ~KindsIn("EXCEPT"),
                  Number("FATAL", 0, 1) != 0,
                  Number("STATUS", 3, 255),
                  Number("QUIET_AFTER", 10),
                  Number("MAIN_THREAD", 0),
                  Path("JSON"),
                  ReadSuppressions(Variable("SUPPRESSIONS"))};
  if (options.mainThread == 0) {
    options.kinds.reset(static_cast<std::size_t>(Kind::kMainThread));
  }
  return options;
}

}  // namespace

const Options& TheOptions() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
  static const auto* const options = [] {
    try {
      return new Options(ReadOptions());
    } catch (const std::exception& error) {
      dprintf(STDERR_FILENO, "vorncheck: %s\n", error.what());
      _exit(2);
    }
  }();
  return *options;
}

}  // namespace vorncheck
