// What the library takes from the heap, and when.

#include <VornLogger.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "BaseSet.h"
#include "Cursor.h"
#include "Database.h"
#include "HeapSpy.h"
#include "SelectRequest.h"

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

}  // namespace
