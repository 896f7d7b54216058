// Allocations of the library, and their order.

#include <optional>
#include <string>
#include <vector>

#include "BaseSet.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "FieldCases.h"
#include "HeapSpy.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "SelectRequest.h"

namespace {

using ::testing::ElementsAre;

class AllocationTest : public LibraryTest {
 protected:
  AllocationTest() {
    journal::Listen([](journal::Kind kind, const std::string& event) {
      for (const char* word : {"make", "lock", "unlock", "destroy", "ConvertToSecureLog"}) {
        if (kind != journal::Kind::kLog && event.find(word) == 0) {
          heap_spy::Note(word);
        }
      }
      if (kind == journal::Kind::kLog) {
        heap_spy::Note("log");
      }
    });
  }

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

  // Longer than the buffer inside a std::string.
  const char* const longColumn = "a column name that is longer than a short string";
  const char* const longValue = "a value that is longer than a short string, by far";
  Cursor cursor;
};

TEST_F(AllocationTest, TheDirectLogPathTakesNothing) {
  Database database;
  int count = 15;
  EXPECT_THAT(EventsOf([&] { database.IsRetryLimit(count); }), ElementsAre("log"));
  EXPECT_THAT(EventsOf([&] { cursor.MoveToNext(); }), ElementsAre("log"));
  EXPECT_THAT(EventsOf([&] { Database(); }), ElementsAre("log", "log"));
}

// The text for the conversion is released before the record, the converted one after it.
TEST_F(AllocationTest, TheProtectedLogPathBuildsOneTextAndReleasesTheConvertedOneAfterTheRecord) {
  SelectRequest request;
  fake::SetEncryption(true);
  EXPECT_THAT(EventsOf([&] { request.SetTable(nullptr); }),
              ElementsAre("allocate", "ConvertToSecureLog", "release", "log", "release"));
}

TEST_F(AllocationTest, ACellIsAppendedUnderTheLock) {
  FillUpToRoomForOne("x");
  EXPECT_THAT(EventsOf([&] { cursor.SetData("x", "fits in place"); }),
              ElementsAre("make", "lock", "unlock", "destroy"));
  EXPECT_THAT(EventsOf([&] { cursor.SetData("x", "short"); }),
              ElementsAre("make", "lock", "allocate", "release", "unlock", "destroy"));
  EXPECT_THAT(EventsOf([&] { cursor.SetData("x", longValue); }),
              ElementsAre("make", "lock", "allocate", "unlock", "destroy"));
}

// The text of its name is released after the lock.
TEST_F(AllocationTest, SetDataBuildsBothTextsUnderTheLockAndReleasesAfterIt) {
  FillUpToRoomForOne(longColumn);
  EXPECT_THAT(EventsOf([&] { cursor.SetData(longColumn, longValue); }),
              ElementsAre("make", "lock", "allocate", "allocate", "unlock", "release", "destroy"));
}

TEST_F(AllocationTest, AnEntryIsTakenUnderTheLockUnlessTheValueIsIgnored) {
  BaseSet set;
  const char* const column = "age";
  EXPECT_THAT(EventsOf([&] { set.SetData(column, "1"); }),
              ElementsAre("make", "lock", "allocate", "unlock", "destroy"));
  EXPECT_THAT(EventsOf([&] { set.SetData(column, "2"); }),
              ElementsAre("make", "lock", "unlock", "destroy"));
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

// The cells of the column, its name and its entry, and its name in the list, which
// keeps its room.
TEST_F(AllocationTest, InitializeReleasesTheContentUnderTheLock) {
  cursor.SetColumn(longColumn);
  cursor.SetData(longColumn, "1");
  EXPECT_THAT(
      EventsOf([&] { cursor.Initialize(); }),
      ElementsAre("make", "lock", "release", "release", "release", "release", "unlock", "destroy"));
}

TEST_F(AllocationTest, ACursorTracesBeforeItReleases) {
  std::optional<Cursor> other(std::in_place);
  other->SetColumn("a");
  EXPECT_THAT(EventsOf([&] { other.reset(); }), ElementsAre("log", "release", "release"));
}

TEST_F(AllocationTest, AColumnListGrowsUnderTheLockAndIsCopiedAfterTheTrace) {
  CreateRequest request;
  EXPECT_THAT(EventsOf([&] { request.SetColumnKey("age", "TEXT"); }),
              ElementsAre("log", "make", "lock", "allocate", "unlock", "destroy"));
  CreateRequest::ColumnKeys keys;
  EXPECT_THAT(EventsOf([&] { request.GetColumnKey(keys); }), ElementsAre("log", "allocate"));
  cursor.SetColumn("age");
  std::vector<std::string> columns;
  EXPECT_THAT(EventsOf([&] { cursor.GetColumn(columns); }), ElementsAre("log", "allocate"));
}

// Each getter of a request traces itself, so that of the table, or of the left side, comes
// before the maps are copied.
TEST_F(AllocationTest, AStatementReadsTheTableFirst) {
  for (const operations::RequestClass& each : operations::RequestClasses()) {
    const auto request = each.make();
    if (each.isSet) {
      dynamic_cast<BaseSet&>(*request).SetData("age", 1);
      dynamic_cast<BaseSet&>(*request).SetWhere("uid", 1);
    }
    std::string sql;
    if (each.isTraced) {
      EXPECT_EQ("log", EventsOf([&] { each.generate(*request, sql); }).front()) << each.name;
    }
  }
}

TEST_F(AllocationTest, TextsAreReleasedInTheOrderOfTheMembers) {
  EventsOf([] {
    CreateRequest request;
    request.SetCompositeKey("1234", "12345");
    request.SetPrimaryKey("12", "123");
    request.SetTable("1");
    request.SetPath("123456", "1234567");
  });
  EXPECT_THAT(heap_spy::ArraysReleased(), ElementsAre(2, 3, 4, 5, 6, 7, 8));
  EventsOf([] {
    JoinRequest request;
    request.SetRightJoin("123", "1234");
    request.SetLeftJoin("1", "12");
  });
  EXPECT_THAT(heap_spy::ArraysReleased(), ElementsAre(2, 3, 4, 5));
}

class FieldAllocationTest : public AllocationTest,
                            public ::testing::WithParamInterface<FieldCase> {};

TEST_P(FieldAllocationTest, TracesBeforeItStoresReadsAndReleases) {
  const operations::TextField& field = GetParam().field;
  auto request = GetParam().request.make();
  std::string first;
  std::string second;
  std::vector<std::string> expected = {"log"};
  expected.resize(1 + GetParam().Texts(), "allocate");
  EXPECT_EQ(expected, EventsOf([&] { field.set(*request, longValue, longValue); }));
  EXPECT_EQ(expected, EventsOf([&] { field.get(*request, first, second); }));
  expected.assign(1 + GetParam().Texts() + 1, "release");  // the last one is the request
  expected.front() = "log";
  EXPECT_EQ(expected, EventsOf([&] { request.reset(); }));
}

INSTANTIATE_TEST_SUITE_P(, FieldAllocationTest,
                         ::testing::ValuesIn(FieldCases([](const auto& each) {
                           return each.request.isTraced;
                         })),
                         NameOf);

}  // namespace
