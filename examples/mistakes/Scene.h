// The scene of each mistake: a table of contacts in the working directory.

#ifndef MISTAKES_SCENE_H
#define MISTAKES_SCENE_H

#include <sqlite3.h>

#include <cstdlib>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

constexpr char kFile[] = "contacts.db";
constexpr char kName[] = "name";
constexpr char kPhone[] = "phone";

inline void Check(int result) {
  if (result != 0) {
    std::abort();
  }
}

template <typename Request>
void Address(Request& request, const char* table) {
  request.SetPath(".", kFile);
  request.SetTable(table);
}

// Without the library, as another program does. The file is closed after the call of "then".
inline void Execute(const char* sql, void (*then)() = nullptr) {
  sqlite3* database = nullptr;
  Check(sqlite3_open(kFile, &database));
  Check(sqlite3_exec(database, sql, nullptr, nullptr, nullptr));
  if (then != nullptr) {
    then();
  }
  sqlite3_close(database);
}

inline void CreateContacts() {
  CreateRequest request;
  Address(request, "contact");
  request.SetPrimaryKey(kName, "TEXT");
  request.SetColumnKey(kPhone, "TEXT");
  Check(Database().CreateTable(request));
}

inline void WriteContact(const char* name, const char* phone) {
  UpsertRequest request;
  Address(request, "contact");
  request.SetData(kName, name);
  request.SetData(kPhone, phone);
  Check(Database().Upsert(request));
}

// Moves to the first of all contacts.
inline void ReadContacts(Cursor& cursor) {
  SelectRequest request;
  Address(request, "contact");
  Check(Database().Select(request, cursor));
  Check(cursor.MoveToNext());
}

#endif  // MISTAKES_SCENE_H
