// The database file of the time-zone list, with the library's requests behind it.

#ifndef TIMEZONE_PICKER_TIMEZONESTORE_H
#define TIMEZONE_PICKER_TIMEZONESTORE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Database.h"
#include "TimeZone.h"

// Keeps two tables, country and zone, in the file timezones.db of a directory.
//
// Every member that works on the file throws std::runtime_error when the library
// reports a failure; the message has the task, the file and the result code.
class TimeZoneStore {
 public:
  static constexpr const char* kCountryTable = "country";
  static constexpr const char* kZoneTable = "zone";

  // The directory exists; its name is not empty.
  explicit TimeZoneStore(const std::string& directory);

  // The file, for messages.
  const std::string& Path() const { return m_path; }

  bool HasTable(const char* table);
  void CreateTables();
  void DropTable(const char* table);

  void Write(const Country& country);
  void Write(const Zone& zone);
  std::size_t CountRows(const char* table);

  std::optional<Country> FindCountry(const std::string& code);
  std::optional<Zone> FindZone(const std::string& name);
  // In the order of their ranks.
  std::vector<Zone> ZonesOf(const Country& country);

  void SetComment(const Zone& zone, const std::string& comment);
  void DeleteZonesOf(const Country& country);

 private:
  template <typename Request>
  void Address(Request& request, const char* table) const;
  void Check(int result, const std::string& task) const;

  const std::string m_directory;
  const std::string m_path;
  Database m_database;
};

#endif  // TIMEZONE_PICKER_TIMEZONESTORE_H
