// What a result tells, and what it does not.

#include <fstream>
#include <iostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "Edges.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kId[] = "id";
constexpr char kData[] = "data";
constexpr char kSize[] = "size";
constexpr char kOwner[] = "owner";
constexpr char kMember[] = "member_id";

void Write(const char* table, const char* key, const char* keyValue, const char* column = nullptr,
           const char* value = nullptr) {
  UpsertRequest row;
  Address(row, table);
  row.SetData(key, keyValue);
  if (column != nullptr) {
    row.SetData(column, value);
  }
  Check(Database().Upsert(row), "write a row");
}

void Create(const char* table, const char* key, const char* column) {
  CreateRequest create;
  Address(create, table);
  create.SetPrimaryKey(key, "TEXT");
  if (column != nullptr) {
    create.SetColumnKey(column, "TEXT");
  }
  Check(Database().CreateTable(create), std::string("create the table ") + table);
}

void SelectAll(const char* table, Cursor& cursor) {
  SelectRequest select;
  Address(select, table);
  Check(Database().Select(select, cursor), "select");
}

// Overwrites the end of the file with zeros, as a failing disk might.
void DamageLastPage() {
  constexpr int kPageSize = 4096;
  std::fstream file(kFile, std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(-kPageSize, std::ios::end);
  file << std::string(kPageSize, '\0');
  Check(file.flush() ? 0 : 1, "damage the file");
}

}  // namespace

//! [one_column]
void OneColumn() {
  Create("bare", kName, nullptr);  // a table of one column
  Create("roomy", kName, kData);   // of two, of which one is never written
  for (const char* const table : {"bare", "roomy"}) {
    for (const char* const name : {"Ana", "Rui", "Eva"}) {
      Write(table, kName, name);
    }
    Cursor cursor;
    SelectAll(table, cursor);
    std::cout << table << ": 3 rows written, GetCount " << cursor.GetCount() << '\n';
  }
}
//! [one_column]

//! [equal_names]
bool HasEqualNames(Cursor& cursor) {
  std::vector<std::string> names;
  cursor.GetColumn(names);  // lists an equal name once for each column
  return std::set<std::string>(names.begin(), names.end()).size() < names.size();
}
//! [equal_names]

void EqualNames() {
  Create("note", kId, kOwner);
  Create("person", kId, kName);
  Create("member", kMember, kName);
  Write("note", kId, "n1", kOwner, "p1");
  Write("person", kId, "p1", kName, "Ana");
  Write("member", kMember, "p1", kName, "Ana");
  for (const auto& side : {std::make_pair("person", kId), std::make_pair("member", kMember)}) {
    JoinRequest join;
    join.SetPath(".", kFile);
    join.SetLeftJoin("note", kOwner);
    join.SetRightJoin(side.first, side.second);
    Cursor cursor;
    Check(Database().JoinSelect(join, cursor), "join");
    std::vector<std::string> names;
    Check(cursor.GetColumn(names), "list the columns");
    std::cout << "note and " << side.first << ':';
    for (const std::string& name : names) {
      std::cout << ' ' << name;
    }
    std::cout << (HasEqualNames(cursor) ? "; refused\n" : "; well\n");
  }
}

//! [empty_cells]
void EmptyCells() {
  CreateRequest create;
  Address(create, "cell");
  create.SetPrimaryKey(kName, "TEXT");
  create.SetColumnKey(kData, "BLOB DEFAULT x'00ff'");  // the only way to write a blob
  create.SetColumnKey(kSize, "INTEGER");
  Check(Database().CreateTable(create), "create the table");
  Write("cell", kName, "a blob and NULL");
  Write("cell", kName, "an empty text", kData, "");
  Write("cell", kName, "a number", kSize, "7");

  Cursor cursor;
  SelectAll("cell", cursor);
  while (cursor.MoveToNext() == 0) {
    const bool isMissing = Text(cursor, kSize).empty();  // NULL, too
    int size = 0;
    std::cout << Text(cursor, kName) << ": '" << Text(cursor, kData) << "', "
              << (isMissing ? "no size" : "a size") << ", GetInt " << cursor.GetInt(kSize, size)
              << '\n';
  }
}
//! [empty_cells]

//! [result_zero]
void ResultZero() {
  CreateRequest create;
  Address(create, "page");
  create.SetColumnKey(kData, "TEXT");
  Check(Database().CreateTable(create), "create the table");
  for (int row = 0; row < 3; ++row) {  // a row fills more than half of a page of the file
    UpsertRequest upsert;
    Address(upsert, "page");
    upsert.SetData(kData, std::string(3000, 'x').c_str());
    Check(Database().Upsert(upsert), "write a row");
  }
  DamageLastPage();

  SelectRequest select;
  Address(select, "page");
  Cursor cursor;
  const int result = Database().Select(select, cursor);
  std::cout << "result " << result << ", 3 rows written, " << cursor.GetCount() << " found\n";
}
//! [result_zero]
