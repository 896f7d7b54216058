// The safe way to hand on values and names of others: what has been quoted by the
// caller arrives as it was, whatever it is.

#include "safe.h"

#include <filesystem>
#include <string>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "HostileTest.h"
#include "HostileTexts.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kUid[] = "uid";
constexpr char kName[] = "name";

class QuotingTest : public HostileTest {
 protected:
  // The rows of contact with that name.
  int SelectByName(const std::string& name) {
    SelectRequest request;
    Address(request, "contact");
    request.SetWhere(kName, Quoted(name).c_str());
    return database.Select(request, cursor);
  }

  std::string Cell(const std::string& column) {
    std::string value = "unread";
    cursor.MoveToFirst();
    EXPECT_EQ(0, cursor.MoveToNext());
    EXPECT_EQ(0, cursor.GetString(column.c_str(), value));
    return value;
  }

  // Column names are kept by pointer: the argument outlives the request.
  int Delete(const std::string& column, const char* value) {
    DeleteRequest request;
    Address(request, "contact");
    request.SetWhere(column.c_str(), value);
    return database.Delete(request);
  }

  Strings Contacts() { return file.Rows("SELECT uid FROM contact ORDER BY uid"); }
};

// Values.

TEST_F(QuotingTest, AQuotedValueArrivesAsItWas) {
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    StartAfresh();
    const std::string value = UpToNul(text);
    UpsertRequest upsert;
    Address(upsert, "contact");
    upsert.SetData(kUid, "1");
    upsert.SetData(kName, Quoted(value).c_str());
    ASSERT_EQ(0, database.Upsert(upsert));
    ASSERT_EQ(0, SelectByName(value));
    EXPECT_TRUE(value == Cell(kName));
    EXPECT_EQ("1", Cell(kUid));
  }
}

// Unless somebody else has created the file with another encoding.
TEST_F(QuotingTest, InvalidUtf8IsReplacedInAFileOfUtf16) {
  std::filesystem::remove(file.Path());
  file.Run("PRAGMA encoding = 'UTF-16'; CREATE TABLE contact (uid TEXT, name TEXT)");
  UpsertRequest upsert;
  Address(upsert, "contact");
  upsert.SetData(kName, "a\xff");
  ASSERT_EQ(0, database.Upsert(upsert));
  ASSERT_EQ(0, SelectByName("a\xff"));
  EXPECT_EQ("a\xef\xbf\xbd", Cell(kName));
}

TEST_F(QuotingTest, AQuotedValueIsUpdatedAndDeletedAndNothingElseIs) {
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    StartAfresh();
    const std::string quoted = Quoted(UpToNul(text));
    UpdateRequest update;
    Address(update, "contact");
    update.SetData(kName, quoted.c_str());
    update.SetWhere(kUid, "1");
    ASSERT_EQ(0, database.Update(update));
    EXPECT_THAT(file.Rows("SELECT name FROM contact WHERE uid = '2'"), ElementsAre("Lee"));
    ASSERT_EQ(0, Delete(kName, quoted.c_str()));
    EXPECT_THAT(Contacts(), ElementsAre("2"));
    EXPECT_THAT(file.Rows("SELECT count(*) FROM note"), ElementsAre("3"));
  }
}

// Names.

TEST_F(QuotingTest, QuotedNamesWorkInEveryOperation) {
  for (const std::string& text : HostileTexts()) {
    SCOPED_TRACE(Excerpt(text));
    StartAfresh();
    const std::string bare = UpToNul(text);
    if (bare == "contact" || bare == kUid) {
      continue;  // taken
    }
    const std::string name = QuotedName(bare);

    CreateRequest create;
    Address(create, name.c_str());
    create.SetPrimaryKey(name.c_str(), "TEXT");
    create.SetColumnKey("more", "TEXT");
    if (bare.compare(0, 7, "sqlite_") == 0) {
      EXPECT_NE(0, database.CreateTable(create)) << "reserved for SQLite";
      continue;
    }
    ASSERT_EQ(0, database.CreateTable(create));

    BasePath path;
    file.Locate(path);
    ASSERT_EQ(0, database.CheckExistTable(path, Quoted(bare).c_str(), exists));
    EXPECT_TRUE(exists);

    UpsertRequest upsert;
    Address(upsert, name.c_str());
    upsert.SetData(name.c_str(), 1);
    ASSERT_EQ(0, database.Upsert(upsert));

    UpdateRequest update;
    Address(update, name.c_str());
    update.SetData(name.c_str(), 2);
    update.SetWhere(name.c_str(), 1);
    ASSERT_EQ(0, database.Update(update));

    SelectRequest select;
    Address(select, name.c_str());
    select.SetWhere(name.c_str(), 2);
    ASSERT_EQ(0, database.Select(select, cursor));
    EXPECT_EQ("2", Cell(bare));  // results know the bare name

    JoinRequest join;
    file.Locate(join);
    join.SetLeftJoin(name.c_str(), name.c_str());
    join.SetRightJoin("contact", kUid);
    join.SetWhere(name.c_str(), 2);
    ASSERT_EQ(0, database.JoinSelect(join, cursor));
    EXPECT_EQ("Lee", Cell(kName));

    DeleteRequest remove;
    Address(remove, name.c_str());
    remove.SetWhere(name.c_str(), 2);
    ASSERT_EQ(0, database.Delete(remove));
    ASSERT_EQ(0, database.Select(select, cursor));
    EXPECT_EQ(-1, cursor.GetCount());

    DropRequest drop;
    Address(drop, name.c_str());
    ASSERT_EQ(0, database.DropTable(drop));
    EXPECT_THAT(Tables(), ElementsAre("contact", "note"));
  }
}

TEST_F(QuotingTest, BothKeysOfACompositeKeyMayBeQuoted) {
  CreateRequest create;
  Address(create, "pair");
  create.SetPrimaryKey("\"order\"", "TEXT");
  create.SetCompositeKey("\"say \"\"hi\"\"\"", "TEXT");
  EXPECT_EQ(0, ExpectVerdict(kCreateTable,
                             "CREATE TABLE IF NOT EXISTS pair (\"order\" TEXT, "
                             "\"say \"\"hi\"\"\" TEXT, PRIMARY KEY(\"order\", "
                             "\"say \"\"hi\"\"\"))",
                             [&] { return database.CreateTable(create); })
                   .code);
  EXPECT_THAT(file.Rows("SELECT name FROM pragma_table_info('pair')"),
              ElementsAre("order", "say \"hi\""));
}

// In a condition SQLite takes a quoted name that is no column's for a text.
TEST_F(QuotingTest, AQuotedNameOfNoColumnIsComparedAsAText) {
  EXPECT_EQ(0, Delete(QuotedName("nosuch"), "1"));
  EXPECT_THAT(Contacts(), ElementsAre("1", "2"));
  EXPECT_EQ(0, Delete(QuotedName("nosuch"), "nosuch"));
  EXPECT_THAT(Contacts(), IsEmpty());
}

TEST_F(QuotingTest, AQuotedNameBehindItsTableIsAColumnOrRefused) {
  EXPECT_EQ(SQLITE_ERROR, Delete("contact." + QuotedName("nosuch"), "nosuch"));
  EXPECT_THAT(Contacts(), ElementsAre("1", "2"));
  EXPECT_EQ(0, Delete("contact." + QuotedName("uid"), "1"));
  EXPECT_THAT(Contacts(), ElementsAre("2"));
}

// Single quotes make a text of a name, too.
TEST_F(QuotingTest, ANameInSingleQuotesIsATextInACondition) {
  EXPECT_EQ(0, Delete("'uid'", "uid"));
  EXPECT_THAT(Contacts(), IsEmpty());
}

// Two spellings are one column to SQLite, whose names ignore the case of ASCII.
TEST_F(QuotingTest, QuotesDoNotMakeANameSensitiveToCase) {
  EXPECT_EQ(0, Delete(QuotedName("UID"), "1"));
  EXPECT_THAT(Contacts(), ElementsAre("2"));
}

// A number is handed on as a text, and the column's type decides.

class AffinityTest : public HostileTest {
 protected:
  // What the column stores, and its type.
  std::string Stored(const std::string& type, const char* value) {
    StartAfresh();
    file.Run("CREATE TABLE t (a " + type + ")");
    UpsertRequest request;
    Address(request, "t");
    request.SetData(kA, value);
    EXPECT_EQ(0, database.Upsert(request));
    return file.Rows("SELECT a, typeof(a) FROM t").at(0);
  }
  // How many rows are found again by the same text.
  int Found(const char* value) {
    SelectRequest request;
    Address(request, "t");
    request.SetWhere(kA, value);
    EXPECT_EQ(0, database.Select(request, cursor));
    return cursor.GetCount();
  }
  static constexpr const char* kA = "a";
};

TEST_F(AffinityTest, AnIntegerColumnStoresWhatReadsAsANumber) {
  EXPECT_EQ("7|integer", Stored("INTEGER", "7"));
  EXPECT_EQ("7|integer", Stored("INTEGER", "007"));
  EXPECT_EQ("7|integer", Stored("INTEGER", " 7 "));
  EXPECT_EQ("7|integer", Stored("INTEGER", "7.0"));
  EXPECT_EQ("7.5|real", Stored("INTEGER", "7.5"));
  EXPECT_EQ("1000000|integer", Stored("INTEGER", "1e+06"));
  EXPECT_EQ("9223372036854775807|integer", Stored("INTEGER", "9223372036854775807"));
  EXPECT_EQ("9.22337203685478e+18|real", Stored("INTEGER", "9223372036854775808"));
  EXPECT_EQ("0x7|text", Stored("INTEGER", "0x7"));
  EXPECT_EQ("7 apples|text", Stored("INTEGER", "7 apples"));
  EXPECT_EQ("|text", Stored("INTEGER", ""));
}

TEST_F(AffinityTest, ARealColumnStoresWhatReadsAsANumber) {
  EXPECT_EQ("7.0|real", Stored("REAL", "7"));
  EXPECT_EQ("7.0|real", Stored("REAL", "007"));
  EXPECT_EQ("1000000.0|real", Stored("REAL", "1e+06"));
  EXPECT_EQ("9.22337203685478e+18|real", Stored("REAL", "9223372036854775808"));
  EXPECT_EQ("0x7|text", Stored("REAL", "0x7"));
  EXPECT_EQ("|text", Stored("REAL", ""));
  EXPECT_EQ("Inf|real", Stored("REAL", "1e999"));
  EXPECT_EQ("nan|text", Stored("REAL", "nan"));
}

TEST_F(AffinityTest, ATextColumnStoresTheText) {
  EXPECT_EQ("007|text", Stored("TEXT", "007"));
  EXPECT_EQ("1e+06|text", Stored("TEXT", "1e+06"));
}

TEST_F(AffinityTest, AColumnWithoutTypeStoresTheText) {
  EXPECT_EQ("7|text", Stored("", "7"));
  EXPECT_EQ("007|text", Stored("", "007"));
}

TEST_F(AffinityTest, AConditionConvertsAsTheColumnDoes) {
  Stored("INTEGER", "7");
  EXPECT_EQ(1, Found("007"));
  Stored("TEXT", "7");
  EXPECT_EQ(-1, Found("007"));
  EXPECT_EQ(1, Found("7"));
}

// Stored by somebody else, that is, as a number.
TEST_F(AffinityTest, AColumnWithoutTypeNeverEqualsANumberInIt) {
  Stored("", "7");
  file.Run("UPDATE t SET a = 7");
  EXPECT_EQ(-1, Found("7"));
}

}  // namespace
