// The rule for a busy file, through both classes that offer it.

#include <string>

#include "Database.h"
#include "DatabaseParser.h"
#include "LibraryTest.h"

namespace {

using fake::Line;
using journal::Kind;
using ::testing::ElementsAre;

template <typename Class>
struct Source;
template <>
struct Source<Database> {
  static constexpr const char* kFile = "Database.cpp";
};
template <>
struct Source<DatabaseParser> {
  static constexpr const char* kFile = "DatabasePasrser.cpp";
};

template <typename Class>
class BusyRuleTest : public LibraryTest {
 protected:
  bool IsRetryLimit(int& count) {
    Class object;
    ForgetEvents();
    const bool isLimit = object.IsRetryLimit(count);
    events = journal::Of({Kind::kLog, Kind::kSleep});
    return isLimit;
  }
  static std::string BusyLine(int priority, const std::string& message) {
    return Line(priority, Source<Class>::kFile, "IsRetryLimit", message);
  }
  std::vector<std::string> events;
};

using Classes = ::testing::Types<Database, DatabaseParser>;
TYPED_TEST_SUITE(BusyRuleTest, Classes);

TYPED_TEST(BusyRuleTest, BelowTheLimitWarnsThenWaits100Milliseconds) {
  for (int before = 0; before < 15; ++before) {
    int count = before;
    EXPECT_FALSE(this->IsRetryLimit(count));
    EXPECT_EQ(before + 1, count);
    EXPECT_THAT(this->events,
                ElementsAre(this->BusyLine(5, "SQLITE BUSY[" + std::to_string(count) + "]"),
                            "usleep 100000"));
  }
}

TYPED_TEST(BusyRuleTest, AtTheLimitReportsAndDoesNotWait) {
  int count = 15;
  EXPECT_TRUE(this->IsRetryLimit(count));
  EXPECT_EQ(16, count);
  EXPECT_THAT(this->events,
              ElementsAre(this->BusyLine(6, "RETRY COUNT is reached LIMIT, SQLITE_BUSY")));
}

TYPED_TEST(BusyRuleTest, BeyondTheLimitStaysAtTheLimit) {
  int count = 40;
  EXPECT_TRUE(this->IsRetryLimit(count));
  EXPECT_EQ(41, count);
}

TYPED_TEST(BusyRuleTest, ANegativeCountIsBelowTheLimit) {
  int count = -3;
  EXPECT_FALSE(this->IsRetryLimit(count));
  EXPECT_EQ(-2, count);
}

}  // namespace
