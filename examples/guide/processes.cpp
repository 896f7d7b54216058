// Writes rows in several processes at once.

#include <sys/wait.h>
#include <unistd.h>

#include <exception>
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
constexpr int kWriters = 3;
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
  request.SetPath(".", "processes.db");
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
  create.SetPath(".", "processes.db");
  create.SetTable("row");
  create.SetPrimaryKey(kWriter, "INTEGER");
  create.SetCompositeKey(kNumber, "INTEGER");
  Check(Database().CreateTable(create), "create the table");

  std::vector<pid_t> children;
  for (int writer = 0; writer < kWriters; ++writer) {
    const pid_t child = fork();  // nothing is open between operations, and so inherited
    if (child == 0) {
      return WriteRows(writer);
    }
    if (child < 0) {
      throw std::runtime_error("cannot start a child");
    }
    children.push_back(child);
  }
  for (const pid_t child : children) {
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) {
      throw std::runtime_error("a child was killed");
    }
    Check(WEXITSTATUS(status), "write the rows");
  }

  SelectRequest select;
  select.SetPath(".", "processes.db");
  select.SetTable("row");
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  std::cout << cursor.GetCount() << " rows from " << kWriters << " processes\n";
  return 0;
} catch (const std::exception& error) {
  std::cerr << "processes: " << error.what() << '\n';
  return 1;
}
