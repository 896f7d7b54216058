// A tour of the library: the time-zone list of a settings screen, from the system's
// own files to a table, a join and a list on the terminal.

#include <algorithm>
#include <cstddef>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Options.h"
#include "TimeZone.h"
#include "TimeZoneStore.h"
#include "ZoneList.h"

namespace {

constexpr const char* kTables[] = {TimeZoneStore::kCountryTable, TimeZoneStore::kZoneTable};
constexpr char kNewComment[] = "this device's zone";

struct SystemFiles {
  std::vector<Country> countries;
  std::vector<Zone> zones;
};

std::size_t CountIn(const Country& country, const std::vector<Zone>& zones) {
  return static_cast<std::size_t>(std::count_if(
      zones.begin(), zones.end(), [&](const Zone& zone) { return zone.country == country.code; }));
}

void Expect(const std::string& what, std::size_t expected, std::size_t found) {
  if (expected != found) {
    throw std::runtime_error(what + ": " + std::to_string(expected) + " expected, " +
                             std::to_string(found) + " found");
  }
}

void DropLeftTables(TimeZoneStore& store) {
  std::cout << "1. Drop the tables that an earlier run has left. They could not be reused as\n"
               "   they are: to create a table that exists changes nothing about it.\n";
  for (const char* const table : kTables) {
    const bool left = store.HasTable(table);
    if (left) {
      store.DropTable(table);
    }
    std::cout << "   " << table << ": " << (left ? "dropped" : "none") << '\n';
  }
}

void CreateTables(TimeZoneStore& store) {
  std::cout << "2. Create the two tables, and ask for each whether it exists.\n";
  store.CreateTables();
  for (const char* const table : kTables) {
    if (!store.HasTable(table)) {
      throw std::runtime_error(std::string("table ") + table + " is missing after its creation");
    }
    std::cout << "   " << table << ": exists\n";
  }
}

template <typename Row>
void FillTable(TimeZoneStore& store, const char* table, const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    store.Write(row);
  }
  const std::size_t found = store.CountRows(table);
  Expect(std::string("rows of table ") + table, rows.size(), found);
  std::cout << "   " << table << ": " << rows.size() << " rows written, " << found << " found\n";
}

void FillTables(TimeZoneStore& store, const SystemFiles& files) {
  std::cout << "3. Write each row with an upsert of its own, and select all rows to count them.\n";
  FillTable(store, TimeZoneStore::kCountryTable, files.countries);
  FillTable(store, TimeZoneStore::kZoneTable, files.zones);
}

Country LookUpCountry(TimeZoneStore& store, const std::string& code) {
  std::cout << "4. Look the country up with a select on its code.\n";
  const auto country = store.FindCountry(code);
  if (!country) {
    throw std::runtime_error("unknown country " + code);
  }
  std::cout << "   " << country->code << " is " << country->name << ".\n";
  return *country;
}

void PrintZonesOf(const Country& country, const std::vector<Zone>& zones) {
  if (zones.empty()) {
    std::cout << "   No zone is listed for " << country.name << ".\n";
  } else {
    PrintZones(std::cout, zones);
  }
}

std::vector<Zone> ListZones(TimeZoneStore& store, const Country& country,
                            const SystemFiles& files) {
  std::cout << "5. Join the zones to the country with that name, walk the result and list it.\n";
  std::vector<Zone> zones = store.ZonesOf(country);
  Expect("zones of " + country.name, CountIn(country, files.zones), zones.size());
  PrintZonesOf(country, zones);
  return zones;
}

void UpdateFirst(TimeZoneStore& store, const std::vector<Zone>& zones) {
  std::cout << "6. Update the comment of the first zone, and select its row again.\n";
  if (zones.empty()) {
    std::cout << "   There is no zone to update.\n";
    return;
  }
  store.SetComment(zones.front(), kNewComment);
  const auto zone = store.FindZone(zones.front().name);
  if (!zone || zone->comment != kNewComment) {
    throw std::runtime_error("zone " + zones.front().name + " lacks its new comment");
  }
  PrintZones(std::cout, {*zone});
}

void DeleteAll(TimeZoneStore& store, const Country& country, const SystemFiles& files) {
  std::cout << "7. Delete the country's zones and nothing else, and join once more.\n";
  store.DeleteZonesOf(country);
  const std::vector<Zone> left = store.ZonesOf(country);
  Expect("zones of " + country.name + " after the deletion", 0, left.size());
  const std::size_t others = files.zones.size() - CountIn(country, files.zones);
  const std::size_t found = store.CountRows(TimeZoneStore::kZoneTable);
  Expect("rows of table zone after the deletion", others, found);
  PrintZonesOf(country, left);
  std::cout << "   zone: " << files.zones.size() << " rows before, " << found << " left\n";
}

void DropTables(TimeZoneStore& store) {
  std::cout << "8. Drop both tables, and ask again whether they exist.\n";
  for (const char* const table : kTables) {
    store.DropTable(table);
    if (store.HasTable(table)) {
      throw std::runtime_error(std::string("table ") + table + " still exists after the drop");
    }
    std::cout << "   " << table << ": gone\n";
  }
}

void Run(const Options& options) {
  // Both files are read before the database is touched: a bad one leaves it alone.
  const SystemFiles files{ReadCountries(options.zoneinfo), ReadZones(options.zoneinfo)};
  TimeZoneStore store(options.directory);

  std::cout << "First part: a database file with two tables, and a list from their join.\n\n";
  DropLeftTables(store);
  CreateTables(store);
  FillTables(store, files);
  const Country country = LookUpCountry(store, options.country);
  const std::vector<Zone> zones = ListZones(store, country, files);
  if (options.keep) {
    std::cout << "\nThe tables stay in " << store.Path() << ".\n";
    return;
  }

  std::cout << "\nSecond part: the changes.\n\n";
  UpdateFirst(store, zones);
  DeleteAll(store, country, files);
  DropTables(store);
  std::cout << "\nThe file " << store.Path() << " stays, without tables.\n";
}

// What could not be written, to a full disk say, shows at the latest here.
void FinishOutput() {
  if (!std::cout.flush()) {
    throw std::runtime_error("cannot write to standard output");
  }
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options = ParseOptions(argc, argv);
    if (options.help) {
      std::cout << kUsage;
    } else {
      Run(options);
    }
    FinishOutput();
    return 0;
  } catch (const UsageError& error) {
    std::cerr << "timezone_picker: " << error.what() << '\n' << kUsage;
    return 2;
  } catch (const std::exception& error) {
    // A C++ exception of the library, too: it lets them pass.
    std::cerr << "timezone_picker: " << error.what() << '\n';
    return 1;
  }
}
