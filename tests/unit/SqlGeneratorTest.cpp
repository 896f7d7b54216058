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

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<SqlGenerator>);
static_assert(sizeof(SqlGenerator) == sizeof(void*), "no data members");

class SqlGeneratorTest : public LibraryTest {
 protected:
  // Column names at ascending addresses.
  static constexpr char kNames[] = "uid\0name\0kind\0uid";
  static constexpr const char* kUid = kNames;
  static constexpr const char* kName = kNames + 4;
  static constexpr const char* kKind = kNames + 9;
  static constexpr const char* kUidAgain = kNames + 14;

  template <typename Request>
  std::string SqlBy(void (SqlGenerator::*generate)(Request&, std::string&), Request& request) {
    std::string sql = "old text";
    (generator.*generate)(request, sql);
    return sql;
  }
  std::string Sql(CreateRequest& r) { return SqlBy(&SqlGenerator::GetCreateTableSql, r); }
  std::string Sql(DeleteRequest& r) { return SqlBy(&SqlGenerator::GetDeleteSql, r); }
  std::string Sql(DropRequest& r) { return SqlBy(&SqlGenerator::GetDropTableSql, r); }
  std::string Sql(JoinRequest& r) { return SqlBy(&SqlGenerator::GetJoinSql, r); }
  std::string Sql(SelectRequest& r) { return SqlBy(&SqlGenerator::GetSelectSql, r); }
  std::string Sql(UpdateRequest& r) { return SqlBy(&SqlGenerator::GetUpdateSql, r); }
  std::string Sql(UpsertRequest& r) { return SqlBy(&SqlGenerator::GetUpsertSql, r); }

  SqlGenerator generator;
};

// The path.

class DBPathTest : public SqlGeneratorTest {
 protected:
  std::string Path(const std::string& directory, const std::string& file) {
    std::string path = "old path";
    generator.GetDBPath(directory, file, path);
    return path;
  }
};

TEST_F(DBPathTest, JoinsDirectoryAndFileWithOneSlash) {
  EXPECT_EQ("/opt/data/main.db", Path("/opt/data", "main.db"));
  EXPECT_EQ("/opt/data/main.db", Path("/opt/data/", "main.db"));
  EXPECT_EQ("/main.db", Path("/", "main.db"));
  EXPECT_EQ("data/main.db", Path("data", "main.db"));
}

TEST_F(DBPathTest, OfAnEmptyDirectoryIsTheFileName) {
  EXPECT_EQ("main.db", Path("", "main.db"));
  EXPECT_EQ("", Path("", ""));
}

TEST_F(DBPathTest, OfAnEmptyFileNameEndsInASlash) {
  EXPECT_EQ("/opt/data/", Path("/opt/data", ""));
}

TEST_F(DBPathTest, KeepsADoubledSlash) {
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
  void ExpectTableOf(const std::string& definitions) {
    EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (" + definitions + ")", Sql(request));
  }
  CreateRequest request;
};

TEST_F(CreateTableSqlTest, WithoutKeysTheTableGetsAnIdColumn) {
  ExpectTableOf("_ID INTEGER PRIMARY KEY");
  AddColumns();
  ExpectTableOf("_ID INTEGER PRIMARY KEY, name TEXT, age INTEGER");
}

TEST_F(CreateTableSqlTest, WithPrimaryKey) {
  request.SetPrimaryKey("uid", "TEXT");
  ExpectTableOf("uid TEXT NOT NULL PRIMARY KEY");
  AddColumns();
  ExpectTableOf("uid TEXT NOT NULL PRIMARY KEY, name TEXT, age INTEGER");
}

TEST_F(CreateTableSqlTest, WithCompositeKey) {
  request.SetPrimaryKey("uid", "TEXT");
  request.SetCompositeKey("device", "TEXT");
  ExpectTableOf("uid TEXT, device TEXT, PRIMARY KEY(uid, device)");
  AddColumns();
  ExpectTableOf("uid TEXT, device TEXT, name TEXT, age INTEGER, PRIMARY KEY(uid, device)");
}

TEST_F(CreateTableSqlTest, APrimaryKeyWithoutTypeDoesNotCount) {
  request.SetPrimaryKey("uid", nullptr);
  ExpectTableOf("_ID INTEGER PRIMARY KEY");
}

TEST_F(CreateTableSqlTest, APrimaryKeyWithAnEmptyTypeDoesNotCount) {
  request.SetPrimaryKey("uid", "");
  ExpectTableOf("_ID INTEGER PRIMARY KEY");
}

TEST_F(CreateTableSqlTest, APrimaryKeyWithAnEmptyNameDoesNotCount) {
  request.SetPrimaryKey("", "TEXT");
  ExpectTableOf("_ID INTEGER PRIMARY KEY");
}

TEST_F(CreateTableSqlTest, ACompositeKeyAloneIsIgnored) {
  request.SetCompositeKey("device", "TEXT");
  ExpectTableOf("_ID INTEGER PRIMARY KEY");
}

TEST_F(CreateTableSqlTest, ACompositeKeyWithAnEmptyTypeIsIgnored) {
  request.SetPrimaryKey("uid", "TEXT");
  request.SetCompositeKey("device", "");
  ExpectTableOf("uid TEXT NOT NULL PRIMARY KEY");
}

TEST_F(CreateTableSqlTest, TheSameColumnTwiceIsWrittenTwice) {
  request.SetColumnKey("name", "TEXT");
  request.SetColumnKey("name", "TEXT");
  ExpectTableOf("_ID INTEGER PRIMARY KEY, name TEXT, name TEXT");
}

TEST_F(CreateTableSqlTest, TypesAreWrittenAsTheyStand) {
  request.SetColumnKey("price", "NUMERIC(8, 2) DEFAULT 0");
  ExpectTableOf("_ID INTEGER PRIMARY KEY, price NUMERIC(8, 2) DEFAULT 0");
}

TEST_F(CreateTableSqlTest, NamesAreReadThroughTheCallersPointer) {
  char name[] = "age";
  request.SetColumnKey(name, "TEXT");
  name[0] = 'A';
  ExpectTableOf("_ID INTEGER PRIMARY KEY, Age TEXT");
}

TEST_F(SqlGeneratorTest, DropsTheTable) {
  DropRequest request;
  request.SetTable("contact");
  EXPECT_EQ("DROP TABLE contact", Sql(request));
}

TEST_F(SqlGeneratorTest, ChecksTheTableWithoutDoublingQuotes) {
  std::string sql = "old text";
  generator.GetCheckTableSql("contact", sql);
  EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='contact'", sql);
  generator.GetCheckTableSql("o'clock", sql);
  EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='o'clock'", sql);
}

// The data statements.

class DataSqlTest : public SqlGeneratorTest {
 protected:
  DataSqlTest() {
    select.SetTable("contact");
    upsert.SetTable("contact");
    update.SetTable("contact");
    remove.SetTable("contact");
  }
  SelectRequest select;
  UpsertRequest upsert;
  UpdateRequest update;
  DeleteRequest remove;
};

TEST_F(DataSqlTest, SelectsAllRowsWithoutConditions) {
  EXPECT_EQ("SELECT * FROM contact", Sql(select));
}

TEST_F(DataSqlTest, SelectsByConditionsInAddressOrder) {
  select.SetWhere(kKind, 2);
  select.SetWhere(kUid, 7);
  EXPECT_EQ("SELECT * FROM contact WHERE uid='7' AND kind='2'", Sql(select));
}

TEST_F(DataSqlTest, SelectIgnoresValues) {
  select.SetData(kUid, 7);
  EXPECT_EQ("SELECT * FROM contact", Sql(select));
}

TEST_F(DataSqlTest, TwoPointersToOneNameMakeTwoConditions) {
  select.SetWhere(kUidAgain, 2);
  select.SetWhere(kUid, 1);
  EXPECT_EQ("SELECT * FROM contact WHERE uid='1' AND uid='2'", Sql(select));
}

TEST_F(DataSqlTest, ConditionsKeepSeparatorsInNamesAndValues) {
  select.SetWhere("a AND b", "Salt AND Pepper, mixed");
  EXPECT_EQ("SELECT * FROM contact WHERE a AND b='Salt AND Pepper, mixed'", Sql(select));
}

TEST_F(DataSqlTest, NothingIsEscaped) {
  select.SetWhere("name", "O'Brien");
  EXPECT_EQ("SELECT * FROM contact WHERE name='O'Brien'", Sql(select));
}

TEST_F(DataSqlTest, NumbersAreQuotedLikeText) {
  select.SetWhere(kUid, 42);
  select.SetWhere(kName, -0.5);
  EXPECT_EQ("SELECT * FROM contact WHERE uid='42' AND name='-0.5'", Sql(select));
}

TEST_F(DataSqlTest, ColumnNamesAreReadThroughTheCallersPointer) {
  char name[] = "uid";
  select.SetWhere(name, 1);
  name[0] = 'U';
  EXPECT_EQ("SELECT * FROM contact WHERE Uid='1'", Sql(select));
}

TEST_F(DataSqlTest, InsertsOrReplacesValuesInAddressOrder) {
  upsert.SetData(kName, "Kim");
  upsert.SetData(kUid, 7);
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid, name) VALUES ('7', 'Kim')", Sql(upsert));
}

TEST_F(DataSqlTest, InsertsOrReplacesOneValueWithSeparatorsInIt) {
  upsert.SetData(kUid, "a, b AND c");
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid) VALUES ('a, b AND c')", Sql(upsert));
}

TEST_F(DataSqlTest, UpsertIgnoresConditions) {
  upsert.SetData(kUid, 7);
  upsert.SetWhere(kName, "Kim");
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid) VALUES ('7')", Sql(upsert));
}

TEST_F(DataSqlTest, UpsertWithoutValuesHasEmptyLists) {
  EXPECT_EQ("INSERT OR REPLACE INTO contact () VALUES ()", Sql(upsert));
}

// No setter stores such a value; a host that fills the map otherwise might.
TEST_F(DataSqlTest, ValuesAreWrittenUpToTheirFirstNul) {
  DataMapOf(upsert).emplace(kUid, std::string("ab\0cd\0ef", 8));
  EXPECT_EQ("INSERT OR REPLACE INTO contact (uid) VALUES ('ab')", Sql(upsert));
}

TEST_F(DataSqlTest, UpdatesWithSpacesInSetAndNoneInWhere) {
  update.SetData(kName, "Lee");
  update.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE contact SET name = 'Lee' WHERE uid='7'", Sql(update));
}

TEST_F(DataSqlTest, UpdatesSeveralColumnsBySeveralConditions) {
  update.SetData(kKind, 3);
  update.SetData(kName, "Lee, AND so on");
  update.SetWhere(kUidAgain, 8);
  update.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE contact SET name = 'Lee, AND so on', kind = '3' WHERE uid='7' AND uid='8'",
            Sql(update));
}

TEST_F(DataSqlTest, UpdateWithoutConditionsIsIncomplete) {
  update.SetData(kName, "Lee");
  EXPECT_EQ("UPDATE contact SET name = 'Lee' WHERE ", Sql(update));
}

TEST_F(DataSqlTest, UpdateWithoutConditionsIsCutAtAnAndInsideAValue) {
  update.SetData("x", "Salt AND Pepper");
  EXPECT_EQ("UPDATE contact SET x = 'Salt", Sql(update));
}

TEST_F(DataSqlTest, UpdateWithoutValuesHasTwoSpacesAfterSet) {
  update.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE contact SET  WHERE uid='7'", Sql(update));
}

TEST_F(SqlGeneratorTest, UpdateWithoutValuesIsCutAtACommaInTheTableName) {
  UpdateRequest update;
  update.SetTable("a, b");
  update.SetWhere(kUid, 7);
  EXPECT_EQ("UPDATE a WHERE uid='7'", Sql(update));
}

TEST_F(DataSqlTest, DeletesWithTwoSpacesBeforeFrom) {
  remove.SetWhere(kUid, 7);
  EXPECT_EQ("DELETE  FROM contact WHERE uid='7'", Sql(remove));
}

TEST_F(DataSqlTest, DeleteWithoutConditionsDeletesEveryRow) {
  remove.SetData(kUid, 7);
  EXPECT_EQ("DELETE  FROM contact", Sql(remove));
}

class JoinSqlTest : public SqlGeneratorTest {
 protected:
  void SetSides() {
    join.SetLeftJoin("person", "uid");
    join.SetRightJoin("note", "owner");
  }
  const std::string joined = "SELECT  * FROM person INNER JOIN note ON person.uid = note.owner";
  JoinRequest join;
};

TEST_F(JoinSqlTest, JoinsWithTwoSpacesAfterSelect) {
  SetSides();
  EXPECT_EQ(joined, Sql(join));
}

TEST_F(JoinSqlTest, WritesQualifiedConditionsAsGiven) {
  SetSides();
  join.SetWhere("note.kind", "2");
  EXPECT_EQ(joined + " WHERE note.kind='2'", Sql(join));
}

TEST_F(JoinSqlTest, IgnoresValues) {
  SetSides();
  join.SetData(kUid, 7);
  EXPECT_EQ(joined, Sql(join));
}

TEST_F(JoinSqlTest, OfUnsetSidesHasEmptyNames) {
  EXPECT_EQ("SELECT  * FROM  INNER JOIN  ON . = .", Sql(join));
  join.SetLeftJoin("person", nullptr);
  EXPECT_EQ("SELECT  * FROM  INNER JOIN  ON . = .", Sql(join));
}

// All statements.

TEST_F(SqlGeneratorTest, ANullColumnNameThrowsAndLeavesTheOutput) {
  std::string sql = "old text";
  const auto expectThrow = [&](auto& request, auto generate) {
    EXPECT_THROW((generator.*generate)(request, sql), std::logic_error);
    EXPECT_EQ("old text", sql);
  };
  CreateRequest create;
  create.SetColumnKey(nullptr, "TEXT");
  expectThrow(create, &SqlGenerator::GetCreateTableSql);
  UpsertRequest upsert;
  upsert.SetData(nullptr, 1);
  expectThrow(upsert, &SqlGenerator::GetUpsertSql);
  UpdateRequest update;
  update.SetData(nullptr, 1);
  expectThrow(update, &SqlGenerator::GetUpdateSql);
  UpdateRequest condition;
  condition.SetWhere(nullptr, 1);
  expectThrow(condition, &SqlGenerator::GetUpdateSql);
  SelectRequest select;
  select.SetWhere(nullptr, 1);
  expectThrow(select, &SqlGenerator::GetSelectSql);
  DeleteRequest remove;
  remove.SetWhere(nullptr, 1);
  expectThrow(remove, &SqlGenerator::GetDeleteSql);
  JoinRequest join;
  join.SetWhere(nullptr, 1);
  expectThrow(join, &SqlGenerator::GetJoinSql);
}

// The name is read into a fresh text, not over the output's.
TEST_F(SqlGeneratorTest, AnUnsetTableIsEmpty) {
  CreateRequest create;
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS  (_ID INTEGER PRIMARY KEY)", Sql(create));
  SelectRequest select;
  EXPECT_EQ("SELECT * FROM ", Sql(select));
  DeleteRequest remove;
  EXPECT_EQ("DELETE  FROM ", Sql(remove));
  UpsertRequest upsert;
  EXPECT_EQ("INSERT OR REPLACE INTO  () VALUES ()", Sql(upsert));
  UpdateRequest update;
  EXPECT_EQ("UPDATE  SET  WHERE ", Sql(update));
  DropRequest drop;
  EXPECT_EQ("DROP TABLE ", Sql(drop));
}

TEST_F(DataSqlTest, ARequestGivesTheSameStatementEachTime) {
  update.SetData(kName, "Lee");
  update.SetWhere(kUid, 7);
  const std::string first = Sql(update);
  EXPECT_EQ(first, Sql(update));
}

TEST_F(DataSqlTest, LogsOnlyTheGettersOfTheRequestsAndLocksNothing) {
  update.SetData(kName, "Lee");
  update.SetWhere(kUid, 7);
  ForgetEvents();
  Sql(update);
  EXPECT_THAT(fake::Lines(), ElementsAre(fake::Trace("UpdateRequest.cpp", "GetTable")));
  EXPECT_THAT(journal::Of({journal::Kind::kMutex}), IsEmpty());
}

TEST_F(SqlGeneratorTest, LogsNothingOfItsOwn) {
  {
    SqlGenerator other;
    std::string text;
    other.GetDBPath("/a", "b", text);
    other.GetCheckTableSql("t", text);
  }
  EXPECT_THAT(fake::Lines(), IsEmpty());
}

}  // namespace
