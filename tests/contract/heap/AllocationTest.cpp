// What the library takes from the heap, and when.

#include <VornLogger.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "BaseSet.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "HeapSpy.h"
#include "JoinRequest.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;

class AllocationTest : public ::testing::Test {
 protected:
  // The events of an action.
  template <typename Action>
  static std::vector<std::string> EventsOf(Action action) {
    heap_spy::Start();
    action();
    heap_spy::Stop();
    return heap_spy::Events();
  }

  // A cursor whose columns have room for one more cell.
  void FillUpToRoomForOne(const char* column) {
    cursor.SetColumn(column);
    for (int cell = 0; cell < 3; ++cell) {
      cursor.SetData(column, "short");
    }
  }

  // Longer than what a string keeps inside itself.
  const char* const longColumn = "a column name that is longer than a short string";
  const char* const longValue = "a value that is longer than a short string, by far";
  Cursor cursor;
};

TEST_F(AllocationTest, TheDirectLogPathTakesNothing) {
  Database database;
  int count = 15;
  EXPECT_THAT(EventsOf([&] { database.IsRetryLimit(count); }), ElementsAre("log"));
  std::string value;
  EXPECT_THAT(EventsOf([&] { cursor.MoveToNext(); }), ElementsAre("log"));
  EXPECT_THAT(EventsOf([&] { Database(); }), ElementsAre("log", "log"));
}

// One text for the conversion, one from it: both released after the line.
TEST_F(AllocationTest, TheProtectedLogPathReleasesItsTextsAfterTheLine) {
  SelectRequest request;
  VornLogger::GetInstance()->SetEncryptionFlag(true);
  const auto events = EventsOf([&] { request.SetTable(nullptr); });
  VornLogger::GetInstance()->SetEncryptionFlag(false);
  // The text is moved through the conversion, so it is one block all the way.
  EXPECT_THAT(events, ElementsAre("allocate", "convert", "log", "release"));
}

TEST_F(AllocationTest, SetDataBuildsBothTextsUnderTheLockAndReleasesAfterIt) {
  FillUpToRoomForOne(longColumn);
  EXPECT_THAT(EventsOf([&] { cursor.SetData(longColumn, longValue); }),
              ElementsAre("make", "lock", "allocate", "allocate", "unlock", "release", "destroy"));
}

TEST_F(AllocationTest, AShortCellTakesNothingBeyondTheGrowthOfItsColumn) {
  FillUpToRoomForOne("x");
  EXPECT_THAT(EventsOf([&] { cursor.SetData("x", "fits in place"); }),
              ElementsAre("make", "lock", "unlock", "destroy"));
}

TEST_F(AllocationTest, ALongCellTakesOneBlock) {
  FillUpToRoomForOne("x");
  EXPECT_THAT(EventsOf([&] { cursor.SetData("x", longValue); }),
              ElementsAre("make", "lock", "allocate", "unlock", "destroy"));
}

TEST_F(AllocationTest, AColumnGrowsUnderTheLock) {
  FillUpToRoomForOne("x");
  cursor.SetData("x", "short");
  EXPECT_THAT(EventsOf([&] { cursor.SetData("x", "short"); }),
              ElementsAre("make", "lock", "allocate", "release", "unlock", "destroy"));
}

TEST_F(AllocationTest, ANewColumnEntryIsTakenUnderTheLock) {
  BaseSet set;
  EXPECT_THAT(EventsOf([&] { set.SetData("age", "1"); }),
              ElementsAre("make", "lock", "allocate", "unlock", "destroy"));
}

TEST_F(AllocationTest, AValueThatIsIgnoredTakesNoEntry) {
  BaseSet set;
  const char* const column = "age";
  set.SetData(column, "1");
  EXPECT_THAT(EventsOf([&] { set.SetData(column, "2"); }),
              ElementsAre("make", "lock", "unlock", "destroy"));
}

TEST_F(AllocationTest, AFailedConversionReleasesWithoutUnlock) {
  EXPECT_THAT(EventsOf([&] {
                EXPECT_ANY_THROW(cursor.SetData(longColumn, nullptr));
                heap_spy::Stop();
              }),
              ::testing::IsSupersetOf({"make", "lock", "allocate", "release", "destroy"}));
  EXPECT_THAT(heap_spy::Events(), ::testing::Not(::testing::Contains("unlock")));
}

// The name joins the list first, then the map; both under the lock.
TEST_F(AllocationTest, SetColumnChangesTheListAndThenTheMapUnderTheLock) {
  cursor.SetColumn("a");  // the list grows at every call up to the fifth
  cursor.SetColumn("b");
  EXPECT_THAT(EventsOf([&] { cursor.SetColumn("c"); }),
              ElementsAre("make", "lock", "allocate", "release", "allocate", "unlock", "destroy"));
  EXPECT_THAT(EventsOf([&] { cursor.SetColumn("c"); }),
              ElementsAre("make", "lock", "unlock", "destroy"));
}

TEST_F(AllocationTest, InitializeReleasesTheContentUnderTheLock) {
  cursor.SetColumn(longColumn);
  cursor.SetData(longColumn, "1");
  const auto events = EventsOf([&] { cursor.Initialize(); });
  // The cells of the column, its name and its entry, and its name in the list, which
  // keeps its room.
  EXPECT_THAT(events, ElementsAre("make", "lock", "release", "release", "release", "release",
                                  "unlock", "destroy"));
}

TEST_F(AllocationTest, SetColumnKeyAppendsUnderTheLock) {
  CreateRequest request;
  EXPECT_THAT(EventsOf([&] { request.SetColumnKey("age", "TEXT"); }),
              ElementsAre("log", "make", "lock", "allocate", "unlock", "destroy"));
}

TEST_F(AllocationTest, ACursorTracesBeforeItReleases) {
  std::optional<Cursor> other(std::in_place);
  other->SetColumn("a");
  EXPECT_THAT(EventsOf([&] { other.reset(); }), ElementsAre("log", "release", "release"));
}

template <typename Request>
class TableAllocationTest : public AllocationTest {};
using TableRequests = ::testing::Types<SelectRequest, UpdateRequest, UpsertRequest, DeleteRequest,
                                       DropRequest, CreateRequest>;
TYPED_TEST_SUITE(TableAllocationTest, TableRequests);

TYPED_TEST(TableAllocationTest, TracesBeforeItStoresReadsAndReleases) {
  std::optional<TypeParam> request(std::in_place);
  EXPECT_THAT(this->EventsOf([&] { request->SetTable(this->longValue); }),
              ElementsAre("log", "allocate"));
  std::string table;
  EXPECT_THAT(this->EventsOf([&] { request->GetTable(table); }), ElementsAre("log", "allocate"));
  EXPECT_THAT(this->EventsOf([&] { request.reset(); }), ElementsAre("log", "release"));
}

// A pair of texts of a request, such as a key.
template <typename Request, void (Request::*set)(const char*, const char*),
          void (Request::*get)(std::string&, std::string&)>
struct TextPair {
  using Owner = Request;
  static void Set(Request& request, const char* text) { (request.*set)(text, text); }
  static void Get(Request& request, std::string& first, std::string& second) {
    (request.*get)(first, second);
  }
};
template <typename Pair>
class TextPairAllocationTest : public AllocationTest {};
using TextPairs = ::testing::Types<
    TextPair<CreateRequest, &CreateRequest::SetPrimaryKey, &CreateRequest::GetPrimaryKey>,
    TextPair<CreateRequest, &CreateRequest::SetCompositeKey, &CreateRequest::GetCompositeKey>,
    TextPair<JoinRequest, &JoinRequest::SetLeftJoin, &JoinRequest::GetLeftJoin>,
    TextPair<JoinRequest, &JoinRequest::SetRightJoin, &JoinRequest::GetRightJoin>>;
TYPED_TEST_SUITE(TextPairAllocationTest, TextPairs);

TYPED_TEST(TextPairAllocationTest, TracesBeforeItStoresReadsAndReleases) {
  std::optional<typename TypeParam::Owner> request(std::in_place);
  EXPECT_THAT(this->EventsOf([&] { TypeParam::Set(*request, this->longValue); }),
              ElementsAre("log", "allocate", "allocate"));
  std::string first;
  std::string second;
  EXPECT_THAT(this->EventsOf([&] { TypeParam::Get(*request, first, second); }),
              ElementsAre("log", "allocate", "allocate"));
  EXPECT_THAT(this->EventsOf([&] { request.reset(); }), ElementsAre("log", "release", "release"));
}

TEST_F(AllocationTest, AColumnListIsCopiedAfterTheTrace) {
  CreateRequest request;
  request.SetColumnKey("age", "TEXT");
  CreateRequest::ColumnKeys keys;
  EXPECT_THAT(EventsOf([&] { request.GetColumnKey(keys); }), ElementsAre("log", "allocate"));
  cursor.SetColumn("age");
  std::vector<std::string> columns;
  EXPECT_THAT(EventsOf([&] { cursor.GetColumn(columns); }), ElementsAre("log", "allocate"));
}

// Each operation of a request traces itself, so the first event is the reading of the
// table, or of the left side.
template <typename Request>
void ExpectTheStatementReadsTheTableFirst(void (SqlGenerator::*generate)(Request&, std::string&)) {
  Request request;
  request.SetData("age", 1);
  request.SetWhere("uid", 1);
  SqlGenerator generator;
  std::string sql;
  heap_spy::Start();
  (generator.*generate)(request, sql);
  heap_spy::Stop();
  EXPECT_EQ("log", heap_spy::Events().front()) << sql;
}

TEST_F(AllocationTest, AStatementReadsTheTableFirst) {
  ExpectTheStatementReadsTheTableFirst(&SqlGenerator::GetSelectSql);
  ExpectTheStatementReadsTheTableFirst(&SqlGenerator::GetJoinSql);
  ExpectTheStatementReadsTheTableFirst(&SqlGenerator::GetUpsertSql);
  ExpectTheStatementReadsTheTableFirst(&SqlGenerator::GetUpdateSql);
  ExpectTheStatementReadsTheTableFirst(&SqlGenerator::GetDeleteSql);
}

TEST_F(AllocationTest, TextsAreReleasedInTheOrderOfTheMembers) {
  heap_spy::Start();
  {
    CreateRequest request;
    request.SetCompositeKey("1234", "12345");
    request.SetPrimaryKey("12", "123");
    request.SetTable("1");
    request.SetPath("123456", "1234567");
  }
  heap_spy::Stop();
  EXPECT_THAT(heap_spy::ArraysReleased(), ElementsAre(2, 3, 4, 5, 6, 7, 8));
  heap_spy::Start();
  {
    JoinRequest request;
    request.SetRightJoin("123", "1234");
    request.SetLeftJoin("1", "12");
  }
  heap_spy::Stop();
  EXPECT_THAT(heap_spy::ArraysReleased(), ElementsAre(2, 3, 4, 5));
}

}  // namespace
