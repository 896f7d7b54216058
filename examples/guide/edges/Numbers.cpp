// Doubles and large integers.

#include <iostream>
#include <limits>
#include <string>

#include "../safe.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "Edges.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kPlain[] = "plain";
constexpr char kReal[] = "as_real";
constexpr char kText[] = "as_text";

}  // namespace

//! [doubles]
void Doubles() {
  const double value = 1234567.8901234567;
  CreateRequest create;
  Address(create, "number");
  create.SetColumnKey(kPlain, "REAL");
  create.SetColumnKey(kReal, "REAL");
  create.SetColumnKey(kText, "TEXT");
  Check(Database().CreateTable(create), "create the table");

  UpsertRequest upsert;
  Address(upsert, "number");
  upsert.SetData(kPlain, value);
  upsert.SetData(kReal, ExactText(value).c_str());
  upsert.SetData(kText, ExactText(value).c_str());
  Check(Database().Upsert(upsert), "write the row");

  SelectRequest select;
  Address(select, "number");
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  Check(cursor.MoveToNext(), "find the row");
  for (const char* const column : {kPlain, kReal, kText}) {
    double read = 0;
    Check(GetExact(cursor, column, read) ? 0 : 1, "read a double");
    std::cout << column << ": " << Text(cursor, column)
              << (read == value ? ", the same" : ", another one") << '\n';
  }
}
//! [doubles]

//! [integers]
void Integers() {
  const long long value = std::numeric_limits<long long>::max();
  CreateRequest create;
  Address(create, "number");
  create.SetColumnKey(kPlain, "INTEGER");
  Check(Database().CreateTable(create), "create the table");
  UpsertRequest upsert;
  Address(upsert, "number");
  upsert.SetData(kPlain, std::to_string(value).c_str());
  Check(Database().Upsert(upsert), "write the row");

  SelectRequest select;
  Address(select, "number");
  select.SetWhere(kPlain, std::to_string(value).c_str());
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  Check(cursor.MoveToNext(), "find the row");
  int small = 0;
  long long read = 0;
  const int result = cursor.GetInt(kPlain, small);
  std::cout << "GetInt: result " << result << ", still " << small << '\n';
  std::cout << "GetLong: " << (GetLong(cursor, kPlain, read) ? std::to_string(read) : "none")
            << '\n';
}
//! [integers]
