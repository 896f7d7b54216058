// The library's databases when the power is lost.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <ostream>

#include "NoteTable.h"
#include "PowerLossSurvey.h"
#include "ShimVfs.h"

namespace {

using note_table::Content;
using ::testing::ElementsAre;
using ::testing::Values;
using Events = std::vector<DiskEvent>;
using Kind = DiskEvent::Kind;
using Lines = std::vector<std::string>;

// Where syncs of directories are noted, if anywhere.
Events* directorySyncs = nullptr;

// Below SQLite's VFS: that alone decides when to sync a directory.
int NoteSync(int file) {
  struct stat status = {};
  if (directorySyncs != nullptr && fstat(file, &status) == 0 && S_ISDIR(status.st_mode)) {
    directorySyncs->push_back({Kind::kSyncDirectory});
  }
  return 0;
}

}  // namespace

// In front of the C library's: no sync reaches the real disk.
int fsync(int file) { return NoteSync(file); }
int fdatasync(int file) { return NoteSync(file); }

namespace {

// Notes the changes that SQLite makes to the files of a database. One at a time.
class DiskRecorder {
 public:
  explicit DiskRecorder(const TemporaryDatabase& database)
      : m_fileName(database.FileName()), m_shim([this](const FileEvent& event) {
          Note(event);
          return SQLITE_OK;
        }) {
    directorySyncs = &events;
  }
  ~DiskRecorder() { directorySyncs = nullptr; }
  DiskRecorder(const DiskRecorder&) = delete;
  DiskRecorder& operator=(const DiskRecorder&) = delete;

  Events events;

 private:
  void Note(const FileEvent& event) {
    static const std::map<FileCall, Kind> kinds = {{FileCall::kOpen, Kind::kCreate},
                                                   {FileCall::kWrite, Kind::kWrite},
                                                   {FileCall::kTruncate, Kind::kTruncate},
                                                   {FileCall::kSync, Kind::kSync},
                                                   {FileCall::kDelete, Kind::kDelete}};
    const auto kind = kinds.find(event.call);
    const std::string name = std::filesystem::path(event.path).filename().string();
    const bool isTemporary = name.compare(0, m_fileName.size(), m_fileName) != 0;
    const bool isOpen = event.call == FileCall::kOpen;
    const bool isCreated =
        (event.flags & SQLITE_OPEN_CREATE) != 0 && !std::filesystem::exists(event.path);
    if (kind != kinds.end() && !isTemporary && (!isOpen || isCreated)) {
      const auto size = static_cast<std::size_t>(event.amount);
      const bool isWrite = event.call == FileCall::kWrite;
      events.push_back({kind->second, name, static_cast<std::size_t>(event.offset),
                        isWrite ? std::string(static_cast<const char*>(event.data), size) : "t"});
    }
  }

  const std::string m_fileName;
  ShimVfs m_shim;
};

// The first steps make a table with a text of several pages.
std::vector<note_table::Step> Steps() {
  return {{"CreateTable"},
          {"Upsert", "a", "first"},
          {"Upsert", "b", std::string(9000, 'b')},
          {"Update", "a", std::string(5000, 'a')},
          {"Update", "nobody", "changes nothing"},
          {"Upsert", "b", "no longer big"},
          {"Upsert", "c", std::string(13000, 'c')},
          {"Delete", "a"},
          {"Delete"},
          {"Upsert", "d", "again"},
          {"DropTable"}};
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
  std::vector<note_table::Step> steps = Steps();
  steps.resize(scenario.steps);
  Database library;
  DiskRecorder recorder(database);
  for (const note_table::Step& step : steps) {
    EXPECT_EQ(0, note_table::Run(step, database, library));
    recorder.events.emplace_back();  // acknowledged
    history.contents.push_back(note_table::After(step, history.contents.back()));
  }
  history.events = recorder.events;
  return history;
}

std::string LineOf(const DiskEvent& event) {
  static const std::map<Kind, std::string> names = {
      {Kind::kCreate, "create "},   {Kind::kWrite, "write "},
      {Kind::kTruncate, "cut "},    {Kind::kSync, "sync "},
      {Kind::kDelete, "delete "},   {Kind::kSyncDirectory, "sync directory"},
      {Kind::kAcknowledge, "done"},
  };
  return names.at(event.kind) + event.file;
}

// Equal neighbours once.
Lines LinesOf(const Events& events) {
  Lines lines;
  std::transform(events.begin(), events.end(), std::back_inserter(lines), LineOf);
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

// Whether each line is there, in this order.
bool HaveInOrder(const Lines& lines, const Lines& wanted) {
  auto next = wanted.begin();
  for (const std::string& line : lines) {
    next += next != wanted.end() && *next == line ? 1 : 0;
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

// All that the promises rest on. The deletion of the journal ends the operation; that
// the directory has it for certain is waited for by the next operation only.
TEST(PowerLossTest, AnOperationWaitsForTheDiskBeforeItOverwritesAndBeforeItReturns) {
  Lines lines = LinesOf(Record(NewFile()).events);
  lines.resize(21);
  EXPECT_THAT(lines, ElementsAre("create app.db", "create app.db-journal", "write app.db-journal",
                                 "sync app.db-journal", "sync directory", "write app.db-journal",
                                 "sync app.db-journal", "write app.db", "sync app.db",
                                 "delete app.db-journal", "done", "create app.db-journal",
                                 "write app.db-journal", "sync app.db-journal", "sync directory",
                                 "write app.db-journal", "sync app.db-journal", "write app.db",
                                 "sync app.db", "delete app.db-journal", "done"));
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
  EXPECT_THAT(result.firstDamage, ::testing::HasSubstr("the content is neither"));
}

TEST(PowerLossTest, TheScenariosAreWhatTheySay) {
  EXPECT_TRUE(HaveInOrder(LinesOf(Record(ShrinkingFile()).events), {"cut app.db"}));
  EXPECT_FALSE(HaveInOrder(LinesOf(Record(NewFile()).events), {"cut app.db"}));
  const Lines lines = LinesOf(Record(SmallCache()).events);
  const auto last = std::find(lines.rbegin(), lines.rend(), "create app.db-journal").base();
  EXPECT_TRUE(
      HaveInOrder({last, lines.end()}, {"write app.db", "write app.db-journal", "write app.db"}));
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
  return {image, recorder.events, {content}};
}

TEST(PowerLossTest, ALossDuringTheRepairIsRepaired) {
  for (const Scenario& scenario : {NewFile(), SmallCache()}) {
    const History history = Record(scenario);
    for (const std::size_t operation : {0U, 3U, 6U}) {
      const History repair =
          RecordRepair(InTheMiddleOf(history, operation), history.contents[operation]);
      EXPECT_TRUE(HaveInOrder(LinesOf(repair.events), {"sync app.db", "delete app.db-journal"}));
      for (const auto directory :
           {DirectoryChanges::kDurableAtOnce, DirectoryChanges::kDurableWhenSynced}) {
        const auto result = Survey(repair, directory);
        EXPECT_EQ(0, result.damages) << result.firstDamage;
      }
    }
  }
}

// If the disk only pretends to sync: the checks see it.
TEST(PowerLossTest, WithoutSyncsThereIsDamage) {
  const std::pair<std::string, DirectoryChanges> ignored[] = {
      {"sync app.db-journal", DirectoryChanges::kDurableAtOnce},
      {"sync app.db", DirectoryChanges::kDurableAtOnce},
      {"sync directory", DirectoryChanges::kDurableWhenSynced}};
  for (const auto& each : ignored) {
    History history = Record({"", "", 2});
    Events& events = history.events;
    const auto isIgnored = [&](const DiskEvent& event) { return LineOf(event) == each.first; };
    events.erase(std::remove_if(events.begin(), events.end(), isIgnored), events.end());
    EXPECT_GT(Survey(history, each.second).damages, 0) << each.first;
  }
}

}  // namespace
