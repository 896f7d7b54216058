// Reads rows of a table: all, those that meet conditions, one, none.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kName[] = "name";
constexpr char kTeam[] = "team";

// Results are SQLite's codes; 0 is success.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

template <typename Request>
void Address(Request& request) {
  request.SetPath(".", "select.db");
  request.SetTable("contact");
}

void Write(const char* name, const char* team) {
  UpsertRequest request;
  Address(request);
  request.SetData(kName, name);
  request.SetData(kTeam, team);
  Check(Database().Upsert(request), std::string("write ") + name);
}

void Print(const char* title, SelectRequest& request) {
  Address(request);
  Cursor cursor;
  Check(Database().Select(request, cursor), "select");
  std::cout << title << ":";
  for (std::string name; cursor.MoveToNext() == 0;) {
    Check(cursor.GetString(kName, name), "read a name");
    std::cout << ' ' << name;
  }
  std::cout << " (count " << cursor.GetCount() << ")\n";
}

}  // namespace

int main() try {
  CreateRequest create;
  Address(create);
  create.SetPrimaryKey(kName, "TEXT");
  create.SetColumnKey(kTeam, "TEXT");
  Check(Database().CreateTable(create), "create the table");
  Write("Ana", "red");
  Write("Rui", "red");
  Write("Eva", "blue");

  SelectRequest all;
  SelectRequest red;
  red.SetWhere(kTeam, "red");
  SelectRequest one;
  one.SetWhere(kTeam, "blue");
  one.SetWhere(kName, "Eva");
  SelectRequest none;
  none.SetWhere(kTeam, "green");
  Print("all", all);
  Print("red", red);
  Print("blue Eva", one);
  Print("green", none);
  return 0;
} catch (const std::exception& error) {
  std::cerr << "select: " << error.what() << '\n';
  return 1;
}
