#include "SqlGenerator.h"

#include <stdexcept>
#include <string>
#include <type_traits>

#include "Containers.h"
#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "SelectRequest.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::Each;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

static_assert(std::has_virtual_destructor_v<SqlGenerator>);
static_assert(sizeof(SqlGenerator) == sizeof(void*), "no data members");

// Column names at ascending addresses.
constexpr char kNames[] = "uid\0name\0kind\0uid";
constexpr const char* kUid = kNames;
constexpr const char* kName = kNames + 4;
constexpr const char* kKind = kNames + 9;
constexpr const char* kUidAgain = kNames + 14;

class SqlGeneratorTest : public LibraryTest {
 protected:
  template <typename Request>
  std::string Sql(void (SqlGenerator::*generate)(Request&, std::string&), Request& request) {
    std::string sql = "old text";
    (generator.*generate)(request, sql);
    return sql;
  }
  std::string Path(const std::string& directory, const std::string& file) {
    std::string path = "old path";
    generator.GetDBPath(directory, file, path);
    return path;
  }
  SqlGenerator generator;
};

// The path.

TEST_F(SqlGeneratorTest, PathJoinsDirectoryAndFileWithOneSlash) {
  EXPECT_EQ("/opt/data/main.db", Path("/opt/data", "main.db"));
  EXPECT_EQ("/opt/data/main.db", Path("/opt/data/", "main.db"));
  EXPECT_EQ("opt/data/main.db", Path("opt/data", "main.db"));
  EXPECT_EQ("/main.db", Path("/", "main.db"));
  EXPECT_EQ("data/main.db", Path("data", "main.db"));
}

TEST_F(SqlGeneratorTest, PathOfAnEmptyDirectoryIsTheFileName) {
  EXPECT_EQ("main.db", Path("", "main.db"));
}

TEST_F(SqlGeneratorTest, PathOfAnEmptyFileNameEndsInASlash) {
  EXPECT_EQ("/opt/data/", Path("/opt/data", ""));
  EXPECT_EQ("", Path("", ""));
}

TEST_F(SqlGeneratorTest, PathKeepsADoubledSlash) {
  EXPECT_EQ("/opt/data//main.db", Path("/opt/data//", "main.db"));
}

// The schema statements.

class CreateTableSqlTest : public SqlGeneratorTest {
 protected:
  CreateTableSqlTest() { request.SetTable("contact"); }
  void AddColumns() {
    request.SetColumnKey("name", "TEXT");
    request.SetColumnKey("age", "INTEGER");
  }
  std::string CreateSql() { return Sql(&SqlGenerator::GetCreateTableSql, request); }
  CreateRequest request;
};

TEST_F(CreateTableSqlTest, WithoutKeysTheTableGetsAnIdColumn) {
  AddColumns();
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY, name TEXT, age INTEGER)",
            CreateSql());
}

TEST_F(CreateTableSqlTest, WithPrimaryKey) {
  request.SetPrimaryKey("uid", "TEXT");
  AddColumns();
  EXPECT_EQ(
      "CREATE TABLE IF NOT EXISTS contact (uid TEXT NOT NULL PRIMARY KEY, name TEXT, age INTEGER)",
      CreateSql());
}

TEST_F(CreateTableSqlTest, WithCompositeKey) {
  request.SetPrimaryKey("uid", "TEXT");
  request.SetCompositeKey("device", "TEXT");
  AddColumns();
  EXPECT_EQ(
      "CREATE TABLE IF NOT EXISTS contact (uid TEXT, device TEXT, name TEXT, age INTEGER, "
      "PRIMARY KEY(uid, device))",
      CreateSql());
}

TEST_F(CreateTableSqlTest, WithCompositeKeyAndNoColumns) {
  request.SetPrimaryKey("uid", "TEXT");
  request.SetCompositeKey("device", "TEXT");
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (uid TEXT, device TEXT, PRIMARY KEY(uid, device))",
            CreateSql());
}

TEST_F(CreateTableSqlTest, WithoutKeysAndColumns) {
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY)", CreateSql());
}

TEST_F(CreateTableSqlTest, WithPrimaryKeyAndNoColumns) {
  request.SetPrimaryKey("uid", "TEXT");
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (uid TEXT NOT NULL PRIMARY KEY)", CreateSql());
}

TEST_F(CreateTableSqlTest, APrimaryKeyWithoutTypeDoesNotCount) {
  request.SetPrimaryKey("uid", nullptr);
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY)", CreateSql());
}

TEST_F(CreateTableSqlTest, APrimaryKeyWithAnEmptyTextDoesNotCount) {
  request.SetPrimaryKey("uid", "");
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY)", CreateSql());
  CreateRequest other;
  other.SetTable("contact");
  other.SetPrimaryKey("", "TEXT");
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY)",
            Sql(&SqlGenerator::GetCreateTableSql, other));
}

TEST_F(CreateTableSqlTest, ACompositeKeyAloneIsIgnored) {
  request.SetCompositeKey("device", "TEXT");
  AddColumns();
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY, name TEXT, age INTEGER)",
            CreateSql());
}

TEST_F(CreateTableSqlTest, ACompositeKeyWithAnEmptyTextIsIgnored) {
  request.SetPrimaryKey("uid", "TEXT");
  request.SetCompositeKey("device", "");
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (uid TEXT NOT NULL PRIMARY KEY)", CreateSql());
}

TEST_F(CreateTableSqlTest, TheSameColumnTwiceIsWrittenTwice) {
  request.SetColumnKey("name", "TEXT");
  request.SetColumnKey("name", "TEXT");
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY, name TEXT, name TEXT)",
            CreateSql());
}

TEST_F(CreateTableSqlTest, TypesAreWrittenAsTheyStand) {
  request.SetColumnKey("price", "NUMERIC(8, 2) DEFAULT 0");
  EXPECT_EQ(
      "CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY, "
      "price NUMERIC(8, 2) DEFAULT 0)",
      CreateSql());
}

TEST_F(CreateTableSqlTest, NamesAreReadThroughTheCallersPointer) {
  char name[] = "age";
  request.SetColumnKey(name, "TEXT");
  name[0] = 'A';
  EXPECT_THAT(CreateSql(), HasSubstr(", Age TEXT)"));
}

TEST_F(CreateTableSqlTest, ANullColumnNameThrowsAndLeavesTheOutput) {
  request.SetColumnKey(nullptr, "TEXT");
  std::string sql = "old text";
  EXPECT_THROW(generator.GetCreateTableSql(request, sql), std::logic_error);
  EXPECT_EQ("old text", sql);
}

TEST_F(CreateTableSqlTest, AnUnsetTableIsEmpty) {
  CreateRequest other;
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS  (_ID INTEGER PRIMARY KEY)",
            Sql(&SqlGenerator::GetCreateTableSql, other));
}

TEST_F(SqlGeneratorTest, DropsTheTable) {
  DropRequest request;
  request.SetTable("contact");
  EXPECT_EQ("DROP TABLE contact", Sql(&SqlGenerator::GetDropTableSql, request));
}

TEST_F(SqlGeneratorTest, ChecksTheTable) {
  std::string sql = "old text";
  generator.GetCheckTableSql("contact", sql);
  EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='contact'", sql);
}

TEST_F(SqlGeneratorTest, AQuoteInACheckedTableBreaksTheQuery) {
  std::string sql;
  generator.GetCheckTableSql("o'clock", sql);
  EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='o'clock'", sql);
}

// The data statements.

template <typename Request>
Request& Contact(Request& request) {
  request.SetTable("contact");
  return request;
}

TEST_F(SqlGeneratorTest, SelectsAllRowsWithoutConditions) {
  SelectRequest request;
  EXPECT_EQ("SELECT * FROM contact", Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, SelectsByConditionsInAddressOrder) {
  SelectRequest request;
  request.SetWhere(kKind, 2);
  request.SetWhere(kUid, 7);
  EXPECT_EQ("SELECT * FROM contact WHERE uid='7' AND kind='2'",
            Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, SelectIgnoresValues) {
  SelectRequest request;
  request.SetData(kUid, 7);
  EXPECT_EQ("SELECT * FROM contact", Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, TwoPointersToOneNameMakeTwoConditions) {
  SelectRequest request;
  request.SetWhere(kUidAgain, 2);
  request.SetWhere(kUid, 1);
  EXPECT_EQ("SELECT * FROM contact WHERE uid='1' AND uid='2'",
            Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, ConditionsKeepSeparatorsInNamesAndValues) {
  SelectRequest request;
  request.SetWhere("a AND b", "Salt AND Pepper, mixed");
  EXPECT_EQ("SELECT * FROM contact WHERE a AND b='Salt AND Pepper, mixed'",
            Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, NothingIsEscaped) {
  SelectRequest request;
  request.SetWhere("name", "O'Brien");
  EXPECT_EQ("SELECT * FROM contact WHERE name='O'Brien'",
            Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, NumbersAreQuotedLikeText) {
  SelectRequest request;
  request.SetWhere(kUid, 42);
  request.SetWhere(kName, -0.5);
  EXPECT_EQ("SELECT * FROM contact WHERE uid='42' AND name='-0.5'",
            Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, ColumnNamesAreReadThroughTheCallersPointer) {
  char name[] = "uid";
  SelectRequest request;
  request.SetWhere(name, 1);
  name[0] = 'U';
  EXPECT_EQ("SELECT * FROM contact WHERE Uid='1'",
            Sql(&SqlGenerator::GetSelectSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, JoinsWithTwoBlanksAfterSelect) {
  JoinRequest request;
  request.SetLeftJoin("person", "uid");
  request.SetRightJoin("note", "owner");
  EXPECT_EQ("SELECT  * FROM person INNER JOIN note ON person.uid = note.owner",
            Sql(&SqlGenerator::GetJoinSql, request));
  request.SetWhere(kKind, 2);
  EXPECT_EQ("SELECT  * FROM person INNER JOIN note ON person.uid = note.owner WHERE kind='2'",
            Sql(&SqlGenerator::GetJoinSql, request));
}

TEST_F(SqlGeneratorTest, JoinWritesQualifiedConditionsAsGiven) {
  JoinRequest request;
  request.SetLeftJoin("person", "uid");
  request.SetRightJoin("note", "owner");
  request.SetWhere("note.kind", "2");
  EXPECT_THAT(Sql(&SqlGenerator::GetJoinSql, request), HasSubstr(" WHERE note.kind='2'"));
}

TEST_F(SqlGeneratorTest, JoinIgnoresValues) {
  JoinRequest request;
  request.SetData(kUid, 7);
  EXPECT_THAT(Sql(&SqlGenerator::GetJoinSql, request), Not(HasSubstr("7")));
}

TEST_F(SqlGeneratorTest, JoinOfUnsetSidesHasEmptyNames) {
  JoinRequest request;
  EXPECT_EQ("SELECT  * FROM  INNER JOIN  ON . = .", Sql(&SqlGenerator::GetJoinSql, request));
  request.SetLeftJoin("person", nullptr);
  EXPECT_EQ("SELECT  * FROM  INNER JOIN  ON . = .", Sql(&SqlGenerator::GetJoinSql, request));
}

TEST_F(SqlGeneratorTest, InsertsOrReplacesValuesInAddressOrder) {
  UpsertRequest request;
  request.SetData(kName, "Kim");
  request.SetData(kUid, 7);
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid, name) VALUES ('7', 'Kim')",
            Sql(&SqlGenerator::GetUpsertSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, InsertsOrReplacesOneValue) {
  UpsertRequest request;
  request.SetData(kUid, "a, b AND c");
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid) VALUES ('a, b AND c')",
            Sql(&SqlGenerator::GetUpsertSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, UpsertIgnoresConditions) {
  UpsertRequest request;
  request.SetData(kUid, 7);
  request.SetWhere(kName, "Kim");
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid) VALUES ('7')",
            Sql(&SqlGenerator::GetUpsertSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, UpsertWithoutValuesHasEmptyLists) {
  UpsertRequest request;
  EXPECT_EQ("INSERT OR REPLACE INTO contact () VALUES ()",
            Sql(&SqlGenerator::GetUpsertSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, UpdatesWithBlanksInSetAndNoneInWhere) {
  UpdateRequest request;
  request.SetData(kName, "Lee");
  request.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE contact SET name = 'Lee' WHERE uid='7'",
            Sql(&SqlGenerator::GetUpdateSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, UpdatesSeveralColumnsBySeveralConditions) {
  UpdateRequest request;
  request.SetData(kKind, 3);
  request.SetData(kName, "Lee, AND so on");
  request.SetWhere(kUidAgain, 8);
  request.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE contact SET name = 'Lee, AND so on', kind = '3' WHERE uid='7' AND uid='8'",
            Sql(&SqlGenerator::GetUpdateSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, UpdateWithoutConditionsIsIncomplete) {
  UpdateRequest request;
  request.SetData(kName, "Lee");
  EXPECT_EQ("UPDATE contact SET name = 'Lee' WHERE ",
            Sql(&SqlGenerator::GetUpdateSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, UpdateWithoutConditionsIsCutAtAnAndInsideAValue) {
  UpdateRequest request;
  request.SetTable("t");
  request.SetData("x", "Salt AND Pepper");
  EXPECT_EQ("UPDATE t SET x = 'Salt", Sql(&SqlGenerator::GetUpdateSql, request));
}

TEST_F(SqlGeneratorTest, UpdateWithoutValuesHasTwoBlanksAfterSet) {
  UpdateRequest request;
  request.SetTable("t");
  request.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE t SET  WHERE uid='7'", Sql(&SqlGenerator::GetUpdateSql, request));
}

TEST_F(SqlGeneratorTest, UpdateWithoutValuesIsCutAtACommaInTheTableName) {
  UpdateRequest request;
  request.SetTable("a, b");
  request.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE a WHERE uid='7'", Sql(&SqlGenerator::GetUpdateSql, request));
}

TEST_F(SqlGeneratorTest, DeletesWithTwoBlanksBeforeFrom) {
  DeleteRequest request;
  request.SetWhere(kUid, 7);
  EXPECT_EQ("DELETE  FROM contact WHERE uid='7'",
            Sql(&SqlGenerator::GetDeleteSql, Contact(request)));
}

TEST_F(SqlGeneratorTest, DeleteWithoutConditionsDeletesEveryRow) {
  DeleteRequest request;
  request.SetData(kUid, 7);
  EXPECT_EQ("DELETE  FROM contact", Sql(&SqlGenerator::GetDeleteSql, Contact(request)));
}

// No setter stores such a value; a host that fills the map otherwise might.
TEST_F(SqlGeneratorTest, ValuesAreWrittenUpToTheirFirstNul) {
  UpsertRequest upsert;
  DataMapOf(upsert).emplace(kUid, std::string("ab\0cd\0ef", 8));
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid) VALUES ('ab')",
            Sql(&SqlGenerator::GetUpsertSql, Contact(upsert)));
}

TEST_F(SqlGeneratorTest, ANullColumnNameThrowsAndLeavesTheOutput) {
  std::string sql = "old text";
  UpsertRequest upsert;
  upsert.SetData(nullptr, 1);
  EXPECT_THROW(generator.GetUpsertSql(upsert, sql), std::logic_error);
  UpdateRequest update;
  update.SetData(nullptr, 1);
  EXPECT_THROW(generator.GetUpdateSql(update, sql), std::logic_error);
  SelectRequest select;
  select.SetWhere(nullptr, 1);
  EXPECT_THROW(generator.GetSelectSql(select, sql), std::logic_error);
  UpdateRequest condition;
  condition.SetWhere(nullptr, 1);
  EXPECT_THROW(generator.GetUpdateSql(condition, sql), std::logic_error);
  DeleteRequest remove;
  remove.SetWhere(nullptr, 1);
  EXPECT_THROW(generator.GetDeleteSql(remove, sql), std::logic_error);
  JoinRequest join;
  join.SetWhere(nullptr, 1);
  EXPECT_THROW(generator.GetJoinSql(join, sql), std::logic_error);
  EXPECT_EQ("old text", sql);
}

TEST_F(SqlGeneratorTest, ARequestGivesTheSameStatementEachTime) {
  UpdateRequest request;
  request.SetTable("t");
  request.SetData(kName, "Lee");
  request.SetWhere(kUid, 7);
  const std::string first = Sql(&SqlGenerator::GetUpdateSql, request);
  EXPECT_EQ(first, Sql(&SqlGenerator::GetUpdateSql, request));
}

TEST_F(SqlGeneratorTest, LogsOnlyTheGettersOfTheRequests) {
  UpdateRequest request;
  request.SetData(kName, "Lee");
  request.SetWhere(kUid, 7);
  ForgetEvents();
  Sql(&SqlGenerator::GetUpdateSql, request);
  EXPECT_THAT(fake::Lines(), ::testing::ElementsAre(fake::Trace("UpdateRequest.cpp", "GetTable")));
  EXPECT_THAT(journal::Of({journal::Kind::kMutex}), IsEmpty());
}

TEST_F(SqlGeneratorTest, ReadsAJoinsSidesAndACreateRequestsFieldsThroughTheirGetters) {
  JoinRequest join;
  CreateRequest create;
  ForgetEvents();
  Sql(&SqlGenerator::GetJoinSql, join);
  Sql(&SqlGenerator::GetCreateTableSql, create);
  EXPECT_THAT(fake::Lines(),
              ::testing::ElementsAre(fake::Trace("JoinRequest.cpp", "GetLeftJoin"),
                                     fake::Trace("JoinRequest.cpp", "GetRightJoin"),
                                     fake::Trace("CreateRequest.cpp", "GetTable"),
                                     fake::Trace("CreateRequest.cpp", "GetPrimaryKey"),
                                     fake::Trace("CreateRequest.cpp", "GetCompositeKey"),
                                     fake::Trace("CreateRequest.cpp", "GetColumnKey")));
}

TEST_F(SqlGeneratorTest, LogsNothingOfItsOwn) {
  ForgetEvents();
  {
    SqlGenerator other;
    std::string text;
    other.GetDBPath("/a", "b", text);
    other.GetCheckTableSql("t", text);
  }
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

// The name is read into a fresh text, not over what the output held.
TEST_F(SqlGeneratorTest, AnUnsetTableIsEmpty) {
  SelectRequest select;
  EXPECT_EQ("SELECT * FROM ", Sql(&SqlGenerator::GetSelectSql, select));
  DeleteRequest remove;
  EXPECT_EQ("DELETE  FROM ", Sql(&SqlGenerator::GetDeleteSql, remove));
  UpsertRequest upsert;
  EXPECT_EQ("INSERT OR REPLACE INTO  () VALUES ()", Sql(&SqlGenerator::GetUpsertSql, upsert));
  UpdateRequest update;
  EXPECT_EQ("UPDATE  SET  WHERE ", Sql(&SqlGenerator::GetUpdateSql, update));
  DropRequest drop;
  EXPECT_EQ("DROP TABLE ", Sql(&SqlGenerator::GetDropTableSql, drop));
}

}  // namespace
