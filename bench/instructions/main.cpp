// vorn_instructions CASE COUNT FOLDER [maps] does one thing COUNT times, for a tool that counts
// instructions: the difference between two counts is what it takes. The case "make"
// makes the file that the others need.

#include <CreateRequest.h>
#include <Cursor.h>
#include <Database.h>
#include <SelectRequest.h>
#include <UpsertRequest.h>
#include <VornMutex.h>
#include <sqlite3.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

constexpr const char* kFile = "instructions.db";

// A table for an upsert, and tables for queries.
struct Table {
  const char* name;
  int rows;
};
constexpr Table kSingle = {"single", 0};
constexpr Table kTables[] = {{"one", 1}, {"short", 100}, {"long", 1000}};

// In one array, so that they are in this order in a statement, too.
constexpr char kColumns[5][8] = {"uid", "name", "phone", "mail", "age"};

void Expect(int code) {
  if (code != 0) {
    throw std::runtime_error("a call failed with " + std::to_string(code));
  }
}

void Upsert(const char* folder) {
  UpsertRequest request;
  request.SetPath(folder, kFile);
  request.SetTable(kSingle.name);
  request.SetData(kColumns[0], 7);
  request.SetData(kColumns[1], "a name");
  request.SetData(kColumns[2], "+351 912345");
  request.SetData(kColumns[3], "name@mail.example.org");
  request.SetData(kColumns[4], 42);
  Expect(Database().Upsert(request));
}

void Select(const char* folder, const Table& table, Cursor& cursor) {
  SelectRequest request;
  request.SetPath(folder, kFile);
  request.SetTable(table.name);
  Expect(Database().Select(request, cursor));
  if (cursor.GetCount() != table.rows) {
    throw std::runtime_error("the table is not as it was made");
  }
}

void CreateTable(const char* folder, const char* table) {
  CreateRequest request;
  request.SetPath(folder, kFile);
  request.SetTable(table);
  request.SetPrimaryKey(kColumns[0], "INTEGER");
  for (int column = 1; column < 4; ++column) {
    request.SetColumnKey(kColumns[column], "TEXT");
  }
  request.SetColumnKey(kColumns[4], "INTEGER");
  Expect(Database().CreateTable(request));
}

// All rows of a table at once.
void InsertRows(const std::string& path, const Table& table) {
  const std::string sql =
      "WITH RECURSIVE row(n) AS (VALUES (1) UNION ALL SELECT n + 1 FROM row) INSERT INTO " +
      std::string(table.name) +
      " SELECT n, 'name ' || n, '+351 ' || (912345 + n), 'name.' || n || '@mail.example.org', "
      "18 + n % 80 FROM row LIMIT " +
      std::to_string(table.rows);
  sqlite3* connection = nullptr;
  Expect(sqlite3_open(path.c_str(), &connection));
  Expect(sqlite3_exec(connection, sql.c_str(), nullptr, nullptr, nullptr));
  Expect(sqlite3_close(connection));
}

void Make(const char* folder) {
  CreateTable(folder, kSingle.name);
  for (const Table& table : kTables) {
    CreateTable(folder, table.name);
    InsertRows(std::string(folder) + '/' + kFile, table);
  }
}

template <typename Run>
void Repeat(int count, Run run) {
  for (int time = 0; time < count; ++time) {
    run();
  }
}

void RepeatSelect(int count, const char* folder, const Table& table) {
  Repeat(count, [&] {
    Cursor cursor;
    Select(folder, table, cursor);
  });
}

void Run(const std::string& name, int count, const char* folder) {
  if (name == "make") {
    Make(folder);
  } else if (name == "upsert") {
    Repeat(count, [&] { Upsert(folder); });
  } else if (name == "select 1 x 5") {
    RepeatSelect(count, folder, kTables[0]);
  } else if (name == "select 100 x 5") {
    RepeatSelect(count, folder, kTables[1]);
  } else if (name == "select 1000 x 5") {
    RepeatSelect(count, folder, kTables[2]);
  } else if (name == "read") {
    Cursor cursor;
    Select(folder, kTables[1], cursor);
    Expect(cursor.MoveToPosition(kTables[1].rows / 2));
    int value = 0;
    Repeat(count, [&] { Expect(cursor.GetInt(kColumns[0], value)); });
  } else if (name == "log") {
    // Does nothing but to write two trace lines.
    Repeat(count, [] { Database(); });
  } else if (name == "lock") {
    Repeat(count, [] {
      VornMutex mutex("7ffc01234560");
      mutex.Lock();
      mutex.Unlock();
    });
  } else {
    throw std::runtime_error("there is no case '" + name + "'");
  }
}

// Prints the addresses of the code of the process, for a trace that has addresses alone.
void PrintMaps() {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find("r-xp") != std::string::npos) {
      std::cerr << line << '\n';
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  setenv("VORN_DLOG_PRIORITY", "S", 0);  // the log is silent unless told otherwise
  if (argc != 4 && argc != 5) {
    std::cerr << "usage: vorn_instructions CASE COUNT FOLDER [maps]\n";
    return 2;
  }
  try {
    Run(argv[1], std::stoi(argv[2]), argv[3]);
    if (argc == 5) {
      PrintMaps();
    }
  } catch (const std::exception& error) {
    std::cerr << "vorn_instructions: " << error.what() << '\n';
    return 1;
  }
}
