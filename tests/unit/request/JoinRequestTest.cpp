#include "JoinRequest.h"

#include <string>
#include <type_traits>

#include "LibraryTest.h"

namespace {

using fake::Trace;
using ::testing::ElementsAre;

static_assert(!std::is_copy_constructible_v<JoinRequest> &&
              !std::is_copy_assignable_v<JoinRequest>);
static_assert(std::is_base_of_v<BaseSet, JoinRequest>);

// Both sides follow the same rules.
struct Side {
  const char* name;
  void (JoinRequest::*set)(const char*, const char*);
  void (JoinRequest::*get)(std::string&, std::string&);
};

class JoinRequestTest : public LibraryTest, public ::testing::WithParamInterface<Side> {
 protected:
  void Set(const char* newTable, const char* newColumn) {
    (request.*GetParam().set)(newTable, newColumn);
  }
  void ExpectSide(const std::string& expectedTable, const std::string& expectedColumn) {
    std::string table = "old table";
    std::string column = "old column";
    (request.*GetParam().get)(table, column);
    EXPECT_EQ(expectedTable, table);
    EXPECT_EQ(expectedColumn, column);
  }
  JoinRequest request;
};

TEST_P(JoinRequestTest, AFreshRequestLeavesTheOutputsAsTheyWere) {
  ExpectSide("old table", "old column");
}

TEST_P(JoinRequestTest, ReturnsTheSideThatWasSet) {
  Set("person", "uid");
  ExpectSide("person", "uid");
}

TEST_P(JoinRequestTest, ASideIsReturnedOnlyWithTableAndColumn) {
  Set("person", nullptr);
  ExpectSide("old table", "old column");
  Set(nullptr, "uid");
  ExpectSide("person", "uid");
}

TEST_P(JoinRequestTest, TwoNullArgumentsChangeNothing) {
  Set("person", "uid");
  Set(nullptr, nullptr);
  ExpectSide("person", "uid");
}

TEST_P(JoinRequestTest, CopiesTheTexts) {
  char table[] = "person";
  char column[] = "uid";
  Set(table, column);
  table[0] = column[0] = 'X';
  ExpectSide("person", "uid");
}

INSTANTIATE_TEST_SUITE_P(
    , JoinRequestTest,
    ::testing::Values(Side{"Left", &JoinRequest::SetLeftJoin, &JoinRequest::GetLeftJoin},
                      Side{"Right", &JoinRequest::SetRightJoin, &JoinRequest::GetRightJoin}),
    [](const auto& test) { return test.param.name; });

class JoinRequestSidesTest : public LibraryTest {};

TEST_F(JoinRequestSidesTest, JoinSidesAreIndependent) {
  JoinRequest request;
  request.SetLeftJoin("person", "uid");
  std::string table = "old";
  std::string column = "old";
  request.GetRightJoin(table, column);
  EXPECT_EQ("old", table);
  request.SetRightJoin("note", "owner");
  request.GetLeftJoin(table, column);
  EXPECT_EQ("person", table);
  EXPECT_EQ("uid", column);
}

TEST_F(JoinRequestSidesTest, EveryJoinOperationWritesOneTraceLine) {
  {
    JoinRequest request;
    std::string table;
    std::string column;
    request.SetLeftJoin("person", "uid");
    request.SetRightJoin("note", "owner");
    request.GetLeftJoin(table, column);
    request.GetRightJoin(table, column);
  }
  const std::string file = "JoinRequest.cpp";
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace(file, "JoinRequest"), Trace(file, "SetLeftJoin"),
                                         Trace(file, "SetRightJoin"), Trace(file, "GetLeftJoin"),
                                         Trace(file, "GetRightJoin"), Trace(file, "~JoinRequest")));
}

TEST_F(JoinRequestSidesTest, JoinSettersAndGettersTakeNoLock) {
  JoinRequest request;
  journal::Clear();
  std::string table;
  std::string column;
  request.SetLeftJoin("person", "uid");
  request.SetRightJoin("note", "owner");
  request.GetLeftJoin(table, column);
  request.GetRightJoin(table, column);
  EXPECT_THAT(journal::Of({journal::Kind::kMutex}), ::testing::IsEmpty());
}

}  // namespace
