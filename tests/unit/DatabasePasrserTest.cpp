#include "DatabaseParser.h"

#include <string>
#include <type_traits>
#include <vector>

#include "Cursor.h"
#include "LibraryTest.h"

namespace {

using journal::Kind;
using sqlite_spy::CountCalls;
using sqlite_spy::Script;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

static_assert(std::has_virtual_destructor_v<DatabaseParser>);
static_assert(sizeof(DatabaseParser) == sizeof(void*), "no data members");

// A statement of the test's own on a database in memory.
class DatabaseParserTest : public LibraryTest {
 protected:
  DatabaseParserTest() { EXPECT_EQ(SQLITE_OK, sqlite3_open(":memory:", &db)); }
  ~DatabaseParserTest() override {
    sqlite3_finalize(stmt);
    sqlite3_close(db);
  }

  void Prepare(const std::string& sql) {
    sqlite3_finalize(stmt);
    ASSERT_EQ(SQLITE_OK, sqlite3_prepare(db, sql.c_str(), -1, &stmt, nullptr)) << sql;
    ForgetEvents();
  }

  static std::string ErrorLine(const std::string& function, const std::string& message) {
    return fake::Line(6, "DatabasePasrser.cpp", function, message);
  }

  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  DatabaseParser parser;
};

class ParseDatabaseTest : public DatabaseParserTest {
 protected:
  int Parse() { return parser.ParseDatabase(db, stmt, cursor); }

  std::vector<std::string> Columns() {
    std::vector<std::string> columns;
    cursor.GetColumn(columns);
    return columns;
  }

  // The cells of a column, from the first row on.
  std::vector<std::string> Cells(const char* column) {
    std::vector<std::string> cells;
    std::string cell;
    cursor.MoveToFirst();
    while (cursor.MoveToNext() == 0 && cursor.GetString(column, cell) == 0) {
      cells.push_back(cell);
    }
    return cells;
  }

  const char* const oneRow = "SELECT 1 AS id, 2 AS other";
  const char* const twoRows = "SELECT 1 AS id, 2 AS other UNION ALL SELECT 3, 4";
  Cursor cursor;
};

TEST_F(ParseDatabaseTest, CopiesTwoRowsOfThreeColumns) {
  Prepare("SELECT 1 AS id, 'Kim' AS name, 2.5 AS size UNION ALL SELECT 2, 'Lee', 10.0");
  EXPECT_EQ(SQLITE_DONE, Parse());
  // One guarded change for the emptying, three columns once, six cells; no trace line.
  EXPECT_THAT(journal::Of({Kind::kMutex, Kind::kLog}), SizeIs(4 * (1 + 3 + 6)));
  EXPECT_THAT(Columns(), ElementsAre("id", "name", "size"));
  EXPECT_THAT(Cells("id"), ElementsAre("1", "2"));
  EXPECT_THAT(Cells("name"), ElementsAre("Kim", "Lee"));
  EXPECT_THAT(Cells("size"), ElementsAre("2.5", "10.0"));
}

// It neither finalizes nor closes.
TEST_F(ParseDatabaseTest, ReadsNameAndTypeAfreshForEveryCell) {
  Prepare("SELECT 1 AS id, NULL AS name UNION ALL SELECT 2, 'Lee'");
  Parse();
  EXPECT_THAT(sqlite_spy::Calls(),
              ElementsAre("sqlite3_step()", "sqlite3_column_count()",          //
                          "sqlite3_column_name(0)", "sqlite3_column_name(1)",  //
                          "sqlite3_column_name(0)", "sqlite3_column_type(0)",  //
                          "sqlite3_column_text(0)",                            //
                          "sqlite3_column_name(1)", "sqlite3_column_type(1)",  //
                          "sqlite3_step()",                                    //
                          "sqlite3_column_name(0)", "sqlite3_column_type(0)",  //
                          "sqlite3_column_text(0)",                            //
                          "sqlite3_column_name(1)", "sqlite3_column_type(1)",  //
                          "sqlite3_column_text(1)",                            //
                          "sqlite3_step()"));
}

TEST_F(ParseDatabaseTest, EmptiesTheCursorBeforeTheFirstStep) {
  cursor.SetColumn("old");
  Prepare("SELECT 1 AS id WHERE 0");
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_EQ("sqlite3_step()", journal::Of({Kind::kMutex, Kind::kSqlite})[4]);
  EXPECT_THAT(Columns(), IsEmpty());
}

TEST_F(ParseDatabaseTest, NullAndBlobArriveAsEmptyTextsAndOnlyTheBlobIsReported) {
  Prepare("SELECT NULL AS n, x'414243' AS b, 'x' AS t");
  EXPECT_EQ(SQLITE_DONE, Parse());
  const auto events = journal::Of({Kind::kLog, Kind::kMutex});
  ASSERT_THAT(events, SizeIs(4 * (1 + 3 + 3) + 1));  // emptying, columns, cells; the line
  EXPECT_EQ(ErrorLine("ParseDatabase", "UNKNOWN TYPE"), events[4 * (1 + 3 + 1)]);
  EXPECT_THAT(Cells("n"), ElementsAre(""));
  EXPECT_THAT(Cells("b"), ElementsAre(""));
  EXPECT_THAT(Cells("t"), ElementsAre("x"));
}

TEST_F(ParseDatabaseTest, ACellOfAnUnknownTypeIsTakenLikeABlob) {
  Prepare("SELECT 'x' AS t, 'y' AS u");
  Script("sqlite3_column_type", {sqlite_spy::Answer(9), sqlite_spy::Answer(0)});
  EXPECT_EQ(SQLITE_DONE, Parse());
  const std::string line = ErrorLine("ParseDatabase", "UNKNOWN TYPE");
  EXPECT_THAT(fake::Lines(), ElementsAre(line, line));
  EXPECT_THAT(Cells("t"), ElementsAre(""));
  EXPECT_EQ(0, CountCalls("sqlite3_column_text"));
}

TEST_F(ParseDatabaseTest, NumbersArriveInSqlitesOwnRendering) {
  for (const char* number : {"2.5", "9007199254740993", "3.14159265358979", "1.0e+100", "0.0"}) {
    Prepare(std::string("SELECT ") + number + " AS a, 1 AS other");
    EXPECT_EQ(SQLITE_DONE, Parse());
    EXPECT_THAT(Cells("a"), ElementsAre(number));
  }
}

TEST_F(ParseDatabaseTest, ATextEndsAtItsFirstNul) {
  Prepare("SELECT 'a' || char(0) || 'b' AS t, 1 AS other");
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(Cells("t"), ElementsAre("a"));
}

TEST_F(ParseDatabaseTest, ColumnsOfEqualNameShareTheirCells) {
  Prepare("SELECT 1 AS id, 2 AS id, 3 AS z");
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(Columns(), ElementsAre("id", "id", "z"));
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(ParseDatabaseTest, CountsBusyStepsOverTheWholeParse) {
  Prepare(twoRows);
  std::vector<sqlite_spy::Step> steps(10, sqlite_spy::Answer(SQLITE_BUSY));
  steps.push_back(sqlite_spy::Real());
  steps.insert(steps.end(), 10, sqlite_spy::Answer(SQLITE_BUSY));
  Script("sqlite3_step", steps);
  // The 16th busy step, the sixth after the row, is the limit; one more follows.
  EXPECT_EQ(SQLITE_BUSY, Parse());
  EXPECT_EQ(10 + 1 + 7, CountCalls("sqlite3_step"));
  EXPECT_THAT(Cells("id"), ElementsAre("1"));
}

TEST_F(ParseDatabaseTest, ARowFromTheStepAfterTheLimitIsNotCopied) {
  Prepare(oneRow);
  Script("sqlite3_step", 16, sqlite_spy::Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_ROW, Parse());
  EXPECT_EQ(-1, cursor.GetCount());
}

// Not even a row is looked at then. Earlier rows stay.
TEST_F(ParseDatabaseTest, AfterAnErrorMakesOneMoreStepAndReturnsItsCode) {
  for (const int code : {SQLITE_CORRUPT, SQLITE_BUSY, SQLITE_ERROR, SQLITE_DONE, SQLITE_ROW}) {
    Prepare(twoRows);
    sqlite_spy::SetErrorText("no luck");
    Script("sqlite3_step",
           {sqlite_spy::Real(), sqlite_spy::Answer(SQLITE_ERROR), sqlite_spy::Answer(code)});
    EXPECT_EQ(code, Parse());
    EXPECT_EQ(3, CountCalls("sqlite3_step"));
    EXPECT_THAT(journal::Of({Kind::kLog, Kind::kSleep}),
                ElementsAre(ErrorLine("ParseDatabase", "SQLITE STEP ERROR!!! no luck")));
    EXPECT_THAT(Cells("id"), ElementsAre("1"));
  }
}

TEST_F(ParseDatabaseTest, OtherCodesAreSteppedOverWithoutLimitOrLog) {
  Prepare(oneRow);
  Script("sqlite3_step", 5000, sqlite_spy::Answer(SQLITE_MISUSE));
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_EQ(5002, CountCalls("sqlite3_step"));
  EXPECT_THAT(journal::Of({Kind::kLog, Kind::kSleep}), IsEmpty());
  EXPECT_THAT(Cells("id"), ElementsAre("1"));
}

TEST_F(ParseDatabaseTest, RowsWithoutColumnsAreSkippedAndCountedOnce) {
  for (const int count : {0, -1}) {
    Prepare("SELECT 1 AS id UNION ALL SELECT 2 UNION ALL SELECT 3");
    Script("sqlite3_column_count", {sqlite_spy::Answer(count)});
    EXPECT_EQ(SQLITE_DONE, Parse());
    EXPECT_EQ(1, CountCalls("sqlite3_column_count"));
    EXPECT_EQ(0, CountCalls("sqlite3_column_name"));
    EXPECT_EQ(-1, cursor.GetCount());
  }
}

TEST_F(ParseDatabaseTest, BothLoopsStayBusyFor17StepsAnd15Waits) {
  std::vector<std::string> events;
  for (const std::string& line : fake::BusyLines("DatabasePasrser.cpp", 16)) {
    events.insert(events.end(), {"sqlite3_step()", line, "usleep 100000"});
  }
  events.back() = "sqlite3_step()";  // without a wait after the limit
  for (const bool checks : {false, true}) {
    Prepare("SELECT 1");
    Script("sqlite3_step", 40, sqlite_spy::Answer(SQLITE_BUSY));
    bool exists = true;
    EXPECT_EQ(SQLITE_BUSY, checks ? parser.ParseExistTable(stmt, exists) : Parse());
    EXPECT_NE(checks, exists);
    EXPECT_EQ(events, journal::Of({Kind::kLog, Kind::kSleep, Kind::kSqlite}));
  }
}

class ParseExistTableTest : public DatabaseParserTest {
 protected:
  int ParseExist() { return parser.ParseExistTable(stmt, exists); }
  bool exists = true;
};

TEST_F(ParseExistTableTest, IsTrueIfAnyRowIsPositive) {
  const std::vector<std::pair<const char*, bool>> queries = {
      {"SELECT 0", false},
      {"SELECT 1", true},
      {"SELECT -1", false},
      {"SELECT 1 WHERE 0", false},
      {"SELECT 0 UNION ALL SELECT 1 UNION ALL SELECT 0", true}};
  for (const auto& [sql, expected] : queries) {
    Prepare(sql);
    exists = !expected;
    EXPECT_EQ(SQLITE_DONE, ParseExist());
    EXPECT_EQ(expected, exists) << sql;
    EXPECT_THAT(fake::Lines(), IsEmpty());
  }
}

// It neither finalizes nor closes.
TEST_F(ParseExistTableTest, ReadsTheFirstColumnOfEveryRow) {
  Prepare("SELECT 1");
  ParseExist();
  EXPECT_THAT(sqlite_spy::Calls(),
              ElementsAre("sqlite3_step()", "sqlite3_column_int(0)", "sqlite3_step()"));
}

TEST_F(ParseExistTableTest, AnErrorIsLoggedWithoutTextAndTheLastStepAfterItDoesNotCount) {
  Prepare("SELECT 1");
  for (const int code : {SQLITE_ROW, SQLITE_CORRUPT}) {
    ForgetEvents();
    Script("sqlite3_step", {sqlite_spy::Answer(SQLITE_ERROR), sqlite_spy::Answer(code)});
    EXPECT_EQ(code, ParseExist());
    EXPECT_FALSE(exists);
    EXPECT_THAT(fake::Lines(), ElementsAre(ErrorLine("ParseExistTable", "SQLITE STEP ERROR!!!")));
    EXPECT_EQ(2, CountCalls("sqlite3_step"));
  }
}

TEST_F(ParseExistTableTest, WritesItsAnswerOnlyWhenItReturns) {
  bool existsAtTheLine = false;
  Prepare("SELECT 0");
  Script("sqlite3_step",
         {sqlite_spy::Real(), sqlite_spy::Answer(SQLITE_ERROR), sqlite_spy::Answer(SQLITE_DONE)});
  journal::Listen([&](Kind kind, const std::string&) {
    existsAtTheLine = existsAtTheLine || (kind == Kind::kLog && exists);
  });
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_TRUE(existsAtTheLine);
  EXPECT_FALSE(exists);
}

TEST_F(ParseExistTableTest, OtherCodesAreTakenAsRowsWithoutLimit) {
  Prepare("SELECT 1");
  Script("sqlite3_step", 5000, sqlite_spy::Answer(SQLITE_MISUSE));
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_EQ(5001, CountCalls("sqlite3_column_int"));
  EXPECT_TRUE(exists);
}

}  // namespace
