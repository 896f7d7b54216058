// What is left when memory runs out, at each allocation in turn.

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <new>
#include <string>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "HeapSpy.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "TemporaryDatabase.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

template <typename Request>
class ExhaustedTableTest : public ::testing::Test {};
using TableRequests = ::testing::Types<SelectRequest, UpdateRequest, UpsertRequest, DeleteRequest,
                                       DropRequest, CreateRequest>;
TYPED_TEST_SUITE(ExhaustedTableTest, TableRequests);

TYPED_TEST(ExhaustedTableTest, LeavesTheTable) {
  TypeParam request;
  request.SetTable("accounts");
  heap_spy::FailAfter(0);
  EXPECT_THROW(request.SetTable("contacts"), std::bad_alloc);
  std::string table;
  request.GetTable(table);
  EXPECT_EQ("accounts", table);
}

// Runs an action again and again, failing its first allocation, its second, and
// so on, until it has no more to fail; looks at the state after every failure.
template <typename Action, typename Look>
void FailEachAllocation(Action action, Look look) {
  for (int successes = 0;; ++successes) {
    bool hasFailed = false;
    heap_spy::FailAfter(successes);
    try {
      action();
    } catch (const std::bad_alloc&) {
      hasFailed = true;
    }
    heap_spy::FailNever();
    if (!hasFailed) {
      ASSERT_GT(successes, 0);
      return;
    }
    look();
  }
}

TEST(ExhaustedHeapTest, LeavesTheMaps) {
  BaseSet set;
  const std::string value(100, 'v');
  const char* const column = "c";
  BaseSet::ColumnMap map;
  FailEachAllocation([&] { set.SetData(column, value.c_str()); },
                     [&] {
                       set.GetDataMap(map);
                       EXPECT_TRUE(map.empty());
                     });
}

TEST(ExhaustedHeapTest, LeavesTheStatement) {
  const std::string longName(100, 'n');
  SqlGenerator generator;
  const auto expectUnchanged = [&](auto& request, auto generate) {
    std::string sql = "old text";
    FailEachAllocation([&] { (generator.*generate)(request, sql); },
                       [&] {
                         EXPECT_EQ("old text", sql);
                         std::string("old text").swap(sql);  // without room to grow into
                       });
  };
  SelectRequest select;
  UpdateRequest update;
  UpsertRequest upsert;
  DeleteRequest remove;
  JoinRequest join;
  CreateRequest create;
  DropRequest drop;
  for (BaseSet* set : {static_cast<BaseSet*>(&select), static_cast<BaseSet*>(&update),
                       static_cast<BaseSet*>(&upsert), static_cast<BaseSet*>(&remove),
                       static_cast<BaseSet*>(&join)}) {
    set->SetData(longName.c_str(), 1);
    set->SetWhere(longName.c_str(), 1);
  }
  create.SetTable(longName.c_str());
  create.SetColumnKey(longName.c_str(), "TEXT");
  drop.SetTable(longName.c_str());
  expectUnchanged(select, &SqlGenerator::GetSelectSql);
  expectUnchanged(update, &SqlGenerator::GetUpdateSql);
  expectUnchanged(upsert, &SqlGenerator::GetUpsertSql);
  expectUnchanged(remove, &SqlGenerator::GetDeleteSql);
  expectUnchanged(join, &SqlGenerator::GetJoinSql);
  expectUnchanged(create, &SqlGenerator::GetCreateTableSql);
  expectUnchanged(drop, &SqlGenerator::GetDropTableSql);
}

// A connection or a statement that stays open keeps memory of SQLite's.
TEST(ExhaustedHeapTest, LeavesNothingOpen) {
  const auto blocksOfSqlite = [] {
    int current = 0;
    int highest = 0;
    sqlite3_status(SQLITE_STATUS_MALLOC_COUNT, &current, &highest, 0);
    return current;
  };
  // Longer than what a string keeps inside itself.
  const char* const longText = "a text that is longer than a short string, by far";
  TemporaryDatabase file;
  file.Run("CREATE TABLE t (a TEXT, b TEXT); INSERT INTO t VALUES ('1', '2'), ('3', NULL)");
  UpsertRequest upsert;
  file.Locate(upsert);
  upsert.SetTable("t");
  upsert.SetData("a", longText);
  SelectRequest select;
  file.Locate(select);
  select.SetTable("t");
  JoinRequest join;
  file.Locate(join);
  join.SetLeftJoin("t", "a");
  join.SetRightJoin("t", "b");
  Database database;
  Cursor cursor;
  bool exists = false;
  const int before = blocksOfSqlite();
  const auto expectNothingOpen = [&] { EXPECT_EQ(before, blocksOfSqlite()); };
  FailEachAllocation([&] { database.Upsert(upsert); }, expectNothingOpen);
  FailEachAllocation([&] { database.Select(select, cursor); }, expectNothingOpen);
  FailEachAllocation([&] { database.JoinSelect(join, cursor); }, expectNothingOpen);
  FailEachAllocation([&] { database.CheckExistTable(select, longText, exists); },
                     expectNothingOpen);
}

}  // namespace
