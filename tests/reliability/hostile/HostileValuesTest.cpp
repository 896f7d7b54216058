// Every hostile text in every place of a request: the statement holds it as it is, SQLite
// decides, and nothing else happens.

#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "HostileTest.h"
#include "HostileTexts.h"
#include "Points.h"
#include "TestNumbers.h"

namespace {

// A place in a request where a text can be put.
struct Place {
  operations::Subject subject;
  std::string slot;
  std::size_t number;

  std::string Name() const { return subject.own->name + "_" + slot; }
};

void PrintTo(const Place& place, std::ostream* stream) { *stream << place.Name(); }

// Every slot of every operation, in the last case that has it: with a condition, and in a
// table of no more keys than need be.
std::vector<Place> Places() {
  std::vector<Place> places;
  for (const operations::Operation& operation : operations::All()) {
    std::set<std::string> seen;
    for (auto own = operation.cases.rbegin(); own != operation.cases.rend(); ++own) {
      for (const Texts::Slot& slot : own->texts.Slots()) {
        if (seen.insert(slot.first).second) {
          places.push_back({{&operation, &*own}, slot.first, places.size()});
        }
      }
    }
  }
  return places;
}

class HostileValuesTest : public HostileTest, public ::testing::WithParamInterface<Place> {};

TEST_P(HostileValuesTest, SqliteDecidesAndNothingElseHappens) {
  const operations::Subject& subject = GetParam().subject;
  std::map<bool, int> accepted;
  for (const std::string& text : HostileTexts(GetParam().number)) {
    SCOPED_TRACE(Excerpt(text));
    StartAfresh();
    const bool isAccepted =
        Expect(*subject.operation, subject.own->texts.With(GetParam().slot, text)).code == 0;
    ++accepted[isAccepted];
    ++points::Count("texts", isAccepted ? "accepted" : "refused");
    // A statement is done whole or not at all; several of them are not.
    const bool isOneStatement = UpToNul(text).find(';') == std::string::npos;
    if (!subject.operation->IsWrite() || (!isAccepted && isOneStatement)) {
      EXPECT_TRUE(IsUntouched());
    }
  }
  if (test_numbers::Stride() == 1) {  // others may be all of a kind
    EXPECT_THAT(accepted, ::testing::SizeIs(2)) << "all texts are accepted, or all refused";
  }
}

INSTANTIATE_TEST_SUITE_P(Places, HostileValuesTest, ::testing::ValuesIn(Places()),
                         [](const auto& place) { return place.param.Name(); });

}  // namespace
