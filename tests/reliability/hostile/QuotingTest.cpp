// The safe way to hand on values and names of others: quoted by the caller, any of them
// arrives as it was.

#include "safe.h"

#include <array>
#include <filesystem>
#include <string>

#include "HostileTest.h"
#include "HostileTexts.h"

namespace {

using ::testing::ElementsAre;

class QuotingTest : public HostileTest {
 protected:
  // The rows of contact with that name.
  int SelectByName(const std::string& name) {
    return Run("Select",
               {{"table", "contact"}, {"whereColumn", "name"}, {"whereValue", Quoted(name)}});
  }

  std::string Cell(const std::string& column) {
    std::string value = "unread";
    cursor.MoveToFirst();
    EXPECT_EQ(0, cursor.MoveToNext());
    EXPECT_EQ(0, cursor.GetString(column.c_str(), value));
    return value;
  }

  int Delete(const std::string& column, const std::string& value) {
    return Run("Delete", {{"table", "contact"}, {"whereColumn", column}, {"whereValue", value}});
  }
};

// Values.

TEST_F(QuotingTest, AQuotedValueIsWrittenFoundUpdatedAndDeletedAsItWas) {
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    StartAfresh();
    const std::string value = UpToNul(text);
    const std::string quoted = Quoted(value);
    const Texts row = {{"table", "contact"}, {"column", "uid"}, {"value", "1"}};
    ASSERT_EQ(0, Run("Upsert", row.With("column2", "name").With("value2", quoted)));
    ASSERT_EQ(0, SelectByName(value));
    EXPECT_TRUE(value == Cell("name"));
    EXPECT_EQ("1", Cell("uid"));
    ASSERT_EQ(0, Delete("name", quoted));
    EXPECT_THAT(Contacts(), ElementsAre("2"));

    StartAfresh();
    ASSERT_EQ(0, Run("Update", operations::Get("Update").PlainTexts().With("value", quoted)));
    ASSERT_EQ(0, SelectByName(value));
    EXPECT_EQ("1", Cell("uid"));
    EXPECT_THAT(file.Rows("SELECT name FROM contact WHERE uid = '2'"), ElementsAre("Lee"));
    EXPECT_THAT(file.Rows("SELECT count(*) FROM note"), ElementsAre("3"));
  }
}

// Unless somebody else has created the file with another encoding.
TEST_F(QuotingTest, InvalidUtf8IsReplacedInAFileOfUtf16) {
  std::filesystem::remove(file.Path());
  file.Run("PRAGMA encoding = 'UTF-16'; CREATE TABLE contact (uid TEXT, name TEXT)");
  ASSERT_EQ(0, Run("Upsert", {{"table", "contact"}, {"column", "name"}, {"value", "a\xff"}}));
  ASSERT_EQ(0, SelectByName("a\xff"));
  EXPECT_EQ("a\xef\xbf\xbd", Cell("name"));
}

// Names.

TEST_F(QuotingTest, QuotedNamesWorkInEveryOperation) {
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    StartAfresh();
    const std::string bare = UpToNul(text);
    if (bare == "contact" || bare == "note" || bare == "uid") {
      continue;  // taken
    }
    const std::string name = QuotedName(bare);
    const Texts table = {{"table", name}};
    const Texts row = table.With("column", name);
    const Texts found = table.With("whereColumn", name).With("whereValue", "2");

    const int created = Run(
        "CreateTable",
        row.With("key", name).With("keyType", "TEXT").With("column", "more").With("type", "TEXT"));
    if (bare.compare(0, 7, "sqlite_") == 0) {
      EXPECT_NE(0, created) << "reserved for SQLite";
      continue;
    }
    ASSERT_EQ(0, created);
    ASSERT_EQ(0, Run("CheckExistTable", {{"table", Quoted(bare)}}));
    EXPECT_TRUE(exists);
    ASSERT_EQ(0, Run("Upsert", row.With("value", "1")));
    ASSERT_EQ(
        0, Run("Update", row.With("value", "2").With("whereColumn", name).With("whereValue", "1")));
    ASSERT_EQ(0, Run("Select", found));
    EXPECT_EQ("2", Cell(bare));  // the cursor has the bare name
    ASSERT_EQ(0, Run("JoinSelect",
                     found.With("column", name).With("table2", "contact").With("column2", "uid")));
    EXPECT_EQ("Lee", Cell("name"));
    ASSERT_EQ(0, Run("Delete", found));
    ASSERT_EQ(0, Run("Select", found));
    EXPECT_EQ(-1, cursor.GetCount());
    ASSERT_EQ(0, Run("DropTable", table));
    EXPECT_THAT(Tables(), ElementsAre("contact", "note"));
  }
}

TEST_F(QuotingTest, BothKeysOfACompositeKeyMayBeQuoted) {
  const operations::Operation& create = operations::Get("CreateTable");
  const Texts texts = create.PlainTexts().With("key", "\"order\"");
  EXPECT_EQ(0, Expect(create, texts.With("key2", "\"say \"\"hi\"\"\"")).code);
  EXPECT_THAT(file.Rows("SELECT name FROM pragma_table_info('device')"),
              ElementsAre("order", "say \"hi\"", "label"));
}

// To SQLite, a quoted name of no column is a text in a condition, unless it follows its table;
// a name in single quotes is always one. Names ignore the case of ASCII.
TEST_F(QuotingTest, AQuotedNameInAConditionIsAColumnOrAText) {
  const struct {
    std::string name, value;
    int code;
    Strings contacts;
  } conditions[] = {{QuotedName("nosuch"), "1", SQLITE_OK, {"1", "2"}},
                    {QuotedName("nosuch"), "nosuch", SQLITE_OK, {}},
                    {"contact." + QuotedName("nosuch"), "nosuch", SQLITE_ERROR, {"1", "2"}},
                    {"contact." + QuotedName("uid"), "1", SQLITE_OK, {"2"}},
                    {"'uid'", "uid", SQLITE_OK, {}},
                    {QuotedName("UID"), "1", SQLITE_OK, {"2"}}};
  for (const auto& condition : conditions) {
    StartAfresh();
    EXPECT_EQ(condition.code, Delete(condition.name, condition.value));
    EXPECT_EQ(condition.contacts, Contacts()) << condition.name << "='" << condition.value << "'";
  }
}

// A number is handed on as a text, and the column's type decides.

class AffinityTest : public HostileTest {
 protected:
  // What the column stores, and its type.
  std::string Stored(const std::string& type, const std::string& value) {
    StartAfresh();
    file.Run("CREATE TABLE t (a " + type + ")");
    EXPECT_EQ(0, Run("Upsert", {{"table", "t"}, {"column", "a"}, {"value", value}}));
    return file.Rows("SELECT a, typeof(a) FROM t").at(0);
  }
  // How many rows are found again by the same text.
  int Found(const std::string& value) {
    EXPECT_EQ(0, Run("Select", {{"table", "t"}, {"whereColumn", "a"}, {"whereValue", value}}));
    return cursor.GetCount();
  }
};

TEST_F(AffinityTest, AColumnStoresWhatItsTypeMakesOfAText) {
  const std::vector<std::array<std::string, 3>> stored = {
      {"INTEGER", "7", "7|integer"},
      {"INTEGER", "007", "7|integer"},
      {"INTEGER", " 7 ", "7|integer"},
      {"INTEGER", "7.0", "7|integer"},
      {"INTEGER", "7.5", "7.5|real"},
      {"INTEGER", "1e+06", "1000000|integer"},
      {"INTEGER", "9223372036854775807", "9223372036854775807|integer"},
      {"INTEGER", "9223372036854775808", "9.22337203685478e+18|real"},
      {"INTEGER", "0x7", "0x7|text"},
      {"INTEGER", "7 apples", "7 apples|text"},
      {"INTEGER", "", "|text"},
      {"REAL", "7", "7.0|real"},
      {"REAL", "007", "7.0|real"},
      {"REAL", "1e+06", "1000000.0|real"},
      {"REAL", "9223372036854775808", "9.22337203685478e+18|real"},
      {"REAL", "0x7", "0x7|text"},
      {"REAL", "", "|text"},
      {"REAL", "1e999", "Inf|real"},
      {"REAL", "nan", "nan|text"},
      {"TEXT", "007", "007|text"},
      {"TEXT", "1e+06", "1e+06|text"},
      {"", "7", "7|text"},
      {"", "007", "007|text"}};
  for (const auto& [type, value, content] : stored) {
    EXPECT_EQ(content, Stored(type, value)) << type << " '" << value << "'";
  }
}

TEST_F(AffinityTest, AConditionConvertsAsTheColumnDoes) {
  Stored("INTEGER", "7");
  EXPECT_EQ(1, Found("007"));
  Stored("TEXT", "7");
  EXPECT_EQ(-1, Found("007"));
  EXPECT_EQ(1, Found("7"));
  Stored("", "7");
  EXPECT_EQ(1, Found("7"));
  file.Run("UPDATE t SET a = 7");  // as somebody else may
  EXPECT_EQ(-1, Found("7")) << "a column without a type converts nothing";
}

}  // namespace
