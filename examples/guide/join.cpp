// Joins the calls with the contacts that made them.

#include <exception>
#include <iostream>
#include <set>
#include <stdexcept>
#include <string>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "JoinRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kFile[] = "join.db";
// No name occurs in both tables: a cursor knows columns by name alone.
constexpr char kName[] = "name";
constexpr char kTeam[] = "team";
constexpr char kCaller[] = "caller";
constexpr char kSeconds[] = "seconds";

// Results are SQLite's codes; 0 is success.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

template <typename Value>
void Write(const char* table, const char* key, const char* keyValue, const char* column,
           Value value) {
  UpsertRequest request;
  request.SetPath(".", kFile);
  request.SetTable(table);
  request.SetData(key, keyValue);
  request.SetData(column, value);
  Check(Database().Upsert(request), std::string("write into ") + table);
}

}  // namespace

int main() try {
  CreateRequest contact;
  contact.SetPath(".", kFile);
  contact.SetTable("contact");
  contact.SetPrimaryKey(kName, "TEXT");
  contact.SetColumnKey(kTeam, "TEXT");
  Check(Database().CreateTable(contact), "create the table contact");
  CreateRequest call;
  call.SetPath(".", kFile);
  call.SetTable("call");
  call.SetColumnKey(kCaller, "TEXT");
  call.SetColumnKey(kSeconds, "INTEGER");
  Check(Database().CreateTable(call), "create the table call");
  Write("contact", kName, "Ana", kTeam, "red");
  Write("contact", kName, "Eva", kTeam, "blue");
  Write("call", kCaller, "Eva", kSeconds, 30);
  Write("call", kCaller, "Ana", kSeconds, 20);
  Write("call", kCaller, "Ana", kSeconds, 10);
  Write("call", kCaller, "nobody", kSeconds, 5);

  JoinRequest join;
  join.SetPath(".", kFile);
  join.SetLeftJoin("call", kCaller);
  join.SetRightJoin("contact", kName);
  join.SetWhere(kTeam, "red");
  Cursor cursor;
  Check(Database().JoinSelect(join, cursor), "join");

  std::set<int> seconds;  // rows come in no promised order
  for (int cell = 0; cursor.MoveToNext() == 0;) {
    Check(cursor.GetInt(kSeconds, cell), "read the seconds");
    seconds.insert(cell);
  }
  for (const int value : seconds) {
    std::cout << "a call of " << value << " s from the red team\n";
  }
  return 0;
} catch (const std::exception& error) {
  std::cerr << "join: " << error.what() << '\n';
  return 1;
}
