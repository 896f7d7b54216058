#include "TimeZoneStore.h"

#include <algorithm>
#include <stdexcept>

#include "CreateRequest.h"
#include "Cursor.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kFileName[] = "timezones.db";

// The library keeps the pointer to a column's name, not the text, and tells
// columns apart by it: one name through two pointers is two columns. So each name
// is one array that lives as long as the program. It is known to this file alone:
// a constant in a header may have an address in each file that includes it.
//
// Both tables are joined, and a cursor knows columns by name only. So no name
// occurs in both.
constexpr char kCountryCode[] = "country_code";
constexpr char kCountryName[] = "country_name";
constexpr char kZoneName[] = "zone_name";
constexpr char kZoneCountry[] = "zone_country";
constexpr char kZoneRank[] = "zone_rank";
constexpr char kZoneLatitude[] = "zone_latitude";
constexpr char kZoneLongitude[] = "zone_longitude";
constexpr char kZoneComment[] = "zone_comment";

// The library puts a value between single quotes as it is. A quote inside would
// end it, so the caller doubles each one; what is stored has it once.
std::string Quoted(const std::string& value) {
  std::string quoted;
  for (const char c : value) {
    quoted += c;
    if (c == '\'') {
      quoted += c;
    }
  }
  return quoted;
}

// Result codes are SQLite's. A word for those that a user can do something about.
const char* Meaning(int result) {
  switch (result) {
    case 5:
      return " (the file is busy)";
    case 8:
      return " (the file is read-only)";
    case 10:
      return " (the disk failed)";
    case 13:
      return " (the disk is full)";
    case 14:
      return " (the file cannot be opened)";
    case 26:
      return " (the file is not a database)";
    default:
      return "";
  }
}

// A cell can be read only by the name of a column that the result has, and as a
// number only if it begins with one.
void CheckRead(int result, const char* column) {
  if (result != 0) {
    throw std::runtime_error(std::string("cannot read the column ") + column + ": result " +
                             std::to_string(result));
  }
}

std::string ReadText(Cursor& cursor, const char* column) {
  std::string value;
  CheckRead(cursor.GetString(column, value), column);
  return value;
}

int ReadInt(Cursor& cursor, const char* column) {
  int value = 0;
  CheckRead(cursor.GetInt(column, value), column);
  return value;
}

double ReadDouble(Cursor& cursor, const char* column) {
  double value = 0;
  CheckRead(cursor.GetDouble(column, value), column);
  return value;
}

Country ReadCountry(Cursor& cursor) {
  return {ReadText(cursor, kCountryCode), ReadText(cursor, kCountryName)};
}

Zone ReadZone(Cursor& cursor) {
  Zone zone;
  zone.country = ReadText(cursor, kZoneCountry);
  zone.rank = ReadInt(cursor, kZoneRank);
  zone.name = ReadText(cursor, kZoneName);
  zone.latitude = ReadDouble(cursor, kZoneLatitude);
  zone.longitude = ReadDouble(cursor, kZoneLongitude);
  zone.comment = ReadText(cursor, kZoneComment);  // empty also for NULL
  return zone;
}

}  // namespace

TimeZoneStore::TimeZoneStore(const std::string& directory)
    : m_directory(directory),
      m_path(directory + (directory.back() == '/' ? "" : "/") + kFileName) {}

bool TimeZoneStore::HasTable(const char* table) {
  BasePath path;
  path.SetPath(m_directory.c_str(), kFileName);
  bool exists = false;
  Check(m_database.CheckExistTable(path, table, exists), std::string("look for table ") + table);
  return exists;
}

// The columns of a result are those of the table, and a cursor counts the rows of
// a one-column result as one: give every table two columns or more.
void TimeZoneStore::CreateTables() {
  CreateRequest country;
  Address(country, kCountryTable);
  country.SetPrimaryKey(kCountryCode, "TEXT");
  country.SetColumnKey(kCountryName, "TEXT NOT NULL");
  Check(m_database.CreateTable(country), "create table country");

  CreateRequest zone;
  Address(zone, kZoneTable);
  zone.SetPrimaryKey(kZoneName, "TEXT");
  zone.SetColumnKey(kZoneCountry, "TEXT NOT NULL");
  zone.SetColumnKey(kZoneRank, "INTEGER NOT NULL");
  zone.SetColumnKey(kZoneLatitude, "REAL NOT NULL");
  zone.SetColumnKey(kZoneLongitude, "REAL NOT NULL");
  zone.SetColumnKey(kZoneComment, "TEXT");
  Check(m_database.CreateTable(zone), "create table zone");
}

void TimeZoneStore::DropTable(const char* table) {
  DropRequest request;
  Address(request, table);
  Check(m_database.DropTable(request), std::string("drop table ") + table);
}

// A value once set stays: setting the column again changes nothing. So every row
// has a request of its own.
void TimeZoneStore::Write(const Country& country) {
  UpsertRequest request;
  Address(request, kCountryTable);
  request.SetData(kCountryCode, country.code.c_str());
  request.SetData(kCountryName, Quoted(country.name).c_str());
  Check(m_database.Upsert(request), "write country " + country.code);
}

void TimeZoneStore::Write(const Zone& zone) {
  UpsertRequest request;
  Address(request, kZoneTable);
  request.SetData(kZoneName, Quoted(zone.name).c_str());
  request.SetData(kZoneCountry, zone.country.c_str());
  request.SetData(kZoneRank, zone.rank);
  // A double keeps six significant digits: within some 60 m for a place on earth.
  request.SetData(kZoneLatitude, zone.latitude);
  request.SetData(kZoneLongitude, zone.longitude);
  // A column that is left out becomes NULL.
  if (!zone.comment.empty()) {
    request.SetData(kZoneComment, Quoted(zone.comment).c_str());
  }
  Check(m_database.Upsert(request), "write zone " + zone.name);
}

std::size_t TimeZoneStore::CountRows(const char* table) {
  SelectRequest request;
  Address(request, table);
  Cursor cursor;
  Check(m_database.Select(request, cursor), std::string("select from table ") + table);
  // The first row brings the columns, and without columns the count is -1.
  return static_cast<std::size_t>(std::max(cursor.GetCount(), 0));
}

// The position of a new result is before its first row, hence MoveToNext().
std::optional<Country> TimeZoneStore::FindCountry(const std::string& code) {
  SelectRequest request;
  Address(request, kCountryTable);
  request.SetWhere(kCountryCode, code.c_str());
  Cursor cursor;
  Check(m_database.Select(request, cursor), "select country " + code);
  if (cursor.MoveToNext() != 0) {
    return std::nullopt;
  }
  return ReadCountry(cursor);
}

std::optional<Zone> TimeZoneStore::FindZone(const std::string& name) {
  SelectRequest request;
  Address(request, kZoneTable);
  request.SetWhere(kZoneName, Quoted(name).c_str());
  Cursor cursor;
  Check(m_database.Select(request, cursor), "select zone " + name);
  if (cursor.MoveToNext() != 0) {
    return std::nullopt;
  }
  return ReadZone(cursor);
}

// Result 0 says that the query could be prepared, not that all rows arrived. Where
// that matters, compare their number with what is known otherwise.
std::vector<Zone> TimeZoneStore::ZonesOf(const Country& country) {
  JoinRequest request;
  request.SetPath(m_directory.c_str(), kFileName);
  request.SetLeftJoin(kZoneTable, kZoneCountry);
  request.SetRightJoin(kCountryTable, kCountryCode);
  request.SetWhere(kCountryName, Quoted(country.name).c_str());
  Cursor cursor;
  Check(m_database.JoinSelect(request, cursor), "join the zones of " + country.name);

  std::vector<Zone> zones;
  while (cursor.MoveToNext() == 0) {
    zones.push_back(ReadZone(cursor));
  }
  // Rows come in no particular order, and a request cannot ask for one.
  std::sort(zones.begin(), zones.end(),
            [](const Zone& one, const Zone& other) { return one.rank < other.rank; });
  return zones;
}

// Conditions are joined by AND. An update needs at least one, and succeeds as well
// when no row meets them.
void TimeZoneStore::SetComment(const Zone& zone, const std::string& comment) {
  UpdateRequest request;
  Address(request, kZoneTable);
  request.SetData(kZoneComment, Quoted(comment).c_str());
  request.SetWhere(kZoneCountry, zone.country.c_str());
  request.SetWhere(kZoneRank, zone.rank);
  Check(m_database.Update(request), "update zone " + zone.name);
}

// Mind the condition: without any, a delete takes every row.
void TimeZoneStore::DeleteZonesOf(const Country& country) {
  DeleteRequest request;
  Address(request, kZoneTable);
  request.SetWhere(kZoneCountry, country.code.c_str());
  Check(m_database.Delete(request), "delete the zones of " + country.name);
}

// Directory, file and table names are copied, unlike those of columns. Set them
// once: a request never frees the copies that a second call replaces.
template <typename Request>
void TimeZoneStore::Address(Request& request, const char* table) const {
  request.SetPath(m_directory.c_str(), kFileName);
  request.SetTable(table);
}

void TimeZoneStore::Check(int result, const std::string& task) const {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + " in " + m_path + ": result " +
                             std::to_string(result) + Meaning(result));
  }
}
