// Every hostile text in every place of a request: the statement holds it as it is,
// SQLite decides, and nothing happens that SQLite would not do by itself.

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "HostileTest.h"
#include "HostileTexts.h"
#include "JoinRequest.h"
#include "Points.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

// The objects of one caller, as far as a place needs them.
struct Caller {
  const TemporaryDatabase& file;
  Database& database;
  Cursor& cursor;
  bool& exists;
};

// A place in a request where a text can be put.
struct Place {
  const char* name;
  Operation operation;
  const char* statement;       // "@" stands for the text
  const char* emptyStatement;  // for the empty text, where that counts as no text
  std::function<int(Caller&, const char* text)> run;
};

void PrintTo(const Place& place, std::ostream* stream) { *stream << place.name; }

template <typename Request>
void Address(Request& request, const Caller& caller, const char* table) {
  caller.file.Locate(request);
  request.SetTable(table);
}

int Update(Caller& caller, const char* table, const char* column, const char* value,
           const char* whereColumn, const char* whereValue) {
  UpdateRequest request;
  Address(request, caller, table);
  request.SetData(column, value);
  request.SetWhere(whereColumn, whereValue);
  return caller.database.Update(request);
}

int Delete(Caller& caller, const char* table, const char* whereColumn, const char* whereValue) {
  DeleteRequest request;
  Address(request, caller, table);
  request.SetWhere(whereColumn, whereValue);
  return caller.database.Delete(request);
}

int Upsert(Caller& caller, const char* table, const char* column, const char* value) {
  UpsertRequest request;
  Address(request, caller, table);
  request.SetData(column, value);
  return caller.database.Upsert(request);
}

int Select(Caller& caller, const char* table, const char* whereColumn, const char* whereValue) {
  SelectRequest request;
  Address(request, caller, table);
  request.SetWhere(whereColumn, whereValue);
  return caller.database.Select(request, caller.cursor);
}

struct Side {
  const char* table;
  const char* column;
};

constexpr Side kContacts = {"contact", "uid"};
constexpr Side kNotes = {"note", "owner"};

int Join(Caller& caller, const Side& left, const Side& right, const char* whereColumn,
         const char* whereValue) {
  JoinRequest request;
  caller.file.Locate(request);
  request.SetLeftJoin(left.table, left.column);
  request.SetRightJoin(right.table, right.column);
  request.SetWhere(whereColumn, whereValue);
  return caller.database.JoinSelect(request, caller.cursor);
}

// A column of a table to be created; null: none.
struct Column {
  const char* name = nullptr;
  const char* type = nullptr;
};

int Create(Caller& caller, const char* table, const Column& primary, const Column& composite,
           const Column& further) {
  CreateRequest request;
  Address(request, caller, table);
  request.SetPrimaryKey(primary.name, primary.type);
  request.SetCompositeKey(composite.name, composite.type);
  request.SetColumnKey(further.name, further.type);
  return caller.database.CreateTable(request);
}

// clang-format off: a table
const std::vector<Place>& Places() {
  static const std::vector<Place> places = {
      {"UpdateTable", kUpdate, "UPDATE @ SET name = 'Ann' WHERE uid='1'", nullptr,
       [](Caller& caller, const char* text) {
         return Update(caller, text, "name", "Ann", "uid", "1");
       }},
      {"UpdateColumn", kUpdate, "UPDATE contact SET @ = 'Ann' WHERE uid='1'", nullptr,
       [](Caller& caller, const char* text) {
         return Update(caller, "contact", text, "Ann", "uid", "1");
       }},
      {"UpdateValue", kUpdate, "UPDATE contact SET name = '@' WHERE uid='1'", nullptr,
       [](Caller& caller, const char* text) {
         return Update(caller, "contact", "name", text, "uid", "1");
       }},
      {"UpdateWhereColumn", kUpdate, "UPDATE contact SET name = 'Ann' WHERE @='1'", nullptr,
       [](Caller& caller, const char* text) {
         return Update(caller, "contact", "name", "Ann", text, "1");
       }},
      {"UpdateWhereValue", kUpdate, "UPDATE contact SET name = 'Ann' WHERE uid='@'", nullptr,
       [](Caller& caller, const char* text) {
         return Update(caller, "contact", "name", "Ann", "uid", text);
       }},

      {"DeleteTable", kDelete, "DELETE  FROM @ WHERE uid='1'", nullptr,
       [](Caller& caller, const char* text) { return Delete(caller, text, "uid", "1"); }},
      {"DeleteWhereColumn", kDelete, "DELETE  FROM contact WHERE @='1'", nullptr,
       [](Caller& caller, const char* text) { return Delete(caller, "contact", text, "1"); }},
      {"DeleteWhereValue", kDelete, "DELETE  FROM contact WHERE uid='@'", nullptr,
       [](Caller& caller, const char* text) { return Delete(caller, "contact", "uid", text); }},

      {"UpsertTable", kUpsert, "INSERT OR REPLACE INTO @ (uid) VALUES ('1')", nullptr,
       [](Caller& caller, const char* text) { return Upsert(caller, text, "uid", "1"); }},
      {"UpsertColumn", kUpsert, "INSERT OR REPLACE INTO contact (@) VALUES ('1')", nullptr,
       [](Caller& caller, const char* text) { return Upsert(caller, "contact", text, "1"); }},
      {"UpsertValue", kUpsert, "INSERT OR REPLACE INTO contact (uid) VALUES ('@')", nullptr,
       [](Caller& caller, const char* text) { return Upsert(caller, "contact", "uid", text); }},

      {"CreateTable", kCreateTable,
       "CREATE TABLE IF NOT EXISTS @ (_ID INTEGER PRIMARY KEY, a TEXT)", nullptr,
       [](Caller& caller, const char* text) {
         return Create(caller, text, {}, {}, {"a", "TEXT"});
       }},
      {"CreateColumn", kCreateTable,
       "CREATE TABLE IF NOT EXISTS t (_ID INTEGER PRIMARY KEY, @ TEXT)", nullptr,
       [](Caller& caller, const char* text) {
         return Create(caller, "t", {}, {}, {text, "TEXT"});
       }},
      {"CreateType", kCreateTable, "CREATE TABLE IF NOT EXISTS t (_ID INTEGER PRIMARY KEY, a @)",
       nullptr,
       [](Caller& caller, const char* text) {
         return Create(caller, "t", {}, {}, {"a", text});
       }},
      {"CreatePrimaryKey", kCreateTable,
       "CREATE TABLE IF NOT EXISTS t (@ TEXT NOT NULL PRIMARY KEY, a TEXT)",
       "CREATE TABLE IF NOT EXISTS t (_ID INTEGER PRIMARY KEY, a TEXT)",
       [](Caller& caller, const char* text) {
         return Create(caller, "t", {text, "TEXT"}, {}, {"a", "TEXT"});
       }},
      {"CreatePrimaryKeyType", kCreateTable,
       "CREATE TABLE IF NOT EXISTS t (k @ NOT NULL PRIMARY KEY, a TEXT)",
       "CREATE TABLE IF NOT EXISTS t (_ID INTEGER PRIMARY KEY, a TEXT)",
       [](Caller& caller, const char* text) {
         return Create(caller, "t", {"k", text}, {}, {"a", "TEXT"});
       }},
      {"CreateCompositeKey", kCreateTable,
       "CREATE TABLE IF NOT EXISTS t (k TEXT, @ TEXT, a TEXT, PRIMARY KEY(k, @))",
       "CREATE TABLE IF NOT EXISTS t (k TEXT NOT NULL PRIMARY KEY, a TEXT)",
       [](Caller& caller, const char* text) {
         return Create(caller, "t", {"k", "TEXT"}, {text, "TEXT"}, {"a", "TEXT"});
       }},
      {"CreateCompositeKeyType", kCreateTable,
       "CREATE TABLE IF NOT EXISTS t (k TEXT, l @, a TEXT, PRIMARY KEY(k, l))",
       "CREATE TABLE IF NOT EXISTS t (k TEXT NOT NULL PRIMARY KEY, a TEXT)",
       [](Caller& caller, const char* text) {
         return Create(caller, "t", {"k", "TEXT"}, {"l", text}, {"a", "TEXT"});
       }},

      {"DropTable", kDropTable, "DROP TABLE @", nullptr,
       [](Caller& caller, const char* text) {
         DropRequest request;
         Address(request, caller, text);
         return caller.database.DropTable(request);
       }},

      {"SelectTable", kSelect, "SELECT * FROM @ WHERE uid='1'", nullptr,
       [](Caller& caller, const char* text) { return Select(caller, text, "uid", "1"); }},
      {"SelectWhereColumn", kSelect, "SELECT * FROM contact WHERE @='1'", nullptr,
       [](Caller& caller, const char* text) { return Select(caller, "contact", text, "1"); }},
      {"SelectWhereValue", kSelect, "SELECT * FROM contact WHERE uid='@'", nullptr,
       [](Caller& caller, const char* text) { return Select(caller, "contact", "uid", text); }},

      {"JoinLeftTable", kJoinSelect,
       "SELECT  * FROM @ INNER JOIN note ON @.uid = note.owner WHERE id='10'", nullptr,
       [](Caller& caller, const char* text) {
         return Join(caller, {text, "uid"}, kNotes, "id", "10");
       }},
      {"JoinLeftColumn", kJoinSelect,
       "SELECT  * FROM contact INNER JOIN note ON contact.@ = note.owner WHERE id='10'", nullptr,
       [](Caller& caller, const char* text) {
         return Join(caller, {"contact", text}, kNotes, "id", "10");
       }},
      {"JoinRightTable", kJoinSelect,
       "SELECT  * FROM note INNER JOIN @ ON note.owner = @.uid WHERE id='10'", nullptr,
       [](Caller& caller, const char* text) {
         return Join(caller, kNotes, {text, "uid"}, "id", "10");
       }},
      {"JoinRightColumn", kJoinSelect,
       "SELECT  * FROM note INNER JOIN contact ON note.owner = contact.@ WHERE id='10'", nullptr,
       [](Caller& caller, const char* text) {
         return Join(caller, kNotes, {"contact", text}, "id", "10");
       }},
      {"JoinWhereColumn", kJoinSelect,
       "SELECT  * FROM contact INNER JOIN note ON contact.uid = note.owner WHERE @='1'", nullptr,
       [](Caller& caller, const char* text) { return Join(caller, kContacts, kNotes, text, "1"); }},
      {"JoinWhereValue", kJoinSelect,
       "SELECT  * FROM contact INNER JOIN note ON contact.uid = note.owner WHERE uid='@'", nullptr,
       [](Caller& caller, const char* text) {
         return Join(caller, kContacts, kNotes, "uid", text);
       }},

      {"CheckExistTable", kCheckExistTable,
       "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='@'", nullptr,
       [](Caller& caller, const char* text) {
         BasePath path;
         caller.file.Locate(path);
         return caller.database.CheckExistTable(path, text, caller.exists);
       }},
  };
  return places;
}
// clang-format on

// The statement that a place makes of a text.
std::string Statement(const Place& place, const std::string& text) {
  if (text.empty() && place.emptyStatement != nullptr) {
    return place.emptyStatement;
  }
  std::string statement;
  for (const char* rest = place.statement; *rest != '\0'; ++rest) {
    *rest == '@' ? statement += text : statement += *rest;
  }
  return statement;
}

class HostileValuesTest : public HostileTest, public ::testing::WithParamInterface<Place> {};

TEST_P(HostileValuesTest, SqliteDecidesAndNothingElseHappens) {
  const Place& place = GetParam();
  Caller caller{file, database, cursor, exists};
  int accepted = 0;
  int refused = 0;
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    StartAfresh();
    const std::string seen = UpToNul(text);
    const Verdict verdict = ExpectVerdict(place.operation, Statement(place, seen),
                                          [&] { return place.run(caller, text.c_str()); });
    ++(verdict.code == 0 ? accepted : refused);
    points::Add("texts", verdict.code == 0 ? "accepted" : "refused");
    // A statement is done whole or not at all; several of them are not.
    const bool isOneStatement = seen.find(';') == std::string::npos;
    if (place.operation.kind != Operation::kWrite || (verdict.code != 0 && isOneStatement)) {
      EXPECT_TRUE(IsUntouched());
    }
  }
  EXPECT_GT(accepted, 0);
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Places, HostileValuesTest, ::testing::ValuesIn(Places()),
                         [](const auto& place) { return place.param.name; });

}  // namespace
