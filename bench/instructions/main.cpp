// vorn_instructions CASE COUNT FOLDER does one thing COUNT times, for a tool that counts
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
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

namespace {

constexpr const char* kFile = "instructions.db";
constexpr int kRows = 1000;

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
  request.SetTable("single");
  request.SetData(kColumns[0], 7);
  request.SetData(kColumns[1], "a name");
  request.SetData(kColumns[2], "+351 912345");
  request.SetData(kColumns[3], "name@mail.example.org");
  request.SetData(kColumns[4], 42);
  Expect(Database().Upsert(request));
}

void Select(const char* folder, Cursor& cursor) {
  SelectRequest request;
  request.SetPath(folder, kFile);
  request.SetTable("whole");
  Expect(Database().Select(request, cursor));
  if (cursor.GetCount() != kRows) {
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

// The rows of the whole table, all at once.
void InsertRows(const std::string& path) {
  sqlite3* connection = nullptr;
  Expect(sqlite3_open(path.c_str(), &connection));
  Expect(
      sqlite3_exec(connection,
                   "WITH RECURSIVE row(n) AS (VALUES (1) UNION ALL SELECT n + 1 FROM row WHERE "
                   "n < 1000) INSERT INTO whole SELECT n, 'name ' || n, '+351 ' || (912345 + n), "
                   "'name.' || n || '@mail.example.org', 18 + n % 80 FROM row",
                   nullptr, nullptr, nullptr));
  Expect(sqlite3_close(connection));
}

void Make(const char* folder) {
  CreateTable(folder, "single");
  CreateTable(folder, "whole");
  InsertRows(std::string(folder) + '/' + kFile);
}

void Repeat(int count, const std::function<void()>& run) {
  for (int time = 0; time < count; ++time) {
    run();
  }
}

void Run(const std::string& name, int count, const char* folder) {
  if (name == "make") {
    Make(folder);
  } else if (name == "upsert") {
    Repeat(count, [&] { Upsert(folder); });
  } else if (name == "select") {
    Repeat(count, [&] {
      Cursor cursor;
      Select(folder, cursor);
    });
  } else if (name == "read") {
    Cursor cursor;
    Select(folder, cursor);
    Expect(cursor.MoveToPosition(kRows / 2));
    int value = 0;
    Repeat(count, [&] { Expect(cursor.GetInt(kColumns[0], value)); });
  } else if (name == "log") {
    // Without a table, this writes its trace line and does nothing else.
    SelectRequest request;
    std::string table;
    Repeat(count, [&] { request.GetTable(table); });
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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::cerr << "usage: vorn_instructions CASE COUNT FOLDER\n";
    return 2;
  }
  try {
    Run(argv[1], std::atoi(argv[2]), argv[3]);
  } catch (const std::exception& error) {
    std::cerr << "vorn_instructions: " << error.what() << '\n';
    return 1;
  }
}
