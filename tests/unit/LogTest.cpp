// The log record, seen through public members that write one.

#include <string>
#include <vector>

#include "Cursor.h"
#include "Database.h"
#include "LibraryTest.h"

namespace {

using fake::LogLine;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Field;
using ::testing::SizeIs;

class LogTest : public LibraryTest {
 protected:
  LogTest() { ForgetEvents(); }

  // Writes one record with an argument.
  void LogBusy(int count) {
    --count;
    database.IsRetryLimit(count);
  }

  // Writes one record without arguments.
  void LogLastRow() { cursor.MoveToNext(); }

  static std::vector<std::string> Events() {
    return journal::Of({journal::Kind::kLogger, journal::Kind::kLog});
  }
  static LogLine LastLine() { return fake::LogLines().back(); }

  Database database;
  Cursor cursor;
};

TEST_F(LogTest, DirectPathHandsFormatAndArgumentsToTheSystemLog) {
  LogBusy(3);
  const LogLine line = LastLine();
  EXPECT_EQ("%s: %s(%d) > SQLITE BUSY[%d]", line.format);
  EXPECT_EQ("Database.cpp: IsRetryLimit(" + std::to_string(line.line) + ") > SQLITE BUSY[3]",
            line.text);
  LogLastRow();
  EXPECT_EQ("%s: %s(%d) > Last Row", LastLine().format);
}

TEST_F(LogTest, EveryRecordGoesToTheMainBufferUnderTheLoggersTag) {
  LogBusy(1);
  fake::SetEncryption(true);
  LogBusy(1);
  EXPECT_THAT(fake::LogLines(), AllOf(SizeIs(2), Each(Field(&LogLine::logId, 0)),
                                      Each(Field(&LogLine::tag, "FAKE_TAG"))));
}

TEST_F(LogTest, DirectPathAsksForTheLoggerTwice) {
  LogBusy(1);
  EXPECT_THAT(Events(),
              ElementsAre("GetInstance", "GetEncryptionFlag", "GetInstance", "GetLogTag",
                          fake::Line(5, "Database.cpp", "IsRetryLimit", "SQLITE BUSY[1]")));
}

TEST_F(LogTest, ProtectedPathAsksForTheLoggerFourTimes) {
  fake::SetEncryption(true);
  LogBusy(1);
  EXPECT_THAT(Events(),
              ElementsAre("GetInstance", "GetEncryptionFlag",                   //
                          "GetInstance", "GetBufferIndex", "GetBuffer(7)",      //
                          "GetInstance", "ConvertToSecureLog(SQLITE BUSY[1])",  //
                          "GetInstance", "GetLogTag",
                          fake::Line(5, "Database.cpp", "IsRetryLimit", "secure(SQLITE BUSY[1])")));
}

TEST_F(LogTest, ProtectedPathPrintsTheConvertedTextAsAnArgument) {
  fake::SetEncryption(true);
  fake::SetConversion([](const std::string&) { return "100%d %s%n"; });
  LogLastRow();
  EXPECT_THAT(Events(), Contains("ConvertToSecureLog(Last Row)"));
  EXPECT_EQ("%s: %s(%d) > %s", LastLine().format);
  EXPECT_THAT(LastLine().text, EndsWith("> 100%d %s%n"));
}

// SQLite's text in a failed open is of any length.
TEST_F(LogTest, ProtectedPathCutsTheMessageTo598CharactersInABufferOf599) {
  const std::string text(700, 'x');
  const std::string message = "DB open failed. Error no(14): " + text;
  for (const bool encryption : {false, true}) {
    sqlite_spy::SetErrorText(text);
    sqlite_spy::Script("sqlite3_open", {sqlite_spy::Answer(14)});
    fake::SetEncryption(encryption);
    fake::SetConversion([](const std::string& converted) { return converted; });
    sqlite3* db = nullptr;
    EXPECT_EQ(14, database.OpenDB(db, "/nowhere", "app.db"));
    EXPECT_THAT(LastLine().text, EndsWith("> " + (encryption ? message.substr(0, 598) : message)));
  }
  EXPECT_EQ('\0', fake::Buffer()[598]);
  EXPECT_EQ('~', fake::Buffer()[599]);
}

}  // namespace
