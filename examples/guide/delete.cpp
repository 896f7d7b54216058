// Deletes the rows that meet all conditions.

#include <algorithm>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
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
  request.SetPath(".", "delete.db");
  request.SetTable("contact");
}

void Write(const char* name, const char* team) {
  UpsertRequest request;
  Address(request);
  request.SetData(kName, name);
  request.SetData(kTeam, team);
  Check(Database().Upsert(request), std::string("write ") + name);
}

// -1 stands for no columns, and without rows there are none.
int CountRows() {
  SelectRequest request;
  Address(request);
  Cursor cursor;
  Check(Database().Select(request, cursor), "select");
  return std::max(cursor.GetCount(), 0);
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

  DeleteRequest request;
  Address(request);
  request.SetWhere(kTeam, "red");  // without any condition, every row would go
  std::cout << CountRows() << " rows before\n";
  Check(Database().Delete(request), "delete");
  std::cout << CountRows() << " row after\n";
  Check(Database().Delete(request), "delete");  // no row is left to be deleted: 0, too
  return 0;
} catch (const std::exception& error) {
  std::cerr << "delete: " << error.what() << '\n';
  return 1;
}
