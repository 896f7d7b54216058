// Inserts rows, and replaces one.

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
constexpr char kPhone[] = "phone";
constexpr char kNote[] = "note";

// Results are SQLite's codes; 0 is success.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

template <typename Request>
void Address(Request& request) {
  request.SetPath(".", "upsert.db");
  request.SetTable("contact");
}

// Each row has a request of its own, since a value once set stays.
void Write(const char* name, const char* phone, const char* note) {
  UpsertRequest request;
  Address(request);
  request.SetData(kName, name);
  request.SetData(kPhone, phone);
  if (note != nullptr) {
    request.SetData(kNote, note);
  }
  Check(Database().Upsert(request), std::string("write ") + name);
}

}  // namespace

int main() try {
  CreateRequest create;
  Address(create);
  create.SetPrimaryKey(kName, "TEXT");
  create.SetColumnKey(kPhone, "TEXT");
  create.SetColumnKey(kNote, "TEXT DEFAULT 'none'");
  Check(Database().CreateTable(create), "create the table");

  Write("Ana", "100", "at work");
  Write("Rui", "200", nullptr);
  Write("Ana", "101", nullptr);  // the same key: the old row goes, its note with it

  SelectRequest select;
  Address(select);
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  for (std::string name, phone, note; cursor.MoveToNext() == 0;) {
    Check(cursor.GetString(kName, name), "read a name");
    Check(cursor.GetString(kPhone, phone), "read a number");
    Check(cursor.GetString(kNote, note), "read a note");
    std::cout << name << ": " << phone << " (" << note << ")\n";
  }
  return 0;
} catch (const std::exception& error) {
  std::cerr << "upsert: " << error.what() << '\n';
  return 1;
}
