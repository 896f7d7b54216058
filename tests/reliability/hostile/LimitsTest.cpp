// SQLite's limits, up to the last that is accepted and beyond, and texts as large as
// they come. The limits are SQLite's answers, not numbers of ours: a device may have
// others.

#include <sqlite3.h>

#include <string>
#include <vector>

#include "CreateRequest.h"
#include "HostileTest.h"
#include "OperationLines.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;

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

// Names c1 and so on, or one name again and again, at ascending addresses.
class Names {
 public:
  static Names Numbered(int count) { return Names(count, true); }
  static Names Same(const std::string& name, int count) { return Names(count, false, name); }

  const char* operator[](int index) const {
    return m_text.data() + m_offsets[static_cast<std::size_t>(index)];
  }
  int Count() const { return static_cast<int>(m_offsets.size()); }

 private:
  Names(int count, bool isNumbered, const std::string& name = "c") {
    for (int number = 1; number <= count; ++number) {
      m_offsets.push_back(m_text.size());
      m_text += name + (isNumbered ? std::to_string(number) : "") + '\0';
    }
  }
  std::string m_text;
  std::vector<std::size_t> m_offsets;
};

std::string Joined(const Names& names, const std::string& before, const std::string& after,
                   const std::string& separator) {
  std::string joined;
  for (int index = 0; index < names.Count(); ++index) {
    joined += (index == 0 ? "" : separator) + before + names[index] + after;
  }
  return joined;
}

class LimitsTest : public HostileTest {
 protected:
  template <typename Request>
  void Address(Request& request, const char* table) const {
    file.Locate(request);
    request.SetTable(table);
  }
  Verdict CreateWide(const Names& names) {
    CreateRequest request;
    Address(request, "wide");
    for (int index = 0; index < names.Count(); ++index) {
      request.SetColumnKey(names[index], "TEXT");
    }
    return ExpectVerdict("CreateTable",
                         "CREATE TABLE IF NOT EXISTS wide (_ID INTEGER PRIMARY KEY, " +
                             Joined(names, "", " TEXT", ", ") + ")",
                         database.CreateTable(request));
  }
  Verdict UpsertWide(const Names& names) {
    UpsertRequest request;
    Address(request, "wide");
    for (int index = 0; index < names.Count(); ++index) {
      request.SetData(names[index], "7");
    }
    Names sevens = Names::Same("7", names.Count());
    return ExpectVerdict("Upsert",
                         "INSERT OR REPLACE INTO wide (" + Joined(names, "", "", ", ") +
                             ") VALUES (" + Joined(sevens, "'", "'", ", ") + ")",
                         database.Upsert(request));
  }
  Verdict UpdateWide(const Names& names) {
    UpdateRequest request;
    Address(request, "wide");
    for (int index = 0; index < names.Count(); ++index) {
      request.SetData(names[index], "8");
    }
    request.SetWhere("_ID", 1);
    return ExpectVerdict("Update",
                         "UPDATE wide SET " + Joined(names, "", " = '8'", ", ") + " WHERE _ID='1'",
                         database.Update(request));
  }
  // With that many conditions, all the same.
  Verdict SelectWhere(int conditions) {
    const Names names = Names::Same("uid", conditions);
    SelectRequest request;
    Address(request, "contact");
    for (int index = 0; index < conditions; ++index) {
      request.SetWhere(names[index], "1");
    }
    return ExpectVerdict("Select",
                         "SELECT * FROM contact WHERE " + Joined(names, "", "='1'", " AND "),
                         database.Select(request, cursor));
  }
};

// Columns.

TEST_F(LimitsTest, ATableMayHaveAllColumns) {
  const Names names = Names::Numbered(Limit(SQLITE_LIMIT_COLUMN) - 1);  // beside _ID
  ASSERT_EQ(0, CreateWide(names).code);
  ASSERT_EQ(0, UpsertWide(names).code);
  ASSERT_EQ(0, UpdateWide(names).code);
  const Verdict verdict = Expect("Select", "table", "wide");
  ASSERT_EQ(0, verdict.code);
  EXPECT_EQ(static_cast<std::size_t>(names.Count() + 1), verdict.columns.size());
  EXPECT_EQ("8", verdict.rows.at(0).back());
}

TEST_F(LimitsTest, ATableMayNotHaveOneColumnMore) {
  const Verdict verdict = CreateWide(Names::Numbered(Limit(SQLITE_LIMIT_COLUMN)));
  EXPECT_EQ(SQLITE_ERROR, verdict.code);
  EXPECT_EQ("too many columns on wide", verdict.message);
  EXPECT_TRUE(IsUntouched());
}

TEST_F(LimitsTest, MoreValuesThanColumnsAreRefused) {
  const int limit = Limit(SQLITE_LIMIT_COLUMN);
  ASSERT_EQ(0, CreateWide(Names::Numbered(limit - 1)).code);
  EXPECT_EQ(SQLITE_ERROR, UpsertWide(Names::Numbered(limit + 1)).code);
  const Verdict verdict = UpdateWide(Names::Same("c1", limit + 1));
  EXPECT_EQ(SQLITE_ERROR, verdict.code);
  EXPECT_EQ("too many columns in set list", verdict.message);
}

TEST_F(LimitsTest, AJoinMayNotHaveMoreColumnsThanATable) {
  const int limit = Limit(SQLITE_LIMIT_COLUMN);
  ASSERT_EQ(0, CreateWide(Names::Numbered(limit - 1)).code);
  ASSERT_EQ(0, UpsertWide(Names::Numbered(1)).code);
  const Verdict verdict =
      Expect(operations::Get("JoinSelect"),
             {{"table", "wide"}, {"column", "_ID"}, {"table2", "contact"}, {"column2", "uid"}});
  EXPECT_EQ(SQLITE_ERROR, verdict.code);
  EXPECT_EQ("too many columns in result set", verdict.message);
}

// Conditions.

TEST_F(LimitsTest, ConditionsMayBeAsManyAsAnExpressionIsDeepLessOne) {
  const Verdict verdict = SelectWhere(Limit(SQLITE_LIMIT_EXPR_DEPTH) - 1);
  EXPECT_EQ(0, verdict.code);
  EXPECT_THAT(verdict.rows, ElementsAre(ElementsAre("1", "Kim")));
}

TEST_F(LimitsTest, MoreConditionsAreRefused) {
  const int limit = Limit(SQLITE_LIMIT_EXPR_DEPTH);
  for (const int conditions : {limit, 10 * limit}) {
    const Verdict verdict = SelectWhere(conditions);
    EXPECT_EQ(SQLITE_ERROR, verdict.code);
    EXPECT_EQ("Expression tree is too large (maximum depth " + std::to_string(limit) + ")",
              verdict.message);
  }
}

// Lengths. Some devices have limits far below the usual 1,000,000,000 bytes.

TEST_F(LimitsTest, AStatementMayBeAsLongAsSqliteAllows) {
  constexpr int kLimit = 10000;
  const LowLimit low(SQLITE_LIMIT_SQL_LENGTH, kLimit);
  const std::string frame = "SELECT * FROM contact WHERE uid=''";
  const std::string value(kLimit - frame.size(), 'a');
  EXPECT_EQ(0, Expect("SelectWhere", "whereValue", value).code);
  const Verdict verdict = Expect("SelectWhere", "whereValue", value + "a");
  EXPECT_EQ(SQLITE_TOOBIG, verdict.code);
  EXPECT_EQ("string or blob too big", verdict.message);
}

TEST_F(LimitsTest, ALongerStatementIsRefusedInAWriteAsWell) {
  const LowLimit low(SQLITE_LIMIT_SQL_LENGTH, 10000);
  const Verdict verdict = Expect("Upsert", "value", std::string(10000, 'a'));
  EXPECT_EQ(SQLITE_TOOBIG, verdict.code);
  EXPECT_EQ("string or blob too big", verdict.message);
  EXPECT_TRUE(IsUntouched());
}

TEST_F(LimitsTest, AValueBeyondTheLengthOfTextsIsRefused) {
  const LowLimit low(SQLITE_LIMIT_LENGTH, 10000);
  const Verdict verdict = Expect("Upsert", "value", std::string(20000, 'a'));
  EXPECT_EQ(SQLITE_TOOBIG, verdict.code);
  EXPECT_EQ("string or blob too big", verdict.message);
  EXPECT_TRUE(IsUntouched());
}

// 100 MiB.

class LargeTextTest : public LimitsTest {
 protected:
  static constexpr std::size_t kSize = 100UL * 1024 * 1024;
  const std::string text = std::string(kSize, 'a');
};

TEST_F(LargeTextTest, AValueIsWritten) {
  ASSERT_EQ(0, Run("Upsert", operations::Get("Upsert").PlainTexts().With("value", text)));
  ForgetEvents();
  EXPECT_THAT(file.Rows("SELECT length(uid), trim(uid, 'a') FROM contact WHERE uid > '9'"),
              ElementsAre(std::to_string(kSize) + "|"));
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
