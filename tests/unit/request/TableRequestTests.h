// What the five requests that name one table have in common.

#ifndef VORN_TESTS_REQUEST_TABLEREQUESTTESTS_H
#define VORN_TESTS_REQUEST_TABLEREQUESTTESTS_H

#include <string>
#include <type_traits>

#include "LibraryTest.h"

// `Case` has the class as Request and its name as kName.
template <typename Case>
class TableRequestTests : public LibraryTest {
 protected:
  using Request = typename Case::Request;

  static_assert(!std::is_copy_constructible_v<Request> && !std::is_copy_assignable_v<Request>,
                "a copy would release the same text twice");
  static_assert(std::has_virtual_destructor_v<Request>);

  static std::string Trace(const std::string& function) {
    return fake::Trace(std::string(Case::kName) + ".cpp", function);
  }
  std::string Table() {
    std::string table = "old";
    request.GetTable(table);
    return table;
  }
  Request request;
};

TYPED_TEST_SUITE_P(TableRequestTests);

TYPED_TEST_P(TableRequestTests, AFreshRequestLeavesTheOutputAsItWas) {
  EXPECT_EQ("old", this->Table());
}

TYPED_TEST_P(TableRequestTests, ReturnsTheTableThatWasSet) {
  this->request.SetTable("accounts");
  EXPECT_EQ("accounts", this->Table());
}

TYPED_TEST_P(TableRequestTests, NullTableChangesNothing) {
  this->request.SetTable("accounts");
  this->request.SetTable(nullptr);
  EXPECT_EQ("accounts", this->Table());
}

TYPED_TEST_P(TableRequestTests, EmptyTableReplacesTheOutput) {
  this->request.SetTable("");
  EXPECT_EQ("", this->Table());
}

TYPED_TEST_P(TableRequestTests, CopiesTheTable) {
  char table[] = "accounts";
  this->request.SetTable(table);
  table[0] = 'X';
  EXPECT_EQ("accounts", this->Table());
}

TYPED_TEST_P(TableRequestTests, EveryOperationWritesOneTraceLine) {
  LibraryTest::ForgetEvents();
  std::string table;
  {
    typename TestFixture::Request other;
    other.GetTable(table);
    other.SetTable("accounts");
    other.SetTable(nullptr);
    other.GetTable(table);
  }
  const std::string name = TypeParam::kName;
  EXPECT_THAT(fake::Lines(),
              ::testing::ElementsAre(this->Trace(name), this->Trace("GetTable"),
                                     this->Trace("SetTable"), this->Trace("SetTable"),
                                     this->Trace("GetTable"), this->Trace("~" + name)));
}

TYPED_TEST_P(TableRequestTests, DestructorTracesWithoutATableToo) {
  LibraryTest::ForgetEvents();
  { typename TestFixture::Request other; }
  const std::string name = TypeParam::kName;
  EXPECT_THAT(fake::Lines(), ::testing::ElementsAre(this->Trace(name), this->Trace("~" + name)));
}

// The base takes the lock of its map before the request traces itself.
TYPED_TEST_P(TableRequestTests, TracesAfterItsBaseIsConstructed) {
  LibraryTest::ForgetEvents();
  typename TestFixture::Request other;
  const auto events = journal::Of({journal::Kind::kMutex, journal::Kind::kLog});
  ASSERT_EQ(TypeParam::kLocks + 1U, events.size());
  EXPECT_EQ(this->Trace(TypeParam::kName), events.back());
}

REGISTER_TYPED_TEST_SUITE_P(TableRequestTests, AFreshRequestLeavesTheOutputAsItWas,
                            ReturnsTheTableThatWasSet, NullTableChangesNothing,
                            EmptyTableReplacesTheOutput, CopiesTheTable,
                            EveryOperationWritesOneTraceLine, DestructorTracesWithoutATableToo,
                            TracesAfterItsBaseIsConstructed);

#endif  // VORN_TESTS_REQUEST_TABLEREQUESTTESTS_H
