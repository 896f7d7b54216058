// The state of texts, values and statements when memory runs out.

#include <new>
#include <string>

#include "BaseSet.h"
#include "CommaLocale.h"
#include "FieldCases.h"
#include "HeapSpy.h"
#include "LibraryTest.h"

namespace {

const std::string kLongText(100, 't');

class ExhaustedPairTest : public LibraryTest, public ::testing::WithParamInterface<FieldCase> {
 protected:
  const operations::TextField& field = GetParam().field;
  const std::unique_ptr<BasePath> request = GetParam().request.make();
  std::string first = "old";
  std::string second = "old";
};

TEST_P(ExhaustedPairTest, SetterLeavesTheFirstOfTwoTextsStored) {
  heap_spy::Point().Set(1);
  EXPECT_THROW(field.set(*request, "first", "second"), std::bad_alloc);
  field.set(*request, nullptr, "later");
  field.get(*request, first, second);
  EXPECT_EQ("first", first);
  EXPECT_EQ("later", second);
}

TEST_P(ExhaustedPairTest, GetterLeavesTheFirstOfTwoTextsRead) {
  field.set(*request, kLongText.c_str(), kLongText.c_str());
  heap_spy::Point().Set(1);
  EXPECT_THROW(field.get(*request, first, second), std::bad_alloc);
  EXPECT_EQ(kLongText, first);
  EXPECT_EQ("old", second);
}

INSTANTIATE_TEST_SUITE_P(, ExhaustedPairTest, ::testing::ValuesIn(FieldCases([](const auto& each) {
                           return each.field.isPair;
                         })),
                         NameOf);

using ExhaustedSetTest = LibraryTest;

// The first number of a locale allocates inside the stream.
TEST_F(ExhaustedSetTest, DoesNotStoreTheFirstNumberOfALocale) {
  const CommaLocale locale;
  BaseSet set;
  heap_spy::Point().Set(0);
  EXPECT_THROW(set.SetData("column", 1), std::bad_alloc);
  BaseSet::ColumnMap values;
  set.GetDataMap(values);
  EXPECT_TRUE(values.empty());
}

class ExhaustedStatementTest : public LibraryTest {
 protected:
  // Every allocation fails in turn.
  static void ExpectTheOutputIsLeft(const operations::Operation& operation) {
    operations::Texts texts = operation.PlainTexts();
    for (const auto& slot : operation.PlainTexts().Slots()) {
      texts = texts.With(slot.first, kLongText);
    }
    const auto request = operation.request.make();
    operation.fill(*request, texts);
    std::string sql = "old text";
    int successes = 0;
    for (bool hasFailed = true; hasFailed; ++successes) {
      hasFailed = false;
      heap_spy::Point().Set(successes);
      try {
        operation.request.generate(*request, sql);
      } catch (const std::bad_alloc&) {
        hasFailed = true;
      }
      heap_spy::Point().Clear();
      if (hasFailed) {
        EXPECT_EQ("old text", sql);
        std::string("old text").swap(sql);  // without room to grow into
      }
    }
    EXPECT_GT(successes, 1);
  }
};

TEST_F(ExhaustedStatementTest, LeavesTheOutput) {
  for (const operations::Operation& operation : operations::All()) {
    if (operation.request.generate) {
      SCOPED_TRACE(operation.member);
      ExpectTheOutputIsLeft(operation);
    }
  }
}

}  // namespace
