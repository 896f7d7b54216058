// Creates a table with each kind of key, and shows the statements.

#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "CreateRequest.h"
#include "Database.h"
#include "SqlGenerator.h"

namespace {

void Create(Database& database, CreateRequest& request) {
  const int result = database.CreateTable(request);
  if (result != 0) {
    throw std::runtime_error("cannot create a table: result " + std::to_string(result));
  }
  std::string statement;
  SqlGenerator().GetCreateTableSql(request, statement);  // to show it; not needed
  std::cout << statement << '\n';
}

}  // namespace

int main() try {
  Database database;

  CreateRequest contact;  // with a key that the application chooses
  contact.SetPath(".", "create.db");
  contact.SetTable("contact");
  contact.SetPrimaryKey("name", "TEXT");
  contact.SetColumnKey("phone", "TEXT NOT NULL");
  Create(database, contact);

  CreateRequest call;  // without a key: rows are numbered in the column _ID
  call.SetPath(".", "create.db");
  call.SetTable("call");
  call.SetColumnKey("caller", "TEXT");
  call.SetColumnKey("seconds", "INTEGER DEFAULT 0");
  Create(database, call);

  CreateRequest member;  // with a key of two columns
  member.SetPath(".", "create.db");
  member.SetTable("member");
  member.SetPrimaryKey("team", "TEXT");
  member.SetCompositeKey("person", "TEXT");
  member.SetColumnKey("role", "TEXT");
  Create(database, member);

  Create(database, contact);  // it exists: nothing happens, and the result is 0
  return 0;
} catch (const std::exception& error) {
  std::cerr << "create: " << error.what() << '\n';
  return 1;
}
