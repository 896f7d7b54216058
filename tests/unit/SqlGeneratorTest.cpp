#include "SqlGenerator.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "Containers.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "Operations.h"

namespace {

using operations::RequestClass;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::has_virtual_destructor_v<SqlGenerator>);
static_assert(sizeof(SqlGenerator) == sizeof(void*), "no data members");

// Column names at ascending addresses.
constexpr char kNames[] = "uid\0name\0kind\0uid";
constexpr const char* kUid = kNames;
constexpr const char* kName = kNames + 4;
constexpr const char* kKind = kNames + 9;
constexpr const char* kUidAgain = kNames + 14;

// One call of a setter.
using Setting = std::function<void(BasePath&)>;

template <typename Request, typename Value>
Setting Calling(void (Request::*set)(const char*, Value), const char* name, Value value) {
  return [=](BasePath& request) { (static_cast<Request&>(request).*set)(name, value); };
}
template <typename Value>
Setting SetsData(const char* column, Value value) {
  return Calling<BaseSet, Value>(&BaseSet::SetData, column, value);
}
template <typename Value>
Setting SetsWhere(const char* column, Value value) {
  return Calling<BaseSet, Value>(&BaseSet::SetWhere, column, value);
}
Setting Key(const char* name, const char* type) {
  return Calling(&CreateRequest::SetPrimaryKey, name, type);
}
Setting Key2(const char* name, const char* type) {
  return Calling(&CreateRequest::SetCompositeKey, name, type);
}
Setting Column(const char* name, const char* type) {
  return Calling(&CreateRequest::SetColumnKey, name, type);
}
Setting Left(const char* table, const char* column) {
  return Calling(&JoinRequest::SetLeftJoin, table, column);
}
Setting Right(const char* table, const char* column) {
  return Calling(&JoinRequest::SetRightJoin, table, column);
}

class SqlGeneratorTest : public LibraryTest {
 protected:
  // The statement of a member of Database. A request with a table has this one.
  static std::string Sql(const std::string& member, const std::vector<Setting>& settings,
                         const char* table = "contact") {
    const RequestClass& requestClass = operations::Get(member).request;
    const auto request = requestClass.make();
    if (requestClass.fields.front().name == "Table") {
      requestClass.fields.front().set(*request, table, nullptr);
    }
    for (const Setting& setting : settings) {
      setting(*request);
    }
    std::string sql = "old text";
    requestClass.generate(*request, sql);
    return sql;
  }

  SqlGenerator generator;
};

TEST_F(SqlGeneratorTest, JoinsDirectoryAndFileWithASlashUnlessThereIsOneOrNoDirectory) {
  const std::vector<std::vector<std::string>> paths = {
      {"/opt/data", "main.db", "/opt/data/main.db"},
      {"/opt/data/", "main.db", "/opt/data/main.db"},
      {"/opt/data//", "main.db", "/opt/data//main.db"},
      {"/", "main.db", "/main.db"},
      {"data", "main.db", "data/main.db"},
      {"", "main.db", "main.db"},
      {"/opt/data", "", "/opt/data/"},
      {"", "", ""}};
  for (const auto& texts : paths) {
    std::string path = "old path";
    generator.GetDBPath(texts[0], texts[1], path);
    EXPECT_EQ(texts[2], path);
  }
}

TEST_F(SqlGeneratorTest, ChecksTheTableWithoutDoublingQuotes) {
  for (const std::string table : {"contact", "o'clock"}) {
    std::string sql = "old text";
    generator.GetCheckTableSql(table, sql);
    EXPECT_EQ("SELECT COUNT(*) from sqlite_master WHERE TYPE='table' AND NAME='" + table + "'",
              sql);
  }
}

// The statement of a request of the table "contact".
struct Statement {
  std::string name;
  std::string member;
  std::vector<Setting> settings;
  std::string sql;
};

void PrintTo(const Statement& statement, std::ostream* stream) { *stream << statement.name; }

Statement Create(const std::string& name, const std::vector<Setting>& settings,
                 const std::string& definitions) {
  return {name, "CreateTable", settings,
          "CREATE TABLE IF NOT EXISTS contact (" + definitions + ")"};
}

Statement Join(const std::string& name, std::vector<Setting> settings, const std::string& end) {
  settings.insert(settings.end(), {Left("person", "uid"), Right("note", "owner")});
  return {name, "JoinSelect", settings,
          "SELECT  * FROM person INNER JOIN note ON person.uid = note.owner" + end};
}

Statement Of(const std::string& name, const std::string& member,
             const std::vector<Setting>& settings, const std::string& sql) {
  return {name, member, settings, sql};
}

std::vector<Statement> Statements() {
  return {
      Create("WithoutKeysTheTableGetsAnIdColumn", {}, "_ID INTEGER PRIMARY KEY"),
      Create("WithPrimaryKeyAlone", {Key("uid", "TEXT")}, "uid TEXT NOT NULL PRIMARY KEY"),
      Create("WithPrimaryKey", {Key("uid", "TEXT"), Column("name", "TEXT"), Column("age", "INT")},
             "uid TEXT NOT NULL PRIMARY KEY, name TEXT, age INT"),
      Create("WithCompositeKeyAlone", {Key("uid", "TEXT"), Key2("device", "TEXT")},
             "uid TEXT, device TEXT, PRIMARY KEY(uid, device)"),
      Create("WithCompositeKey",
             {Key("uid", "TEXT"), Key2("device", "TEXT"), Column("name", "TEXT")},
             "uid TEXT, device TEXT, name TEXT, PRIMARY KEY(uid, device)"),
      Create("APrimaryKeyWithoutTypeDoesNotCount", {Key("uid", nullptr)},
             "_ID INTEGER PRIMARY KEY"),
      Create("APrimaryKeyWithAnEmptyTypeDoesNotCount", {Key("uid", "")}, "_ID INTEGER PRIMARY KEY"),
      Create("APrimaryKeyWithAnEmptyNameDoesNotCount", {Key("", "TEXT")},
             "_ID INTEGER PRIMARY KEY"),
      Create("ACompositeKeyAloneIsIgnored", {Key2("device", "TEXT")}, "_ID INTEGER PRIMARY KEY"),
      Create("ACompositeKeyWithAnEmptyTypeIsIgnored", {Key("uid", "TEXT"), Key2("device", "")},
             "uid TEXT NOT NULL PRIMARY KEY"),
      Create("TheSameColumnTwiceIsWrittenTwice", {Column("name", "TEXT"), Column("name", "TEXT")},
             "_ID INTEGER PRIMARY KEY, name TEXT, name TEXT"),
      Create("TypesAreWrittenAsTheyStand", {Column("price", "NUMERIC(8, 2) DEFAULT 0")},
             "_ID INTEGER PRIMARY KEY, price NUMERIC(8, 2) DEFAULT 0"),

      Of("DropsTheTable", "DropTable", {}, "DROP TABLE contact"),

      Of("SelectsAllRowsWithoutConditions", "Select", {}, "SELECT * FROM contact"),
      Of("SelectIgnoresValues", "Select", {SetsData(kUid, 7)}, "SELECT * FROM contact"),
      Of("SelectsByConditionsInAddressOrder", "Select", {SetsWhere(kKind, 2), SetsWhere(kUid, 7)},
         "SELECT * FROM contact WHERE uid='7' AND kind='2'"),
      Of("TwoPointersToOneNameMakeTwoConditions", "Select",
         {SetsWhere(kUidAgain, 2), SetsWhere(kUid, 1)},
         "SELECT * FROM contact WHERE uid='1' AND uid='2'"),
      Of("ConditionsKeepSeparatorsInNamesAndValues", "Select",
         {SetsWhere("a AND b", "Salt AND Pepper, mixed")},
         "SELECT * FROM contact WHERE a AND b='Salt AND Pepper, mixed'"),
      Of("NothingIsEscaped", "Select", {SetsWhere("name", "O'Brien")},
         "SELECT * FROM contact WHERE name='O'Brien'"),
      Of("NumbersAreQuotedLikeText", "Select", {SetsWhere(kUid, 42), SetsWhere(kName, -0.5)},
         "SELECT * FROM contact WHERE uid='42' AND name='-0.5'"),

      Of("InsertsOrReplacesValuesInAddressOrder", "Upsert",
         {SetsData(kName, "Kim"), SetsData(kUid, 7)},
         "INSERT OR REPLACE INTO contact (uid, name) VALUES ('7', 'Kim')"),
      Of("InsertsOrReplacesOneValueWithSeparatorsInIt", "Upsert", {SetsData(kUid, "a, b AND c")},
         "INSERT OR REPLACE INTO contact (uid) VALUES ('a, b AND c')"),
      Of("UpsertIgnoresConditions", "Upsert", {SetsData(kUid, 7), SetsWhere(kName, "Kim")},
         "INSERT OR REPLACE INTO contact (uid) VALUES ('7')"),
      Of("UpsertWithoutValuesHasEmptyLists", "Upsert", {},
         "INSERT OR REPLACE INTO contact () VALUES ()"),
      // No setter stores such a value; an application that fills the map otherwise might.
      Of("ValuesAreWrittenUpToTheirFirstNul", "Upsert", {[](BasePath& request) {
           DataMapOf(static_cast<BaseSet&>(request)).emplace(kUid, std::string("ab\0cd\0ef", 8));
         }},
         "INSERT OR REPLACE INTO contact (uid) VALUES ('ab')"),

      Of("UpdatesWithSpacesInSetAndNoneInWhere", "Update",
         {SetsData(kName, "Lee"), SetsWhere(kUid, 7)},
         "UPDATE contact SET name = 'Lee' WHERE uid='7'"),
      Of("UpdatesSeveralColumnsBySeveralConditions", "Update",
         {SetsData(kKind, 3), SetsData(kName, "Lee, AND so on"), SetsWhere(kUidAgain, 8),
          SetsWhere(kUid, 7)},
         "UPDATE contact SET name = 'Lee, AND so on', kind = '3' WHERE uid='7' AND uid='8'"),
      Of("UpdateWithoutConditionsIsIncomplete", "Update", {SetsData(kName, "Lee")},
         "UPDATE contact SET name = 'Lee' WHERE "),
      Of("UpdateWithoutConditionsIsCutAtAnAndInsideAValue", "Update",
         {SetsData("x", "Salt AND Pepper")}, "UPDATE contact SET x = 'Salt"),
      Of("UpdateWithoutValuesHasTwoSpacesAfterSet", "Update", {SetsWhere(kUid, 7)},
         "UPDATE contact SET  WHERE uid='7'"),

      Of("DeletesWithTwoSpacesBeforeFrom", "Delete", {SetsWhere(kUid, 7)},
         "DELETE  FROM contact WHERE uid='7'"),
      Of("DeleteWithoutConditionsDeletesEveryRow", "Delete", {SetsData(kUid, 7)},
         "DELETE  FROM contact"),

      Join("JoinsWithTwoSpacesAfterSelect", {}, ""),
      Join("JoinWritesQualifiedConditionsAsGiven", {SetsWhere("note.kind", "2")},
           " WHERE note.kind='2'"),
      Join("JoinIgnoresValues", {SetsData(kUid, 7)}, ""),
      Of("JoinOfUnsetSidesHasEmptyNames", "JoinSelect", {Left("person", nullptr)},
         "SELECT  * FROM  INNER JOIN  ON . = ."),
  };
}

class StatementTest : public SqlGeneratorTest, public ::testing::WithParamInterface<Statement> {};

TEST_P(StatementTest, IsGenerated) {
  EXPECT_EQ(GetParam().sql, Sql(GetParam().member, GetParam().settings));
}

INSTANTIATE_TEST_SUITE_P(, StatementTest, ::testing::ValuesIn(Statements()),
                         [](const auto& test) { return test.param.name; });

TEST_F(SqlGeneratorTest, UpdateWithoutValuesIsCutAtACommaInTheTableName) {
  EXPECT_EQ("UPDATE a WHERE uid='7'", Sql("Update", {SetsWhere(kUid, 7)}, "a, b"));
}

TEST_F(SqlGeneratorTest, AnUnsetTableIsEmpty) {
  const std::vector<std::vector<std::string>> statements = {
      {"CreateTable", "CREATE TABLE IF NOT EXISTS  (_ID INTEGER PRIMARY KEY)"},
      {"Select", "SELECT * FROM "},
      {"Delete", "DELETE  FROM "},
      {"Upsert", "INSERT OR REPLACE INTO  () VALUES ()"},
      {"Update", "UPDATE  SET  WHERE "},
      {"DropTable", "DROP TABLE "}};
  for (const auto& texts : statements) {
    EXPECT_EQ(texts[1], Sql(texts[0], {}, nullptr));
  }
}

TEST_F(SqlGeneratorTest, NamesAreReadThroughTheCallersPointer) {
  char name[] = "uid";
  const Setting rename = [&name](BasePath&) { name[0] = 'U'; };
  EXPECT_EQ("SELECT * FROM contact WHERE Uid='1'", Sql("Select", {SetsWhere(name, 1), rename}));
  name[0] = 'u';
  EXPECT_EQ("CREATE TABLE IF NOT EXISTS contact (_ID INTEGER PRIMARY KEY, Uid TEXT)",
            Sql("CreateTable", {Column(name, "TEXT"), rename}));
}

TEST_F(SqlGeneratorTest, ANullColumnNameThrowsAndLeavesTheOutput) {
  const std::vector<std::pair<std::string, Setting>> cases = {
      {"CreateTable", Column(nullptr, "TEXT")}, {"Upsert", SetsData(nullptr, 1)},
      {"Update", SetsData(nullptr, 1)},         {"Update", SetsWhere(nullptr, 1)},
      {"Select", SetsWhere(nullptr, 1)},        {"Delete", SetsWhere(nullptr, 1)},
      {"JoinSelect", SetsWhere(nullptr, 1)}};
  for (const auto& [member, setting] : cases) {
    const RequestClass& requestClass = operations::Get(member).request;
    const auto request = requestClass.make();
    setting(*request);
    std::string sql = "old text";
    EXPECT_THROW(requestClass.generate(*request, sql), std::logic_error) << member;
    EXPECT_EQ("old text", sql) << member;
  }
}

TEST_F(SqlGeneratorTest, LogsOnlyTheGettersOfTheRequestsAndLocksNothing) {
  const operations::Operation& update = operations::Get("Update");
  const auto request = update.request.make();
  update.fill(*request, update.PlainTexts());
  ForgetEvents();
  for (int time = 0; time < 2; ++time) {
    std::string text;
    SqlGenerator other;
    other.GetDBPath("/a", "b", text);
    other.GetCheckTableSql("t", text);
    update.request.generate(*request, text);
    EXPECT_EQ(update.Sql(update.PlainTexts()), text);
  }
  const std::string getter = fake::Trace("UpdateRequest.cpp", "GetTable");
  EXPECT_THAT(fake::Lines(), ElementsAre(getter, getter));
  EXPECT_THAT(journal::Of({journal::Kind::kMutex}), IsEmpty());
}

}  // namespace
