// Walks a result in every direction, and reads cells of each type.

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

constexpr char kNumber[] = "number";
constexpr char kPrice[] = "price";
constexpr char kTitle[] = "title";

// Results are SQLite's codes; 0 is success.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

template <typename Request>
void Address(Request& request) {
  request.SetPath(".", "cursor.db");
  request.SetTable("item");
}

void Print(Cursor& cursor) {
  int number = 0;
  double price = 0;
  std::string title;
  Check(cursor.GetInt(kNumber, number), "read a number");
  Check(cursor.GetString(kTitle, title), "read a title");
  std::cout << "row " << cursor.GetPosition() << ": " << number << ' ' << title;
  // An empty cell is no number: the result is 1, and the variable stays as it was.
  const bool hasPrice = cursor.GetDouble(kPrice, price) == 0;
  std::cout << (hasPrice ? " costs " : " has no price: ") << price << '\n';
}

}  // namespace

int main() try {
  CreateRequest create;
  Address(create);
  create.SetPrimaryKey(kNumber, "INTEGER");
  create.SetColumnKey(kTitle, "TEXT");
  create.SetColumnKey(kPrice, "REAL");
  Check(Database().CreateTable(create), "create the table");
  const char* const titles[] = {"pen", "ink", "cap"};
  for (int number = 1; number <= 3; ++number) {
    UpsertRequest row;
    Address(row);
    row.SetData(kNumber, number);
    row.SetData(kTitle, titles[number - 1]);
    if (number != 2) {
      row.SetData(kPrice, number * 1.25);
    }
    Check(Database().Upsert(row), "write a row");
  }

  SelectRequest select;
  Address(select);
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  while (cursor.MoveToNext() == 0) {  // a new result stands before its first row
    Print(cursor);
  }
  std::cout << "backwards\n";
  cursor.MoveToLast();  // behind the last row
  while (cursor.MoveToPrev() == 0) {
    Print(cursor);
  }
  std::cout << "by position\n";
  for (const int position : {2, 0, 3}) {
    if (cursor.MoveToPosition(position) == 0) {
      Print(cursor);
    } else {
      std::cout << "no row " << position << ", still at " << cursor.GetPosition() << '\n';
    }
  }
  return 0;
} catch (const std::exception& error) {
  std::cerr << "cursor: " << error.what() << '\n';
  return 1;
}
