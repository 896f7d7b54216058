// How column names are kept, and values with them.

#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "Edges.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpsertRequest.h"

namespace {

void CreateContacts() {
  CreateRequest create;
  Address(create, "contact");
  create.SetColumnKey(kName, "TEXT");
  create.SetColumnKey(kPhone, "TEXT");
  Check(Database().CreateTable(create), "create the table");
}

void PrintContacts() {
  SelectRequest select;
  Address(select, "contact");
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  while (cursor.MoveToNext() == 0) {
    std::cout << Text(cursor, kName) << ": " << Text(cursor, kPhone) << '\n';
  }
}

}  // namespace

//! [lifetime]
// Names that are made while the program runs belong to somebody who lives longer than
// the request; here to the map, whose keys stay where they are.
void WriteRow(const std::map<std::string, std::string>& row) {
  UpsertRequest request;
  request.SetPath(".", kFile);
  request.SetTable("contact");
  for (const auto& cell : row) {  // a reference: a copy would be gone after each round
    request.SetData(cell.first.c_str(), cell.second.c_str());
  }
  Check(Database().Upsert(request), "write a row");
}
//! [lifetime]

void Lifetime() {
  CreateContacts();
  WriteRow({{"name", "Ana"}, {"phone", "100"}});
  PrintContacts();
}

//! [order]
void Order() {
  // One array of texts, so that it is known which address is lower.
  constexpr char names[][6] = {"zebra", "ant", "ant"};
  UpsertRequest request;
  request.SetTable("animal");
  request.SetData(names[1], "set first");
  request.SetData(names[0], "set second");
  request.SetData(names[2], "an equal name at another address");
  std::string statement;
  SqlGenerator().GetUpsertSql(request, statement);
  std::cout << statement << '\n';
}
//! [order]

//! [first_value]
void WriteContact(const char* name, const char* phone) {
  UpsertRequest request;  // a new one for every row
  Address(request, "contact");
  request.SetData(kName, name);
  request.SetData(kPhone, phone);
  request.SetData(kPhone, "ignored, without a message");
  Check(Database().Upsert(request), "write a row");
}
//! [first_value]

void FirstValue() {
  CreateContacts();
  WriteContact("Ana", "100");
  WriteContact("Rui", "200");
  PrintContacts();
}
