// SQLite's limits, up to the last that is accepted and beyond, and texts as large as
// they come. The limits are SQLite's answers, not numbers of ours: a device may have
// others.

#include <sqlite3.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "Containers.h"
#include "CreateRequest.h"
#include "HostileTest.h"
#include "OperationLines.h"
#include "SelectRequest.h"
#include "TestNumbers.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;

constexpr char kTooBig[] = "string or blob too big";

int Limit(int category) {
  sqlite3* db = nullptr;
  EXPECT_EQ(SQLITE_OK, sqlite3_open(":memory:", &db));
  const int limit = sqlite3_limit(db, category, -1);
  sqlite3_close(db);
  return limit;
}

// Lowers a limit of all connections that are opened while it lives.
class LowLimit {
 public:
  LowLimit(int category, int limit) {
    s_category = category;
    s_limit = limit;
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(Lower));
  }
  ~LowLimit() { sqlite3_reset_auto_extension(); }
  LowLimit(const LowLimit&) = delete;
  LowLimit& operator=(const LowLimit&) = delete;

 private:
  static int Lower(sqlite3* db, char** /*error*/, const sqlite3_api_routines* /*unused*/) {
    sqlite3_limit(db, s_category, s_limit);
    return SQLITE_OK;
  }
  static inline int s_category = 0;
  static inline int s_limit = 0;
};

using Name = std::array<char, 16>;
using Names = std::vector<Name>;  // at ascending addresses

// c1 and so on.
Names Numbered(int count) {
  Names names;
  for (int number = 1; number <= count; ++number) {
    std::snprintf(names.emplace_back().data(), sizeof(Name), "c%d", number);
  }
  return names;
}

// The same one again and again.
Names Repeated(const Name& name, int count) { return {static_cast<std::size_t>(count), name}; }

std::string Joined(const Names& names, const std::string& before, const std::string& after,
                   const std::string& separator) {
  std::string joined;
  for (const Name& name : names) {
    joined += (joined.empty() ? "" : separator) + before + name.data() + after;
  }
  return joined;
}

class LimitsTest : public HostileTest {
 protected:
  // Fills a request on a table, with an entry for each name.
  template <typename Request, typename Fill>
  void Prepare(Request& request, const char* table, const Names& names, Fill fill) const {
    file.Locate(request);
    request.SetTable(table);
    for (const Name& name : names) {
      fill(name.data());
    }
  }
  Answer CreateWide(const Names& names) {
    CreateRequest request;
    Prepare(request, "wide", names, [&](auto name) { request.SetColumnKey(name, "TEXT"); });
    return ExpectAnswer("CreateTable",
                        "CREATE TABLE IF NOT EXISTS wide (_ID INTEGER PRIMARY KEY, " +
                            Joined(names, "", " TEXT", ", ") + ")",
                        database.CreateTable(request));
  }
  Answer UpsertWide(const Names& names) {
    UpsertRequest request;
    Prepare(request, "wide", names, [&](auto name) { request.SetData(name, name); });
    return ExpectAnswer("Upsert",
                        "INSERT OR REPLACE INTO wide (" + Joined(names, "", "", ", ") +
                            ") VALUES (" + Joined(names, "'", "'", ", ") + ")",
                        database.Upsert(request));
  }
  Answer UpdateWide(const Names& names) {
    UpdateRequest request;
    Prepare(request, "wide", names, [&](auto name) { request.SetData(name, "8"); });
    request.SetWhere("_ID", 1);
    return ExpectAnswer("Update",
                        "UPDATE wide SET " + Joined(names, "", " = '8'", ", ") + " WHERE _ID='1'",
                        database.Update(request));
  }
  // With that many conditions, all the same.
  Answer SelectWhere(int conditions) {
    const Names names = Repeated({"uid"}, conditions);
    SelectRequest request;
    Prepare(request, "contact", names, [&](auto name) { request.SetWhere(name, "1"); });
    return ExpectAnswer("Select",
                        "SELECT * FROM contact WHERE " + Joined(names, "", "='1'", " AND "),
                        database.Select(request, cursor));
  }
  static void ExpectFailure(int code, const std::string& message, const Answer& answer) {
    EXPECT_EQ(code, answer.code);
    EXPECT_EQ(message, answer.message);
  }
};

// Columns.

TEST_F(LimitsTest, ATableMayHaveAllColumns) {
  const Names names = Numbered(Limit(SQLITE_LIMIT_COLUMN) - 1);  // beside _ID
  ASSERT_EQ(0, CreateWide(names).code);
  ASSERT_EQ(0, UpsertWide(names).code);
  ASSERT_EQ(0, UpdateWide(names).code);
  Answer answer = Expect("Select", "table", "wide");
  ASSERT_EQ(0, answer.code);
  EXPECT_EQ(names.size() + 1, answer.columns.size());
  EXPECT_THAT(answer.cells[names.back().data()], ElementsAre("8"));
}

TEST_F(LimitsTest, ATableMayNotHaveOneColumnMore) {
  ExpectFailure(SQLITE_ERROR, "too many columns on wide",
                CreateWide(Numbered(Limit(SQLITE_LIMIT_COLUMN))));
  EXPECT_TRUE(IsUntouched());
}

TEST_F(LimitsTest, MoreColumnsThanATableHasAreRefused) {
  const int limit = Limit(SQLITE_LIMIT_COLUMN);
  ASSERT_EQ(0, CreateWide(Numbered(limit - 1)).code);
  EXPECT_EQ(SQLITE_ERROR, UpsertWide(Numbered(limit + 1)).code);
  ExpectFailure(SQLITE_ERROR, "too many columns in set list",
                UpdateWide(Repeated({"c1"}, limit + 1)));
  // In a result, too.
  ASSERT_EQ(0, UpsertWide(Numbered(1)).code);
  ExpectFailure(
      SQLITE_ERROR, "too many columns in result set",
      Expect(operations::Get("JoinSelect"),
             {{"table", "wide"}, {"column", "_ID"}, {"table2", "contact"}, {"column2", "uid"}}));
}

// Conditions.

TEST_F(LimitsTest, ConditionsMayBeAsManyAsAnExpressionIsDeepLessOne) {
  const int limit = Limit(SQLITE_LIMIT_EXPR_DEPTH);
  const Answer answer = SelectWhere(limit - 1);
  EXPECT_EQ(0, answer.code);
  EXPECT_EQ((CellMap{{"uid", {"1"}}, {"name", {"Kim"}}}), answer.cells);
  for (const int conditions : {limit, 10 * limit}) {
    ExpectFailure(SQLITE_ERROR,
                  "Expression tree is too large (maximum depth " + std::to_string(limit) + ")",
                  SelectWhere(conditions));
  }
}

// Lengths. Some devices have limits far below the usual 1,000,000,000 bytes.

TEST_F(LimitsTest, AStatementMayBeAsLongAsSqliteAllows) {
  constexpr int kLimit = 10000;
  const LowLimit low(SQLITE_LIMIT_SQL_LENGTH, kLimit);
  const std::string frame = "SELECT * FROM contact WHERE uid=''";
  const std::string value(kLimit - frame.size(), 'a');
  EXPECT_EQ(0, Expect("SelectWhere", "whereValue", value).code);
  ExpectFailure(SQLITE_TOOBIG, kTooBig, Expect("SelectWhere", "whereValue", value + "a"));
  ExpectFailure(SQLITE_TOOBIG, kTooBig, Expect("Upsert", "value", std::string(kLimit, 'a')));
  EXPECT_TRUE(IsUntouched());
}

TEST_F(LimitsTest, AValueBeyondTheLengthOfTextsIsRefused) {
  const LowLimit low(SQLITE_LIMIT_LENGTH, 10000);
  ExpectFailure(SQLITE_TOOBIG, kTooBig, Expect("Upsert", "value", std::string(20000, 'a')));
  EXPECT_TRUE(IsUntouched());
}

// 100 MiB, or less under a stride.

class LargeTextTest : public LimitsTest {
 protected:
  const int size = 100 * 1024 * 1024 / test_numbers::Stride();
  const std::string text = std::string(static_cast<std::size_t>(size), 'a');
};

TEST_F(LargeTextTest, AValueIsWritten) {
  ASSERT_EQ(0, Run("Upsert", operations::Get("Upsert").PlainTexts().With("value", text)));
  ForgetEvents();
  EXPECT_THAT(file.Rows("SELECT length(uid), trim(uid, 'a') FROM contact WHERE uid > '9'"),
              ElementsAre(std::to_string(size) + "|"));
}

TEST_F(LargeTextTest, AValueIsFoundAndRead) {
  file.Run("INSERT INTO contact VALUES ('" + text + "', 'Ann')");
  ASSERT_EQ(0, Run("Select", {{"table", "contact"}, {"whereColumn", "uid"}, {"whereValue", text}}));
  ForgetEvents();
  std::string value;
  ASSERT_EQ(0, cursor.MoveToNext());
  ASSERT_EQ(0, cursor.GetString("uid", value));
  EXPECT_TRUE(value == text);
}

// SQLite's message repeats the name, and the log has the whole message.
TEST_F(LargeTextTest, ANameIsRefusedAndLoggedWhole) {
  EXPECT_EQ(SQLITE_ERROR, Run("Select", {{"table", text}}));
  EXPECT_TRUE(OperationLines().back() ==
              FailureLine(operations::Get("Select"), SQLITE_ERROR, "no such table: " + text));
}

}  // namespace
