#include "CreateRequest.h"

#include <stdexcept>
#include <string>
#include <type_traits>

#include "LibraryTest.h"

namespace {

using fake::Trace;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

static_assert(!std::is_copy_constructible_v<CreateRequest> &&
              !std::is_copy_assignable_v<CreateRequest>);
static_assert(std::is_base_of_v<BasePath, CreateRequest>);

class CreateRequestTest : public LibraryTest {
 protected:
  CreateRequest::ColumnKeys Columns() {
    CreateRequest::ColumnKeys keys{{"old", "OLD"}};
    request.GetColumnKey(keys);
    return keys;
  }
  CreateRequest request;
  std::string first = "old first";
  std::string second = "old second";
};

TEST_F(CreateRequestTest, AFreshRequestLeavesEveryOutputAsItWas) {
  request.GetTable(first);
  EXPECT_EQ("old first", first);
  request.GetPrimaryKey(first, second);
  EXPECT_EQ("old first", first);
  EXPECT_EQ("old second", second);
  request.GetCompositeKey(first, second);
  EXPECT_EQ("old first", first);
  EXPECT_EQ("old second", second);
  EXPECT_THAT(Columns(), IsEmpty());
}

TEST_F(CreateRequestTest, ReturnsTheTable) {
  request.SetTable("contact");
  request.SetTable(nullptr);
  request.GetTable(first);
  EXPECT_EQ("contact", first);
}

TEST_F(CreateRequestTest, ReturnsThePrimaryKey) {
  request.SetPrimaryKey("uid", "TEXT");
  request.GetPrimaryKey(first, second);
  EXPECT_EQ("uid", first);
  EXPECT_EQ("TEXT", second);
}

TEST_F(CreateRequestTest, ReturnsTheCompositeKey) {
  request.SetCompositeKey("device", "INTEGER");
  request.GetCompositeKey(first, second);
  EXPECT_EQ("device", first);
  EXPECT_EQ("INTEGER", second);
}

TEST_F(CreateRequestTest, AKeyIsReturnedOnlyWithNameAndType) {
  request.SetPrimaryKey("id", nullptr);
  request.GetPrimaryKey(first, second);
  EXPECT_EQ("old first", first);
  EXPECT_EQ("old second", second);
  request.SetCompositeKey(nullptr, "TEXT");
  request.GetCompositeKey(first, second);
  EXPECT_EQ("old first", first);
  EXPECT_EQ("old second", second);
}

TEST_F(CreateRequestTest, NullArgumentsLeaveTheirFields) {
  request.SetPrimaryKey("id", nullptr);
  request.SetPrimaryKey(nullptr, "TEXT");
  request.GetPrimaryKey(first, second);
  EXPECT_EQ("id", first);
  EXPECT_EQ("TEXT", second);
}

TEST_F(CreateRequestTest, CopiesKeysAndTable) {
  char table[] = "contact";
  char name[] = "uid";
  char type[] = "TEXT";
  request.SetTable(table);
  request.SetPrimaryKey(name, type);
  request.SetCompositeKey(name, type);
  table[0] = name[0] = type[0] = 'X';
  request.GetTable(first);
  EXPECT_EQ("contact", first);
  request.GetPrimaryKey(first, second);
  EXPECT_EQ("uid", first);
  EXPECT_EQ("TEXT", second);
  request.GetCompositeKey(first, second);
  EXPECT_EQ("uid", first);
  EXPECT_EQ("TEXT", second);
}

TEST_F(CreateRequestTest, KeepsColumnsInTheOrderOfTheCallsDuplicatesIncluded) {
  const char* const b = "b";
  const char* const a = "a";
  request.SetColumnKey(b, "TEXT");
  request.SetColumnKey(a, "INTEGER");
  request.SetColumnKey(b, "REAL");
  EXPECT_THAT(Columns(), ElementsAre(Pair(b, "TEXT"), Pair(a, "INTEGER"), Pair(b, "REAL")));
}

TEST_F(CreateRequestTest, KeepsColumnNamesByPointerAndCopiesTypes) {
  char name[] = "age";
  char type[] = "TEXT";
  request.SetColumnKey(name, type);
  name[0] = 'X';
  type[0] = 'X';
  const CreateRequest::ColumnKeys keys = Columns();
  ASSERT_EQ(1U, keys.size());
  EXPECT_EQ(name, keys[0].first);
  EXPECT_STREQ("Xge", keys[0].first);
  EXPECT_EQ("TEXT", keys[0].second);
}

TEST_F(CreateRequestTest, ANullColumnNameIsKept) {
  request.SetColumnKey(nullptr, "TEXT");
  EXPECT_THAT(Columns(), ElementsAre(Pair(nullptr, "TEXT")));
}

TEST_F(CreateRequestTest, ANullTypeThrowsAndLeavesTheList) {
  EXPECT_THROW(request.SetColumnKey("age", nullptr), std::logic_error);
  EXPECT_THAT(Columns(), IsEmpty());
}

TEST_F(CreateRequestTest, EveryOperationWritesOneTraceLine) {
  ForgetEvents();
  {
    CreateRequest other;
    CreateRequest::ColumnKeys keys;
    other.SetTable("t");
    other.SetPrimaryKey("a", "TEXT");
    other.SetCompositeKey("b", "TEXT");
    other.SetColumnKey("c", "TEXT");
    other.GetTable(first);
    other.GetPrimaryKey(first, second);
    other.GetCompositeKey(first, second);
    other.GetColumnKey(keys);
  }
  const std::string file = "CreateRequest.cpp";
  EXPECT_THAT(fake::Lines(),
              ElementsAre(Trace(file, "CreateRequest"), Trace(file, "SetTable"),
                          Trace(file, "SetPrimaryKey"), Trace(file, "SetCompositeKey"),
                          Trace(file, "SetColumnKey"), Trace(file, "GetTable"),
                          Trace(file, "GetPrimaryKey"), Trace(file, "GetCompositeKey"),
                          Trace(file, "GetColumnKey"), Trace(file, "~CreateRequest")));
}

TEST_F(CreateRequestTest, TracesBeforeItLocks) {
  ForgetEvents();
  CreateRequest other;
  other.SetColumnKey("c", "TEXT");
  const auto events = journal::Of({journal::Kind::kLog, journal::Kind::kMutex});
  ASSERT_EQ(10U, events.size());
  EXPECT_EQ(Trace("CreateRequest.cpp", "CreateRequest"), events[0]);
  EXPECT_EQ(Trace("CreateRequest.cpp", "SetColumnKey"), events[5]);
}

}  // namespace
