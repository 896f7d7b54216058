#include "HostileTest.h"

#include <sqlite3.h>

#include <algorithm>

#include "OperationLines.h"
#include "WholeFile.h"

namespace {

using operations::Kind;
using operations::Operation;
using ::testing::ElementsAre;

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

// The verdict of a connection of the test's own.
Verdict Ask(const std::string& path, const std::string& sql, bool isWrite) {
  sqlite3* db = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_open(path.c_str(), &db));
  Verdict verdict = isWrite ? Execute(db, sql) : Query(db, sql);
  EXPECT_EQ(SQLITE_OK, sqlite3_close(db));
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

Strings OperationLines() {
  Strings lines = fake::Lines();
  const auto isOthers = [](const std::string& line) {
    return line.find(" Database") != 1;  // Database.cpp and DatabasePasrser.cpp
  };
  lines.erase(std::remove_if(lines.begin(), lines.end(), isOthers), lines.end());
  return lines;
}

HostileTest::HostileTest() {
  file.Run(operations::Schema());
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

int HostileTest::Run(const std::string& member, const Texts& texts) {
  const Operation& operation = operations::Get(member);
  const auto request = operation.request.make();
  file.Locate(*request);
  operation.fill(*request, texts);
  ForgetEvents();
  return operation.run(database, *request, texts, cursor, exists);
}

Verdict HostileTest::Expect(const Operation& operation, const Texts& texts) {
  return ExpectVerdict(operation.member, operation.Sql(texts), Run(operation.member, texts));
}

Verdict HostileTest::Expect(const std::string& name, const std::string& slot,
                            const std::string& text) {
  const operations::Subject subject = operations::GetCase(name);
  return Expect(*subject.operation, subject.own->texts.With(slot, text));
}

Verdict HostileTest::ExpectVerdict(const std::string& member, const std::string& sql, int code) {
  const Operation& operation = operations::Get(member);
  const Verdict verdict = Ask(m_copy.Path(), sql, operation.IsWrite());
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
  const bool isWrite = operation.IsWrite();
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
  Strings expected = OpeningLines(operation, file.Directory(), file.FileName());
  for (const std::string& line :
       verdict.code == SQLITE_OK ? SuccessLines(operation)
                                 : Strings{FailureLine(operation, verdict.code, verdict.message)}) {
    expected.push_back(line);
  }
  EXPECT_TRUE(expected == OperationLines())
      << ::testing::PrintToString(OperationLines()).substr(0, 4000);
}

void HostileTest::ExpectResult(const Operation& operation, const Verdict& verdict) {
  if (verdict.code != SQLITE_OK) {
    return;
  }
  if (operation.kind == Kind::kSetsFlag) {
    EXPECT_EQ(verdict.rows.at(0).at(0) != "0", exists);
  } else if (operation.kind == Kind::kFillsCursor) {
    EXPECT_TRUE(verdict.rows == RowsOf(cursor, verdict.columns));
  }
}

// The schema can be read whatever has become of the tables.
void HostileTest::ExpectUsable() {
  EXPECT_EQ(SQLITE_OK, Run("Select", {{"table", "sqlite_master"}}));
  const Verdict verdict = Ask(m_copy.Path(), "SELECT * FROM sqlite_master", false);
  EXPECT_TRUE(verdict.rows == RowsOf(cursor, {"type", "name", "tbl_name", "rootpage", "sql"}));
}
