// Countries and time zones, and the system's files that list them.

#ifndef TIMEZONE_PICKER_TIMEZONE_H
#define TIMEZONE_PICKER_TIMEZONE_H

#include <string>
#include <vector>

struct Country {
  std::string code;
  std::string name;
};

struct Zone {
  std::string country;  // the country's code
  int rank = 0;         // place in the list of the country's zones, from 1
  std::string name;
  double latitude = 0;   // degrees, positive in the north
  double longitude = 0;  // degrees, positive in the east
  std::string comment;   // may be empty
};

// Both throw std::runtime_error, naming the file and the line, for a file that
// cannot be read or understood.
std::vector<Country> ReadCountries(const std::string& zoneinfo);
std::vector<Zone> ReadZones(const std::string& zoneinfo);

#endif  // TIMEZONE_PICKER_TIMEZONE_H
