#include "HostileTest.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>

#include "SelectRequest.h"
#include "WholeFile.h"

namespace {

using fake::Line;
using fake::Trace;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

const std::string kFile = "Database.cpp";

Verdict Execute(sqlite3* db, const std::string& sql) {
  Verdict verdict;
  char* message = nullptr;
  verdict.code = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
  verdict.message = message == nullptr ? "" : message;
  sqlite3_free(message);
  return verdict;
}

void ReadRows(sqlite3_stmt* stmt, Verdict& verdict) {
  int rc = SQLITE_OK;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    Strings row;
    verdict.columns.clear();
    for (int column = 0; column < sqlite3_column_count(stmt); ++column) {
      const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
      row.emplace_back(text == nullptr ? "" : text);
      verdict.columns.emplace_back(sqlite3_column_name(stmt, column));
    }
    verdict.rows.push_back(row);
  }
  EXPECT_EQ(SQLITE_DONE, rc);
}

// Of several statements the first.
Verdict Query(sqlite3* db, const std::string& sql) {
  Verdict verdict;
  sqlite3_stmt* stmt = nullptr;
  verdict.code = sqlite3_prepare(db, sql.c_str(), -1, &stmt, nullptr);
  if (verdict.code != SQLITE_OK) {
    verdict.message = sqlite3_errmsg(db);
  } else {
    ReadRows(stmt, verdict);
  }
  sqlite3_finalize(stmt);
  return verdict;
}

// All cells by the names of their columns.
std::vector<Strings> RowsOf(Cursor& cursor, const Strings& columns) {
  std::vector<Strings> rows;
  for (cursor.MoveToFirst(); cursor.MoveToNext() == 0;) {
    Strings row;
    for (const std::string& column : columns) {
      row.emplace_back();
      EXPECT_EQ(0, cursor.GetString(column.c_str(), row.back()));
    }
    rows.push_back(row);
  }
  return rows;
}

}  // namespace

Verdict Ask(const std::string& path, const std::string& sql, Operation::Kind kind) {
  sqlite3* db = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &db));
  Verdict verdict = kind == Operation::kWrite ? Execute(db, sql) : Query(db, sql);
  EXPECT_EQ(SQLITE_OK, sqlite3_close(db));
  return verdict;
}

Strings OperationLines() {
  Strings lines = fake::Lines();
  const auto isOthers = [](const std::string& line) {
    return line.find(" Database") != 1;  // Database.cpp and DatabasePasrser.cpp
  };
  lines.erase(std::remove_if(lines.begin(), lines.end(), isOthers), lines.end());
  return lines;
}

HostileTest::HostileTest() {
  file.Run(
      "CREATE TABLE contact (uid TEXT NOT NULL PRIMARY KEY, name TEXT);"
      "INSERT INTO contact VALUES ('1', 'Kim'), ('2', 'Lee');"
      "CREATE TABLE note (id INTEGER PRIMARY KEY, owner TEXT, body TEXT);"
      "INSERT INTO note VALUES (10, '1', 'first'), (11, '1', 'second'), (12, '2', 'third')");
  m_pristine = ReadWholeFile(file.Path());
  StartAfresh();
}

void HostileTest::StartAfresh() {
  WriteWholeFile(file.Path(), m_pristine);
  WriteWholeFile(m_copy.Path(), m_pristine);
  ForgetEvents();
}

bool HostileTest::IsUntouched() const { return ReadWholeFile(file.Path()) == m_pristine; }

Strings HostileTest::Tables() const {
  return file.Rows("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name");
}

Verdict HostileTest::ExpectVerdict(const Operation& operation, const std::string& sql,
                                   const std::function<int()>& run) {
  ForgetEvents();
  const int code = run();
  const Verdict verdict = Ask(m_copy.Path(), sql, operation.kind);
  EXPECT_EQ(verdict.code, code);
  ExpectCalls(operation, sql);
  ExpectLog(operation, verdict);
  ExpectResult(operation, verdict);
  // The same changes in the same order leave the same bytes.
  EXPECT_TRUE(ReadWholeFile(m_copy.Path()) == ReadWholeFile(file.Path()))
      << "the file differs from the copy";
  EXPECT_THAT(file.Rows("PRAGMA integrity_check"), ElementsAre("ok"));
  ExpectUsable();
  ForgetEvents();
  return verdict;
}

// One statement, handed over once and as it should read.
void HostileTest::ExpectCalls(const Operation& operation, const std::string& sql) const {
  const Strings calls = sqlite_spy::Calls();
  ASSERT_GE(calls.size(), 4U);
  EXPECT_EQ("sqlite3_open(" + file.Path() + ")", calls[0]);
  const bool isWrite = operation.kind == Operation::kWrite;
  // Not compared by a matcher: these may be long, and it would copy them.
  EXPECT_TRUE(calls[1] ==
              (isWrite ? "sqlite3_exec(" + sql + ")" : "sqlite3_prepare(" + sql + ", -1, no tail)"))
      << calls[1].substr(0, 1000);
  EXPECT_EQ(isWrite ? 1 : 0, sqlite_spy::CountCalls("sqlite3_exec"));
  EXPECT_EQ(isWrite ? 0 : 1, sqlite_spy::CountCalls("sqlite3_prepare"));
  EXPECT_EQ("sqlite3_close()", calls.back());
  EXPECT_THAT(sqlite_spy::OpenStatements(), ::testing::IsEmpty());
  EXPECT_THAT(sqlite_spy::OpenConnections(), ::testing::IsEmpty());
}

void HostileTest::ExpectLog(const Operation& operation, const Verdict& verdict) const {
  Strings expected = {Trace(kFile, operation.member), Trace(kFile, "OpenDB"),
                      Line(6, kFile, "OpenDB",
                           std::string("DB file: ") + file.Directory() + " " + file.FileName())};
  if (verdict.code != SQLITE_OK) {
    expected.push_back(Line(6, kFile, operation.member,
                            std::string(operation.word) + " FAILED[" +
                                std::to_string(verdict.code) + "]: " + verdict.message));
  } else if (operation.kind == Operation::kWrite) {
    expected.push_back(
        Line(4, kFile, operation.member, std::string(operation.word) + " SUCCESS[0]"));
  }
  EXPECT_TRUE(expected == OperationLines())
      << ::testing::PrintToString(OperationLines()).substr(0, 4000);
}

void HostileTest::ExpectResult(const Operation& operation, const Verdict& verdict) {
  if (verdict.code != SQLITE_OK) {
    return;
  }
  if (operation.kind == Operation::kExistence) {
    EXPECT_EQ(verdict.rows.at(0).at(0) != "0", exists);
  } else if (operation.kind == Operation::kQuery) {
    EXPECT_TRUE(verdict.rows == RowsOf(cursor, verdict.columns));
  }
}

// The schema can be read whatever has become of the tables.
void HostileTest::ExpectUsable() {
  SelectRequest schema;
  Address(schema, "sqlite_master");
  EXPECT_EQ(SQLITE_OK, database.Select(schema, cursor));
  const Strings columns = {"type", "name", "tbl_name", "rootpage", "sql"};
  const Verdict verdict = Ask(m_copy.Path(), "SELECT * FROM sqlite_master", Operation::kQuery);
  EXPECT_TRUE(verdict.rows == RowsOf(cursor, columns));
}
