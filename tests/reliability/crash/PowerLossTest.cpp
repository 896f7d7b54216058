// The library's databases when the power is lost.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <ostream>

#include "DiskRecorder.h"
#include "NoteTable.h"
#include "PowerLossSurvey.h"

namespace {

using note_table::Content;
using note_table::Step;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Values;
using Kind = DiskEvent::Kind;

constexpr char kDatabase[] = "app.db";
constexpr char kJournal[] = "app.db-journal";

// The first steps make a table with a text of several pages.
std::vector<Step> Steps() {
  return {{"CreateTable", "", ""},
          {"Upsert", "a", "first"},
          {"Upsert", "b", std::string(9000, 'b')},
          {"Update", "a", std::string(5000, 'a')},
          {"Update", "nobody", "changes nothing"},
          {"Upsert", "b", "no longer big"},
          {"Upsert", "c", std::string(13000, 'c')},
          {"Delete", "a", ""},
          {"Delete", "", ""},
          {"Upsert", "d", "again"},
          {"DropTable", "", ""}};
}

// A file that is there before, and what is done to it.
struct Scenario {
  std::string name;
  std::string preparation;
  std::size_t steps;
};

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }

std::string NameOf(const ::testing::TestParamInfo<Scenario>& info) { return info.param.name; }

Scenario NewFile() { return {"NewFile", "", Steps().size()}; }

// What a transaction changes does not fit into SQLite's memory and is written before
// its end.
Scenario SmallCache() {
  return {"SmallCache", "PRAGMA page_size = 1024; PRAGMA default_cache_size = 10; VACUUM", 7};
}

// SQLite gives pages back that are no longer used.
Scenario ShrinkingFile() { return {"ShrinkingFile", "PRAGMA auto_vacuum = FULL; VACUUM", 6}; }

History Record(const Scenario& scenario) {
  const TemporaryDatabase database;
  if (!scenario.preparation.empty()) {
    database.Run(scenario.preparation);
  }
  History history{ReadFiles(database), {}, {std::nullopt}};
  std::vector<Step> steps = Steps();
  steps.resize(scenario.steps);
  DiskRecorder recorder(database);
  for (const Step& step : steps) {
    EXPECT_EQ(0, note_table::Run(step, database));
    recorder.Acknowledge();
    history.contents.push_back(note_table::After(step, history.contents.back()));
  }
  history.events = recorder.Events();
  return history;
}

using Predicate = std::function<bool(const DiskEvent&)>;

Predicate Is(Kind kind, const std::string& file) {
  return [kind, file](const DiskEvent& event) { return event.kind == kind && event.file == file; };
}

// Whether there is an event of each kind, in this order.
bool HaveInOrder(const std::vector<DiskEvent>& events, const std::vector<Predicate>& wanted) {
  auto next = wanted.begin();
  for (const DiskEvent& event : events) {
    if (next != wanted.end() && (*next)(event)) {
      ++next;
    }
  }
  return next == wanted.end();
}

PowerLossSurvey::Result Survey(const History& history, DirectoryChanges directory) {
  const PowerLossSurvey::Result result = PowerLossSurvey(history, directory).Run();
  std::printf(
      "%d power losses simulated at %d boundaries: %d different images, %d repaired, %d without "
      "the last acknowledged change, %d damaged\n",
      result.losses, result.boundaries, result.images, result.repairs, result.undone,
      result.damages);
  return result;
}

// The events as "kind file", equal neighbours once.
std::vector<std::string> Summary(const std::vector<DiskEvent>& events) {
  const std::map<Kind, std::string> names = {
      {Kind::kCreate, "create "},   {Kind::kWrite, "write "},
      {Kind::kTruncate, "cut "},    {Kind::kSync, "sync "},
      {Kind::kDelete, "delete "},   {Kind::kSyncDirectory, "sync directory"},
      {Kind::kAcknowledge, "done"},
  };
  std::vector<std::string> lines;
  for (const DiskEvent& event : events) {
    const std::string line = names.at(event.kind) + event.file;
    if (lines.empty() || lines.back() != line) {
      lines.push_back(line);
    }
  }
  return lines;
}

// All that the promises rest on. The deletion of the journal ends the operation; that
// the directory has it for certain is waited for by the next operation only.
TEST(PowerLossTest, AnOperationWaitsForTheDiskBeforeItOverwritesAndBeforeItReturns) {
  const std::vector<DiskEvent> events = Record(NewFile()).events;
  const auto first = std::find_if(events.begin(), events.end(), Is(Kind::kAcknowledge, ""));
  const auto second = std::find_if(first + 1, events.end(), Is(Kind::kAcknowledge, ""));
  EXPECT_THAT(
      Summary({events.begin(), first}),
      ElementsAre("create app.db", "create app.db-journal", "write app.db-journal",
                  "sync app.db-journal", "sync directory", "write app.db-journal",
                  "sync app.db-journal", "write app.db", "sync app.db", "delete app.db-journal"));
  EXPECT_THAT(Summary({first + 1, second}),
              ElementsAre("create app.db-journal", "write app.db-journal", "sync app.db-journal",
                          "sync directory", "write app.db-journal", "sync app.db-journal",
                          "write app.db", "sync app.db", "delete app.db-journal"));
}

class DurableDirectoryTest : public ::testing::TestWithParam<Scenario> {};

TEST_P(DurableDirectoryTest, LosesNothingThatWasAcknowledged) {
  const auto result = Survey(Record(GetParam()), DirectoryChanges::kDurableAtOnce);
  EXPECT_EQ(0, result.damages) << result.firstDamage;
  EXPECT_EQ(0, result.undone);
  EXPECT_GT(result.repairs, 0);
}

INSTANTIATE_TEST_SUITE_P(, DurableDirectoryTest, Values(NewFile(), SmallCache(), ShrinkingFile()),
                         NameOf);

class LaggingDirectoryTest : public ::testing::TestWithParam<Scenario> {};

TEST_P(LaggingDirectoryTest, LosesNoMoreThanTheLastAcknowledgedChange) {
  const auto result = Survey(Record(GetParam()), DirectoryChanges::kDurableWhenSynced);
  EXPECT_EQ(0, result.damages) << result.firstDamage;
  EXPECT_GT(result.undone, 0) << "nothing is lost, although nobody synced the directory";
}

INSTANTIATE_TEST_SUITE_P(, LaggingDirectoryTest, Values(NewFile(), SmallCache()), NameOf);

// SQLite cuts the file after it has deleted the journal, which does not hold what is cut
// off: the returned journal then restores a text with zeros in it, and nothing looks
// wrong. The library itself makes no such files.
TEST(PowerLossTest, AShrinkingFileIsDamagedWhenItsJournalReturns) {
  const auto result = Survey(Record(ShrinkingFile()), DirectoryChanges::kDurableWhenSynced);
  EXPECT_GT(result.damages, 0);
  EXPECT_THAT(result.firstDamage, HasSubstr("the content is neither"));
}

TEST(PowerLossTest, TheScenariosAreWhatTheySay) {
  EXPECT_TRUE(HaveInOrder(Record(ShrinkingFile()).events, {Is(Kind::kTruncate, kDatabase)}));
  const std::vector<DiskEvent> events = Record(SmallCache()).events;
  const auto lastJournal =
      std::find_if(events.rbegin(), events.rend(), Is(Kind::kCreate, kJournal));
  EXPECT_TRUE(HaveInOrder(
      {lastJournal.base(), events.end()},
      {Is(Kind::kWrite, kDatabase), Is(Kind::kWrite, kJournal), Is(Kind::kWrite, kDatabase)}));
  EXPECT_FALSE(HaveInOrder(Record(NewFile()).events, {Is(Kind::kTruncate, kDatabase)}));
}

// The files when an operation has written all of its changes and not yet deleted its
// journal.
Image InTheMiddleOf(const History& history, std::size_t operation) {
  SimulatedDisk disk(history.before);
  std::size_t acknowledged = 0;
  for (const DiskEvent& event : history.events) {
    acknowledged += event.kind == Kind::kAcknowledge ? 1 : 0;
    if (acknowledged == operation && event.kind == Kind::kDelete) {
      break;
    }
    disk.Apply(event);
  }
  return disk.Now();
}

// What the repair of these files does.
History RecordRepair(const Image& image, const Content& content) {
  const TemporaryDatabase database;
  WriteFiles(image, database);
  DiskRecorder recorder(database);
  int result = 0;
  EXPECT_EQ(content, note_table::Read(database, result));
  return {image, recorder.Events(), {content}};
}

TEST(PowerLossTest, ALossDuringTheRepairIsRepaired) {
  for (const Scenario& scenario : {NewFile(), SmallCache()}) {
    const History history = Record(scenario);
    for (const std::size_t operation : {0U, 3U, 6U}) {
      const History repair =
          RecordRepair(InTheMiddleOf(history, operation), history.contents[operation]);
      EXPECT_TRUE(
          HaveInOrder(repair.events, {Is(Kind::kSync, kDatabase), Is(Kind::kDelete, kJournal)}));
      for (const auto directory :
           {DirectoryChanges::kDurableAtOnce, DirectoryChanges::kDurableWhenSynced}) {
        const auto result = Survey(repair, directory);
        EXPECT_EQ(0, result.damages) << result.firstDamage;
      }
    }
  }
}

// If the disk only pretends to sync: the checks see it.
History Without(const Predicate& isIgnored) {
  History history = Record({"", "", 2});
  history.events.erase(std::remove_if(history.events.begin(), history.events.end(), isIgnored),
                       history.events.end());
  return history;
}

TEST(PowerLossTest, WithoutSyncsOfTheJournalThereIsDamage) {
  const auto result = Survey(Without(Is(Kind::kSync, kJournal)), DirectoryChanges::kDurableAtOnce);
  EXPECT_GT(result.damages, 0);
}

TEST(PowerLossTest, WithoutSyncsOfTheDatabaseThereIsDamage) {
  const auto result = Survey(Without(Is(Kind::kSync, kDatabase)), DirectoryChanges::kDurableAtOnce);
  EXPECT_GT(result.damages, 0);
}

TEST(PowerLossTest, WithoutSyncsOfTheDirectoryThereIsDamage) {
  const auto result =
      Survey(Without(Is(Kind::kSyncDirectory, "")), DirectoryChanges::kDurableWhenSynced);
  EXPECT_GT(result.damages, 0);
}

}  // namespace
