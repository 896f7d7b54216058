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

#include "Cursor.h"
#include "FaultPoint.h"
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
using operations::operator+;
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

// Names and SQLite's texts are arguments, never part of a format.
TEST_F(OpenDBTest, PercentSignsInItsTextsStay) {
  sqlite_spy::SetErrorText("100%d %s%n");
  Script("sqlite3_open", {Answer(SQLITE_CANTOPEN)});
  EXPECT_EQ(SQLITE_CANTOPEN, Open("/%s/%d", "%n.db"));
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Trace("OpenDB"), Line(6, "OpenDB", "DB file: /%s/%d %n.db"),
                          Line(6, "OpenDB", "DB open failed. Error no(14): 100%d %s%n")));
}

// Whatever attempt clears, the loop ends with it, and with its code.
TEST_F(OpenDBTest, StaysBusyForUpTo17AttemptsAnd15Waits) {
  for (int busy = 0; busy <= 17; ++busy) {
    ForgetEvents();
    sqlite_spy::SetErrorText("no luck");
    const int code = busy < 17 ? SQLITE_NOTADB : SQLITE_BUSY;
    std::vector<sqlite_spy::Step> steps(static_cast<std::size_t>(busy), Answer(SQLITE_BUSY));
    steps.push_back(Answer(code));
    Script("sqlite3_open", steps);
    EXPECT_EQ(code, Open(folder));
    EXPECT_EQ(std::min(busy + 1, 17), CountCalls("sqlite3_open"));
    EXPECT_EQ(static_cast<std::size_t>(std::min(busy, 15)), Waits());
    const std::string failure = "DB open failed. Error no(" + std::to_string(code) + "): no luck";
    EXPECT_EQ(OpenLines(folder) + fake::BusyLines("Database.cpp", std::min(busy, 16)) +
                  Strings{Line(6, "OpenDB", failure)},
              fake::Lines());
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
    return operations::OpeningLines(operation, file.Directory(), file.FileName()) +
           operations::GetterLines(operation);
  }

  const Operation& operation = GetParam();
  operations::Call call{operation, file, operation.PlainTexts()};
  std::string answerBefore;
};

TEST_P(OperationTest, SuccessOpensRunsLogsTheResultReleasesAndCloses) {
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(LinesToStatement() + operations::SuccessLines(operation), fake::Lines());
  Strings calls = sqlite_spy::Calls();
  const auto isParsers = [](const std::string& each) {
    return each.find("sqlite3_step") == 0 || each.find("sqlite3_column") == 0;
  };
  EXPECT_EQ(operation.IsWrite(), std::none_of(calls.begin(), calls.end(), isParsers));
  const Strings releases = CallsToRelease(operation.IsWrite() ? "null" : "");
  calls.erase(std::remove_if(calls.begin(), calls.end(), isParsers), calls.end());
  EXPECT_EQ(CallsToStatement() + releases, calls);
  ExpectLastEvents(operations::SuccessLines(operation) + releases);
}

TEST_P(OperationTest, AFailedStatementIsReportedWithSqlitesTextAndLeavesTheResult) {
  sqlite_spy::SetErrorText("100%d %s");
  Script(StatementFunction(), {Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(SQLITE_CORRUPT, call.Run(database));
  const Strings line = {operations::FailureLine(operation, SQLITE_CORRUPT, "100%d %s")};
  EXPECT_EQ(LinesToStatement() + line, fake::Lines());
  const Strings errmsg = operation.IsWrite() ? Strings() : Strings{"sqlite3_errmsg()"};
  const Strings releases = CallsToRelease(operation.IsWrite() ? "" : "null");
  EXPECT_EQ(CallsToStatement() + errmsg + releases, sqlite_spy::Calls());
  ExpectLastEvents(line + releases);
  EXPECT_EQ(answerBefore, call.Answer());
}

TEST_P(OperationTest, AFailedOpenReadsAndRunsNothingAndLeavesTheHandle) {
  operations::Call unopened(operation, kMissingDirectory, "app.db", operation.PlainTexts());
  Prepare(unopened);
  EXPECT_EQ(SQLITE_CANTOPEN, unopened.Run(database));
  EXPECT_EQ(
      operations::OpeningLines(operation, kMissingDirectory, "app.db") +
          operations::OpenFailureLines(operation, SQLITE_CANTOPEN, "unable to open database file"),
      fake::Lines());
  EXPECT_THAT(sqlite_spy::Calls(),
              ElementsAre("sqlite3_open(" + std::string(kMissingDirectory) + "/app.db)",
                          "sqlite3_errmsg()"));
  EXPECT_EQ(answerBefore, unopened.Answer());
  EXPECT_THAT(sqlite_spy::OpenConnections(), SizeIs(1));
  sqlite_spy::CloseConnections();
}

TEST_P(OperationTest, BusyAttemptsOfEveryLoopAreCountedApart) {
  for (const char* function : {"sqlite3_open", "sqlite3_exec", "sqlite3_prepare", "sqlite3_step"}) {
    Script(function, 10, Answer(SQLITE_BUSY));
  }
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(operation.IsWrite() ? 20U : 30U, Waits());
  EXPECT_THAT(fake::Lines(), Not(Contains(HasSubstr("LIMIT"))));
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

// SQLite has no text when it runs out of memory.
TEST_F(DatabaseTest, AFailedWriteWithoutTextIsReported) {
  Script("sqlite3_exec", {Answer(SQLITE_NOMEM)});
  EXPECT_EQ(SQLITE_NOMEM, Run("Delete", Plain("Delete")));
  EXPECT_THAT(fake::Lines(), Contains(Line(6, "Delete", "delete FAILED[7]: (null)")));
}

class EveryCaseTest : public DatabaseTest,
                      public ::testing::WithParamInterface<operations::Subject> {};

TEST_P(EveryCaseTest, HasItsEffectAndAnswer) {
  operations::Call call(GetParam(), file);
  EXPECT_EQ(0, call.Run(database));
  EXPECT_EQ(GetParam().own->answer, call.Answer());
  EXPECT_EQ(GetParam().own->contents, operations::Contents(file));
}

INSTANTIATE_TEST_SUITE_P(, EveryCaseTest, ::testing::ValuesIn(operations::AllCases()),
                         [](const auto& test) { return test.param.own->name; });

// Single operations.

TEST_F(DatabaseTest, ReportsAStatementThatSqliteRejectsAndChangesNothing) {
  struct Rejected {
    const char* member;
    Texts texts;
    const char* message;
  };
  for (const Rejected& each : std::initializer_list<Rejected>{
           {"Update", Plain("Update").Without("whereColumn"), "update FAILED[1]: incomplete input"},
           {"Delete", Plain("Delete").With("table", "nosuch"),
            "delete FAILED[1]: no such table: nosuch"},
           {"Upsert", Plain("Upsert").Without("column"),
            "Upsert FAILED[1]: near \")\": syntax error"},
           {"CreateTable", Plain("CreateTable").With("column", "uid"),
            "createTable FAILED[1]: duplicate column name: uid"},
           {"DropTable", Plain("DropTable").With("table", "nosuch"),
            "DropTable FAILED[1]: no such table: nosuch"},
           {"Select", Plain("Select").With("table", "nosuch"),
            "SELECT FAILED[1]: no such table: nosuch"},
           {"JoinSelect", {}, "JoinSelect FAILED[1]: near \"ON\": syntax error"},
           {"CheckExistTable", Plain("CheckExistTable").With("table", "o'clock"),
            "CheckExistTable FAILED[1]: near \"clock\": syntax error"}}) {
    EXPECT_EQ(SQLITE_ERROR, Run(each.member, each.texts));
    EXPECT_THAT(fake::Lines(), Contains(Line(6, each.member, each.message)));
    EXPECT_EQ(operations::InitialContents(), operations::Contents(file));
  }
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

TEST_F(DatabaseTest, CreateTableOfATableThatExistsSucceedsAndChangesNothing) {
  const Texts keys = Plain("CreateTable");
  for (const Texts& texts : {keys, keys, keys.Without("key")}) {
    EXPECT_EQ(0, Run("CreateTable", texts));
    EXPECT_THAT(file.Rows("SELECT name, type, pk FROM pragma_table_info('device')"),
                ElementsAre("uid|TEXT|1", "serial|INTEGER|2", "label|TEXT|0"));
  }
}

TEST_F(DatabaseTest, CreateTableWithoutAKeyAddsAnIdColumn) {
  EXPECT_EQ(0, Run("CreateTable", Plain("CreateTable").Without("key")));
  EXPECT_THAT(file.Rows("SELECT name, type, pk FROM pragma_table_info('device')"),
              ElementsAre("_ID|INTEGER|1", "label|TEXT|0"));
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

TEST_F(SelectTest, ReplacesTheEarlierResultAlsoByAnEmptyOneWithoutColumns) {
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(0, Select("note"));
  EXPECT_EQ(3, cursor.GetCount());
  Strings columns;
  cursor.GetColumn(columns);
  EXPECT_THAT(columns, ElementsAre("id", "owner", "body"));
  file.Run("DELETE FROM contact");
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(-1, cursor.GetCount());
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

TEST_F(SelectTest, SucceedsAlthoughSteppingStaysBusy) {
  Script("sqlite3_step", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(0, Select("contact"));
  EXPECT_EQ(15U, Waits());
  EXPECT_EQ(-1, cursor.GetCount());
}

// A fault below SQLite. The legacy statement restarts at the step after the error: without
// a further fault, that step gives the first row again, which is not copied.
TEST_F(SelectTest, SucceedsWithTheRowsUpToAFaultWhileStepping) {
  file.Run(
      "CREATE TABLE big (id INTEGER PRIMARY KEY, name TEXT);"
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200)"
      "INSERT INTO big SELECT i, printf('%0500d', i) FROM n");
  FaultPoint point;
  const ShimVfs vfs([&point](const FileEvent& event) {
    return event.call == FileCall::kRead && point.Fails() ? SQLITE_IOERR_READ : SQLITE_OK;
  });
  for (const FaultPoint::Kind kind : {FaultPoint::Kind::kOnce, FaultPoint::Kind::kAlways}) {
    ForgetEvents();
    point.Set(9, kind);  // the schema takes the first ones
    EXPECT_EQ(0, Select("big"));
    const auto replies = sqlite_spy::Replies();  // the last two: to finalize and to close
    EXPECT_EQ(kind == FaultPoint::Kind::kOnce ? SQLITE_ROW : SQLITE_ERROR,
              replies[replies.size() - 3].result);
    EXPECT_THAT(fake::Lines(), Contains(fake::Line(6, "DatabasePasrser.cpp", "ParseDatabase",
                                                   "SQLITE STEP ERROR!!! SQL logic error"))
                                   .Times(1));
    EXPECT_GT(cursor.GetCount(), 0);
    EXPECT_LT(cursor.GetCount(), 200);
  }
  point.Set(1, FaultPoint::Kind::kAlways);
  EXPECT_EQ(SQLITE_IOERR, Select("big"));
}

// Exceptions pass through; nothing that was open stays open.

class PassingExceptionTest : public SelectTest {
 protected:
  // Expects a logic error of an operation, and these releases at its end.
  template <typename Action>
  static void ExpectThrow(Action action, const std::string& release) {
    EXPECT_THROW(action(), std::logic_error);
    const Strings calls = sqlite_spy::Calls();
    EXPECT_THAT(Strings(calls.end() - 2, calls.end()), ElementsAre(release, "sqlite3_close()"));
  }
};

TEST_F(PassingExceptionTest, ANullNameClosesTheFile) {
  UpsertRequest upsert;
  file.Locate(upsert);
  upsert.SetData(nullptr, 1);
  ExpectThrow([&] { database.Upsert(upsert); }, "sqlite3_free(null)");
  SelectRequest select;
  file.Locate(select);
  select.SetWhere(nullptr, 1);
  ExpectThrow([&] { database.Select(select, cursor); }, "sqlite3_finalize(null)");
  bool exists = false;
  ExpectThrow([&] { database.CheckExistTable(select, nullptr, exists); }, "sqlite3_finalize(null)");
}

TEST_F(PassingExceptionTest, ANameOrTextThatSqliteCannotGiveClosesTheFile) {
  for (const char* call : {"sqlite3_column_name", "sqlite3_column_text"}) {
    Script(call, {Answer(0)});
    ExpectThrow([&] { Select("contact"); }, "sqlite3_finalize()");
  }
}

}  // namespace
