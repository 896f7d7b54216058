// Deliberate leaks. These tests leak too, so they run without leak detection.

#include <string>
#include <vector>

#include "Database.h"
#include "DropRequest.h"
#include "FieldCases.h"
#include "HeapSpy.h"
#include "LibraryTest.h"
#include "TemporaryDatabase.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Sizes = std::vector<std::size_t>;

class SetterLeakTest : public LibraryTest, public ::testing::WithParamInterface<FieldCase> {
 protected:
  SetterLeakTest() { heap_spy::Start(); }
  ~SetterLeakTest() override { heap_spy::Stop(); }

  // The text is for all arguments of the setter.
  void Set(const char* text) { GetParam().field.set(*request, text, text); }
  static Sizes OfEachText(std::size_t size) { return Sizes(GetParam().Texts(), size); }

  std::unique_ptr<BasePath> request = GetParam().request.make();
};

TEST_P(SetterLeakTest, OneCallTakesArraysOfLengthPlusOneAndTheDestructorReleasesThem) {
  Set(nullptr);
  EXPECT_THAT(heap_spy::ArraysHeld(), IsEmpty());
  Set("seven77");
  EXPECT_EQ(OfEachText(8), heap_spy::ArraysHeld());
  request.reset();
  EXPECT_THAT(heap_spy::ArraysHeld(), IsEmpty());
}

TEST_P(SetterLeakTest, AnEmptyTextTakesOneByte) {
  Set("");
  EXPECT_EQ(OfEachText(1), heap_spy::ArraysHeld());
}

TEST_P(SetterLeakTest, ARepeatedCallLeaksTheEarlierTexts) {
  Set("seven77");
  Set("x");
  Set("three");
  request.reset();
  Sizes leaked = OfEachText(8);
  leaked.insert(leaked.end(), GetParam().Texts(), 2);
  EXPECT_EQ(leaked, heap_spy::ArraysHeld());
}

TEST_P(SetterLeakTest, ARepeatedCallReplacesEachTextUnlessItIsNull) {
  std::string first;
  std::string second;
  Set("earlier");
  GetParam().field.set(*request, "first", nullptr);
  GetParam().field.get(*request, first, second);
  EXPECT_EQ("first", first);
  EXPECT_EQ(GetParam().field.isPair ? "earlier" : "", second);
}

INSTANTIATE_TEST_SUITE_P(, SetterLeakTest,
                         ::testing::ValuesIn(FieldCases([](const auto&) { return true; })), NameOf);

class LockedFileTest : public LibraryTest {};

// SQLite gives a text for each busy attempt, and only the last one is freed.
TEST_F(LockedFileTest, AWriteGivesUpAfterTheLimitAndLeaksTheTextsOfAllAttemptsButTheLast) {
  TemporaryDatabase file;
  file.Run("CREATE TABLE t (a TEXT)");
  DropRequest request;
  file.Locate(request);
  request.SetTable("t");
  Database database;
  const int before = sqlite_spy::MemoryBlocks();
  {
    const Locker locker(file, "BEGIN EXCLUSIVE");
    EXPECT_EQ(SQLITE_BUSY, database.DropTable(request));
  }
  EXPECT_EQ(before + 16, sqlite_spy::MemoryBlocks());
  EXPECT_THAT(journal::Of({journal::Kind::kSleep}), SizeIs(15));
  EXPECT_EQ(fake::Line(6, "Database.cpp", "DropTable", "DropTable FAILED[5]: database is locked"),
            fake::Lines().back());
  EXPECT_THAT(file.Rows("SELECT name FROM sqlite_master"), ElementsAre("t"));
}

}  // namespace
