#include "BaseSet.h"

#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "CommaLocale.h"
#include "LibraryTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::StrEq;

static_assert(!std::is_copy_constructible_v<BaseSet> && !std::is_copy_assignable_v<BaseSet>);
static_assert(
    std::is_same_v<BaseSet::ColumnMap, std::map<const char*, std::string, std::less<const char*>>>);

class BaseSetTest : public LibraryTest {
 protected:
  // Column names at ascending addresses.
  static constexpr char kNames[] = "uid\0name\0age";
  static constexpr const char* kUid = kNames;
  static constexpr const char* kName = kNames + 4;
  static constexpr const char* kAge = kNames + 9;

  // The getters replace all that the map holds.
  static BaseSet::ColumnMap DataOf(BaseSet& set) {
    BaseSet::ColumnMap map{{kUid, "old"}, {kName, "old"}};
    set.GetDataMap(map);
    return map;
  }
  static BaseSet::ColumnMap WhereOf(BaseSet& set) {
    BaseSet::ColumnMap map{{kUid, "old"}, {kName, "old"}};
    set.GetWhereMap(map);
    return map;
  }
  // The text that a value becomes, as a value to write and as a condition.
  template <typename Value>
  static std::string Stored(Value value) {
    BaseSet other;
    other.SetData(kUid, value);
    other.SetWhere(kUid, value);
    EXPECT_EQ(DataOf(other), WhereOf(other));
    return DataOf(other)[kUid];
  }
  BaseSet set;
};

TEST_F(BaseSetTest, KeepsTheFirstValueAndTheFirstConditionSetThroughAPointer) {
  EXPECT_THAT(DataOf(set), IsEmpty());
  EXPECT_THAT(WhereOf(set), IsEmpty());
  set.SetData(kAge, "1");
  set.SetData(kAge, "2");
  set.SetData(kAge, 3);
  set.SetData(kAge, 4.0);
  set.SetWhere(kAge, 5);
  set.SetWhere(kAge, "6");
  EXPECT_THAT(DataOf(set), ElementsAre(Pair(kAge, "1")));
  EXPECT_THAT(WhereOf(set), ElementsAre(Pair(kAge, "5")));
}

TEST_F(BaseSetTest, KeepsColumnsByPointerNotByText) {
  const char buffers[] = "age\0age";
  set.SetData(buffers + 4, "second");
  set.SetData(buffers, "first");
  EXPECT_THAT(DataOf(set), ElementsAre(Pair(buffers, "first"), Pair(buffers + 4, "second")));
}

TEST_F(BaseSetTest, OrdersColumnsByAddressNotByCall) {
  set.SetData(kAge, 3);
  set.SetData(kUid, 1);
  set.SetData(kName, 2);
  EXPECT_THAT(DataOf(set), ElementsAre(Pair(kUid, "1"), Pair(kName, "2"), Pair(kAge, "3")));
}

TEST_F(BaseSetTest, CopiesTextsAndKeepsTheCallersPointers) {
  char column[] = "age";
  char value[] = "Kim";
  set.SetData(column, value);
  column[0] = value[0] = 'X';
  EXPECT_THAT(DataOf(set), ElementsAre(Pair(StrEq("Xge"), "Kim")));
}

TEST_F(BaseSetTest, WritesIntegersInPlainDecimal) {
  EXPECT_EQ("-42", Stored(-42));
  EXPECT_EQ("0", Stored(0));
  EXPECT_EQ("2147483647", Stored(std::numeric_limits<int>::max()));
  EXPECT_EQ("-2147483648", Stored(std::numeric_limits<int>::min()));
}

TEST_F(BaseSetTest, WritesDoublesWithSixSignificantDigits) {
  EXPECT_EQ("3.14159", Stored(3.14159265));
  EXPECT_EQ("2", Stored(2.0));
  EXPECT_EQ("0.1", Stored(0.1));
  EXPECT_EQ("1e-05", Stored(0.00001));
  EXPECT_EQ("1e+20", Stored(1e20));
  EXPECT_EQ("100000", Stored(100000.0));
  EXPECT_EQ("1e+06", Stored(1000000.0));
  EXPECT_EQ("-0.5", Stored(-0.5));
}

TEST_F(BaseSetTest, StoresAnEmptyText) {
  EXPECT_EQ("", Stored(""));
  set.SetData(kName, "");
  EXPECT_THAT(DataOf(set), SizeIs(1));
}

TEST_F(BaseSetTest, WritesNumbersThroughADefaultStream) {
  const CommaLocale locale;
  EXPECT_EQ("2,5", Stored(2.5));
  EXPECT_EQ("1.234.567", Stored(1234567));
  EXPECT_EQ("-1.234.567", Stored(-1234567));
}

TEST_F(BaseSetTest, ANullColumnIsStoredBeforeAllOthers) {
  set.SetData(kUid, 1);
  set.SetData(nullptr, 2);
  EXPECT_THAT(DataOf(set), ElementsAre(Pair(nullptr, "2"), Pair(kUid, "1")));
}

TEST_F(BaseSetTest, ANullValueThrowsAndLeavesTheMap) {
  const char* const null = nullptr;
  set.SetData(kUid, 1);
  EXPECT_THROW(set.SetData(kName, null), std::logic_error);
  EXPECT_THROW(set.SetWhere(kName, null), std::logic_error);
  EXPECT_THAT(DataOf(set), ElementsAre(Pair(kUid, "1")));
  EXPECT_THAT(WhereOf(set), IsEmpty());
}

TEST_F(BaseSetTest, LogsNothingAndLocksOnlyForChanges) {
  journal::Clear();
  BaseSet::ColumnMap map;
  {
    BaseSet other;
    other.SetData(kUid, "v");
    other.SetWhere(kUid, 1.5);
    other.GetDataMap(map);
    other.GetWhereMap(map);
  }
  EXPECT_THAT(fake::Lines(), IsEmpty());
  // Of the constructor, SetData and SetWhere.
  EXPECT_THAT(journal::Of({journal::Kind::kMutex}), SizeIs(3 * 4));
}

}  // namespace
