// The common parts of the request classes. BasePath, which has its own rules, apart.

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "FieldCases.h"
#include "LibraryTest.h"
#include "Operations.h"

namespace {

using operations::RequestClass;
using operations::TextField;
using ::testing::ElementsAre;

std::vector<RequestClass> TracedRequests() {
  std::vector<RequestClass> requests = operations::RequestClasses();
  requests.erase(std::remove_if(requests.begin(), requests.end(),
                                [](const RequestClass& each) { return !each.isTraced; }),
                 requests.end());
  return requests;
}

class RequestTest : public LibraryTest, public ::testing::WithParamInterface<RequestClass> {
 protected:
  static std::string Trace(const std::string& function) {
    return fake::Trace(GetParam().name + ".cpp", function);
  }
};

TEST_P(RequestTest, ConstructorAndDestructorTrace) {
  GetParam().make();
  EXPECT_THAT(fake::Lines(), ElementsAre(Trace(GetParam().name), Trace("~" + GetParam().name)));
}

// A base that is a set locks its map before; a list of its own is locked after.
TEST_P(RequestTest, ConstructorTracesBetweenItsBaseAndItsMembers) {
  const auto request = GetParam().make();
  const auto events = journal::Of({journal::Kind::kMutex, journal::Kind::kLog});
  const std::size_t eventsOfBase = GetParam().isSet ? 4 : 0;
  ASSERT_GT(events.size(), eventsOfBase);
  EXPECT_EQ(Trace(GetParam().name), events[eventsOfBase]);
}

TEST_P(RequestTest, EveryFieldHasTextsOfItsOwn) {
  const auto request = GetParam().make();
  for (const TextField& field : GetParam().fields) {
    field.set(*request, field.name.c_str(), "second");
  }
  for (const TextField& field : GetParam().fields) {
    std::string first;
    std::string second;
    field.get(*request, first, second);
    EXPECT_EQ(field.name, first);
  }
}

INSTANTIATE_TEST_SUITE_P(, RequestTest, ::testing::ValuesIn(TracedRequests()),
                         [](const auto& test) { return test.param.name; });

class TextFieldTest : public LibraryTest, public ::testing::WithParamInterface<FieldCase> {
 protected:
  void Set(const char* first, const char* second) { GetParam().field.set(*request, first, second); }
  void ExpectTexts(const std::string& first, const std::string& second) {
    std::string firstOutput = "old first";
    std::string secondOutput = "old second";
    GetParam().field.get(*request, firstOutput, secondOutput);
    EXPECT_EQ(first, firstOutput);
    EXPECT_EQ(GetParam().field.isPair ? second : "old second", secondOutput);
  }
  const std::unique_ptr<BasePath> request = GetParam().request.make();
};

TEST_P(TextFieldTest, AFreshRequestLeavesTheOutputsAsTheyWere) {
  ExpectTexts("old first", "old second");
}

TEST_P(TextFieldTest, CopiesTheTextsAndNullChangesNothing) {
  char first[] = "uid";
  char second[] = "TEXT";
  Set(first, second);
  first[0] = second[0] = 'X';
  Set(nullptr, nullptr);
  ExpectTexts("uid", "TEXT");
}

TEST_P(TextFieldTest, EmptyTextsReplaceTheOutputs) {
  Set("", "");
  ExpectTexts("", "");
}

TEST_P(TextFieldTest, SetterAndGetterTraceAndTakeNoLock) {
  ForgetEvents();
  Set("uid", "TEXT");
  Set(nullptr, nullptr);
  ExpectTexts("uid", "TEXT");
  const std::string file = GetParam().request.name + ".cpp";
  const std::string setter = fake::Trace(file, "Set" + GetParam().field.name);
  const std::string getter = fake::Trace(file, "Get" + GetParam().field.name);
  EXPECT_THAT(journal::Of({journal::Kind::kLog, journal::Kind::kMutex}),
              ElementsAre(setter, setter, getter));
}

INSTANTIATE_TEST_SUITE_P(, TextFieldTest, ::testing::ValuesIn(FieldCases([](const auto& each) {
                           return each.request.isTraced;
                         })),
                         NameOf);

class TextPairTest : public TextFieldTest {};

TEST_P(TextPairTest, IsReturnedOnlyWithBothTexts) {
  Set("uid", nullptr);
  ExpectTexts("old first", "old second");
  Set(nullptr, "TEXT");
  ExpectTexts("uid", "TEXT");
}

TEST_P(TextPairTest, IsNotReturnedWithItsSecondTextAlone) {
  Set(nullptr, "TEXT");
  ExpectTexts("old first", "old second");
}

INSTANTIATE_TEST_SUITE_P(, TextPairTest, ::testing::ValuesIn(FieldCases([](const auto& each) {
                           return each.request.isTraced && each.field.isPair;
                         })),
                         NameOf);

}  // namespace
