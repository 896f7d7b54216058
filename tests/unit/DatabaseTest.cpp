// The operations, from end to end on real files; SQLite's answers are scripted
// where a real file cannot give them.

#include "Database.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "DatabaseParser.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "ReadFault.h"
#include "SelectRequest.h"
#include "TemporaryDatabase.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using fake::BusyLines;
using fake::Line;
using fake::Trace;
using journal::Kind;
using sqlite_spy::Answer;
using sqlite_spy::RealButAnswer;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

static_assert(!std::is_polymorphic_v<Database>);
static_assert(std::is_empty_v<Database>);
static_assert(std::is_copy_constructible_v<Database> && std::is_copy_assignable_v<Database>);

const std::string kFile = "Database.cpp";
constexpr const char* kMissing = "/nonexistent-directory";

// Column names that the requests below keep pointers to.
constexpr const char* kUid = "uid";
constexpr const char* kName = "name";

using Strings = std::vector<std::string>;

Strings operator+(Strings left, const Strings& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

Strings OpenLines(const std::string& directory) {
  return {Trace(kFile, "OpenDB"), Line(6, kFile, "OpenDB", "DB file: " + directory + " app.db")};
}

class DatabaseTest : public LibraryTest {
 protected:
  DatabaseTest() {
    file.Run(
        "CREATE TABLE contact (uid TEXT NOT NULL PRIMARY KEY, name TEXT);"
        "INSERT INTO contact VALUES ('1', 'Kim'), ('2', 'Lee');"
        "CREATE TABLE note (id INTEGER PRIMARY KEY, owner TEXT, body TEXT);"
        "INSERT INTO note VALUES (10, '1', 'first'), (11, '1', 'second'), (12, '2', 'third')");
    ForgetEvents();
  }

  Strings Contacts() { return file.Rows("SELECT uid, name FROM contact ORDER BY uid"); }

  // The lines of `Database.cpp`, without those of the requests' getters.
  static Strings DatabaseLines() {
    Strings lines;
    for (const std::string& line : fake::Lines()) {
      if (line.find(" Database.cpp: ") == 1) {
        lines.push_back(line);
      }
    }
    return lines;
  }

  // All lines from an operation's first to the end of its request.
  static Strings OperationLines(const std::string& member) {
    const Strings lines = fake::Lines();
    const auto first = std::find(lines.begin(), lines.end(), Trace(kFile, member));
    const auto last = std::find_if(first, lines.end(), [](const std::string& line) {
      return line.find("::~") != std::string::npos;
    });
    return Strings(first, last);
  }

  static int Waits() { return static_cast<int>(journal::Of({Kind::kSleep}).size()); }

  TemporaryDatabase file;
  Database database;
};

// Construction.

TEST_F(DatabaseTest, ConstructionAndDestructionOnlyTrace) {
  { Database other; }
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace(kFile, "Database"), Trace(kFile, "~Database")));
  EXPECT_THAT(sqlite_spy::Calls(), IsEmpty());
}

// Opening.

class OpenDBTest : public DatabaseTest {
 protected:
  void TearDown() override {
    sqlite_spy::CloseConnections();
    DatabaseTest::TearDown();
  }
  int Open() { return database.OpenDB(db, file.Directory(), file.FileName()); }
  sqlite3* db = nullptr;
};

TEST_F(OpenDBTest, OpensTheJoinedPath) {
  EXPECT_EQ(0, Open());
  EXPECT_NE(nullptr, db);
  EXPECT_THAT(sqlite_spy::Calls(), ElementsAre("sqlite3_open(" + file.Path() + ")"));
  EXPECT_THAT(fake::Lines(), ElementsAreArray(OpenLines(file.Directory())));
}

TEST_F(OpenDBTest, LogsTheDirectoryAsItWasGiven) {
  EXPECT_EQ(0, database.OpenDB(db, std::string(file.Directory()) + "/", "app.db"));
  EXPECT_THAT(fake::Lines(), ElementsAreArray(OpenLines(std::string(file.Directory()) + "/")));
  EXPECT_THAT(sqlite_spy::Calls(), ElementsAre("sqlite3_open(" + file.Path() + ")"));
}

TEST_F(OpenDBTest, CreatesAMissingFile) {
  EXPECT_EQ(0, database.OpenDB(db, file.Directory(), "new.db"));
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "CREATE TABLE t (a)", nullptr, nullptr, nullptr));
  EXPECT_TRUE(std::filesystem::exists(std::string(file.Directory()) + "/new.db"));
}

TEST_F(OpenDBTest, ReportsAMissingDirectory) {
  EXPECT_EQ(SQLITE_CANTOPEN, database.OpenDB(db, kMissing, "app.db"));
  EXPECT_THAT(fake::Lines(),
              ElementsAreArray(OpenLines(kMissing) +
                               Strings{Line(6, kFile, "OpenDB",
                                            "DB open failed. Error no(14): unable to open "
                                            "database file")}));
}

// Names and SQLite's texts are arguments, never part of a format.
TEST_F(OpenDBTest, PercentSignsInItsTextsStay) {
  sqlite_spy::SetErrorText("100%d %s%n");
  sqlite_spy::Script("sqlite3_open", {Answer(SQLITE_CANTOPEN)});
  EXPECT_EQ(SQLITE_CANTOPEN, database.OpenDB(db, "/%s/%d", "%n.db"));
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Trace(kFile, "OpenDB"), Line(6, kFile, "OpenDB", "DB file: /%s/%d %n.db"),
                          Line(6, kFile, "OpenDB", "DB open failed. Error no(14): 100%d %s%n")));
}

TEST_F(OpenDBTest, LeavesTheHandleOfAFailedOpen) {
  EXPECT_EQ(SQLITE_CANTOPEN, database.OpenDB(db, kMissing, "app.db"));
  EXPECT_NE(nullptr, db);
  EXPECT_THAT(sqlite_spy::OpenConnections(), ElementsAre(db));
}

TEST_F(OpenDBTest, StaysBusyFor17AttemptsAnd15Waits) {
  sqlite_spy::SetErrorText("database is locked");
  sqlite_spy::Script("sqlite3_open", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_BUSY, Open());
  EXPECT_EQ(17, sqlite_spy::CountCalls("sqlite3_open"));
  EXPECT_EQ(15, Waits());
  EXPECT_THAT(fake::Lines(),
              ElementsAreArray(OpenLines(file.Directory()) + BusyLines(kFile, 16) +
                               Strings{Line(6, kFile, "OpenDB",
                                            "DB open failed. Error no(5): database is locked")}));
}

TEST_F(OpenDBTest, ABusyFileThatClearsOnTheThirdAttemptIsOpened) {
  sqlite_spy::Script("sqlite3_open", {Answer(SQLITE_BUSY), Answer(SQLITE_BUSY)});
  EXPECT_EQ(0, Open());
  EXPECT_THAT(fake::Lines(),
              ElementsAreArray(OpenLines(file.Directory()) +
                               Strings{Line(5, kFile, "IsRetryLimit", "SQLITE BUSY[1]"),
                                       Line(5, kFile, "IsRetryLimit", "SQLITE BUSY[2]")}));
  EXPECT_EQ(2, Waits());
}

// Whatever attempt clears, the loop ends with it, and with its code.
TEST_F(OpenDBTest, KeepsTheCodeOfTheLastAttempt) {
  for (int busy = 0; busy <= 16; ++busy) {
    ForgetEvents();
    std::vector<sqlite_spy::Step> steps(static_cast<std::size_t>(busy), Answer(SQLITE_BUSY));
    steps.push_back(Answer(SQLITE_NOTADB));
    sqlite_spy::Script("sqlite3_open", steps);
    EXPECT_EQ(SQLITE_NOTADB, Open());
    EXPECT_EQ(busy + 1, sqlite_spy::CountCalls("sqlite3_open"));
    EXPECT_EQ(std::min(busy, 15), Waits());
  }
}

TEST_F(OpenDBTest, ARepeatedAttemptOverwritesTheHandle) {
  sqlite_spy::Script("sqlite3_open", {RealButAnswer(SQLITE_BUSY), sqlite_spy::Real()});
  EXPECT_EQ(0, Open());
  const auto handles = sqlite_spy::OpenConnections();
  ASSERT_THAT(handles, SizeIs(2));
  EXPECT_EQ(db, handles[1]);
  EXPECT_EQ(0, sqlite_spy::CountCalls("sqlite3_close"));
}

// Writes: five operations, one procedure.

struct WriteCase {
  std::string member;
  std::string word;  // the first word of its messages
  std::string sql;   // of `run`
  Strings getters;   // the lines of the request while it is read
  // Runs it on the contact table of the file of that directory.
  std::function<int(Database&, const char* directory, const char* table)> run;
};

void PrintTo(const WriteCase& write, std::ostream* stream) { *stream << write.member; }

const std::vector<WriteCase>& Writes() {
  static const std::vector<WriteCase> writes = {
      {"Update",
       "update",
       "UPDATE contact SET name = 'Ann' WHERE uid='1'",
       {Trace("UpdateRequest.cpp", "GetTable")},
       [](Database& database, const char* directory, const char* table) {
         UpdateRequest request;
         request.SetPath(directory, "app.db");
         request.SetTable(table);
         request.SetData(kName, "Ann");
         request.SetWhere(kUid, 1);
         return database.Update(request);
       }},
      {"Delete",
       "delete",
       "DELETE  FROM contact WHERE uid='1'",
       {Trace("DeleteRequest.cpp", "GetTable")},
       [](Database& database, const char* directory, const char* table) {
         DeleteRequest request;
         request.SetPath(directory, "app.db");
         request.SetTable(table);
         request.SetWhere(kUid, 1);
         return database.Delete(request);
       }},
      {"Upsert",
       "Upsert",
       "INSERT OR REPLACE INTO contact (uid) VALUES ('1')",
       {Trace("UpsertRequest.cpp", "GetTable")},
       [](Database& database, const char* directory, const char* table) {
         UpsertRequest request;
         request.SetPath(directory, "app.db");
         request.SetTable(table);
         request.SetData(kUid, 1);
         return database.Upsert(request);
       }},
      {"CreateTable",
       "createTable",
       "CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY)",
       {Trace("CreateRequest.cpp", "GetTable"), Trace("CreateRequest.cpp", "GetPrimaryKey"),
        Trace("CreateRequest.cpp", "GetCompositeKey"), Trace("CreateRequest.cpp", "GetColumnKey")},
       [](Database& database, const char* directory, const char* table) {
         CreateRequest request;
         request.SetPath(directory, "app.db");
         request.SetTable(table);
         return database.CreateTable(request);
       }},
      {"DropTable",
       "DropTable",
       "DROP TABLE contact",
       {Trace("DropRequest.cpp", "GetTable")},
       [](Database& database, const char* directory, const char* table) {
         DropRequest request;
         request.SetPath(directory, "app.db");
         request.SetTable(table);
         return database.DropTable(request);
       }},
  };
  return writes;
}

class WriteTest : public DatabaseTest, public ::testing::WithParamInterface<WriteCase> {
 protected:
  int Run(const char* table = "contact") {
    return GetParam().run(database, file.Directory(), table);
  }
  static std::string Success() {
    return Line(4, kFile, GetParam().member, GetParam().word + " SUCCESS[0]");
  }
  static std::string Failure(int code, const std::string& text) {
    return Line(6, kFile, GetParam().member,
                GetParam().word + " FAILED[" + std::to_string(code) + "]: " + text);
  }
  Strings LinesBefore() const {
    return Strings{Trace(kFile, GetParam().member)} + OpenLines(file.Directory());
  }
};

TEST_P(WriteTest, SuccessLogsExactlyFourLines) {
  EXPECT_EQ(0, Run());
  EXPECT_THAT(DatabaseLines(), ElementsAreArray(LinesBefore() + Strings{Success()}));
}

// The request is read once, after the file is open.
TEST_P(WriteTest, SuccessLogsTheRequestsLinesBetweenItsOwn) {
  EXPECT_EQ(0, Run());
  EXPECT_THAT(OperationLines(GetParam().member),
              ElementsAreArray(LinesBefore() + GetParam().getters + Strings{Success()}));
}

TEST_P(WriteTest, HandsItsFormatsToTheSystemLogAsTheyStand) {
  const std::string prefix = "%s: %s(%d) > " + GetParam().word;
  EXPECT_EQ(0, Run());
  sqlite_spy::SetErrorText("100%d %s");
  sqlite_spy::Script("sqlite3_exec", {Answer(SQLITE_CONSTRAINT)});
  EXPECT_EQ(SQLITE_CONSTRAINT, Run());
  Strings formats;
  for (const fake::LogLine& line : fake::LogLines()) {
    if (line.function == GetParam().member && line.priority != 3) {
      formats.push_back(line.format);
    }
  }
  EXPECT_THAT(formats, ElementsAre(prefix + " SUCCESS[%d]", prefix + " FAILED[%d]: %s"));
  EXPECT_THAT(DatabaseLines(), Contains(Failure(SQLITE_CONSTRAINT, "100%d %s")));
}

TEST_P(WriteTest, SuccessOpensRunsFreesAndCloses) {
  EXPECT_EQ(0, Run());
  EXPECT_THAT(sqlite_spy::Calls(), ElementsAre("sqlite3_open(" + file.Path() + ")",
                                               "sqlite3_exec(" + GetParam().sql + ")",
                                               "sqlite3_free(null)", "sqlite3_close()"));
}

TEST_P(WriteTest, LogsBeforeItFreesAndCloses) {
  Run();
  const Strings events = journal::Of({Kind::kLog, Kind::kSqlite});
  const auto log = std::find(events.begin(), events.end(), Success());
  ASSERT_NE(events.end(), log);
  EXPECT_EQ("sqlite3_free(null)", *(log + 1));
  EXPECT_EQ("sqlite3_close()", *(log + 2));
}

TEST_P(WriteTest, AFailedStatementIsReportedWithSqlitesText) {
  sqlite_spy::SetErrorText("SQLite's own words");
  sqlite_spy::Script("sqlite3_exec", {Answer(SQLITE_CONSTRAINT)});
  EXPECT_EQ(SQLITE_CONSTRAINT, Run());
  EXPECT_THAT(
      DatabaseLines(),
      ElementsAreArray(LinesBefore() + Strings{Failure(SQLITE_CONSTRAINT, "SQLite's own words")}));
  EXPECT_THAT(sqlite_spy::Calls(), ElementsAre("sqlite3_open(" + file.Path() + ")",
                                               "sqlite3_exec(" + GetParam().sql + ")",
                                               "sqlite3_free()", "sqlite3_close()"));
}

TEST_P(WriteTest, AFailureWithoutTextIsReported) {
  sqlite_spy::Script("sqlite3_exec", {Answer(SQLITE_NOMEM)});
  EXPECT_EQ(SQLITE_NOMEM, Run());
  EXPECT_THAT(DatabaseLines(), Contains(Failure(SQLITE_NOMEM, "(null)")));
}

TEST_P(WriteTest, ARealErrorReachesTheCaller) {
  file.Run("DROP TABLE contact");
  const int result = Run("no such table");
  EXPECT_EQ(SQLITE_ERROR, result);
  EXPECT_THAT(DatabaseLines().back(), HasSubstr(" FAILED[1]: near "));
}

TEST_P(WriteTest, AFailedOpenLogsNothingMoreAndRunsNothing) {
  EXPECT_EQ(SQLITE_CANTOPEN, GetParam().run(database, kMissing, "contact"));
  EXPECT_THAT(DatabaseLines(),
              ElementsAreArray(
                  Strings{Trace(kFile, GetParam().member)} + OpenLines(kMissing) +
                  Strings{Line(6, kFile, "OpenDB",
                               "DB open failed. Error no(14): unable to open database file")}));
  EXPECT_THAT(sqlite_spy::Calls(), ElementsAre("sqlite3_open(" + std::string(kMissing) + "/app.db)",
                                               "sqlite3_errmsg()"));
  EXPECT_THAT(sqlite_spy::OpenConnections(), SizeIs(1));
  sqlite_spy::CloseConnections();
}

TEST_P(WriteTest, AFailedOpenReadsNothingOfTheRequest) {
  GetParam().run(database, kMissing, "contact");
  EXPECT_EQ(DatabaseLines(), OperationLines(GetParam().member));
  sqlite_spy::CloseConnections();
}

TEST_P(WriteTest, StaysBusyFor17AttemptsAnd15Waits) {
  sqlite_spy::Script("sqlite3_exec", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_BUSY, Run());
  EXPECT_EQ(17, sqlite_spy::CountCalls("sqlite3_exec"));
  EXPECT_EQ(15, Waits());
  EXPECT_THAT(DatabaseLines(), ElementsAreArray(LinesBefore() + BusyLines(kFile, 16) +
                                                Strings{Failure(SQLITE_BUSY, "(null)")}));
  EXPECT_EQ(1, sqlite_spy::CountCalls("sqlite3_close"));
}

TEST_P(WriteTest, BusyAttemptsOfOpenAndStatementAreCountedApart) {
  sqlite_spy::Script("sqlite3_open", 10, Answer(SQLITE_BUSY));
  sqlite_spy::Script("sqlite3_exec", 10, Answer(SQLITE_BUSY));
  EXPECT_EQ(0, Run());
  EXPECT_EQ(20, Waits());
  EXPECT_THAT(DatabaseLines(), Not(Contains(HasSubstr("LIMIT"))));
}

// While the text of a busy attempt is overwritten, only the last one is freed.
TEST_P(WriteTest, FreesTheTextOfTheLastAttemptOnly) {
  sqlite_spy::Script("sqlite3_exec", {Answer(SQLITE_BUSY), Answer(SQLITE_BUSY)});
  EXPECT_EQ(0, Run());
  EXPECT_EQ(1, sqlite_spy::CountCalls("sqlite3_free"));
}

TEST_P(WriteTest, CanBeRunAgain) {
  EXPECT_EQ(0, Run());
  if (GetParam().member == "DropTable") {
    file.Run("CREATE TABLE contact (uid TEXT)");
  }
  EXPECT_EQ(0, Run());
}

INSTANTIATE_TEST_SUITE_P(, WriteTest, ::testing::ValuesIn(Writes()),
                         [](const auto& test) { return test.param.member; });

class UpdateTest : public DatabaseTest {};

TEST_F(UpdateTest, ChangesTheRowsThatMeetTheConditions) {
  Writes()[0].run(database, file.Directory(), "contact");
  EXPECT_THAT(Contacts(), ElementsAre("1|Ann", "2|Lee"));
}

TEST_F(UpdateTest, WithoutConditionsIsRejectedAndChangesNothing) {
  UpdateRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetData(kName, "Ann");
  EXPECT_EQ(SQLITE_ERROR, database.Update(request));
  EXPECT_EQ(Line(6, kFile, "Update", "update FAILED[1]: incomplete input"), fake::Lines().back());
  EXPECT_THAT(Contacts(), ElementsAre("1|Kim", "2|Lee"));
}

// The cut at the last " AND" can find one in a value. An undoubled quote before
// it then leaves a complete statement, which has no condition.
TEST_F(UpdateTest, WithoutConditionsChangesEveryRowWhenAValueCompletesTheStatement) {
  UpdateRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetData(kName, "Ann' AND");
  EXPECT_EQ(0, database.Update(request));
  EXPECT_THAT(Contacts(), ElementsAre("1|Ann", "2|Ann"));
}

class DeleteTest : public DatabaseTest {};

TEST_F(DeleteTest, DeletesTheRowsThatMeetTheConditions) {
  Writes()[1].run(database, file.Directory(), "contact");
  EXPECT_THAT(Contacts(), ElementsAre("2|Lee"));
}

TEST_F(DeleteTest, WithoutConditionsDeletesEveryRow) {
  DeleteRequest request;
  file.Locate(request);
  request.SetTable("contact");
  EXPECT_EQ(0, database.Delete(request));
  EXPECT_THAT(Contacts(), IsEmpty());
}

TEST_F(DeleteTest, OfNoRowSucceeds) {
  DeleteRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetWhere(kUid, 99);
  EXPECT_EQ(0, database.Delete(request));
  EXPECT_THAT(Contacts(), SizeIs(2));
}

class UpsertTest : public DatabaseTest {};

TEST_F(UpsertTest, InsertsAndReplaces) {
  for (const char* uid : {"1", "3"}) {
    UpsertRequest request;
    file.Locate(request);
    request.SetTable("contact");
    request.SetData(kUid, uid);
    request.SetData(kName, "Ann");
    EXPECT_EQ(0, database.Upsert(request));
  }
  EXPECT_THAT(Contacts(), ElementsAre("1|Ann", "2|Lee", "3|Ann"));
}

TEST_F(UpsertTest, ADoubledQuoteArrivesAsOne) {
  UpsertRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetData(kUid, "3");
  request.SetData(kName, "O''Brien");
  EXPECT_EQ(0, database.Upsert(request));
  EXPECT_THAT(Contacts(), Contains("3|O'Brien"));
}

TEST_F(UpsertTest, WithoutValuesIsRejected) {
  UpsertRequest request;
  file.Locate(request);
  request.SetTable("contact");
  EXPECT_EQ(SQLITE_ERROR, database.Upsert(request));
  EXPECT_EQ(Line(6, kFile, "Upsert", "Upsert FAILED[1]: near \")\": syntax error"),
            fake::Lines().back());
}

// The lines of the request's getter stand between those of the operation.
TEST_F(UpsertTest, LogsInTheOrderOfItsSteps) {
  UpsertRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetData(kUid, 3);
  ForgetEvents();
  EXPECT_EQ(0, database.Upsert(request));
  EXPECT_THAT(
      fake::Lines(),
      ElementsAre(Trace(kFile, "Upsert"), Trace(kFile, "OpenDB"),
                  Line(6, kFile, "OpenDB", "DB file: " + std::string(file.Directory()) + " app.db"),
                  Trace("UpsertRequest.cpp", "GetTable"),
                  Line(4, kFile, "Upsert", "Upsert SUCCESS[0]")));
}

class CreateTableTest : public DatabaseTest {};

TEST_F(CreateTableTest, CreatesTheTableOnceAndSucceedsAgain) {
  for (int time = 0; time < 2; ++time) {
    CreateRequest request;
    file.Locate(request);
    request.SetTable("device");
    request.SetPrimaryKey("uid", "TEXT");
    request.SetCompositeKey("serial", "INTEGER");
    request.SetColumnKey("label", "TEXT");
    ForgetEvents();
    EXPECT_EQ(0, database.CreateTable(request));
    EXPECT_EQ(Line(4, kFile, "CreateTable", "createTable SUCCESS[0]"), fake::Lines().back());
  }
  EXPECT_THAT(file.Rows("SELECT name, type, pk FROM pragma_table_info('device')"),
              ElementsAre("uid|TEXT|1", "serial|INTEGER|2", "label|TEXT|0"));
}

TEST_F(CreateTableTest, WithoutAKeyAddsAnIdColumn) {
  CreateRequest request;
  file.Locate(request);
  request.SetTable("device");
  request.SetColumnKey("label", "TEXT");
  EXPECT_EQ(0, database.CreateTable(request));
  EXPECT_THAT(file.Rows("SELECT name, type, pk FROM pragma_table_info('device')"),
              ElementsAre("_ID|INTEGER|1", "label|TEXT|0"));
}

TEST_F(CreateTableTest, TheSameColumnTwiceIsRejected) {
  CreateRequest request;
  file.Locate(request);
  request.SetTable("device");
  request.SetColumnKey("label", "TEXT");
  request.SetColumnKey("label", "TEXT");
  EXPECT_EQ(SQLITE_ERROR, database.CreateTable(request));
  EXPECT_EQ(Line(6, kFile, "CreateTable", "createTable FAILED[1]: duplicate column name: label"),
            fake::Lines().back());
}

class DropTableTest : public DatabaseTest {};

TEST_F(DropTableTest, DropsTheTable) {
  EXPECT_EQ(0, Writes()[4].run(database, file.Directory(), "contact"));
  EXPECT_THAT(file.Rows("SELECT name FROM sqlite_master WHERE type = 'table'"),
              ElementsAre("note"));
}

TEST_F(DropTableTest, OfAMissingTableIsReported) {
  EXPECT_EQ(SQLITE_ERROR, Writes()[4].run(database, file.Directory(), "nosuch"));
  EXPECT_THAT(DatabaseLines().back(),
              Line(6, kFile, "DropTable", "DropTable FAILED[1]: no such table: nosuch"));
}

// Queries: three operations, one procedure.

struct QueryCase {
  std::string member;
  std::string failureWord;
  std::string sql;
  Strings getters;  // the lines of the request while it is read
  // Runs it on the file of that directory, with a valid or a broken table name.
  std::function<int(Database&, const char* directory, const char* table, Cursor&, bool&)> run;
};

void PrintTo(const QueryCase& query, std::ostream* stream) { *stream << query.member; }

const std::vector<QueryCase>& Queries() {
  static const std::vector<QueryCase> queries = {
      {"Select",
       "SELECT",
       "SELECT * FROM contact",
       {Trace("SelectRequest.cpp", "GetTable")},
       [](Database& database, const char* directory, const char* table, Cursor& cursor, bool&) {
         SelectRequest request;
         request.SetPath(directory, "app.db");
         request.SetTable(table);
         return database.Select(request, cursor);
       }},
      {"JoinSelect",
       "JoinSelect",
       "SELECT  * FROM contact INNER JOIN note ON contact.uid = note.owner",
       {Trace("JoinRequest.cpp", "GetLeftJoin"), Trace("JoinRequest.cpp", "GetRightJoin")},
       [](Database& database, const char* directory, const char* table, Cursor& cursor, bool&) {
         JoinRequest request;
         request.SetPath(directory, "app.db");
         request.SetLeftJoin(table, "uid");
         request.SetRightJoin("note", "owner");
         return database.JoinSelect(request, cursor);
       }},
      {"CheckExistTable",
       "CheckExistTable",
       "SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='contact'",
       {},
       [](Database& database, const char* directory, const char* table, Cursor&, bool& exists) {
         BasePath path;
         path.SetPath(directory, "app.db");
         return database.CheckExistTable(path, table, exists);
       }},
  };
  return queries;
}

class QueryTest : public DatabaseTest, public ::testing::WithParamInterface<QueryCase> {
 protected:
  QueryTest() {
    cursor.SetColumn("kept");
    ForgetEvents();
  }
  int Run(const char* table = "contact") {
    return GetParam().run(database, file.Directory(), table, cursor, exists);
  }
  void ExpectResultUntouched() {
    std::vector<std::string> columns;
    EXPECT_EQ(0, cursor.GetColumn(columns));
    EXPECT_THAT(columns, ElementsAre("kept"));
    EXPECT_TRUE(exists);
  }
  static std::string Failure(int code, const std::string& text) {
    return Line(6, kFile, GetParam().member,
                GetParam().failureWord + " FAILED[" + std::to_string(code) + "]: " + text);
  }
  Strings LinesBefore() const {
    return Strings{Trace(kFile, GetParam().member)} + OpenLines(file.Directory());
  }
  Cursor cursor;
  bool exists = true;
};

TEST_P(QueryTest, SuccessLogsNothingBeyondTheOpening) {
  EXPECT_EQ(0, Run());
  EXPECT_THAT(DatabaseLines(), ElementsAreArray(LinesBefore()));
}

// The request is read once, after the file is open.
TEST_P(QueryTest, SuccessLogsTheRequestsLinesAfterTheOpening) {
  EXPECT_EQ(0, Run());
  EXPECT_THAT(OperationLines(GetParam().member),
              ElementsAreArray(LinesBefore() + GetParam().getters));
}

TEST_P(QueryTest, AFailedOpenReadsNothingOfTheRequest) {
  GetParam().run(database, kMissing, "contact", cursor, exists);
  EXPECT_EQ(DatabaseLines(), OperationLines(GetParam().member));
  sqlite_spy::CloseConnections();
}

TEST_P(QueryTest, HandsItsFormatToTheSystemLogAsItStands) {
  sqlite_spy::SetErrorText("100%d %s");
  sqlite_spy::Script("sqlite3_prepare", {Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(SQLITE_CORRUPT, Run());
  EXPECT_THAT(DatabaseLines(), Contains(Failure(SQLITE_CORRUPT, "100%d %s")));
}

TEST_P(QueryTest, PreparesWithTheLegacyCallThenFinalizesAndCloses) {
  EXPECT_EQ(0, Run());
  const Strings calls = sqlite_spy::Calls();
  EXPECT_EQ("sqlite3_open(" + file.Path() + ")", calls[0]);
  EXPECT_EQ("sqlite3_prepare(" + GetParam().sql + ", -1, no tail)", calls[1]);
  EXPECT_EQ("sqlite3_step()", calls[2]);
  EXPECT_EQ("sqlite3_finalize()", *(calls.end() - 2));
  EXPECT_EQ("sqlite3_close()", *(calls.end() - 1));
}

TEST_P(QueryTest, AFailedPreparationIsReportedAndLeavesTheResult) {
  sqlite_spy::SetErrorText("SQLite's own words");
  sqlite_spy::Script("sqlite3_prepare", {Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(SQLITE_CORRUPT, Run());
  EXPECT_THAT(
      DatabaseLines(),
      ElementsAreArray(LinesBefore() + Strings{Failure(SQLITE_CORRUPT, "SQLite's own words")}));
  EXPECT_THAT(sqlite_spy::Calls(),
              ElementsAre("sqlite3_open(" + file.Path() + ")",
                          "sqlite3_prepare(" + GetParam().sql + ", -1, no tail)",
                          "sqlite3_errmsg()", "sqlite3_finalize(null)", "sqlite3_close()"));
  ExpectResultUntouched();
}

TEST_P(QueryTest, ABrokenTableNameIsReported) {
  EXPECT_EQ(SQLITE_ERROR, Run("o'clock"));
  EXPECT_THAT(DatabaseLines().back(),
              HasSubstr(GetParam().member + "(#) > " + GetParam().failureWord + " FAILED[1]: "));
  ExpectResultUntouched();
}

TEST_P(QueryTest, StaysBusyFor17PreparationsAnd15Waits) {
  sqlite_spy::SetErrorText("database is locked");
  sqlite_spy::Script("sqlite3_prepare", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_BUSY, Run());
  EXPECT_EQ(17, sqlite_spy::CountCalls("sqlite3_prepare"));
  EXPECT_EQ(15, Waits());
  EXPECT_THAT(DatabaseLines(),
              ElementsAreArray(LinesBefore() + BusyLines(kFile, 16) +
                               Strings{Failure(SQLITE_BUSY, "database is locked")}));
  ExpectResultUntouched();
}

TEST_P(QueryTest, AFailedOpenLeavesTheResult) {
  EXPECT_EQ(SQLITE_CANTOPEN, GetParam().run(database, kMissing, "contact", cursor, exists));
  Strings expected = Strings{Trace(kFile, GetParam().member)} + OpenLines(kMissing) +
                     Strings{Line(6, kFile, "OpenDB",
                                  "DB open failed. Error no(14): unable to open database file")};
  if (GetParam().member == "Select") {  // the only query that reports it itself
    expected.push_back(Line(4, kFile, "Select", "OpenDB Error: 14"));
  }
  EXPECT_THAT(DatabaseLines(), ElementsAreArray(expected));
  EXPECT_EQ(0, sqlite_spy::CountCalls("sqlite3_close"));
  ExpectResultUntouched();
  EXPECT_THAT(sqlite_spy::OpenConnections(), SizeIs(1));
  sqlite_spy::CloseConnections();
}

TEST_P(QueryTest, SucceedsAlthoughSteppingFails) {
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_ERROR), Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(0, Run());
  EXPECT_THAT(DatabaseLines(), ElementsAreArray(LinesBefore()));
}

TEST_P(QueryTest, SucceedsAlthoughSteppingStaysBusy) {
  sqlite_spy::Script("sqlite3_step", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(0, Run());
  EXPECT_EQ(15, Waits());
}

TEST_P(QueryTest, BusyAttemptsOfEveryLoopAreCountedApart) {
  for (const char* call : {"sqlite3_open", "sqlite3_prepare", "sqlite3_step"}) {
    sqlite_spy::Script(call, 10, Answer(SQLITE_BUSY));
  }
  EXPECT_EQ(0, Run());
  EXPECT_EQ(30, Waits());
  EXPECT_THAT(fake::Lines(), Not(Contains(HasSubstr("LIMIT"))));
}

INSTANTIATE_TEST_SUITE_P(, QueryTest, ::testing::ValuesIn(Queries()),
                         [](const auto& test) { return test.param.member; });

class SelectTest : public DatabaseTest {
 protected:
  Strings Names() {
    Strings names;
    std::string name;
    cursor.MoveToFirst();
    while (cursor.MoveToNext() == 0) {
      EXPECT_EQ(0, cursor.GetString("name", name));
      names.push_back(name);
    }
    return names;
  }
  int Select(const char* table) {
    SelectRequest request;
    file.Locate(request);
    request.SetTable(table);
    return database.Select(request, cursor);
  }
  Cursor cursor;
};

TEST_F(SelectTest, FillsTheCursorWithAllRows) {
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(2, cursor.GetCount());
  EXPECT_THAT(Names(), ElementsAre("Kim", "Lee"));
}

TEST_F(SelectTest, FillsTheCursorWithTheRowsThatMeetTheConditions) {
  SelectRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetWhere(kUid, "2");
  EXPECT_EQ(0, database.Select(request, cursor));
  EXPECT_THAT(Names(), ElementsAre("Lee"));
}

TEST_F(SelectTest, ReplacesTheEarlierResult) {
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(0, Select("note"));
  EXPECT_EQ(3, cursor.GetCount());
  std::string name;
  cursor.MoveToPosition(0);
  EXPECT_EQ(1, cursor.GetString("name", name));
}

TEST_F(SelectTest, OfNoRowLeavesAnEmptyCursorWithoutColumns) {
  EXPECT_EQ(0, Select("contact"));
  file.Run("DELETE FROM contact");
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(-1, cursor.GetCount());
}

TEST_F(SelectTest, OfAMissingTableIsReportedAndKeepsTheCursor) {
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(SQLITE_ERROR, Select("nosuch"));
  EXPECT_THAT(DatabaseLines().back(),
              Line(6, kFile, "Select", "SELECT FAILED[1]: no such table: nosuch"));
  EXPECT_EQ(2, cursor.GetCount());
}

TEST_F(SelectTest, OneColumnShowsOneRow) {
  file.Run("CREATE TABLE single (a TEXT); INSERT INTO single VALUES ('x'), ('y'), ('z')");
  EXPECT_EQ(0, Select("single"));
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(SelectTest, CreatesAMissingFileAndMissesTheTable) {
  SelectRequest request;
  request.SetPath(file.Directory(), "new.db");
  request.SetTable("contact");
  EXPECT_EQ(SQLITE_ERROR, database.Select(request, cursor));
}

// A fault below SQLite, while stepping. The legacy statement restarts at the
// step after the error, so that step gives a row, which is not copied.
class StepFaultTest : public SelectTest {
 protected:
  StepFaultTest() {
    file.Run(
        "CREATE TABLE big (id INTEGER PRIMARY KEY, name TEXT);"
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200)"
        "INSERT INTO big SELECT i, printf('%0500d', i) FROM n");
    ForgetEvents();
  }
  static Strings ParserLines() {
    Strings lines;
    for (const std::string& line : fake::Lines()) {
      if (line.find(" DatabasePasrser.cpp: ") == 1) {
        lines.push_back(line);
      }
    }
    return lines;
  }
  // The open reads the file's header, the preparation the schema.
  static constexpr int kReadsBeforePreparing = 1;
  static constexpr int kReadsBeforeStepping = 3;
  const std::string stepError =
      Line(6, "DatabasePasrser.cpp", "ParseDatabase", "SQLITE STEP ERROR!!! SQL logic error");
};

TEST_F(StepFaultTest, AOneShotFaultAfterSomeRowsEndsTheResultEarlyAndReturnsZero) {
  int rows = 0;
  {
    const ReadFault fault(kReadsBeforeStepping + 6, ReadFault::Kind::kOnce);
    EXPECT_EQ(0, Select("big"));
    ASSERT_EQ(1, ReadFault::Failures());
    rows = cursor.GetCount();
  }
  EXPECT_THAT(ParserLines(), ElementsAre(stepError));
  EXPECT_GT(rows, 0);
  EXPECT_LT(rows, 200);
}

TEST_F(StepFaultTest, TheStepAfterAOneShotFaultRestartsTheStatementAndGivesARow) {
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(file.Path().c_str(), &db));
  ASSERT_EQ(SQLITE_OK, sqlite3_prepare(db, "SELECT * FROM big", -1, &stmt, nullptr));
  {
    const ReadFault fault(4, ReadFault::Kind::kOnce);
    DatabaseParser parser;
    EXPECT_EQ(SQLITE_ROW, parser.ParseDatabase(db, stmt, cursor));
    EXPECT_EQ(1, ReadFault::Failures());
  }
  const int rows = cursor.GetCount();
  EXPECT_GT(rows, 0);
  EXPECT_LT(rows, 200);
  // It was the first row again that the last step gave.
  EXPECT_EQ(1, sqlite3_column_int(stmt, 0));
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

TEST_F(StepFaultTest, APersistentFaultGivesTwoFailedStepsAndReturnsZero) {
  {
    const ReadFault fault(kReadsBeforeStepping + 6, ReadFault::Kind::kAlways);
    EXPECT_EQ(0, Select("big"));
    EXPECT_GE(ReadFault::Failures(), 2);
  }
  EXPECT_THAT(ParserLines(), ElementsAre(stepError));
}

TEST_F(StepFaultTest, AFaultInThePreparationIsReturned) {
  const ReadFault fault(kReadsBeforePreparing, ReadFault::Kind::kAlways);
  EXPECT_EQ(SQLITE_IOERR, Select("big"));
  EXPECT_EQ(-1, cursor.GetCount());
  EXPECT_EQ(Line(6, kFile, "Select", "SELECT FAILED[10]: disk I/O error"), DatabaseLines().back());
}

TEST_F(StepFaultTest, TheNextQueryWorks) {
  {
    const ReadFault fault(kReadsBeforeStepping + 6, ReadFault::Kind::kOnce);
    EXPECT_EQ(0, Select("big"));
    ASSERT_EQ(1, ReadFault::Failures());
  }
  EXPECT_EQ(0, Select("big"));
  EXPECT_EQ(200, cursor.GetCount());
}

class JoinSelectTest : public DatabaseTest {};

TEST_F(JoinSelectTest, FillsTheCursorWithTheJoinedRows) {
  JoinRequest request;
  file.Locate(request);
  request.SetLeftJoin("contact", "uid");
  request.SetRightJoin("note", "owner");
  request.SetWhere("contact.uid", 1);
  Cursor cursor;
  EXPECT_EQ(0, database.JoinSelect(request, cursor));
  EXPECT_EQ(2, cursor.GetCount());
  std::string name;
  std::string body;
  int id = 0;
  EXPECT_EQ(0, cursor.MoveToNext());
  EXPECT_EQ(0, cursor.GetString("name", name));
  EXPECT_EQ(0, cursor.GetString("body", body));
  EXPECT_EQ(0, cursor.GetInt("id", id));
  EXPECT_EQ("Kim", name);
  EXPECT_EQ("first", body);
  EXPECT_EQ(10, id);
}

TEST_F(JoinSelectTest, OfUnsetSidesIsReported) {
  JoinRequest request;
  file.Locate(request);
  Cursor cursor;
  EXPECT_EQ(SQLITE_ERROR, database.JoinSelect(request, cursor));
  EXPECT_THAT(DatabaseLines().back(), HasSubstr("JoinSelect FAILED[1]: "));
}

class CheckExistTableTest : public DatabaseTest {
 protected:
  int Check(const char* table) {
    BasePath path;
    file.Locate(path);
    return database.CheckExistTable(path, table, exists);
  }
  bool exists = false;
};

TEST_F(CheckExistTableTest, FindsAnExistingTable) {
  EXPECT_EQ(0, Check("contact"));
  EXPECT_TRUE(exists);
}

TEST_F(CheckExistTableTest, MissesAMissingTable) {
  exists = true;
  EXPECT_EQ(0, Check("nosuch"));
  EXPECT_FALSE(exists);
}

TEST_F(CheckExistTableTest, TakesAnyRequestAsLocation) {
  SelectRequest request;
  file.Locate(request);
  EXPECT_EQ(0, database.CheckExistTable(request, "note", exists));
  EXPECT_TRUE(exists);
}

TEST_F(CheckExistTableTest, OfANullNameThrowsAndClosesTheFile) {
  EXPECT_THROW(Check(nullptr), std::logic_error);
  EXPECT_THAT(sqlite_spy::Calls(), Contains("sqlite3_close()"));
  EXPECT_THAT(sqlite_spy::OpenConnections(), IsEmpty());
}

// Exceptions pass through; nothing that was open stays open.

class PassingExceptionTest : public DatabaseTest {
 protected:
  static Strings LastCalls() {
    const Strings calls = sqlite_spy::Calls();
    return {*(calls.end() - 2), *(calls.end() - 1)};
  }
};

TEST_F(PassingExceptionTest, AnUnsetLocationThrowsBeforeTheFileIsOpened) {
  UpsertRequest upsert;
  SelectRequest select;
  Cursor cursor;
  EXPECT_THROW(database.Upsert(upsert), std::logic_error);
  EXPECT_THROW(database.Select(select, cursor), std::logic_error);
  EXPECT_THAT(sqlite_spy::Calls(), IsEmpty());
  // The operation's entry is all that it logs.
  EXPECT_THAT(DatabaseLines(), ElementsAre(Trace(kFile, "Upsert"), Trace(kFile, "Select")));
}

TEST_F(PassingExceptionTest, ANullColumnNameClosesTheFile) {
  UpsertRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetData(nullptr, 1);
  EXPECT_THROW(database.Upsert(request), std::logic_error);
  EXPECT_THAT(LastCalls(), ElementsAre("sqlite3_free(null)", "sqlite3_close()"));
}

TEST_F(PassingExceptionTest, ANullColumnNameInAQueryFinalizesAndClosesTheFile) {
  SelectRequest request;
  file.Locate(request);
  request.SetTable("contact");
  request.SetWhere(nullptr, 1);
  Cursor cursor;
  EXPECT_THROW(database.Select(request, cursor), std::logic_error);
  EXPECT_THAT(LastCalls(), ElementsAre("sqlite3_finalize(null)", "sqlite3_close()"));
}

TEST_F(PassingExceptionTest, ACellWithoutTextFinalizesAndClosesTheFile) {
  SelectRequest request;
  file.Locate(request);
  request.SetTable("contact");
  Cursor cursor;
  sqlite_spy::Script("sqlite3_column_text", {Answer(0)});
  EXPECT_THROW(database.Select(request, cursor), std::logic_error);
  EXPECT_THAT(LastCalls(), ElementsAre("sqlite3_finalize()", "sqlite3_close()"));
}

TEST_F(PassingExceptionTest, ALoggerThatThrowsFreesTheTextAndClosesTheFile) {
  DropRequest request;
  file.Locate(request);
  request.SetTable("nosuch");
  fake::SetEncryption(true);
  fake::SetConversion([](const std::string& message) -> std::string {
    if (message.find("FAILED") != std::string::npos) {
      throw std::bad_alloc();
    }
    return message;
  });
  EXPECT_THROW(database.DropTable(request), std::bad_alloc);
  fake::SetEncryption(false);
  EXPECT_THAT(LastCalls(), ElementsAre("sqlite3_free()", "sqlite3_close()"));
}

// The logger may throw at any of its calls, on either path of the log.
TEST_F(PassingExceptionTest, ALoggerThatThrowsAnywhereLeavesNothingOpen) {
  file.Run("CREATE TABLE blobs (a BLOB, b TEXT); INSERT INTO blobs VALUES (x'00', NULL)");
  UpsertRequest upsert;
  file.Locate(upsert);
  upsert.SetTable("contact");
  upsert.SetData(kUid, 1);
  DropRequest drop;
  file.Locate(drop);
  drop.SetTable("nosuch");
  SelectRequest select;
  file.Locate(select);
  select.SetTable("blobs");
  Cursor cursor;
  bool exists = false;
  const std::vector<std::function<void()>> operations = {
      [&] { database.Upsert(upsert); },
      [&] { database.DropTable(drop); },
      [&] { database.Select(select, cursor); },
      [&] { database.CheckExistTable(select, "blobs", exists); },
  };
  for (const bool encryption : {false, true}) {
    for (const auto& operation : operations) {
      bool hasThrown = true;
      int call = 0;
      while (hasThrown) {
        ++call;
        ForgetEvents();
        sqlite_spy::Script("sqlite3_exec", {Answer(SQLITE_BUSY)});
        sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_BUSY)});
        fake::SetEncryption(encryption);
        fake::ThrowAtLoggerCall(call);
        hasThrown = false;
        try {
          operation();
        } catch (const std::bad_alloc&) {
          hasThrown = true;
        }
        fake::ThrowAtLoggerCall(0);
        ASSERT_THAT(sqlite_spy::OpenConnections(), IsEmpty()) << call;
        ASSERT_THAT(sqlite_spy::OpenStatements(), IsEmpty()) << call;
      }
      EXPECT_GT(call, 10) << "an operation asks for the logger more often";
    }
  }
  fake::SetEncryption(false);
}

// A file that is really locked, by another connection.

TEST_F(DatabaseTest, AQueryOfALockedFileGivesUpAfterTheLimit) {
  SelectRequest request;
  file.Locate(request);
  request.SetTable("contact");
  Cursor cursor;
  {
    const Locker locker(file, "BEGIN EXCLUSIVE");
    EXPECT_EQ(SQLITE_BUSY, database.Select(request, cursor));
  }
  EXPECT_EQ(15, Waits());
  EXPECT_THAT(DatabaseLines().back(),
              Line(6, kFile, "Select", "SELECT FAILED[5]: database is locked"));
}

}  // namespace
