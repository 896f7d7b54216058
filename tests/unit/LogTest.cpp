// The log line, seen through public members that write one.

#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "SelectRequest.h"
#include "TemporaryDatabase.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using fake::Line;
using fake::LogLine;
using fake::Trace;
using journal::Kind;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class LogTest : public LibraryTest {
 protected:
  // Writes one line with an argument: "SQLITE BUSY[count]".
  void LogBusy(int count) {
    --count;
    database.IsRetryLimit(count);
  }

  // Writes one line without arguments: "Last Row".
  void LogLastRow() { cursor.MoveToNext(); }

  // What happened since the objects below were made.
  static std::vector<std::string> Events() { return journal::Of({Kind::kLogger, Kind::kLog}); }

  static LogLine LastLine() { return fake::LogLines().back(); }

  void SetUp() override { ForgetEvents(); }

  void TearDown() override {
    fake::SetEncryption(false);
    LibraryTest::TearDown();
  }

  Database database;
  Cursor cursor;
};

TEST_F(LogTest, DirectPathHandsFormatAndArgumentsToTheSystemLog) {
  LogBusy(3);
  const LogLine line = LastLine();
  EXPECT_EQ("%s: %s(%d) > SQLITE BUSY[%d]", line.format);
  EXPECT_EQ("Database.cpp: IsRetryLimit(" + std::to_string(line.line) + ") > SQLITE BUSY[3]",
            line.text);
}

TEST_F(LogTest, DirectPathTakesAMessageWithoutArguments) {
  LogLastRow();
  EXPECT_EQ("%s: %s(%d) > Last Row", LastLine().format);
}

TEST_F(LogTest, EveryLineGoesToTheMainBufferUnderTheLoggersTag) {
  LogBusy(1);
  fake::SetEncryption(true);
  LogBusy(1);
  EXPECT_THAT(fake::LogLines(), SizeIs(2));
  EXPECT_THAT(fake::LogLines(),
              Each(AllOf(Field(&LogLine::logId, 0), Field(&LogLine::tag, "FAKE_TAG"))));
}

TEST_F(LogTest, DirectPathAsksForTheLoggerTwice) {
  LogBusy(1);
  EXPECT_THAT(Events(), ElementsAre("GetInstance", "GetEncryptionFlag", "GetInstance", "GetLogTag",
                                    Line(5, "Database.cpp", "IsRetryLimit", "SQLITE BUSY[1]")));
}

TEST_F(LogTest, ProtectedPathAsksForTheLoggerFourTimes) {
  fake::SetEncryption(true);
  LogBusy(1);
  EXPECT_THAT(Events(),
              ElementsAre("GetInstance", "GetEncryptionFlag",                   //
                          "GetInstance", "GetBufferIndex", "GetBuffer(7)",      //
                          "GetInstance", "ConvertToSecureLog(SQLITE BUSY[1])",  //
                          "GetInstance", "GetLogTag",
                          Line(5, "Database.cpp", "IsRetryLimit", "secure(SQLITE BUSY[1])")));
}

TEST_F(LogTest, ProtectedPathPrintsTheConvertedTextAsAnArgument) {
  fake::SetEncryption(true);
  fake::SetConversion([](const std::string&) { return "100%d %s%n"; });
  LogBusy(1);
  EXPECT_EQ("%s: %s(%d) > %s", LastLine().format);
  EXPECT_THAT(LastLine().text, HasSubstr("> 100%d %s%n"));
}

TEST_F(LogTest, ProtectedPathTakesAMessageWithoutArgumentsWhole) {
  fake::SetEncryption(true);
  LogLastRow();
  EXPECT_THAT(Events(), ::testing::Contains("ConvertToSecureLog(Last Row)"));
}

// The two paths on a message of any length: SQLite's text in a failed open.
class LongMessageTest : public LibraryTest {
 protected:
  static std::string OpenFailure(bool encryption) {
    const std::string text(700, 'x');
    sqlite_spy::SetErrorText(text);
    sqlite_spy::Script("sqlite3_open", {sqlite_spy::Answer(14)});
    std::string message;
    fake::SetEncryption(encryption);
    fake::SetConversion([&](const std::string& bare) {
      message = bare;
      return bare;
    });
    Database database;
    sqlite3* db = nullptr;
    EXPECT_EQ(14, database.OpenDB(db, "/nowhere", "app.db"));
    fake::SetEncryption(false);
    return encryption ? message : fake::LogLines().back().text;
  }
};

TEST_F(LongMessageTest, ProtectedPathCutsTheMessageTo598Characters) {
  const std::string whole = "DB open failed. Error no(14): " + std::string(700, 'x');
  EXPECT_EQ(whole.substr(0, 598), OpenFailure(true));
}

TEST_F(LongMessageTest, ProtectedPathWritesAtMost599BytesIntoTheBuffer) {
  OpenFailure(true);
  EXPECT_EQ('\0', fake::Buffer()[598]);
  EXPECT_EQ('~', fake::Buffer()[599]);
}

TEST_F(LongMessageTest, DirectPathPrintsTheMessageWhole) {
  EXPECT_THAT(OpenFailure(false),
              HasSubstr("> DB open failed. Error no(14): " + std::string(700, 'x')));
}

class LogPlaceTest : public LibraryTest {
 protected:
  static std::string FolderOf(const std::string& file) {
    const bool isRequest = file.find("Request") != std::string::npos;
    const bool isBase = file.find("Base") == 0;
    return std::string(VORN_SOURCE_DIR) + (isRequest ? "/src/request/"
                                           : isBase  ? "/src/base/"
                                                     : "/src/");
  }
};

TEST_F(LogPlaceTest, MembersThatShareAProcedureLogTheirOwnNameAndFile) {
  TemporaryDatabase file;
  file.Run("CREATE TABLE t (a TEXT)");
  UpsertRequest request;
  file.Locate(request);
  request.SetTable("t");
  request.SetData("a", 1);
  Database database;
  fake::SetEncryption(true);
  ASSERT_EQ(0, database.Upsert(request));
  fake::SetEncryption(false);
  const LogLine success = fake::LogLines().back();
  EXPECT_EQ("Upsert", success.function);
  EXPECT_EQ("Database.cpp", success.file);
}

// Every line that a whole session writes must name a place that a reader of the
// log finds: an existing file, and there a line that logs.
TEST_F(LogPlaceTest, EveryLineNamesAPlaceInTheSources) {
  TemporaryDatabase file;
  file.Run("CREATE TABLE t (a TEXT, b BLOB); INSERT INTO t VALUES (NULL, x'00')");
  {
    const CreateRequest create;
    const DeleteRequest remove;
    const DropRequest drop;
    const JoinRequest join;
    const UpdateRequest update;
    UpsertRequest upsert;
    file.Locate(upsert);
    upsert.SetTable("t");
    upsert.SetData("nosuch", 1);
    fake::FailLockNames(0);
    upsert.SetWhere("nosuch", 1);
    SelectRequest select;
    file.Locate(select);
    select.SetTable("t");
    Cursor cursor;
    Database database;
    EXPECT_EQ(1, database.Upsert(upsert));
    EXPECT_EQ(0, database.Select(select, cursor));
    int number = 0;
    cursor.GetInt("a", number);
    cursor.MoveToPosition(0);
    cursor.GetInt("a", number);
    cursor.GetInt("c", number);
    cursor.MoveToPosition(9);
    int busy = 0;
    database.IsRetryLimit(busy);
  }
  std::set<std::string> files;
  for (const LogLine& line : fake::LogLines()) {
    files.insert(line.file);
    std::ifstream source(FolderOf(line.file) + line.file);
    ASSERT_TRUE(source) << line.file;
    std::string text;
    for (int number = 0; number < line.line; ++number) {
      ASSERT_TRUE(std::getline(source, text)) << line.text;
    }
    EXPECT_THAT(text, ::testing::ContainsRegex("VORN_(TRACE|LOG|HERE)")) << line.text;
  }
  EXPECT_THAT(files, ElementsAre("BaseSet.cpp", "CreateRequest.cpp", "Cursor.cpp", "Database.cpp",
                                 "DatabasePasrser.cpp", "DeleteRequest.cpp", "DropRequest.cpp",
                                 "JoinRequest.cpp", "SelectRequest.cpp", "UpdateRequest.cpp",
                                 "UpsertRequest.cpp"));
}

}  // namespace
