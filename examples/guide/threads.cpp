// Writes rows in several threads at once.

#include <exception>
#include <future>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "SelectRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kWriter[] = "writer";
constexpr char kNumber[] = "number";
constexpr int kWriters = 4;
constexpr int kRows = 10;

// Results are SQLite's codes; 0 is success.
void Check(int result, const std::string& task) {
  if (result != 0) {
    throw std::runtime_error("cannot " + task + ": result " + std::to_string(result));
  }
}

// Tries again when the others keep the file busy for longer than the library waits; a
// row is written whole or not at all.
int WriteRow(int writer, int number) {
  UpsertRequest request;
  request.SetPath(".", "threads.db");
  request.SetTable("row");
  request.SetData(kWriter, writer);
  request.SetData(kNumber, number);
  constexpr int kBusy = 5;
  int result = kBusy;
  for (int attempt = 0; result == kBusy && attempt < 20; ++attempt) {
    result = Database().Upsert(request);
  }
  return result;
}

int WriteRows(int writer) {
  int result = 0;
  for (int number = 0; result == 0 && number < kRows; ++number) {
    result = WriteRow(writer, number);
  }
  return result;
}

}  // namespace

int main() try {
  CreateRequest create;
  create.SetPath(".", "threads.db");
  create.SetTable("row");
  create.SetPrimaryKey(kWriter, "INTEGER");
  create.SetCompositeKey(kNumber, "INTEGER");
  Check(Database().CreateTable(create), "create the table");

  std::vector<std::future<int>> writers;
  writers.reserve(kWriters);
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(std::async(std::launch::async, WriteRows, writer));
  }
  for (std::future<int>& writer : writers) {
    Check(writer.get(), "write the rows");  // throws what was thrown there
  }

  SelectRequest select;
  select.SetPath(".", "threads.db");
  select.SetTable("row");
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  std::cout << cursor.GetCount() << " rows from " << kWriters << " threads\n";
  return 0;
} catch (const std::exception& error) {
  std::cerr << "threads: " << error.what() << '\n';
  return 1;
}
