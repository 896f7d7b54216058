// Writes rows in several processes at once.

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
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

template <typename Request>
void Address(Request& request) {
  request.SetPath(".", "processes.db");
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

// In a child: the exit status tells the parent.
int WriteRowsAsChild(int writer) {
  try {
    WriteRows(writer);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "processes, writer " << writer << ": " << error.what() << '\n';
    return 1;
  }
}

}  // namespace

int main() try {
  CreateRequest create;
  Address(create);
  create.SetPrimaryKey(kWriter, "INTEGER");
  create.SetCompositeKey(kNumber, "INTEGER");
  Check(Database().CreateTable(create), "create the table");

  std::array<pid_t, kWriters> children{};
  for (int writer = 0; writer < kWriters; ++writer) {
    pid_t& child = children.at(writer);
    child = fork();  // nothing is open between operations, so nothing is inherited
    if (child == 0) {
      _exit(WriteRowsAsChild(writer));
    }
    Check(child > 0 ? 0 : errno, "start a child");
  }
  for (const pid_t child : children) {
    int status = 0;
    Check(waitpid(child, &status, 0) == child ? status : errno, "wait for a child");
  }

  SelectRequest select;
  Address(select);
  Cursor cursor;
  Check(Database().Select(select, cursor), "select");
  std::cout << cursor.GetCount() << " rows from " << kWriters << " processes\n";
  return 0;
} catch (const std::exception& error) {
  std::cerr << "processes: " << error.what() << '\n';
  return 1;
}
