// All records of the library against the table of log messages and against the sources: each
// entry has a record at each of its call sites, and there is no other record.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "LibraryTest.h"
#include "Operations.h"
#include "TemporaryDatabase.h"

namespace {

using operations::Operation;
using sqlite_spy::Answer;
using sqlite_spy::Script;

// File, function, priority and format.
using Record = std::tuple<std::string, std::string, int, std::string>;

// --- The table --------------------------------------------------------------------------

enum Priority { kDebug = 3, kInfo, kWarning, kError };

// Example arguments of the formats.
constexpr int kNumber = 0;
constexpr const char* kText = "";

template <typename... Examples>
std::string FormatOf(const char* format, Examples... /*arguments*/) {
  return "%s: %s(%d) > " + std::string(format);
}

// Adds the records of an entry. Its call sites read "FILE: FUNCTION FUNCTION; FILE: FUNCTION".
void AddEntry(std::set<Record>& records, Priority priority, const std::string& format,
              const std::string& sites) {
  std::istringstream words(sites);
  std::string file;
  for (std::string word; words >> word;) {
    const char last = word.back();
    const std::string name = last == ':' || last == ';' ? word.substr(0, word.size() - 1) : word;
    if (last == ':') {
      file = name;
    } else {
      EXPECT_TRUE(records.emplace(file, name, priority, format).second) << format;
    }
  }
}

std::set<Record> TableRecords() {
  std::set<Record> records;
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy) \
  AddEntry(records, priority, FormatOf message, sites);
#include "private/LogMessages.h"
  return records;
}

// --- The library ------------------------------------------------------------------------

void UseFields(const operations::RequestClass& requestClass) {
  const std::unique_ptr<BasePath> request = requestClass.make();
  for (const operations::TextField& field : requestClass.fields) {
    std::string first;
    std::string second;
    field.set(*request, "first", "second");
    field.get(*request, first, second);
  }
}

// Once by itself, then with each call into SQLite failing, staying busy, or reading a blob.
void RunWithFailures(const Operation& operation) {
  TemporaryDatabase file;
  file.Run(operations::Schema());
  Database database;
  operations::Call(operation, file, operation.PlainTexts()).Run(database);
  for (const char* function :
       {"sqlite3_open", "sqlite3_exec", "sqlite3_prepare", "sqlite3_step", "sqlite3_column_type"}) {
    for (const int result : {SQLITE_ERROR, SQLITE_BUSY, SQLITE_BLOB}) {
      Script(function, 40, Answer(result));
      operations::Call(operation, file, operation.PlainTexts()).Run(database);
      sqlite_spy::Reset();
    }
  }
}

// Each failure of a read or a move, once.
void MisreadCursor() {
  Cursor cursor;
  cursor.SetColumn("text");
  cursor.SetData("text", "no number");
  std::vector<std::string> columns;
  std::string text;
  int number = 0;
  double real = 0;
  cursor.GetColumn(columns);
  for (const char* column : {"missing", "text"}) {  // in front of the first row
    cursor.GetString(column, text);
    cursor.GetInt(column, number);
    cursor.GetDouble(column, real);
  }
  cursor.MoveToPosition(1);
  cursor.MoveToPrev();
  cursor.MoveToNext();
  cursor.GetInt("text", number);
  cursor.GetDouble("text", real);
  cursor.MoveToNext();
}

std::vector<Record> Without(const std::set<Record>& records, const std::set<Record>& others) {
  std::vector<Record> rest;
  std::set_difference(records.begin(), records.end(), others.begin(), others.end(),
                      std::back_inserter(rest));
  return rest;
}

class LogMessagesTest : public LibraryTest {
 protected:
  // Makes every record.
  LogMessagesTest() {
    fake::FailLockNames(-1);
    for (const operations::RequestClass& requestClass : operations::RequestClasses()) {
      UseFields(requestClass);
    }
    for (const Operation& operation : operations::All()) {
      RunWithFailures(operation);
    }
    MisreadCursor();
  }
};

TEST_F(LogMessagesTest, TheTableHasExactlyTheRecordsOfTheLibrary) {
  std::set<Record> records;
  for (const fake::LogLine& line : fake::LogLines()) {
    records.emplace(line.file, line.function, line.priority, line.format);
  }
  EXPECT_THAT(Without(records, TableRecords()), ::testing::IsEmpty()) << "not in the table";
  EXPECT_THAT(Without(TableRecords(), records), ::testing::IsEmpty()) << "not logged";
}

// The lines of the sources, by the files' names.
std::map<std::string, std::vector<std::string>> Sources() {
  std::map<std::string, std::vector<std::string>> sources;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(VORN_SOURCE_DIR "/src")) {
    std::ifstream stream(entry.path());
    for (std::string line; std::getline(stream, line);) {
      sources[entry.path().filename()].push_back(line);
    }
  }
  return sources;
}

TEST_F(LogMessagesTest, EveryRecordNamesALineOfTheSourcesThatLogs) {
  std::set<std::pair<std::string, std::size_t>> sites;
  for (const fake::LogLine& line : fake::LogLines()) {
    sites.emplace(line.file, static_cast<std::size_t>(line.line));
  }
  auto sources = Sources();
  for (const auto& [file, line] : sites) {
    ASSERT_LE(line, sources[file].size()) << file;
    EXPECT_THAT(sources[file][line - 1], ::testing::ContainsRegex("VORN_(TRACE|LOG|HERE)"))
        << file << ":" << line;
  }
}

}  // namespace
