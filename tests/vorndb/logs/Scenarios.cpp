// Does to a database what a log is to be captured of; see make_logs.sh.

#include <VornLogger.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "Cursor.h"
#include "Database.h"
#include "DatabaseParser.h"
#include "Operations.h"
#include "UpsertRequest.h"

namespace {

using operations::Texts;

constexpr char kName[] = "name";
constexpr char kPhoto[] = "photo";

int Run(Database& database, const char* member, const Texts& texts, const char* file = "app.db",
        const char* directory = ".") {
  return operations::Call(operations::Get(member), directory, file, texts).Run(database);
}

Texts Table(const char* table) { return {{"table", table}}; }

const Texts kContact = Table("contact");
const Texts kTable = kContact.With("key", "uid")
                         .With("keyType", "INTEGER")
                         .With("column", kName)
                         .With("type", "TEXT NOT NULL");
const Texts kJoin = kContact.With("column", "uid").With("table2", "note").With("column2", "owner");

Texts Row(const char* uid, const char* name) {
  return kContact.With("column", "uid")
      .With("value", uid)
      .With("column2", kName)
      .With("value2", name);
}

// Another process that holds a lock on a file while it lives.
std::unique_ptr<ChildProcess> Lock(const char* file) {
  auto locker = std::make_unique<ChildProcess>([file](Channel& parent) {
    sqlite3* db = nullptr;
    sqlite3_open(file, &db);
    parent.Send(sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr));
    parent.Receive(kPatience);
  });
  if (locker->Link().Receive(kPatience) != SQLITE_OK) {
    throw std::runtime_error("cannot lock");
  }
  return locker;
}

// One of each operation, and what is done with its result.
void Tour() {
  Database database;
  Run(database, "CreateTable", kTable);
  Run(database, "Upsert", Row("1", "Kim"));
  Run(database, "Upsert", Row("2", "Miles O''Brien"));
  Run(database, "Update",
      kContact.With("column", kName)
          .With("value", "Kim Lee")
          .With("whereColumn", "uid")
          .With("whereValue", "1"));
  operations::Call select(operations::Get("Select"), ".", "app.db", kContact);
  select.Run(database);
  std::string name;
  while (select.cursor.MoveToNext() == 0) {
    select.cursor.GetString(kName, name);
  }
  select.cursor.MoveToPrev();
  select.cursor.MoveToPrev();
  Run(database, "CheckExistTable", kContact);
  Run(database, "Delete", kContact);
  Run(database, "DropTable", kContact);
}

void FailWrites(Database& database) {
  Run(database, "Upsert", Row("one", "Kim"));                                  // no number
  Run(database, "Upsert", kContact.With("column", "uid").With("value", "1"));  // no name
  for (const char* name : {"O'Brien", "Miles' 'O\nBrien\n", "Miles' \x1b[31m\xff"}) {
    Run(database, "Upsert", Row("1", name));
  }
  Run(database, "Update", kContact.With("column", kName).With("value", "Kim"));
  Run(database, "Delete", kContact.With("whereColumn", "phone").With("whereValue", "1"));
  Run(database, "DropTable", Table("note"));
  Run(database, "CreateTable", Table("note").With("column", "order").With("type", "TEXT"));
}

void FailQueries(Database& database) {
  Run(database, "Select", Table("note"));
  Run(database, "JoinSelect", kJoin);
  Run(database, "CheckExistTable", Table("note'"));
  Run(database, "Select", kContact, "other.txt");
  Run(database, "CheckExistTable", kContact, "other.txt");
}

void FailOpens(Database& database) {
  Run(database, "CreateTable", kTable, "app.db", "none");
  Run(database, "Select", kContact, "app.db", "none");
  Run(database, "JoinSelect", kJoin, "app.db", "none");
  Run(database, "CheckExistTable", kContact, "app.db", "none");
  sqlite3* db = nullptr;
  database.OpenDB(db, "none", "app.db");
  database.OpenDB(db, "", "app.db");
  sqlite3_close(db);
  UpsertRequest nowhere;  // without a path
  try {
    database.Upsert(nowhere);
  } catch (const std::logic_error&) {
  }
  Run(database, "CreateTable", kTable, "app.db", "./my data");
}

void FailRows(Database& database) {
  Run(database, "Select", kContact, "damaged.db");
  Run(database, "CheckExistTable", kContact, "damaged.db");
  operations::Call select(operations::Get("Select"), ".", "photos.db", kContact);
  select.Run(database);
  Cursor& cursor = select.cursor;
  int number = 0;
  double real = 0;
  std::string text;
  cursor.GetString(kName, text);  // before the first row
  cursor.MoveToNext();
  cursor.GetInt(kName, number);
  cursor.GetInt(kName, number);
  cursor.GetDouble(kPhoto, real);
  cursor.GetString("phone", text);
  cursor.MoveToPosition(7);
}

void Failures() {
  Database database;
  Run(database, "CreateTable", kTable);
  Run(database, "Upsert", Row("1", "Kim"));
  FailWrites(database);
  FailQueries(database);
  FailOpens(database);
  FailRows(database);
}

// A query by hand, whose file is locked between its preparation and its rows.
void FetchBusyRows(Database& database) {
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  database.OpenDB(db, ".", "app.db");
  sqlite3_prepare(db, "SELECT * FROM contact", -1, &stmt, nullptr);
  {
    const auto locker = Lock("app.db");
    Cursor cursor;
    DatabaseParser().ParseDatabase(db, stmt, cursor);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

// The file is free after 0.35 s; then it is not free in time, for a write, for a query and
// for the rows of one.
void Busy() {
  Database database;
  Run(database, "CreateTable", kTable);
  {
    auto locker = Lock("app.db");
    std::thread release([&locker] {
      usleep(350000);
      locker.reset();
    });
    Run(database, "Upsert", Row("1", "Kim"));
    release.join();
  }
  auto locker = Lock("app.db");
  Run(database, "Upsert", Row("2", "Lee"));
  Run(database, "Select", kContact);
  Run(database, "CheckExistTable", kContact);
  locker.reset();
  FetchBusyRows(database);
  Run(database, "Upsert", Row("2", "Lee"));
}

void Work(const char* file, int count) {
  Database database;
  for (int number = 1; number <= count; ++number) {
    Run(database, "Upsert", Row(std::to_string(number).c_str(), "Kim"), file);
    Run(database, "Select", kContact, file);
  }
}

// Two threads in each of two processes, and files that two of them share.
void Crowd() {
  Database database;
  Run(database, "CreateTable", kTable);
  Run(database, "CreateTable", kTable, "second.db");
  const pid_t child = fork();
  std::thread first([] { Work("app.db", 3); });
  std::thread second([child] { Work(child == 0 ? "app.db" : "second.db", 3); });
  first.join();
  second.join();
  if (child == 0) {
    _exit(0);
  }
  waitpid(child, nullptr, 0);
}

// A process that is killed while it waits.
void Killed() {
  Database database;
  Run(database, "CreateTable", kTable);
  const auto locker = Lock("app.db");
  const ChildProcess writer([&](Channel&) { Run(database, "Upsert", Row("1", "Kim")); });
  usleep(250000);
}

}  // namespace

int main(int argc, char** argv) {
  const std::map<std::string, void (*)()> scenarios = {
      {"tour", Tour}, {"failures", Failures}, {"busy", Busy}, {"crowd", Crowd}, {"killed", Killed}};
  std::vector<std::string> arguments(argv + 1, argv + argc);
  if (!arguments.empty() && arguments.front() == "--protected") {
    VornLogger::GetInstance()->SetEncryptionFlag(true);
    arguments.erase(arguments.begin());
  }
  if (arguments.size() != 1 || scenarios.count(arguments.front()) == 0) {
    std::cerr << "usage: scenarios [--protected] tour|failures|busy|crowd|killed\n";
    return 2;
  }
  scenarios.at(arguments.front())();
}
