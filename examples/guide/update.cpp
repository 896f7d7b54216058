// Changes columns of the rows that meet all conditions.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kName[] = "name";
constexpr char kTeam[] = "team";
constexpr char kPhone[] = "phone";

// Results are SQLite's codes; 0 is success.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

template <typename Request>
void Address(Request& request) {
  request.SetPath(".", "update.db");
  request.SetTable("contact");
}

void Write(const char* name, const char* team, const char* phone) {
  UpsertRequest request;
  Address(request);
  request.SetData(kName, name);
  request.SetData(kTeam, team);
  request.SetData(kPhone, phone);
  Check(Database().Upsert(request), std::string("write ") + name);
}

}  // namespace

int main() try {
  CreateRequest create;
  Address(create);
  create.SetPrimaryKey(kName, "TEXT");
  create.SetColumnKey(kTeam, "TEXT");
  create.SetColumnKey(kPhone, "TEXT");
  Check(Database().CreateTable(create), "create the table");

  Write("Ana", "red", "100");
  Write("Rui", "red", "200");
  Write("Eva", "blue", "300");

  UpdateRequest update;
  Address(update);
  update.SetData(kPhone, "201");
  update.SetWhere(kTeam, "red");
  update.SetWhere(kName, "Rui");
  Check(Database().Update(update), "update");  // 0 also when no row meets the conditions

  SelectRequest select;
  Address(select);
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  for (std::string name, phone; cursor.MoveToNext() == 0;) {
    Check(cursor.GetString(kName, name), "read a name");
    Check(cursor.GetString(kPhone, phone), "read a number");
    std::cout << name << ": " << phone << '\n';
  }
  return 0;
} catch (const std::exception& error) {
  std::cerr << "update: " << error.what() << '\n';
  return 1;
}
