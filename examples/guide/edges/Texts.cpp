// Values and names from outside.

#include <iostream>
#include <string>

#include "../safe.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "Edges.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

//! [texts]
// A table, a column and a value that somebody else has thought of.
void Texts() {
  const std::string table = "O'Brien's \"notes\"";
  const std::string column = "order";
  const std::string value = "'); DROP TABLE x; --";
  const std::string name = QuotedName(column);  // kept by pointer: outlives the requests

  CreateRequest create;
  Address(create, QuotedName(table).c_str());
  create.SetColumnKey(name.c_str(), "TEXT");
  UpsertRequest upsert;
  Address(upsert, QuotedName(table).c_str());
  upsert.SetData(name.c_str(), Quoted(value).c_str());
  SelectRequest select;
  Address(select, QuotedName(table).c_str());
  select.SetWhere(name.c_str(), Quoted(value).c_str());

  Database database;
  Cursor cursor;
  bool exists = false;
  Check(database.CreateTable(create), "create the table");
  Check(database.Upsert(upsert), "write the row");
  Check(database.Select(select, cursor), "select");
  Check(database.CheckExistTable(select, Quoted(table).c_str(), exists), "look for the table");
  Check(cursor.MoveToNext(), "find the row");
  std::cout << (exists ? "the table is there: " : "no table: ");
  std::cout << Text(cursor, column.c_str()) << '\n';  // in a cursor the bare name
}
//! [texts]

namespace {

void FillContacts() {
  CreateRequest create;
  Address(create, "contact");
  create.SetColumnKey(kName, "TEXT");
  Check(Database().CreateTable(create), "create the table");
  for (const char* const name : {"Ana", "Rui"}) {
    UpsertRequest upsert;
    Address(upsert, "contact");
    upsert.SetData(kName, name);
    Check(Database().Upsert(upsert), "write a row");
  }
}

void DeleteAndCount(const char* how, const std::string& value) {
  DeleteRequest request;
  Address(request, "contact");
  request.SetWhere(kName, value.c_str());
  Check(Database().Delete(request), "delete");
  SelectRequest select;
  Address(select, "contact");
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  std::cout << how << ": " << (cursor.GetCount() > 0 ? cursor.GetCount() : 0) << " rows left\n";
}

}  // namespace

void Attack() {
  FillContacts();
  //! [attack]
  const std::string fromOutside = "' OR '1'='1";
  DeleteAndCount("quoted", Quoted(fromOutside));
  DeleteAndCount("as it is", fromOutside);
  //! [attack]
}
