// Does to a database what a log is to be captured of; see make_logs.sh.

#include <VornLogger.h>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DatabaseParser.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

constexpr char kUid[] = "uid";
constexpr char kName[] = "name";
constexpr char kPhoto[] = "photo";

void Create(Database& database, const char* directory, const char* file) {
  CreateRequest request;
  request.SetPath(directory, file);
  request.SetTable("contact");
  request.SetPrimaryKey(kUid, "INTEGER");
  request.SetColumnKey(kName, "TEXT NOT NULL");
  database.CreateTable(request);
}

int Upsert(Database& database, const char* file, const char* uid, const char* name) {
  UpsertRequest request;
  request.SetPath(".", file);
  request.SetTable("contact");
  request.SetData(kUid, uid);
  if (name != nullptr) {
    request.SetData(kName, name);
  }
  return database.Upsert(request);
}

int Select(Database& database, const char* directory, const char* file, const char* table,
           Cursor& cursor) {
  SelectRequest request;
  request.SetPath(directory, file);
  request.SetTable(table);
  return database.Select(request, cursor);
}

bool Exists(Database& database, const char* directory, const char* file, const char* table) {
  SelectRequest request;
  request.SetPath(directory, file);
  bool exists = false;
  database.CheckExistTable(request, table, exists);
  return exists;
}

int Join(Database& database, const char* directory, const char* right) {
  JoinRequest request;
  request.SetPath(directory, "app.db");
  request.SetLeftJoin("contact", kUid);
  request.SetRightJoin(right, "owner");
  Cursor cursor;
  return database.JoinSelect(request, cursor);
}

// Another process that has locked a file until it is told to give it back.
class Locker {
 public:
  explicit Locker(const char* file) {
    int ready[2];
    int done[2];
    if (pipe(ready) != 0 || pipe(done) != 0) {
      throw std::runtime_error("pipe");
    }
    m_process = fork();
    if (m_process == 0) {
      close(done[1]);
      sqlite3* db = nullptr;
      sqlite3_open(file, &db);
      const int rc = sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr);
      const char byte = static_cast<char>(rc);
      char end = 0;
      if (write(ready[1], &byte, 1) == 1 && read(done[0], &end, 1) >= 0) {
        sqlite3_close(db);
      }
      _exit(0);
    }
    char byte = 1;
    if (read(ready[0], &byte, 1) != 1 || byte != 0) {
      throw std::runtime_error("cannot lock");
    }
    close(ready[0]);
    close(ready[1]);
    close(done[0]);
    m_done = done[1];
  }

  void Release() {
    if (m_done >= 0) {
      close(m_done);
      m_done = -1;
      waitpid(m_process, nullptr, 0);
    }
  }

  ~Locker() { Release(); }

 private:
  pid_t m_process = 0;
  int m_done = -1;
};

// One of each operation, and what is done with its result.
void Tour() {
  Database database;
  Create(database, ".", "app.db");
  Upsert(database, "app.db", "1", "Kim");
  Upsert(database, "app.db", "2", "Miles O''Brien");
  {
    UpdateRequest update;
    update.SetPath(".", "app.db");
    update.SetTable("contact");
    update.SetData(kName, "Kim Lee");
    update.SetWhere(kUid, 1);
    database.Update(update);
  }
  Cursor cursor;
  Select(database, ".", "app.db", "contact", cursor);
  std::string name;
  while (cursor.MoveToNext() == 0) {
    cursor.GetString(kName, name);
  }
  cursor.MoveToPrev();
  cursor.MoveToPrev();
  Exists(database, ".", "app.db", "contact");
  {
    DeleteRequest remove;
    remove.SetPath(".", "app.db");
    remove.SetTable("contact");
    database.Delete(remove);
  }
  DropRequest drop;
  drop.SetPath(".", "app.db");
  drop.SetTable("contact");
  database.DropTable(drop);
}

void FailWrites(Database& database) {
  Upsert(database, "app.db", "one", "Kim");  // no number
  Upsert(database, "app.db", "1", nullptr);  // no name
  Upsert(database, "app.db", "1", "O'Brien");
  Upsert(database, "app.db", "1", "Miles' 'O\nBrien\n");
  Upsert(database, "app.db", "1", "Miles' \x1b[31m\xff");
  UpdateRequest update;
  update.SetPath(".", "app.db");
  update.SetTable("contact");
  update.SetData(kName, "Kim");
  database.Update(update);
  DeleteRequest remove;
  remove.SetPath(".", "app.db");
  remove.SetTable("contact");
  remove.SetWhere("phone", "1");
  database.Delete(remove);
  DropRequest drop;
  drop.SetPath(".", "app.db");
  drop.SetTable("note");
  database.DropTable(drop);
  CreateRequest create;
  create.SetPath(".", "app.db");
  create.SetTable("note");
  create.SetColumnKey("order", "TEXT");
  database.CreateTable(create);
}

void FailQueries(Database& database) {
  Cursor cursor;
  Select(database, ".", "app.db", "note", cursor);
  Join(database, ".", "note");
  Exists(database, ".", "app.db", "note'");
  Select(database, ".", "other.txt", "contact", cursor);
  Exists(database, ".", "other.txt", "contact");
}

void FailOpens(Database& database) {
  Cursor cursor;
  Create(database, "none", "app.db");
  Select(database, "none", "app.db", "contact", cursor);
  Join(database, "none", "note");
  Exists(database, "none", "app.db", "contact");
  sqlite3* db = nullptr;
  database.OpenDB(db, "none", "app.db");
  database.OpenDB(db, "", "app.db");
  sqlite3_close(db);
  UpsertRequest nowhere;  // never told where
  try {
    database.Upsert(nowhere);
  } catch (const std::logic_error&) {
  }
  Create(database, "./my data", "app.db");
}

void FailRows(Database& database) {
  Cursor cursor;
  Select(database, ".", "damaged.db", "contact", cursor);
  Exists(database, ".", "damaged.db", "contact");
  Select(database, ".", "photos.db", "contact", cursor);
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
  Create(database, ".", "app.db");
  Upsert(database, "app.db", "1", "Kim");
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
    const Locker locker("app.db");
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
  Create(database, ".", "app.db");
  Cursor cursor;
  {
    Locker locker("app.db");
    std::thread release([&locker] {
      usleep(350000);
      locker.Release();
    });
    Upsert(database, "app.db", "1", "Kim");
    release.join();
  }
  Locker locker("app.db");
  Upsert(database, "app.db", "2", "Lee");
  Select(database, ".", "app.db", "contact", cursor);
  Exists(database, ".", "app.db", "contact");
  locker.Release();
  FetchBusyRows(database);
  Upsert(database, "app.db", "2", "Lee");
}

void Work(const char* file, int count) {
  Database database;
  for (int number = 1; number <= count; ++number) {
    Upsert(database, file, std::to_string(number).c_str(), "Kim");
    Cursor cursor;
    Select(database, ".", file, "contact", cursor);
  }
}

// Two threads in each of two processes, and files that two of them share.
void Crowd() {
  Database database;
  Create(database, ".", "app.db");
  Create(database, ".", "second.db");
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
  Create(database, ".", "app.db");
  Locker locker("app.db");
  const pid_t child = fork();
  if (child == 0) {
    Upsert(database, "app.db", "1", "Kim");
    _exit(0);
  }
  usleep(250000);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
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
