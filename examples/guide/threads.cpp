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

template <typename Request>
void Address(Request& request) {
  request.SetPath(".", "threads.db");
  request.SetTable("row");
}

// A file that others keep busy for longer than the library waits gives 5. One row is
// one request, so it can simply be written again.
int WriteOnce(UpsertRequest& request) {
  constexpr int kBusy = 5;
  int result = kBusy;
  for (int attempt = 0; result == kBusy && attempt < 20; ++attempt) {
    result = Database().Upsert(request);
  }
  return result;
}

void WriteRows(int writer) {
  for (int number = 0; number < kRows; ++number) {
    UpsertRequest request;
    Address(request);
    request.SetData(kWriter, writer);
    request.SetData(kNumber, number);
    Check(WriteOnce(request), "write a row");
  }
}

}  // namespace

int main() try {
  CreateRequest create;
  Address(create);
  create.SetPrimaryKey(kWriter, "INTEGER");
  create.SetCompositeKey(kNumber, "INTEGER");
  Check(Database().CreateTable(create), "create the table");

  std::vector<std::future<void>> writers;
  for (int writer = 0; writer < kWriters; ++writer) {
    writers.push_back(std::async(std::launch::async, WriteRows, writer));
  }
  for (std::future<void>& writer : writers) {
    writer.get();  // throws here what was thrown there
  }

  SelectRequest select;
  Address(select);
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  std::cout << cursor.GetCount() << " rows from " << kWriters << " threads\n";
  return 0;
} catch (const std::exception& error) {
  std::cerr << "threads: " << error.what() << '\n';
  return 1;
}
