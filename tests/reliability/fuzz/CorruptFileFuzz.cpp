// A database file that is damaged, and every operation on it. The input damages a
// good file, line by line:
//
//   f number        the operation to begin with, 0 to 7; the others follow
//   b offset value  writes a byte
//   x offset text   writes a text over what stands there
//   s to from size  copies a part of the file over another
//   t size          cuts the file, or fills it up with zeros
//   w               takes all that follows for the file
//
// Fields follow the letter and are separated by tabs. Offsets beyond the end begin
// again at its start.
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
#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "Containers.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "FakePlatform.h"
#include "FuzzTarget.h"
#include "InputReader.h"
#include "JoinRequest.h"
#include "Journal.h"
#include "SelectRequest.h"
#include "SqliteSpy.h"
#include "TemporaryDatabase.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"
#include "WholeFile.h"

namespace {

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

std::size_t Offset(const InputLine& line, std::size_t field, const std::string& content) {
  return static_cast<std::size_t>(static_cast<unsigned>(line.Number(field))) % content.size();
}

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
    if (line.Letter() == 'f') {
      damage.firstOperation = static_cast<std::size_t>(line.Number(0) & 7);
    } else if (line.Letter() == 'w') {
      content = input.Rest().substr(0, kLargestFile);
    } else if (line.Letter() == 't') {
      content.resize(static_cast<std::size_t>(static_cast<unsigned>(line.Number(0))) %
                     kLargestFile);
    } else if (content.empty()) {
      continue;
    } else if (line.Letter() == 'b') {
      content[Offset(line, 0, content)] = static_cast<char>(line.Number(1));
    } else if (line.Letter() == 'x') {
      Overwrite(content, Offset(line, 0, content), line.Text(1));
    } else if (line.Letter() == 's') {
      Overwrite(content, Offset(line, 0, content),
                content.substr(Offset(line, 1, content), Offset(line, 2, content)));
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

// The file's place, and the good content.
class Files {
 public:
  Files() {
    m_database.Run(kGoodFile);
    m_goodContent = ReadWholeFile(m_database.Path());
    EXPECT_EQ(SQLITE_OK, sqlite3_auto_extension(reinterpret_cast<void (*)()>(&Bound)));
  }

  const std::string& GoodContent() const { return m_goodContent; }
  const TemporaryDatabase& Database() const { return m_database; }

  // The only file that there is.
  void Write(const std::string& content) const {
    for (const char* suffix : {"-journal", "-wal", "-shm"}) {
      std::error_code ignored;
      std::filesystem::remove(m_database.Path() + suffix, ignored);
    }
    WriteWholeFile(m_database.Path(), content);
  }

 private:
  TemporaryDatabase m_database;
  std::string m_goodContent;
};

const Files& TheFiles() {
  static const Files files;
  return files;
}

// What SQLite answers to a query of the test's own: the cells by the columns' names.
struct Answer {
  std::vector<std::string> columns;
  CellMap cells;
};

void AddRow(sqlite3_stmt* stmt, Answer& answer) {
  const bool isFirst = answer.columns.empty();
  for (int column = 0; column < sqlite3_column_count(stmt); ++column) {
    const std::string name = sqlite3_column_name(stmt, column);
    const int type = sqlite3_column_type(stmt, column);
    const bool isText = type != SQLITE_NULL && type != SQLITE_BLOB;
    const auto* const text =
        isText ? reinterpret_cast<const char*>(sqlite3_column_text(stmt, column)) : "";
    answer.cells[name].emplace_back(text);
    if (isFirst) {
      answer.columns.push_back(name);
    }
  }
}

// The rows up to the end, or to where stepping fails.
Answer Ask(const char* sql) {
  Answer answer;
  sqlite3* db = nullptr;
  sqlite3_stmt* stmt = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_open(TheFiles().Database().Path().c_str(), &db));
  sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  while (stmt != nullptr && sqlite3_step(stmt) == SQLITE_ROW) {
    AddRow(stmt, answer);
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return answer;
}

// The operations, and what holds of each, whatever is in the file.

// What a step can answer to a statement of sqlite3_prepare. After any other code the
// library would step again, and if SQLite kept to it, for ever.
void ExpectStepResult(const std::string& function, int result) {
  if (function == "sqlite3_step") {
    EXPECT_THAT(result, AnyOf(SQLITE_ROW, SQLITE_DONE, SQLITE_ERROR, SQLITE_BUSY));
  }
}

template <typename Request>
void Locate(Request& request) {
  TheFiles().Database().Locate(request);
}

// Expects a result of SQLite's, and one line that tells it. A query tells no success.
void ExpectOutcome(int result, const char* member, const std::string& word, bool tellsSuccess) {
  EXPECT_THAT(result, AllOf(Ge(SQLITE_OK), Le(SQLITE_NOTADB)));
  std::vector<std::string> outcomes;
  for (const std::string& line : fake::Lines()) {
    if (line.find(std::string(member) + "(#) > " + word + " ") != std::string::npos) {
      outcomes.push_back(line);
    }
  }
  const auto lineOf = [&](int priority, const std::string& message) {
    return fake::Line(priority, "Database.cpp", member, word + message);
  };
  if (result != SQLITE_OK) {
    EXPECT_THAT(outcomes,
                ElementsAre(StartsWith(lineOf(6, " FAILED[" + std::to_string(result) + "]: "))));
  } else if (tellsSuccess) {
    EXPECT_THAT(outcomes, ElementsAre(lineOf(4, " SUCCESS[0]")));
  } else {
    EXPECT_THAT(outcomes, IsEmpty());
  }
}

template <typename Request>
void Write(int (Database::*write)(Request&), Request& request, const char* member,
           const char* word) {
  Locate(request);
  ExpectOutcome((Database().*write)(request), member, word, true);
}

// Whether SQLite was stopped where the library would have gone on.
bool WasBounded() { return intervals > kMostIntervals; }

// The cursor has the rows that the same query has without the library, or what it
// had before.
template <typename Request>
void Query(int (Database::*query)(Request&, Cursor&), Request& request, const char* member,
           const char* word, const char* sql) {
  Locate(request);
  Cursor cursor;
  cursor.SetColumn("before");
  const int result = (Database().*query)(request, cursor);
  ExpectOutcome(result, member, word, false);
  if (!WasBounded()) {
    const Answer expected = result == SQLITE_OK ? Ask(sql) : Answer{{"before"}, {{"before", {}}}};
    std::vector<std::string> columns;
    cursor.GetColumn(columns);
    EXPECT_EQ(expected.columns, columns);
    EXPECT_EQ(expected.cells, CellMapOf(cursor));
  }
}

void CheckExistTable() {
  BasePath path;
  Locate(path);
  const bool before = true;
  bool exists = before;
  const int result = Database().CheckExistTable(path, "contact", exists);
  ExpectOutcome(result, "CheckExistTable", "CheckExistTable", false);
  if (!WasBounded()) {
    const Answer answer =
        Ask("SELECT name FROM sqlite_master WHERE type = 'table' AND name = 'contact'");
    EXPECT_EQ(result == SQLITE_OK ? !answer.columns.empty() : before, exists);
  }
}

void Select() {
  SelectRequest request;
  request.SetTable("contact");
  request.SetWhere("kind", 1);
  Query(&Database::Select, request, "Select", "SELECT", "SELECT * FROM contact WHERE kind='1'");
}

void JoinSelect() {
  JoinRequest request;
  request.SetLeftJoin("contact", "_ID");
  request.SetRightJoin("note", "owner");
  Query(&Database::JoinSelect, request, "JoinSelect", "JoinSelect",
        "SELECT * FROM contact INNER JOIN note ON contact._ID = note.owner");
}

void Upsert() {
  UpsertRequest request;
  request.SetTable("note");
  request.SetData("owner", "7");
  request.SetData("day", 7);
  request.SetData("body", std::string(1000, 'b').c_str());
  Write(&Database::Upsert, request, "Upsert", "Upsert");
}

void Update() {
  UpdateRequest request;
  request.SetTable("contact");
  request.SetData("kind", "another");
  request.SetWhere("kind", 2);
  Write(&Database::Update, request, "Update", "update");
}

void Delete() {
  DeleteRequest request;
  request.SetTable("contact");
  request.SetWhere("kind", 0);
  Write(&Database::Delete, request, "Delete", "delete");
}

void CreateTable() {
  CreateRequest request;
  request.SetTable("fresh");
  request.SetPrimaryKey("uid", "TEXT");
  request.SetColumnKey("name", "TEXT");
  Write(&Database::CreateTable, request, "CreateTable", "createTable");
}

void DropTable() {
  DropRequest request;
  request.SetTable("contact");
  Write(&Database::DropTable, request, "DropTable", "DropTable");
}

constexpr std::array<void (*)(), 8> kOperations{CheckExistTable, Select, JoinSelect,  Upsert,
                                                Update,          Delete, CreateTable, DropTable};

void Run(std::size_t number) {
  journal::Clear();
  fake::ResetPlatform();
  sqlite_spy::Reset();
  sqlite_spy::SetObserver(ExpectStepResult);
  const int blocks = sqlite_spy::MemoryBlocks();
  kOperations[number % kOperations.size()]();
  // A file that can be opened is closed again, whatever came between.
  EXPECT_THAT(sqlite_spy::OpenStatements(), IsEmpty());
  EXPECT_THAT(sqlite_spy::OpenConnections(), IsEmpty());
  EXPECT_THAT(sqlite_spy::HeldErrorTexts(), IsEmpty());
  EXPECT_EQ(blocks, sqlite_spy::MemoryBlocks());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Damage damage = ReadDamage(InputReader(data, size), TheFiles().GoodContent());
  TheFiles().Write(damage.content);
  for (std::size_t number = 0; number < kOperations.size(); ++number) {
    Run(damage.firstOperation + number);
  }
  return 0;
}
