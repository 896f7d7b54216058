// A database file that is damaged, and every operation on it. The input damages a
// good file, line by line:
//
//   f number        the number of the first operation; the others follow
//   b offset value  writes a byte
//   x offset text   overwrites bytes with a text
//   s to from size  copies a part of the file over another
//   t size          cuts the file, or fills it up with zeros
//   w               takes all that follows for the file
//
// Offsets beyond the end begin again at its start.
//
// Two things are bounded here that the library leaves open. To it they are failures
// like any other:
//
//   - the instructions that SQLite runs for a connection: the pages of a damaged
//     file may be linked so that a walk over them hardly ends, or its schema may
//     hold a query without end (walk_without_end, view_without_end), and the cursor
//     would grow until there is no memory;
//   - the size of a value, of which a schema may compute one of any size.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "Containers.h"
#include "Database.h"
#include "FakePlatform.h"
#include "FuzzTarget.h"
#include "InputReader.h"
#include "Journal.h"
#include "OperationLines.h"
#include "Operations.h"
#include "SqliteSpy.h"
#include "TemporaryDatabase.h"
#include "WholeFile.h"

namespace {

using operations::Operation;
using operations::Texts;
using ::testing::AllOf;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::StartsWith;

// The file.

constexpr std::size_t kLargestFile = 1 << 16;

// Small pages, so that there are many of every kind: inner nodes, leaves, an index,
// cells that overflow, free pages. The types are mixed.
constexpr const char* kGoodFile = R"(
  PRAGMA page_size = 512;
  CREATE TABLE contact (_ID INTEGER PRIMARY KEY, name TEXT, kind TEXT, picture);
  CREATE TABLE note (owner TEXT, day INTEGER, body TEXT, PRIMARY KEY(owner, day));
  CREATE TABLE dropped (filler);
  CREATE INDEX kinds ON contact (kind);
  WITH RECURSIVE number(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM number WHERE n < 24)
    INSERT INTO contact SELECT n, 'name of ' || n, n % 3,
      CASE n % 4 WHEN 0 THEN NULL WHEN 1 THEN x'0001FF' WHEN 2 THEN n / 8.0 ELSE n END
    FROM number;
  INSERT INTO note SELECT _ID, _ID, CASE _ID % 20 WHEN 0 THEN hex(zeroblob(600)) ELSE name END
    FROM contact;
  INSERT INTO dropped SELECT hex(zeroblob(100)) FROM contact LIMIT 9;
  DROP TABLE dropped;
)";

void Overwrite(std::string& content, std::size_t offset, const std::string& part) {
  const std::size_t size = std::min(part.size(), content.size() - offset);
  content.replace(offset, size, part, 0, size);
}

struct Damage {
  std::string content;
  std::size_t firstOperation = 0;
};

Damage ReadDamage(InputReader input, const std::string& goodFile) {
  Damage damage{goodFile};
  std::string& content = damage.content;
  while (!input.IsAtEnd()) {
    const InputLine line = input.NextLine();
    const auto offset = [&](std::size_t field) { return line.Index(field, content.size()); };
    if (line.Letter() == 'f') {
      damage.firstOperation = line.Index(0, operations::All().size());
    } else if (line.Letter() == 'w') {
      content = input.Rest().substr(0, kLargestFile);
    } else if (line.Letter() == 't') {
      content.resize(line.Index(0, kLargestFile));
    } else if (content.empty()) {
      continue;
    } else if (line.Letter() == 'b') {
      content[offset(0)] = static_cast<char>(line.Number(1));
    } else if (line.Letter() == 'x') {
      Overwrite(content, offset(0), line.Text(1));
    } else if (line.Letter() == 's') {
      Overwrite(content, offset(0), content.substr(offset(1), offset(2)));
    }
  }
  return damage;
}

// The bounds.

constexpr int kLongestValue = 100000;
constexpr int kInstructions = 1000;  // in an interval
constexpr int kMostIntervals = 10;
int intervals = 0;

int CountInterval(void* /*argument*/) { return ++intervals > kMostIntervals ? 1 : 0; }

// SQLite calls it for every connection that is opened.
int Bound(sqlite3* db, char** /*error*/, const struct sqlite3_api_routines* /*api*/) {
  intervals = 0;
  sqlite3_progress_handler(db, kInstructions, CountInterval, nullptr);
  sqlite3_limit(db, SQLITE_LIMIT_LENGTH, kLongestValue);
  return SQLITE_OK;
}

const TemporaryDatabase& TheFile() {
  static const TemporaryDatabase file;
  return file;
}

std::string GoodContent() {
  TheFile().Run(kGoodFile);
  EXPECT_EQ(SQLITE_OK, sqlite3_auto_extension(reinterpret_cast<void (*)()>(&Bound)));
  return ReadWholeFile(TheFile().Path());
}

// The only file that there is.
void Write(const std::string& content) {
  for (const char* suffix : {"-journal", "-wal", "-shm"}) {
    std::error_code ignored;
    std::filesystem::remove(TheFile().Path() + suffix, ignored);
  }
  WriteWholeFile(TheFile().Path(), content);
}

// The operations on the good file, in the order of their numbers. Those that are not among
// them follow with the texts of the catalogue, whose tables the file has in part.
using Subject = std::pair<std::string, Texts>;

std::vector<Subject> MakeSubjects() {
  const Texts contact = {{"table", "contact"},
                         {"column", "kind"},
                         {"value", "another"},
                         {"whereColumn", "kind"},
                         {"whereValue", "2"}};
  const Texts note = {{"table", "note"},
                      {"column", "owner"},
                      {"value", "7"},
                      {"column2", "day"},
                      {"value2", "7"},
                      {"column3", "body"},
                      {"value3", std::string(1000, 'b')}};
  const Texts join = {
      {"table", "contact"}, {"column", "_ID"}, {"table2", "note"}, {"column2", "owner"}};
  const Texts fresh = {{"table", "fresh"},
                       {"key", "uid"},
                       {"keyType", "TEXT"},
                       {"column", "name"},
                       {"type", "TEXT"}};
  std::vector<Subject> subjects = {
      {"CheckExistTable", contact}, {"Select", contact.With("whereValue", "1")},
      {"JoinSelect", join},         {"Upsert", note},
      {"Update", contact},          {"Delete", contact.With("whereValue", "0")},
      {"CreateTable", fresh},       {"DropTable", contact}};
  for (const Operation& operation : operations::All()) {
    if (std::none_of(subjects.begin(), subjects.end(),
                     [&](const Subject& each) { return each.first == operation.member; })) {
      subjects.emplace_back(operation.member, operation.PlainTexts());
    }
  }
  return subjects;
}

// The rules for each operation, whatever is in the file.

// The results of a step of a statement of sqlite3_prepare. After any other code the
// library would step again, and if SQLite kept to it, for ever.
void ExpectStepResult(const std::string& function, int result) {
  if (function == "sqlite3_step") {
    EXPECT_THAT(result, AnyOf(SQLITE_ROW, SQLITE_DONE, SQLITE_ERROR, SQLITE_BUSY));
  }
}

// Expects a result of SQLite's, and one record of it. A query has none of a success.
void ExpectOutcome(const Operation& operation, int result) {
  EXPECT_THAT(result, AllOf(Ge(SQLITE_OK), Le(SQLITE_NOTADB)));
  std::vector<std::string> records = fake::Lines();
  const std::string member = operations::kFile + ": " + operation.member + "(#) > ";
  records.erase(std::remove_if(records.begin(), records.end(),
                               [&](const std::string& each) {
                                 return each[0] == '3' || each.find(member) == std::string::npos;
                               }),
                records.end());
  if (result == SQLITE_OK) {
    EXPECT_EQ(operations::SuccessLines(operation), records);
  } else {
    EXPECT_THAT(records, ElementsAre(StartsWith(operations::FailureLine(operation, result, ""))));
  }
}

// The cursor has the rows that the same query has without the library, or what it
// had before; likewise the flag.
void ExpectAnswer(const Operation& operation, operations::Call& call, int result) {
  if (operation.kind == operations::Kind::kFillsCursor) {
    const Answer expected = result == SQLITE_OK ? TheFile().Ask(call.Sql(), 1)
                                                : Answer{0, "", {"before"}, {{"before", {}}}};
    std::vector<std::string> columns;
    call.cursor.GetColumn(columns);
    EXPECT_EQ(expected.columns, columns);
    EXPECT_EQ(expected.cells, CellMapOf(call.cursor));
  } else if (operation.kind == operations::Kind::kSetsFlag) {
    const Answer expected =
        TheFile().Ask("SELECT name FROM sqlite_master WHERE type = 'table' AND name = 'contact'");
    EXPECT_EQ(result != SQLITE_OK || !expected.columns.empty(), call.exists);
  }
}

void Run(const Subject& subject) {
  const Operation& operation = operations::Get(subject.first);
  operations::Call call(operation, TheFile(), subject.second);
  call.cursor.SetColumn("before");
  call.exists = true;
  journal::Clear();
  fake::ResetPlatform();
  sqlite_spy::Reset();
  sqlite_spy::SetObserver(ExpectStepResult);
  const int blocks = sqlite_spy::MemoryBlocks();
  Database database;
  const int result = call.Run(database);
  // A file that can be opened is closed again, whatever came between.
  EXPECT_THAT(sqlite_spy::OpenStatements(), IsEmpty());
  EXPECT_THAT(sqlite_spy::OpenConnections(), IsEmpty());
  EXPECT_THAT(sqlite_spy::HeldErrorTexts(), IsEmpty());
  EXPECT_EQ(blocks, sqlite_spy::MemoryBlocks());
  ExpectOutcome(operation, result);
  // Where SQLite was stopped, the library would have gone on.
  if (intervals <= kMostIntervals) {
    ExpectAnswer(operation, call, result);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<Subject> subjects = MakeSubjects();
  static const std::string goodContent = GoodContent();
  const Damage damage = ReadDamage(InputReader(data, size), goodContent);
  Write(damage.content);
  for (std::size_t number = 0; number < subjects.size(); ++number) {
    Run(subjects[(damage.firstOperation + number) % subjects.size()]);
  }
  return 0;
}
