#include "CreateRequest.h"

#include <stdexcept>

#include "LibraryTest.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class CreateRequestTest : public LibraryTest {
 protected:
  CreateRequest::ColumnKeys Columns() {
    CreateRequest::ColumnKeys keys{{"old", "OLD"}};
    request.GetColumnKey(keys);
    return keys;
  }
  CreateRequest request;
};

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
  type[0] = 'X';
  const char* const pointer = name;
  EXPECT_THAT(Columns(), ElementsAre(Pair(pointer, "TEXT")));
}

TEST_F(CreateRequestTest, KeepsANullColumnNameAndThrowsForANullType) {
  EXPECT_THROW(request.SetColumnKey("age", nullptr), std::logic_error);
  EXPECT_THAT(Columns(), IsEmpty());
  request.SetColumnKey(nullptr, "TEXT");
  EXPECT_THAT(Columns(), ElementsAre(Pair(nullptr, "TEXT")));
}

TEST_F(CreateRequestTest, SetColumnKeyTracesBeforeItLocksAndGetColumnKeyTraces) {
  ForgetEvents();
  request.SetColumnKey("c", "TEXT");
  Columns();
  const auto events = journal::Of({journal::Kind::kLog, journal::Kind::kMutex});
  ASSERT_EQ(6U, events.size());
  EXPECT_EQ(fake::Trace("CreateRequest.cpp", "SetColumnKey"), events[0]);
  EXPECT_EQ(fake::Trace("CreateRequest.cpp", "GetColumnKey"), events[5]);
}

}  // namespace
