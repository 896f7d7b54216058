// Asks whether tables exist, and drops one.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "CreateRequest.h"
#include "Database.h"
#include "DropRequest.h"

namespace {

// Results are SQLite's codes; 0 is success.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

bool Exists(const char* table) {
  BasePath place;  // any request will do as well
  place.SetPath(".", "check_table.db");
  bool exists = false;
  Check(Database().CheckExistTable(place, table, exists), "look for a table");
  return exists;
}

}  // namespace

int main() try {
  std::cout << std::boolalpha << "before: " << Exists("contact") << '\n';
  CreateRequest create;
  create.SetPath(".", "check_table.db");
  create.SetTable("contact");
  create.SetPrimaryKey("name", "TEXT");
  create.SetColumnKey("phone", "TEXT");
  Check(Database().CreateTable(create), "create the table");
  std::cout << "after: " << Exists("contact") << '\n';
  std::cout << "in capitals: " << Exists("CONTACT") << '\n';  // letters count here

  DropRequest drop;
  drop.SetPath(".", "check_table.db");
  drop.SetTable("contact");
  Check(Database().DropTable(drop), "drop the table");
  std::cout << "dropped: " << Exists("contact") << '\n';
  std::cout << "dropped again: result " << Database().DropTable(drop) << '\n';  // there is none
  return 0;
} catch (const std::exception& error) {
  std::cerr << "check_table: " << error.what() << '\n';
  return 1;
}
