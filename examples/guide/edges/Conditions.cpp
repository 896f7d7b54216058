// What operations do without conditions.

#include <iostream>
#include <string>

#include "../safe.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "Edges.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kCaller[] = "caller";

template <typename Request>
int Count(Request& request, int (Database::*query)(Request&, Cursor&)) {
  Cursor cursor;
  Database database;
  Check((database.*query)(request, cursor), "query");
  return cursor.GetCount() > 0 ? cursor.GetCount() : 0;
}

int CountContacts() {
  SelectRequest select;
  Address(select, "contact");
  return Count(select, &Database::Select);
}

void Fill() {
  CreateRequest contact;
  Address(contact, "contact");
  contact.SetPrimaryKey(kName, "TEXT");
  contact.SetColumnKey(kPhone, "TEXT");
  Check(Database().CreateTable(contact), "create the table contact");
  CreateRequest call;
  Address(call, "call");
  call.SetColumnKey(kCaller, "TEXT");
  Check(Database().CreateTable(call), "create the table call");
  for (const char* const name : {"Ana", "Rui"}) {
    UpsertRequest row;
    Address(row, "contact");
    row.SetData(kName, name);
    row.SetData(kPhone, "100");
    Check(Database().Upsert(row), "write a contact");
    UpsertRequest other;
    Address(other, "call");
    other.SetData(kCaller, name);
    Check(Database().Upsert(other), "write a call");
  }
}

}  // namespace

//! [safe_delete]
int DeleteSome(DeleteRequest& request) {
  constexpr int kMisuse = 21;  // SQLite's code for a wrong use
  return HasCondition(request) ? Database().Delete(request) : kMisuse;
}
//! [safe_delete]

void Conditions() {
  Fill();
  std::cout << "select: " << CountContacts() << " rows\n";
  JoinRequest join;
  join.SetPath(".", kFile);
  join.SetLeftJoin("call", kCaller);
  join.SetRightJoin("contact", kName);
  std::cout << "join: " << Count(join, &Database::JoinSelect) << " rows\n";
  UpdateRequest update;
  Address(update, "contact");
  update.SetData(kPhone, "0");
  std::cout << "update: result " << Database().Update(update) << '\n';
  DeleteRequest request;
  Address(request, "contact");
  std::cout << "DeleteSome: result " << DeleteSome(request);
  std::cout << ", " << CountContacts() << " rows left\n";
  std::cout << "delete: result " << Database().Delete(request);
  std::cout << ", " << CountContacts() << " rows left\n";
}

//! [cut]
void Cut() {
  const std::string fromOutside = "0' AND";
  UpdateRequest update;
  Address(update, "contact");
  update.SetData(kPhone, fromOutside.c_str());  // neither quoted nor with a condition
  std::string statement;
  SqlGenerator().GetUpdateSql(update, statement);
  std::cout << statement << '\n';
}
//! [cut]
