#include "TimeZone.h"

#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>

#include "TabFile.h"

namespace {

[[noreturn]] void Reject(const TabRow& row, const std::string& reason) {
  throw std::runtime_error(row.place + ": " + reason);
}

std::string CountryCode(const TabRow& row) {
  const std::string& code = row.fields[0];
  if (code.size() != 2 ||
      code.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") != std::string::npos) {
    Reject(row, "'" + code + "' is not a country code");
  }
  return code;
}

std::string Name(const TabRow& row, std::size_t field) {
  if (row.fields[field].empty()) {
    Reject(row, "the name is empty");
  }
  return row.fields[field];
}

// Degrees from a sign and the digits of degrees, minutes and perhaps seconds.
std::optional<double> ParseAngle(const std::string& text, std::size_t degreeDigits, int limit) {
  const std::size_t minutesAt = 1 + degreeDigits;
  const std::size_t secondsAt = minutesAt + 2;
  const bool hasSeconds = text.size() == secondsAt + 2;
  if ((text.size() != secondsAt && !hasSeconds) || (text[0] != '+' && text[0] != '-') ||
      text.find_first_not_of("0123456789", 1) != std::string::npos) {
    return std::nullopt;
  }
  const int degrees = std::stoi(text.substr(1, degreeDigits));
  const int minutes = std::stoi(text.substr(minutesAt, 2));
  const int seconds = hasSeconds ? std::stoi(text.substr(secondsAt)) : 0;
  const int total = (degrees * 60 + minutes) * 60 + seconds;
  if (minutes > 59 || seconds > 59 || total > limit * 3600) {
    return std::nullopt;
  }
  return (text[0] == '-' ? -total : total) / 3600.0;
}

// Latitude and longitude share a field; the second sign begins the longitude.
void SetCoordinates(const TabRow& row, Zone& zone) {
  const std::string& text = row.fields[1];
  const std::size_t second = text.find_first_of("+-", 1);
  const std::string rest = second != std::string::npos ? text.substr(second) : "";
  const std::optional<double> latitude = ParseAngle(text.substr(0, second), 2, 90);
  const std::optional<double> longitude = ParseAngle(rest, 3, 180);
  if (!latitude || !longitude) {
    Reject(row, "'" + text + "' are not coordinates such as +3843-00908 or +404251-0740023");
  }
  zone.latitude = *latitude;
  zone.longitude = *longitude;
}

}  // namespace

std::vector<Country> ReadCountries(const std::string& zoneinfo) {
  std::vector<Country> countries;
  for (const TabRow& row : ReadTabFile(zoneinfo + "/iso3166.tab", 2, 2)) {
    countries.push_back({CountryCode(row), Name(row, 1)});
  }
  return countries;
}

std::vector<Zone> ReadZones(const std::string& zoneinfo) {
  std::vector<Zone> zones;
  std::map<std::string, int> ranks;
  for (const TabRow& row : ReadTabFile(zoneinfo + "/zone.tab", 3, 4)) {
    Zone zone;
    zone.country = CountryCode(row);
    // The file has a country's zones in the order in which to offer them.
    zone.rank = ++ranks[zone.country];
    SetCoordinates(row, zone);
    zone.name = Name(row, 2);
    zone.comment = row.fields.size() > 3 ? row.fields[3] : "";
    zones.push_back(zone);
  }
  return zones;
}
