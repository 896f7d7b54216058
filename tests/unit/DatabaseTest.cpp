// The operations, from end to end on real files; SQLite's answers are scripted
// where a real file cannot give them.

#include "Database.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "DatabaseParser.h"
#include "FaultPoint.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "OperationLines.h"
#include "Operations.h"
#include "SelectRequest.h"
#include "ShimVfs.h"
#include "TemporaryDatabase.h"
#include "UpsertRequest.h"

namespace {

using journal::Kind;
using operations::Operation;
using operations::Strings;
using operations::Texts;
using sqlite_spy::Answer;
using sqlite_spy::CountCalls;
using sqlite_spy::Script;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

static_assert(!std::is_polymorphic_v<Database>);
static_assert(std::is_empty_v<Database>);
static_assert(std::is_copy_constructible_v<Database> && std::is_copy_assignable_v<Database>);

constexpr const char* kMissingDirectory = "/nonexistent-directory";

Strings Joined(std::initializer_list<Strings> parts) {
  Strings joined;
  for (const Strings& part : parts) {
    joined.insert(joined.end(), part.begin(), part.end());
  }
  return joined;
}

class DatabaseTest : public LibraryTest {
 protected:
  DatabaseTest() {
    file.Run(operations::Schema());
    ForgetEvents();
  }

  static std::string Line(int priority, const std::string& member, const std::string& message) {
    return fake::Line(priority, "Database.cpp", member, message);
  }
  static std::string Trace(const std::string& member) {
    return fake::Trace("Database.cpp", member);
  }
  static std::size_t Waits() { return journal::Of({Kind::kSleep}).size(); }

  static Texts Plain(const char* member) { return operations::Get(member).PlainTexts(); }
  int Run(const char* member, const Texts& texts) {
    return operations::Run(member, database, file, texts);
  }
  Strings Contacts() { return file.Rows("SELECT uid, name FROM contact ORDER BY uid"); }

  TemporaryDatabase file;
  Database database;
};

TEST_F(DatabaseTest, ConstructionAndDestructionOnlyTrace) {
  { Database other; }
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace("Database"), Trace("~Database")));
  EXPECT_THAT(sqlite_spy::Calls(), IsEmpty());
}

// Opening.

class OpenDBTest : public DatabaseTest {
 protected:
  void TearDown() override {
    sqlite_spy::CloseConnections();
    DatabaseTest::TearDown();
  }
  int Open(const std::string& directory, const std::string& fileName = "app.db") {
    return database.OpenDB(db, directory, fileName);
  }
  static Strings OpenLines(const std::string& directory) {
    return {Trace("OpenDB"), Line(6, "OpenDB", "DB file: " + directory + " app.db")};
  }
  const std::string folder = file.Directory();
  sqlite3* db = nullptr;
};

TEST_F(OpenDBTest, OpensTheJoinedPathAndLogsTheDirectoryAsItWasGiven) {
  for (const std::string& given : {folder, folder + "/"}) {
    ForgetEvents();
    EXPECT_EQ(0, Open(given));
    EXPECT_NE(nullptr, db);
    EXPECT_THAT(sqlite_spy::Calls(), ElementsAre("sqlite3_open(" + file.Path() + ")"));
    EXPECT_EQ(OpenLines(given), fake::Lines());
  }
}

TEST_F(OpenDBTest, CreatesAMissingFile) {
  EXPECT_EQ(0, Open(folder, "new.db"));
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "CREATE TABLE t (a)", nullptr, nullptr, nullptr));
  EXPECT_TRUE(std::filesystem::exists(folder + "/new.db"));
}

TEST_F(OpenDBTest, ReportsAMissingDirectoryAndLeavesTheHandle) {
  EXPECT_EQ(SQLITE_CANTOPEN, Open(kMissingDirectory));
  EXPECT_THAT(
      fake::Lines(),
      ElementsAre(Trace("OpenDB"),
                  Line(6, "OpenDB", std::string("DB file: ") + kMissingDirectory + " app.db"),
                  Line(6, "OpenDB", "DB open failed. Error no(14): unable to open database file")));
  EXPECT_NE(nullptr, db);
  EXPECT_THAT(sqlite_spy::OpenConnections(), ElementsAre(db));
}

// Names and SQLite's texts are arguments, never part of a format.
TEST_F(OpenDBTest, PercentSignsInItsTextsStay) {
  sqlite_spy::SetErrorText("100%d %s%n");
  Script("sqlite3_open", {Answer(SQLITE_CANTOPEN)});
  EXPECT_EQ(SQLITE_CANTOPEN, Open("/%s/%d", "%n.db"));
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Trace("OpenDB"), Line(6, "OpenDB", "DB file: /%s/%d %n.db"),
                          Line(6, "OpenDB", "DB open failed. Error no(14): 100%d %s%n")));
}

TEST_F(OpenDBTest, StaysBusyFor17AttemptsAnd15Waits) {
  sqlite_spy::SetErrorText("database is locked");
  Script("sqlite3_open", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_BUSY, Open(folder));
  EXPECT_EQ(17, CountCalls("sqlite3_open"));
  EXPECT_EQ(15U, Waits());
  EXPECT_EQ(Joined({OpenLines(folder),
                    fake::BusyLines("Database.cpp", 16),
                    {Line(6, "OpenDB", "DB open failed. Error no(5): database is locked")}}),
            fake::Lines());
}

// Whatever attempt clears, the loop ends with it, and with its code.
TEST_F(OpenDBTest, KeepsTheCodeOfTheLastAttempt) {
  for (int busy = 0; busy <= 16; ++busy) {
    ForgetEvents();
    std::vector<sqlite_spy::Step> steps(static_cast<std::size_t>(busy), Answer(SQLITE_BUSY));
    steps.push_back(Answer(SQLITE_NOTADB));
    Script("sqlite3_open", steps);
    EXPECT_EQ(SQLITE_NOTADB, Open(folder));
    EXPECT_EQ(busy + 1, CountCalls("sqlite3_open"));
    EXPECT_EQ(static_cast<std::size_t>(std::min(busy, 15)), Waits());
  }
}

TEST_F(OpenDBTest, ARepeatedAttemptOverwritesTheHandle) {
  Script("sqlite3_open", {sqlite_spy::RealButAnswer(SQLITE_BUSY), sqlite_spy::Real()});
  EXPECT_EQ(0, Open(folder));
  const auto handles = sqlite_spy::OpenConnections();
  ASSERT_THAT(handles, SizeIs(2));
  EXPECT_EQ(db, handles[1]);
  EXPECT_EQ(0, CountCalls("sqlite3_close"));
}

// All operations. A write executes its statement, a query prepares and steps it.

class OperationTest : public DatabaseTest, public ::testing::WithParamInterface<Operation> {
 protected:
  OperationTest() {
    Prepare(call);
    answerBefore = call.Answer();
    ForgetEvents();
  }

  // Gives the caller's objects something to be kept.
  static void Prepare(operations::Call& own) {
    own.cursor.SetColumn("kept");
    own.cursor.SetColumn("columns");
    own.exists = true;
    ForgetEvents();
  }
  std::string StatementFunction() const {
    return operation.IsWrite() ? "sqlite3_exec" : "sqlite3_prepare";
  }
  Strings CallsToStatement() const {
    return {"sqlite3_open(" + file.Path() + ")",
            operation.IsWrite() ? "sqlite3_exec(" + call.Sql() + ")"
                                : "sqlite3_prepare(" + call.Sql() + ", -1, no tail)"};
  }
  // `argument` is "null" if there is no error text, or no prepared statement.
  Strings CallsToRelease(const std::string& argument) const {
    return {(operation.IsWrite() ? "sqlite3_free(" : "sqlite3_finalize(") + argument + ")",
            "sqlite3_close()"};
  }
  // The result is logged before anything is released.
  static void ExpectLastEvents(const Strings& expected) {
    const Strings events = journal::Of({Kind::kLog, Kind::kSqlite});
    ASSERT_GT(events.size(), expected.size());
    EXPECT_EQ(expected,
              Strings(events.end() - static_cast<std::ptrdiff_t>(expected.size()), events.end()));
  }
  // The request is read once, after the file is open.
  Strings LinesToStatement() const {
    return Joined({operations::OpeningLines(operation, file.Directory(), file.FileName()),
                   operations::GetterLines(operation)});
  }

  const Operation& operation = GetParam();
  operations::Call call{operation, file, operation.PlainTexts()};
  std::string answerBefore;
};

TEST_P(OperationTest, SuccessLogsOpeningGettersAndResult) {
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(Joined({LinesToStatement(), operations::SuccessLines(operation)}), fake::Lines());
}

TEST_P(OperationTest, SuccessOpensRunsReleasesAndCloses) {
  EXPECT_EQ(0, call.Run(database));
  Strings calls = sqlite_spy::Calls();
  const auto isParsers = [](const std::string& each) {
    return each.find("sqlite3_step") == 0 || each.find("sqlite3_column") == 0;
  };
  EXPECT_EQ(operation.IsWrite(), std::none_of(calls.begin(), calls.end(), isParsers));
  const Strings releases = CallsToRelease(operation.IsWrite() ? "null" : "");
  calls.erase(std::remove_if(calls.begin(), calls.end(), isParsers), calls.end());
  EXPECT_EQ(Joined({CallsToStatement(), releases}), calls);
  ExpectLastEvents(Joined({operations::SuccessLines(operation), releases}));
}

TEST_P(OperationTest, AFailedStatementIsReportedWithSqlitesTextAndLeavesTheResult) {
  sqlite_spy::SetErrorText("100%d %s");
  Script(StatementFunction(), {Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(SQLITE_CORRUPT, call.Run(database));
  const std::string line = operations::FailureLine(operation, SQLITE_CORRUPT, "100%d %s");
  EXPECT_EQ(Joined({LinesToStatement(), {line}}), fake::Lines());
  const Strings errmsg = operation.IsWrite() ? Strings() : Strings{"sqlite3_errmsg()"};
  const Strings releases = CallsToRelease(operation.IsWrite() ? "" : "null");
  EXPECT_EQ(Joined({CallsToStatement(), errmsg, releases}), sqlite_spy::Calls());
  ExpectLastEvents(Joined({{line}, releases}));
  EXPECT_EQ(answerBefore, call.Answer());
}

TEST_P(OperationTest, HandsItsFormatsToTheSystemLogAsTheyStand) {
  call.Run(database);
  Script(StatementFunction(), {Answer(SQLITE_CORRUPT)});
  call.Run(database);
  Script("sqlite3_open", {Answer(SQLITE_CANTOPEN)});
  call.Run(database);
  Strings expected;
  for (const std::string& format : {operation.success, operation.failure, operation.openFailure}) {
    if (!format.empty()) {
      expected.push_back("%s: %s(%d) > " + format);
    }
  }
  Strings formats;
  for (const fake::LogLine& line : fake::LogLines()) {
    if (line.function == operation.member && line.priority != 3) {
      formats.push_back(line.format);
    }
  }
  EXPECT_EQ(expected, formats);
}

TEST_P(OperationTest, ARealErrorReachesTheCaller) {
  operations::Call broken(operation, file, operation.PlainTexts().With("table", "o'clock"));
  EXPECT_EQ(SQLITE_ERROR, broken.Run(database));
  EXPECT_THAT(fake::Lines().back(),
              ::testing::StartsWith(operations::FailureLine(operation, SQLITE_ERROR, "")));
}

TEST_P(OperationTest, AFailedOpenReadsAndRunsNothingAndLeavesTheHandle) {
  operations::Call unopened(operation, kMissingDirectory, "app.db", operation.PlainTexts());
  Prepare(unopened);
  EXPECT_EQ(SQLITE_CANTOPEN, unopened.Run(database));
  EXPECT_EQ(Joined({operations::OpeningLines(operation, kMissingDirectory, "app.db"),
                    operations::OpenFailureLines(operation, SQLITE_CANTOPEN,
                                                 "unable to open database file")}),
            fake::Lines());
  EXPECT_THAT(sqlite_spy::Calls(),
              ElementsAre("sqlite3_open(" + std::string(kMissingDirectory) + "/app.db)",
                          "sqlite3_errmsg()"));
  EXPECT_EQ(answerBefore, unopened.Answer());
  EXPECT_THAT(sqlite_spy::OpenConnections(), SizeIs(1));
  sqlite_spy::CloseConnections();
}

// A write gets a text for each attempt. Only the last one is freed.
TEST_P(OperationTest, StaysBusyFor17AttemptsAnd15Waits) {
  sqlite_spy::SetErrorText("database is locked");
  Script(StatementFunction(), 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_BUSY, call.Run(database));
  EXPECT_EQ(17, CountCalls(StatementFunction()));
  EXPECT_EQ(15U, Waits());
  EXPECT_EQ(Joined({LinesToStatement(),
                    fake::BusyLines("Database.cpp", 16),
                    {operations::FailureLine(operation, SQLITE_BUSY, "database is locked")}}),
            fake::Lines());
  EXPECT_THAT(sqlite_spy::HeldErrorTexts(), SizeIs(operation.IsWrite() ? 16 : 0));
  EXPECT_EQ(answerBefore, call.Answer());
  sqlite_spy::FreeErrorTexts();
}

TEST_P(OperationTest, BusyAttemptsOfEveryLoopAreCountedApart) {
  for (const char* function : {"sqlite3_open", "sqlite3_exec", "sqlite3_prepare", "sqlite3_step"}) {
    Script(function, 10, Answer(SQLITE_BUSY));
  }
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(operation.IsWrite() ? 20U : 30U, Waits());
  EXPECT_THAT(fake::Lines(), Not(Contains(HasSubstr("LIMIT"))));
}

TEST_P(OperationTest, CanBeRunAgain) {
  EXPECT_EQ(0, call.Run(database));
  std::filesystem::remove(file.Path());
  file.Run(operations::Schema());
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(operation.Plain().contents, operations::Contents(file));
  EXPECT_EQ(operation.Plain().answer, call.Answer());
}

TEST_P(OperationTest, AnUnsetLocationThrowsAfterTheTraceBeforeTheFileIsOpened) {
  const auto request = operation.request.make();
  ForgetEvents();
  EXPECT_THROW(operation.run(database, *request, operation.PlainTexts(), call.cursor, call.exists),
               std::logic_error);
  EXPECT_THAT(sqlite_spy::Calls(), IsEmpty());
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace(operation.member)));
}

// The logger may throw at any of its calls, on either path of the log.
TEST_P(OperationTest, ALoggerThatThrowsAnywhereLeavesNothingOpen) {
  file.Run("INSERT INTO contact VALUES ('3', x'00')");
  operations::Call broken(operation, file, operation.PlainTexts().With("table", "o'clock"));
  for (const bool encryption : {false, true}) {
    for (operations::Call* each : {&call, &broken}) {
      bool hasThrown = true;
      int calls = 0;
      for (; hasThrown; ++calls) {
        ForgetEvents();
        for (const char* function : {"sqlite3_exec", "sqlite3_step"}) {
          Script(function, {Answer(SQLITE_BUSY)});
        }
        fake::SetEncryption(encryption);
        fake::ThrowAtLoggerCall(calls + 1);
        hasThrown = false;
        try {
          each->Run(database);
        } catch (const std::bad_alloc&) {
          hasThrown = true;
        }
        fake::ThrowAtLoggerCall(0);
        ASSERT_THAT(sqlite_spy::OpenConnections(), IsEmpty()) << calls;
        ASSERT_THAT(sqlite_spy::OpenStatements(), IsEmpty()) << calls;
        ASSERT_THAT(sqlite_spy::HeldErrorTexts(), IsEmpty()) << calls;
      }
      EXPECT_GT(calls, 10) << "an operation asks for the logger more often";
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, OperationTest, ::testing::ValuesIn(operations::All()),
                         [](const auto& test) { return test.param.member; });

class QueryTest : public OperationTest {};

TEST_P(QueryTest, SucceedsAlthoughSteppingFails) {
  Script("sqlite3_step", {Answer(SQLITE_ERROR), Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(0, call.Run(database));
  EXPECT_THAT(fake::Lines(), SizeIs(LinesToStatement().size() + 1));
}

TEST_P(QueryTest, SucceedsAlthoughSteppingStaysBusy) {
  Script("sqlite3_step", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(15U, Waits());
}

INSTANTIATE_TEST_SUITE_P(, QueryTest, ::testing::ValuesIn(operations::Queries()),
                         [](const auto& test) { return test.param.member; });

// SQLite has no text when it runs out of memory.
TEST_F(DatabaseTest, AFailedWriteWithoutTextIsReported) {
  Script("sqlite3_exec", {Answer(SQLITE_NOMEM)});
  EXPECT_EQ(SQLITE_NOMEM, Run("Delete", Plain("Delete")));
  EXPECT_THAT(fake::Lines(), Contains(Line(6, "Delete", "delete FAILED[7]: (null)")));
}

// Every case of the catalogue: its effect and its answer.
struct OperationCase {
  std::string member;
  operations::Case own;
};

void PrintTo(const OperationCase& each, std::ostream* stream) { *stream << each.own.name; }

std::vector<OperationCase> OperationCases() {
  std::vector<OperationCase> cases;
  for (const Operation& operation : operations::All()) {
    for (const operations::Case& own : operation.cases) {
      cases.push_back({operation.member, own});
    }
  }
  return cases;
}

class OperationCaseTest : public DatabaseTest,
                          public ::testing::WithParamInterface<OperationCase> {};

TEST_P(OperationCaseTest, HasItsEffectAndAnswer) {
  operations::Call call(operations::Get(GetParam().member), file, GetParam().own.texts);
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(GetParam().own.answer, call.Answer());
  EXPECT_EQ(GetParam().own.contents, operations::Contents(file));
}

INSTANTIATE_TEST_SUITE_P(, OperationCaseTest, ::testing::ValuesIn(OperationCases()),
                         [](const auto& test) { return test.param.own.name; });

// Single operations.

TEST_F(DatabaseTest, UpdateWithoutConditionsIsRejectedAndChangesNothing) {
  EXPECT_EQ(SQLITE_ERROR, Run("Update", Plain("Update").Without("whereColumn")));
  EXPECT_THAT(fake::Lines(), Contains(Line(6, "Update", "update FAILED[1]: incomplete input")));
  EXPECT_THAT(Contacts(), ElementsAre("1|Kim", "2|Lee"));
}

// The cut at the last " AND" can find one in a value. An undoubled quote before
// it then leaves a complete statement, which has no condition.
TEST_F(DatabaseTest, UpdateWithoutConditionsChangesEveryRowWhenAValueCompletesTheStatement) {
  EXPECT_EQ(0, Run("Update", Plain("Update").Without("whereColumn").With("value", "Ann' AND")));
  EXPECT_THAT(Contacts(), ElementsAre("1|Ann", "2|Ann"));
}

TEST_F(DatabaseTest, UpsertReplacesTheRowOfTheSameKey) {
  const Texts texts = Plain("Upsert").With("column2", "name").With("value2", "Ann");
  EXPECT_EQ(0, Run("Upsert", texts.With("value", "1")));
  EXPECT_THAT(Contacts(), ElementsAre("1|Ann", "2|Lee"));
}

TEST_F(DatabaseTest, UpsertOfADoubledQuoteStoresOne) {
  EXPECT_EQ(0, Run("Upsert", Plain("Upsert").With("value", "O''Brien")));
  EXPECT_THAT(Contacts(), Contains("O'Brien|NULL"));
}

TEST_F(DatabaseTest, UpsertWithoutValuesIsRejected) {
  UpsertRequest request;
  file.Locate(request);
  request.SetTable("contact");
  EXPECT_EQ(SQLITE_ERROR, database.Upsert(request));
  EXPECT_EQ(Line(6, "Upsert", "Upsert FAILED[1]: near \")\": syntax error"), fake::Lines().back());
}

TEST_F(DatabaseTest, CreateTableCreatesTheTableOnceAndSucceedsAgain) {
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(0, Run("CreateTable", Plain("CreateTable")));
    EXPECT_THAT(file.Rows("SELECT name, type, pk FROM pragma_table_info('device')"),
                ElementsAre("uid|TEXT|1", "serial|INTEGER|2", "label|TEXT|0"));
  }
}

TEST_F(DatabaseTest, CreateTableWithoutAKeyAddsAnIdColumn) {
  EXPECT_EQ(0, Run("CreateTable", Plain("CreateTable").Without("key")));
  EXPECT_THAT(file.Rows("SELECT name, type, pk FROM pragma_table_info('device')"),
              ElementsAre("_ID|INTEGER|1", "label|TEXT|0"));
}

TEST_F(DatabaseTest, CreateTableWithTheSameColumnTwiceIsRejected) {
  EXPECT_EQ(SQLITE_ERROR, Run("CreateTable", Plain("CreateTable").With("column", "uid")));
  EXPECT_THAT(fake::Lines(), Contains(Line(6, "CreateTable",
                                           "createTable FAILED[1]: duplicate column name: uid")));
}

TEST_F(DatabaseTest, DropTableOfAMissingTableIsReported) {
  EXPECT_EQ(SQLITE_ERROR, Run("DropTable", Plain("DropTable").With("table", "nosuch")));
  EXPECT_THAT(fake::Lines(),
              Contains(Line(6, "DropTable", "DropTable FAILED[1]: no such table: nosuch")));
}

TEST_F(DatabaseTest, JoinSelectOfUnsetSidesIsReported) {
  JoinRequest request;
  file.Locate(request);
  Cursor cursor;
  EXPECT_EQ(SQLITE_ERROR, database.JoinSelect(request, cursor));
  EXPECT_THAT(fake::Lines().back(), HasSubstr("JoinSelect FAILED[1]: "));
}

TEST_F(DatabaseTest, CheckExistTableTakesAnyRequestAsLocation) {
  SelectRequest request;
  file.Locate(request);
  bool exists = false;
  EXPECT_EQ(0, database.CheckExistTable(request, "note", exists));
  EXPECT_TRUE(exists);
}

class SelectTest : public DatabaseTest {
 protected:
  int Select(const char* table, const char* fileName = "app.db") {
    SelectRequest request;
    request.SetPath(file.Directory(), fileName);
    request.SetTable(table);
    return database.Select(request, cursor);
  }
  Cursor cursor;
};

TEST_F(SelectTest, ReplacesTheEarlierResult) {
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(0, Select("note"));
  EXPECT_EQ(3, cursor.GetCount());
  Strings columns;
  cursor.GetColumn(columns);
  EXPECT_THAT(columns, ElementsAre("id", "owner", "body"));
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
  EXPECT_THAT(fake::Lines(),
              Contains(Line(6, "Select", "SELECT FAILED[1]: no such table: nosuch")));
  EXPECT_EQ(2, cursor.GetCount());
}

TEST_F(SelectTest, OneColumnShowsOneRow) {
  file.Run("CREATE TABLE single (a TEXT); INSERT INTO single VALUES ('x'), ('y'), ('z')");
  EXPECT_EQ(0, Select("single"));
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(SelectTest, CreatesAMissingFileAndMissesTheTable) {
  EXPECT_EQ(SQLITE_ERROR, Select("contact", "new.db"));
  EXPECT_TRUE(std::filesystem::exists(file.Directory() + std::string("/new.db")));
}

// Held by another connection.
TEST_F(SelectTest, OfALockedFileGivesUpAfterTheLimit) {
  const Locker locker(file, "BEGIN EXCLUSIVE");
  EXPECT_EQ(SQLITE_BUSY, Select("contact"));
  EXPECT_EQ(15U, Waits());
  EXPECT_THAT(fake::Lines(), Contains(Line(6, "Select", "SELECT FAILED[5]: database is locked")));
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
  // From that read on; the schema takes the first ones.
  void FailReads(int readsBefore, FaultPoint::Kind kind) { point.Set(readsBefore, kind); }
  void ExpectOneStepErrorAndRowsUpToIt() {
    EXPECT_THAT(fake::Lines(), Contains(fake::Line(6, "DatabasePasrser.cpp", "ParseDatabase",
                                                   "SQLITE STEP ERROR!!! SQL logic error"))
                                   .Times(1));
    EXPECT_GT(cursor.GetCount(), 0);
    EXPECT_LT(cursor.GetCount(), 200);
  }
  FaultPoint point;
  const ShimVfs vfs{[this](const FileEvent& event) {
    return event.call == FileCall::kRead && point.Fails() ? SQLITE_IOERR_READ : SQLITE_OK;
  }};
};

TEST_F(StepFaultTest, AOneShotFaultAfterSomeRowsEndsTheResultEarlyAndReturnsZero) {
  FailReads(9, FaultPoint::Kind::kOnce);
  EXPECT_EQ(0, Select("big"));
  EXPECT_EQ(1, point.Failures());
  ExpectOneStepErrorAndRowsUpToIt();
}

TEST_F(StepFaultTest, APersistentFaultGivesTwoFailedStepsAndReturnsZero) {
  FailReads(9, FaultPoint::Kind::kAlways);
  EXPECT_EQ(0, Select("big"));
  EXPECT_GE(point.Failures(), 2);
  ExpectOneStepErrorAndRowsUpToIt();
}

TEST_F(StepFaultTest, TheStepAfterAOneShotFaultRestartsTheStatementAndGivesARow) {
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(file.Path().c_str(), &db));
  ASSERT_EQ(SQLITE_OK, sqlite3_prepare(db, "SELECT * FROM big", -1, &stmt, nullptr));
  FailReads(4, FaultPoint::Kind::kOnce);
  EXPECT_EQ(SQLITE_ROW, DatabaseParser().ParseDatabase(db, stmt, cursor));
  EXPECT_EQ(1, point.Failures());
  ExpectOneStepErrorAndRowsUpToIt();
  // It was the first row again that the last step gave.
  EXPECT_EQ(1, sqlite3_column_int(stmt, 0));
  sqlite3_finalize(stmt);
  sqlite3_close(db);
}

TEST_F(StepFaultTest, AFaultInThePreparationIsReturned) {
  FailReads(1, FaultPoint::Kind::kAlways);
  EXPECT_EQ(SQLITE_IOERR, Select("big"));
  EXPECT_EQ(-1, cursor.GetCount());
  EXPECT_THAT(fake::Lines(), Contains(Line(6, "Select", "SELECT FAILED[10]: disk I/O error")));
}

// Exceptions pass through; nothing that was open stays open.

class PassingExceptionTest : public SelectTest {
 protected:
  static void ExpectLastCalls(const std::string& release) {
    const Strings calls = sqlite_spy::Calls();
    EXPECT_THAT(Strings(calls.end() - 2, calls.end()), ElementsAre(release, "sqlite3_close()"));
  }
};

TEST_F(PassingExceptionTest, ANullColumnNameInAWriteClosesTheFile) {
  UpsertRequest request;
  file.Locate(request);
  request.SetData(nullptr, 1);
  EXPECT_THROW(database.Upsert(request), std::logic_error);
  ExpectLastCalls("sqlite3_free(null)");
}

TEST_F(PassingExceptionTest, ANullColumnNameInAQueryFinalizesAndClosesTheFile) {
  SelectRequest request;
  file.Locate(request);
  request.SetWhere(nullptr, 1);
  EXPECT_THROW(database.Select(request, cursor), std::logic_error);
  ExpectLastCalls("sqlite3_finalize(null)");
}

TEST_F(PassingExceptionTest, ANullTableInACheckFinalizesAndClosesTheFile) {
  BasePath path;
  file.Locate(path);
  bool exists = false;
  EXPECT_THROW(database.CheckExistTable(path, nullptr, exists), std::logic_error);
  ExpectLastCalls("sqlite3_finalize(null)");
}

TEST_F(PassingExceptionTest, ACellWithoutTextFinalizesAndClosesTheFile) {
  Script("sqlite3_column_text", {Answer(0)});
  EXPECT_THROW(Select("contact"), std::logic_error);
  ExpectLastCalls("sqlite3_finalize()");
}

}  // namespace
