// What is left of texts and statements when memory runs out.

#include <gtest/gtest.h>

#include <new>
#include <string>

#include "BasePath.h"
#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "HeapSpy.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

// A setter of two texts has stored the first when there is no memory for the second.
template <typename Owner>
void ExpectTheFirstTextIsStored(void (Owner::*set)(const char*, const char*),
                                void (Owner::*get)(std::string&, std::string&)) {
  Owner owner;
  heap_spy::FailAfter(1);
  EXPECT_THROW((owner.*set)("first", "second"), std::bad_alloc);
  (owner.*set)(nullptr, "later");
  std::string first;
  std::string second;
  ASSERT_NO_THROW((owner.*get)(first, second));
  EXPECT_EQ("first", first);
  EXPECT_EQ("later", second);
}

TEST(ExhaustedHeapTest, LeavesTheFirstOfTwoTextsStored) {
  ExpectTheFirstTextIsStored(&BasePath::SetPath, &BasePath::GetPath);
  ExpectTheFirstTextIsStored(&CreateRequest::SetPrimaryKey, &CreateRequest::GetPrimaryKey);
  ExpectTheFirstTextIsStored(&CreateRequest::SetCompositeKey, &CreateRequest::GetCompositeKey);
  ExpectTheFirstTextIsStored(&JoinRequest::SetLeftJoin, &JoinRequest::GetLeftJoin);
  ExpectTheFirstTextIsStored(&JoinRequest::SetRightJoin, &JoinRequest::GetRightJoin);
}

// A getter of two texts has assigned the first when there is no memory for the second.
template <typename Owner>
void ExpectTheFirstTextIsRead(void (Owner::*set)(const char*, const char*),
                              void (Owner::*get)(std::string&, std::string&)) {
  const std::string longText(100, 't');
  Owner owner;
  (owner.*set)(longText.c_str(), longText.c_str());
  std::string first = "old";
  std::string second = "old";
  heap_spy::FailAfter(1);
  EXPECT_THROW((owner.*get)(first, second), std::bad_alloc);
  EXPECT_EQ(longText, first);
  EXPECT_EQ("old", second);
}

TEST(ExhaustedHeapTest, LeavesTheFirstOfTwoTextsRead) {
  ExpectTheFirstTextIsRead(&BasePath::SetPath, &BasePath::GetPath);
  ExpectTheFirstTextIsRead(&CreateRequest::SetPrimaryKey, &CreateRequest::GetPrimaryKey);
  ExpectTheFirstTextIsRead(&CreateRequest::SetCompositeKey, &CreateRequest::GetCompositeKey);
  ExpectTheFirstTextIsRead(&JoinRequest::SetLeftJoin, &JoinRequest::GetLeftJoin);
  ExpectTheFirstTextIsRead(&JoinRequest::SetRightJoin, &JoinRequest::GetRightJoin);
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

}  // namespace
