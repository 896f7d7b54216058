#include "HostileTest.h"

#include <algorithm>

#include "Containers.h"
#include "OperationLines.h"
#include "WholeFile.h"

using operations::Kind;
using operations::Operation;
using ::testing::ElementsAre;

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

Answer HostileTest::Expect(const Operation& operation, const Texts& texts) {
  return ExpectAnswer(operation.member, operation.Sql(texts), Run(operation.member, texts));
}

Answer HostileTest::Expect(const std::string& name, const std::string& slot,
                           const std::string& text) {
  const operations::Subject subject = operations::GetCase(name);
  return Expect(*subject.operation, subject.own->texts.With(slot, text));
}

Answer HostileTest::ExpectAnswer(const std::string& member, const std::string& sql, int code) {
  const Operation& operation = operations::Get(member);
  const Answer answer = m_copy.Ask(sql, operation.IsWrite() ? -1 : 1);
  EXPECT_EQ(answer.code, code);
  ExpectCalls(operation, sql);
  ExpectLog(operation, answer);
  if (code == SQLITE_OK && operation.kind == Kind::kSetsFlag) {
    EXPECT_EQ(answer.cells.at(answer.columns.at(0)).at(0) != "0", exists);
  } else if (code == SQLITE_OK && operation.kind == Kind::kFillsCursor) {
    ExpectCursor(answer);
  }
  // The same changes in the same order leave the same bytes.
  EXPECT_TRUE(ReadWholeFile(m_copy.Path()) == ReadWholeFile(file.Path()))
      << "the file differs from the copy";
  EXPECT_THAT(file.Rows("PRAGMA integrity_check"), ElementsAre("ok"));
  // The schema can be read whatever has become of the tables.
  EXPECT_EQ(SQLITE_OK, Run("Select", {{"table", "sqlite_master"}}));
  ExpectCursor(m_copy.Ask("SELECT * FROM sqlite_master"));
  ForgetEvents();
  return answer;
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

void HostileTest::ExpectLog(const Operation& operation, const Answer& answer) const {
  Strings expected = OpeningLines(operation, file.Directory(), file.FileName());
  for (const std::string& line :
       answer.code == SQLITE_OK ? SuccessLines(operation)
                                : Strings{FailureLine(operation, answer.code, answer.message)}) {
    expected.push_back(line);
  }
  EXPECT_TRUE(expected == OperationLines())
      << ::testing::PrintToString(OperationLines()).substr(0, 4000);
}

// All cells by the names of their columns.
void HostileTest::ExpectCursor(const Answer& answer) {
  Strings columns;
  cursor.GetColumn(columns);
  EXPECT_TRUE(answer.columns == columns);
  EXPECT_TRUE(answer.cells == CellMapOf(cursor));
}
