// The retry policy for a busy file, through both classes that offer it.

#include <string>
#include <type_traits>

#include "Database.h"
#include "DatabaseParser.h"
#include "LibraryTest.h"

namespace {

using ::testing::ElementsAre;

template <typename Class>
class RetryLimitTest : public LibraryTest {
 protected:
  // Expects the count to be one more, and these events; a wait is one.
  template <typename Events>
  static void ExpectLimit(bool isLimit, int count, Events events) {
    Class object;
    LibraryTest::ForgetEvents();
    const int before = count;
    EXPECT_EQ(isLimit, object.IsRetryLimit(count));
    EXPECT_EQ(before + 1, count);
    EXPECT_THAT(journal::Of({journal::Kind::kLog, journal::Kind::kSleep}), events);
  }
  static std::string Line(int priority, const std::string& message) {
    const bool isDatabase = std::is_same_v<Class, Database>;
    return fake::Line(priority, isDatabase ? "Database.cpp" : "DatabasePasrser.cpp", "IsRetryLimit",
                      message);
  }
};
using RetryingClasses = ::testing::Types<Database, DatabaseParser>;
TYPED_TEST_SUITE(RetryLimitTest, RetryingClasses);

TYPED_TEST(RetryLimitTest, BelowTheLimitWarnsThenWaits100Milliseconds) {
  for (int count = 0; count < 15; ++count) {
    const std::string warning = "SQLITE BUSY[" + std::to_string(count + 1) + "]";
    this->ExpectLimit(false, count, ElementsAre(this->Line(5, warning), "usleep 100000"));
  }
}

TYPED_TEST(RetryLimitTest, AtTheLimitAndBeyondReportsAndDoesNotWait) {
  const std::string error = this->Line(6, "RETRY COUNT is reached LIMIT, SQLITE_BUSY");
  this->ExpectLimit(true, 15, ElementsAre(error));
  this->ExpectLimit(true, 40, ElementsAre(error));
}

TYPED_TEST(RetryLimitTest, ANegativeCountIsBelowTheLimit) {
  const std::string warning = this->Line(5, "SQLITE BUSY[-2]");
  this->ExpectLimit(false, -3, ElementsAre(warning, "usleep 100000"));
}

}  // namespace
