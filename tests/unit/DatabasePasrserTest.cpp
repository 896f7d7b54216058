#include "DatabaseParser.h"

#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "Cursor.h"
#include "LibraryTest.h"

namespace {

using fake::Line;
using journal::Kind;
using sqlite_spy::Answer;
using sqlite_spy::RealButAnswer;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

static_assert(std::has_virtual_destructor_v<DatabaseParser>);
static_assert(sizeof(DatabaseParser) == sizeof(void*), "no data members");

const std::string kFile = "DatabasePasrser.cpp";

// A statement of the test's own on a database in memory.
class DatabaseParserTest : public LibraryTest {
 protected:
  DatabaseParserTest() { EXPECT_EQ(SQLITE_OK, sqlite3_open(":memory:", &db)); }
  ~DatabaseParserTest() override {
    sqlite3_finalize(stmt);
    sqlite3_close(db);
  }

  void Prepare(const std::string& sql) {
    ASSERT_EQ(SQLITE_OK, sqlite3_prepare(db, sql.c_str(), -1, &stmt, nullptr)) << sql;
    ForgetEvents();
  }

  int Parse() { return parser.ParseDatabase(db, stmt, cursor); }

  // The cells of a column, from the first row on.
  std::vector<std::string> Cells(const std::string& column) {
    std::vector<std::string> cells;
    std::string cell;
    cursor.MoveToFirst();
    while (cursor.MoveToNext() == 0 && cursor.GetString(column.c_str(), cell) == 0) {
      cells.push_back(cell);
    }
    return cells;
  }

  static std::vector<std::string> BusyEvents() {
    std::vector<std::string> events;
    for (int count = 1; count < 16; ++count) {
      events.push_back(
          Line(5, kFile, "IsRetryLimit", "SQLITE BUSY[" + std::to_string(count) + "]"));
      events.push_back("usleep 100000");
    }
    events.push_back(Line(6, kFile, "IsRetryLimit", "RETRY COUNT is reached LIMIT, SQLITE_BUSY"));
    return events;
  }

  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  Cursor cursor;
  DatabaseParser parser;
};

class ParseDatabaseTest : public DatabaseParserTest {};

TEST_F(ParseDatabaseTest, CopiesTwoRowsOfThreeColumns) {
  Prepare("SELECT 1 AS id, 'Kim' AS name, 2.5 AS size UNION ALL SELECT 2, 'Lee', 10.0");
  EXPECT_EQ(SQLITE_DONE, Parse());
  // One guarded change for the emptying, three columns once, six cells.
  EXPECT_THAT(journal::Of({Kind::kMutex}), SizeIs(4 * (1 + 3 + 6)));
  std::vector<std::string> columns;
  EXPECT_EQ(0, cursor.GetColumn(columns));
  EXPECT_THAT(columns, ElementsAre("id", "name", "size"));
  EXPECT_THAT(Cells("id"), ElementsAre("1", "2"));
  EXPECT_THAT(Cells("name"), ElementsAre("Kim", "Lee"));
  EXPECT_THAT(Cells("size"), ElementsAre("2.5", "10.0"));
}

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
  Prepare("SELECT 1 AS id, 2 AS other");
  Parse();
  const auto events = journal::Of({Kind::kMutex, Kind::kSqlite});
  EXPECT_EQ("sqlite3_step()", events[4]);
  std::vector<std::string> columns;
  cursor.GetColumn(columns);
  EXPECT_THAT(columns, ElementsAre("id", "other"));
}

TEST_F(ParseDatabaseTest, AQueryWithoutRowsLeavesNoColumns) {
  cursor.SetColumn("old");
  Prepare("SELECT 1 AS id WHERE 0");
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_EQ(-1, cursor.GetCount());
  std::vector<std::string> columns;
  EXPECT_EQ(1, cursor.GetColumn(columns));
}

TEST_F(ParseDatabaseTest, NullAndBlobArriveAsEmptyTextsAndOnlyTheBlobIsReported) {
  Prepare("SELECT NULL AS n, x'414243' AS b, 'x' AS t");
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(6, kFile, "ParseDatabase", "UNKNOWN TYPE")));
  EXPECT_THAT(Cells("n"), ElementsAre(""));
  EXPECT_THAT(Cells("b"), ElementsAre(""));
  EXPECT_THAT(Cells("t"), ElementsAre("x"));
}

TEST_F(ParseDatabaseTest, ACellOfAnUnknownTypeIsTakenLikeABlob) {
  Prepare("SELECT 'x' AS t, 'y' AS u");
  sqlite_spy::Script("sqlite3_column_type", {Answer(9), Answer(0)});
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(fake::Lines(), ElementsAre(Line(6, kFile, "ParseDatabase", "UNKNOWN TYPE"),
                                         Line(6, kFile, "ParseDatabase", "UNKNOWN TYPE")));
  EXPECT_THAT(Cells("t"), ElementsAre(""));
  EXPECT_EQ(0, sqlite_spy::CountCalls("sqlite3_column_text"));
}

TEST_F(ParseDatabaseTest, ReportsAnUnknownTypeBeforeItStoresTheCell) {
  Prepare("SELECT x'00' AS b");
  Parse();
  const auto events = journal::Of({Kind::kLog, Kind::kMutex});
  ASSERT_THAT(events, SizeIs(4 + 4 + 1 + 4));  // emptying, one column, the line, one cell
  EXPECT_EQ(Line(6, kFile, "ParseDatabase", "UNKNOWN TYPE"), events[8]);
}

TEST_F(ParseDatabaseTest, NumbersArriveInSqlitesOwnRendering) {
  Prepare("SELECT 2.5 AS a, 9007199254740993 AS b, 3.14159265358979 AS c, 1e100 AS d, -0.0 AS e");
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(Cells("a"), ElementsAre("2.5"));
  EXPECT_THAT(Cells("b"), ElementsAre("9007199254740993"));
  EXPECT_THAT(Cells("c"), ElementsAre("3.14159265358979"));
  EXPECT_THAT(Cells("d"), ElementsAre("1.0e+100"));
  EXPECT_THAT(Cells("e"), ElementsAre("0.0"));
}

TEST_F(ParseDatabaseTest, ATextEndsAtItsFirstNul) {
  Prepare("SELECT 'a' || char(0) || 'b' AS t, 1 AS other");
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(Cells("t"), ElementsAre("a"));
}

TEST_F(ParseDatabaseTest, ColumnsOfEqualNameShareTheirCells) {
  Prepare("SELECT 1 AS id, 2 AS id, 3 AS z");
  EXPECT_EQ(SQLITE_DONE, Parse());
  std::vector<std::string> columns;
  cursor.GetColumn(columns);
  EXPECT_THAT(columns, ElementsAre("id", "id", "z"));
  EXPECT_EQ(1, cursor.GetCount());
}

TEST_F(ParseDatabaseTest, WritesNoTraceLine) {
  Prepare("SELECT 1 AS id");
  Parse();
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

TEST_F(ParseDatabaseTest, NeitherFinalizesNorCloses) {
  Prepare("SELECT 1 AS id");
  Parse();
  EXPECT_EQ(0, sqlite_spy::CountCalls("sqlite3_finalize"));
  EXPECT_EQ(0, sqlite_spy::CountCalls("sqlite3_close"));
}

TEST_F(ParseDatabaseTest, StaysBusyFor17StepsAnd15Waits) {
  Prepare("SELECT 1 AS id");
  sqlite_spy::Script("sqlite3_step", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_BUSY, Parse());
  EXPECT_EQ(17, sqlite_spy::CountCalls("sqlite3_step"));
  EXPECT_EQ(BusyEvents(), journal::Of({Kind::kLog, Kind::kSleep}));
}

TEST_F(ParseDatabaseTest, GoesOnAfterBusySteps) {
  Prepare("SELECT 1 AS id, 2 AS other");
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_BUSY), Answer(SQLITE_BUSY)});
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(Cells("id"), ElementsAre("1"));
}

TEST_F(ParseDatabaseTest, CountsBusyStepsOverTheWholeParse) {
  Prepare("SELECT 1 AS id, 2 AS other UNION ALL SELECT 3, 4");
  std::vector<sqlite_spy::Step> steps(10, Answer(SQLITE_BUSY));
  steps.push_back(sqlite_spy::Real());
  steps.insert(steps.end(), 10, Answer(SQLITE_BUSY));
  sqlite_spy::Script("sqlite3_step", steps);
  // The 16th busy step, the sixth after the row, is the limit; one more follows.
  EXPECT_EQ(SQLITE_BUSY, Parse());
  EXPECT_EQ(10 + 1 + 7, sqlite_spy::CountCalls("sqlite3_step"));
  EXPECT_THAT(Cells("id"), ElementsAre("1"));
}

TEST_F(ParseDatabaseTest, ARowFromTheStepAfterTheLimitIsNotCopied) {
  Prepare("SELECT 1 AS id, 2 AS other");
  sqlite_spy::Script("sqlite3_step", 16, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_ROW, Parse());
  EXPECT_EQ(-1, cursor.GetCount());
}

TEST_F(ParseDatabaseTest, AfterAnErrorMakesOneMoreStepAndReturnsItsCode) {
  Prepare("SELECT 1 AS id, 2 AS other");
  sqlite_spy::SetErrorText("no luck");
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_ERROR), Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(SQLITE_CORRUPT, Parse());
  EXPECT_EQ(2, sqlite_spy::CountCalls("sqlite3_step"));
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Line(6, kFile, "ParseDatabase", "SQLITE STEP ERROR!!! no luck")));
}

TEST_F(ParseDatabaseTest, AnErrorIsConvertedWithSqlitesTextWhenMessagesAreProtected) {
  Prepare("SELECT 1 AS id, 2 AS other");
  sqlite_spy::SetErrorText("no luck");
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_ERROR), Answer(SQLITE_DONE)});
  fake::SetEncryption(true);
  fake::SetConversion([](const std::string& message) { return "<" + message + ">"; });
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Line(6, kFile, "ParseDatabase", "<SQLITE STEP ERROR!!! no luck>")));
}

TEST_F(ParseDatabaseTest, ABusyStepAfterAnErrorIsNotRetried) {
  Prepare("SELECT 1 AS id");
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_ERROR), Answer(SQLITE_BUSY)});
  EXPECT_EQ(SQLITE_BUSY, Parse());
  EXPECT_THAT(journal::Of({Kind::kSleep}), IsEmpty());
}

TEST_F(ParseDatabaseTest, ASecondErrorIsNotLogged) {
  Prepare("SELECT 1 AS id");
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_ERROR), Answer(SQLITE_ERROR)});
  EXPECT_EQ(SQLITE_ERROR, Parse());
  EXPECT_THAT(fake::Lines(), SizeIs(1));
}

TEST_F(ParseDatabaseTest, RowsBeforeAnErrorStay) {
  Prepare("SELECT 1 AS id, 2 AS other UNION ALL SELECT 3, 4");
  sqlite_spy::Script("sqlite3_step", {sqlite_spy::Real(), Answer(SQLITE_ERROR)});
  EXPECT_EQ(SQLITE_ROW, Parse());
  EXPECT_THAT(Cells("id"), ElementsAre("1"));
}

TEST_F(ParseDatabaseTest, OtherCodesAreSteppedOverWithoutLimitOrLog) {
  Prepare("SELECT 1 AS id, 2 AS other");
  sqlite_spy::Script("sqlite3_step", 5000, Answer(SQLITE_MISUSE));
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_EQ(5002, sqlite_spy::CountCalls("sqlite3_step"));
  EXPECT_THAT(journal::Of({Kind::kLog, Kind::kSleep}), IsEmpty());
  EXPECT_THAT(Cells("id"), ElementsAre("1"));
}

TEST_F(ParseDatabaseTest, RowsWithoutColumnsAreSkippedAndCountedOnce) {
  Prepare("SELECT 1 AS id UNION ALL SELECT 2 UNION ALL SELECT 3");
  sqlite_spy::Script("sqlite3_column_count", {Answer(0)});
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_EQ(1, sqlite_spy::CountCalls("sqlite3_column_count"));
  EXPECT_EQ(0, sqlite_spy::CountCalls("sqlite3_column_name"));
  EXPECT_EQ(-1, cursor.GetCount());
}

TEST_F(ParseDatabaseTest, ANegativeColumnCountIsTakenAsNone) {
  Prepare("SELECT 1 AS id");
  sqlite_spy::Script("sqlite3_column_count", {Answer(-1)});
  EXPECT_EQ(SQLITE_DONE, Parse());
  EXPECT_EQ(-1, cursor.GetCount());
}

TEST_F(ParseDatabaseTest, ACellTextThatSqliteCannotGiveThrows) {
  Prepare("SELECT 1 AS id, 2 AS other");
  sqlite_spy::Script("sqlite3_column_text", {Answer(0)});
  EXPECT_THROW(Parse(), std::logic_error);
}

TEST_F(ParseDatabaseTest, AColumnNameThatSqliteCannotGiveThrows) {
  Prepare("SELECT 1 AS id, 2 AS other");
  sqlite_spy::Script("sqlite3_column_name", {Answer(0)});
  EXPECT_THROW(Parse(), std::logic_error);
}

class ParseExistTableTest : public DatabaseParserTest {
 protected:
  int ParseExist() { return parser.ParseExistTable(stmt, exists); }
  bool exists = false;
};

TEST_F(ParseExistTableTest, ACountOfZeroIsFalse) {
  exists = true;
  Prepare("SELECT 0");
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_FALSE(exists);
}

TEST_F(ParseExistTableTest, ACountOfOneIsTrue) {
  Prepare("SELECT 1");
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_TRUE(exists);
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

TEST_F(ParseExistTableTest, ANegativeCountIsFalse) {
  Prepare("SELECT -1");
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_FALSE(exists);
}

TEST_F(ParseExistTableTest, NoRowIsFalse) {
  exists = true;
  Prepare("SELECT 1 WHERE 0");
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_FALSE(exists);
}

TEST_F(ParseExistTableTest, OncePositiveStaysTrue) {
  Prepare("SELECT 0 UNION ALL SELECT 1 UNION ALL SELECT 0");
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_TRUE(exists);
}

TEST_F(ParseExistTableTest, AnErrorIsLoggedWithoutTextAndOneMoreStepIsMade) {
  exists = true;
  Prepare("SELECT 0");
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_ERROR), Answer(SQLITE_CORRUPT)});
  EXPECT_EQ(SQLITE_CORRUPT, ParseExist());
  EXPECT_FALSE(exists);
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Line(6, kFile, "ParseExistTable", "SQLITE STEP ERROR!!!")));
  EXPECT_EQ(2, sqlite_spy::CountCalls("sqlite3_step"));
}

TEST_F(ParseExistTableTest, WritesItsAnswerOnlyWhenItReturns) {
  exists = true;
  bool existsAtTheLine = false;
  Prepare("SELECT 0");
  sqlite_spy::Script("sqlite3_step",
                     {sqlite_spy::Real(), Answer(SQLITE_ERROR), Answer(SQLITE_DONE)});
  fake::SetEncryption(true);
  fake::SetConversion([&](const std::string& message) {
    existsAtTheLine = exists;
    return message;
  });
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  fake::SetEncryption(false);
  EXPECT_TRUE(existsAtTheLine);
  EXPECT_FALSE(exists);
}

TEST_F(ParseExistTableTest, StaysBusyFor17StepsAnd15Waits) {
  exists = true;
  Prepare("SELECT 1");
  sqlite_spy::Script("sqlite3_step", 40, Answer(SQLITE_BUSY));
  EXPECT_EQ(SQLITE_BUSY, ParseExist());
  EXPECT_EQ(17, sqlite_spy::CountCalls("sqlite3_step"));
  EXPECT_EQ(BusyEvents(), journal::Of({Kind::kLog, Kind::kSleep}));
  EXPECT_FALSE(exists);
}

TEST_F(ParseExistTableTest, TheRowOfTheStepAfterAnErrorDoesNotCount) {
  Prepare("SELECT 1");
  sqlite_spy::Script("sqlite3_step", {Answer(SQLITE_ERROR)});
  EXPECT_EQ(SQLITE_ROW, ParseExist());
  EXPECT_FALSE(exists);
}

TEST_F(ParseExistTableTest, OtherCodesAreTakenAsRowsWithoutLimit) {
  Prepare("SELECT 1");
  sqlite_spy::Script("sqlite3_step", 5000, Answer(SQLITE_MISUSE));
  EXPECT_EQ(SQLITE_DONE, ParseExist());
  EXPECT_EQ(5001, sqlite_spy::CountCalls("sqlite3_column_int"));
  EXPECT_TRUE(exists);
}

TEST_F(ParseExistTableTest, NeitherFinalizesNorCloses) {
  Prepare("SELECT 1");
  ParseExist();
  EXPECT_THAT(sqlite_spy::Calls(),
              ElementsAre("sqlite3_step()", "sqlite3_column_int(0)", "sqlite3_step()"));
}

TEST_F(DatabaseParserTest, ConstructionAndDestructionLogNothing) {
  ForgetEvents();
  { DatabaseParser other; }
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

}  // namespace
