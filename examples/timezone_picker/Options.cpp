#include "Options.h"

#include <vector>

const char kUsage[] =
    "Usage: timezone_picker [--keep] COUNTRY DIRECTORY [ZONEINFO]\n"
    "Lists the time zones of a country, as a settings screen would.\n"
    "\n"
    "  COUNTRY    ISO 3166 code of the country, such as PT\n"
    "  DIRECTORY  existing directory in which the file timezones.db is built anew\n"
    "  ZONEINFO   directory of iso3166.tab and zone.tab (/usr/share/zoneinfo)\n"
    "\n"
    "  --keep     stop after the list and leave the tables in the file\n"
    "  --help     print this text\n";

namespace {

// ASCII only: the codes are, and the answer must not depend on the locale.
char ToUpper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string CountryCode(std::string text) {
  for (char& c : text) {
    c = ToUpper(c);
  }
  if (text.size() != 2 ||
      text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") != std::string::npos) {
    throw UsageError("a country is a code of two letters, not '" + text + "'");
  }
  return text;
}

void SetPlaces(Options& options, const std::vector<std::string>& places) {
  if (places.size() < 2 || places.size() > 3) {
    throw UsageError("a country and a directory are needed, and perhaps a second directory");
  }
  options.country = CountryCode(places[0]);
  options.directory = places[1];
  if (places.size() == 3) {
    options.zoneinfo = places[2];
  }
  // The library would take an empty directory for the working directory.
  if (options.directory.empty() || options.zoneinfo.empty()) {
    throw UsageError("a directory's name is empty");
  }
}

}  // namespace

Options ParseOptions(int argc, char** argv) {
  Options options;
  std::vector<std::string> places;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--help") {
      options.help = true;
      return options;
    }
    if (argument == "--keep") {
      options.keep = true;
    } else if (!argument.empty() && argument[0] == '-') {
      throw UsageError("unknown option '" + argument + "'");
    } else {
      places.push_back(argument);
    }
  }
  SetPlaces(options, places);
  return options;
}
