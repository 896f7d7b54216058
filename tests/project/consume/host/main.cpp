// A host as any other: it keeps two rows in a file and reads them back. C++11.

#include <CreateRequest.h>
#include <Cursor.h>
#include <Database.h>
#include <SelectRequest.h>
#include <UpsertRequest.h>

#include <iostream>
#include <string>

namespace {

const char* const kKey = "code";
const char* const kName = "name";
const char* const kTable = "country";
const char* const kFile = "host.db";

int Write(Database& database, const char* directory, const char* code, const char* name) {
  UpsertRequest upsert;
  upsert.SetPath(directory, kFile);
  upsert.SetTable(kTable);
  upsert.SetData(kKey, code);
  upsert.SetData(kName, name);
  return database.Upsert(upsert);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: host DIRECTORY\n";
    return 2;
  }
  const char* const directory = argv[1];

  Database database;
  CreateRequest create;
  create.SetPath(directory, kFile);
  create.SetTable(kTable);
  create.SetPrimaryKey(kKey, "TEXT");
  create.SetColumnKey(kName, "TEXT");
  int result = database.CreateTable(create);
  if (result == 0) result = Write(database, directory, "PT", "Portugal");
  if (result == 0) result = Write(database, directory, "CI", "Cote d''Ivoire");

  SelectRequest select;
  select.SetPath(directory, kFile);
  select.SetTable(kTable);
  Cursor cursor;
  if (result == 0) result = database.Select(select, cursor);
  if (result != 0) {
    std::cerr << "host: result " << result << '\n';
    return 1;
  }
  std::string code;
  std::string name;
  while (cursor.MoveToNext() == 0 && cursor.GetString(kKey, code) == 0 &&
         cursor.GetString(kName, name) == 0) {
    std::cout << code << ' ' << name << '\n';
  }
  std::cout << cursor.GetCount() << " rows\n";
}
