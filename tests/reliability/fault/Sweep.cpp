#include "Sweep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <utility>

#include "Contract.h"
#include "FakePlatform.h"
#include "HeapSpy.h"
#include "Points.h"
#include "ShimVfs.h"
#include "SqliteSpy.h"
#include "TemporaryDatabase.h"
#include "TestNumbers.h"
#include "WholeFile.h"

namespace {

using contract::Record;
using operations::Call;
using operations::Operation;
using operations::Strings;
using operations::Texts;
using ::testing::AnyOf;

// Longer than the buffer inside a std::string.
const char* const kNotes = "note_with_a_name_that_is_long";

// Cells of all types, and some that take more than a page.
const char* const kEnlargement =
    "ALTER TABLE contact ADD COLUMN weight REAL; ALTER TABLE contact ADD COLUMN photo BLOB;"
    "UPDATE contact SET name = hex(zeroblob(4000)), weight = 2.5, photo = x'00ff' WHERE uid = '1';"
    "INSERT INTO contact VALUES ('4', 'a name longer than a short string', 0.1, NULL);"
    "ALTER TABLE note RENAME TO note_with_a_name_that_is_long;"
    "CREATE INDEX note_owner ON note_with_a_name_that_is_long (owner);"
    "INSERT INTO note_with_a_name_that_is_long VALUES (13, '1', hex(zeroblob(3000)));";

Texts TextsOf(const Operation& operation) {
  const Texts texts = operation.PlainTexts().Renamed("note", kNotes);
  return texts["value"] == nullptr ? texts : texts.With("value", std::string(6000, 'x'));
}

auto CountOpenFiles() {
  using Files = std::filesystem::directory_iterator;
  return std::distance(Files("/proc/self/fd"), Files());
}

// The database file of a sweep, which every run finds as it was.
class World {
 public:
  explicit World(Found found) : m_exists(found != Found::kNoFile) {
    if (found == Found::kAutoVacuum) {
      m_file.Run("PRAGMA auto_vacuum = FULL; CREATE TABLE first (a TEXT); DROP TABLE first");
    }
    m_file.Run(m_exists ? operations::Schema() + std::string(kEnlargement) : "");
    m_image = ReadWholeFile(m_file.Path());
    m_before = Content();
    if (found == Found::kHotJournal) {
      InterruptWrite();
      Restore();
      EXPECT_EQ(m_before, Content()) << "the journal is not rolled back";
    }
  }

  void Restore() const {
    std::remove(m_file.Path().c_str());
    std::remove(JournalPath().c_str());
    if (m_exists) {
      WriteWholeFile(m_file.Path(), m_image);
    }
    if (!m_journal.empty()) {
      WriteWholeFile(JournalPath(), m_journal);
    }
  }

  // Everything that the file holds. It must be sound, and nobody may lock it. What equal bytes
  // hold is looked up: that takes most of a sweep's time.
  Strings Content() {
    RollBack();
    Strings& content = m_contents[ReadWholeFile(m_file.Path())];
    if (content.empty()) {
      EXPECT_EQ(Strings{"ok"}, m_file.Rows("PRAGMA integrity_check"));
      content = operations::Contents(m_file);
    }
    return content;
  }

  const TemporaryDatabase& File() const { return m_file; }
  const Strings& Before() const { return m_before; }

 private:
  std::string JournalPath() const { return m_file.Path() + "-journal"; }

  // Rolls an interrupted write back.
  void RollBack() const {
    sqlite3* db = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_open(m_file.Path().c_str(), &db));
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr));
    EXPECT_EQ(SQLITE_OK, sqlite3_close(db));
  }

  // Keeps the files as they are when a write that lets the database grow has only
  // its journal to delete.
  void InterruptWrite() {
    const ShimVfs vfs([this](const FileEvent& event) {
      if (event.call == FileCall::kDelete) {
        m_image = ReadWholeFile(m_file.Path());
        m_journal = ReadWholeFile(JournalPath());
      }
      return SQLITE_OK;
    });
    m_file.Run(
        "PRAGMA synchronous = FULL; BEGIN; UPDATE contact SET name = hex(zeroblob(9000));"
        "DELETE FROM note_with_a_name_that_is_long; COMMIT");
    ASSERT_FALSE(m_journal.empty());
  }

  const bool m_exists;
  TemporaryDatabase m_file;
  std::string m_image;
  std::string m_journal;
  Strings m_before;
  std::map<std::string, Strings> m_contents;  // by the file's bytes
};

// An operation on such a file, for all kinds of failures.
class OperationSweep {
 public:
  OperationSweep(const Operation& operation, Found found) : m_operation(operation), m_world(found) {
    Database database;
    m_all = Record(*Make(), database);
    EXPECT_EQ(SQLITE_OK, m_all.result);
    m_after = m_world.Content();
  }

  // Answers how many points there are.
  int Run(const Fault& fault, int& points) {
    const auto [known, isNew] = m_calls.try_emplace(fault.kind + fault.call);
    if (isNew) {
      EXPECT_EQ(0, FailuresAt(fault, std::numeric_limits<int>::max(), FaultPoint::Kind::kOnce));
      known->second = fault.point.Calls();
    }
    const int calls = known->second;
    // The stride goes on from failure to failure: most have few points. One point that fails
    // tells more than a thousand.
    for (auto& [kind, next] : m_next) {
      for (; next < calls && !::testing::Test::HasFailure(); next += test_numbers::Stride()) {
        EXPECT_GT(FailuresAt(fault, next, kind), 0);
        ++points;
      }
      next -= calls;
    }
    return 2 * calls;
  }

 private:
  // Cursor and flag hold something from before.
  std::unique_ptr<Call> Make() const {
    m_world.Restore();
    auto call = std::make_unique<Call>(m_operation, m_world.File(), TextsOf(m_operation));
    const char* const column = "a column that is left from an earlier query";
    call->cursor.SetColumn(column);
    call->cursor.SetData(column, "an earlier value");
    call->cursor.MoveToNext();
    return call;
  }

  // Answers how many calls have failed.
  int FailuresAt(const Fault& fault, int successes, FaultPoint::Kind kind) {
    SCOPED_TRACE(m_operation.member + ": " + fault.call + " " + std::to_string(successes + 1) +
                 (kind == FaultPoint::Kind::kOnce ? " fails" : " and all after it fail"));
    Database database;
    auto call = Make();
    heap_spy::Start();
    heap_spy::Stop();
    const auto filesBefore = CountOpenFiles();
    const int sqliteBefore = sqlite_spy::MemoryBlocks();
    int failures = 0;
    const contract::Run run = Record(
        *call, database,
        [&] {
          fake::SetEncryption(fault.protectsLog);
          fake::SetConversion([](const std::string& message) { return message; });
          heap_spy::Resume();
          fault.point.Set(successes, kind);
        },
        [&] {
          failures = fault.point.Clear();
          heap_spy::Stop();
        });
    Judge(m_operation, m_world.File(), run, m_all);
    EXPECT_EQ(fault.isOwnMemory && failures > 0, run.end == contract::End::kBadAlloc);
    EXPECT_EQ(filesBefore, CountOpenFiles());
    EXPECT_EQ(sqliteBefore, sqlite_spy::MemoryBlocks());
    JudgeNextRun(*call, database, JudgeEffect(run, fault.mayComeAfterEffect));
    call.reset();
    EXPECT_EQ(0, heap_spy::BlocksHeld());
    return failures;
  }

  // All of the effect, or nothing; all, if the result says so. Answers whether it is there.
  bool JudgeEffect(const contract::Run& run, bool mayComeAfterEffect) {
    const Strings content = m_world.Content();
    EXPECT_THAT(content, AnyOf(m_world.Before(), m_after));
    const bool isDone = content == m_after;
    if (run.end == contract::End::kReturned && run.result == SQLITE_OK) {
      EXPECT_TRUE(isDone) << "an acknowledged effect is not there";
    } else if (m_after != m_world.Before() && !mayComeAfterEffect) {
      EXPECT_FALSE(isDone) << "an effect is there that was not acknowledged";
    }
    return isDone;
  }

  // The same objects do their work when nothing fails any more.
  void JudgeNextRun(Call& call, Database& database, bool isDone) {
    call.exists = false;
    const contract::Run run = Record(call, database, heap_spy::Resume, heap_spy::Stop);
    Judge(m_operation, m_world.File(), run, m_all);
    EXPECT_EQ(isDone && m_operation.worksOnce ? SQLITE_ERROR : SQLITE_OK, run.result);
    EXPECT_EQ(m_after, m_world.Content());
    EXPECT_EQ(m_all.cursor, run.cursor);
    EXPECT_EQ(m_all.exists, run.exists);
  }

  const Operation& m_operation;
  World m_world;
  contract::Run m_all;
  Strings m_after;
  std::map<std::string, int> m_calls;  // of a kind that a run makes when none fails
  std::map<FaultPoint::Kind, int> m_next = {
      {FaultPoint::Kind::kOnce, 0}, {FaultPoint::Kind::kAlways, test_numbers::Stride() / 2}};
};

}  // namespace

int SweepOver(const Operation& operation, const Fault& fault, Found found) {
  static std::map<std::pair<std::string, Found>, OperationSweep> sweeps;
  OperationSweep& sweep =
      sweeps.try_emplace({operation.member, found}, operations::Get(operation.member), found)
          .first->second;
  const std::map<Found, std::string> also = {{Found::kFile, ""},
                                             {Found::kHotJournal, " with a hot journal"},
                                             {Found::kAutoVacuum, " with auto_vacuum"},
                                             {Found::kNoFile, " without a file"}};
  return sweep.Run(fault, points::Count(operation.member, fault.kind + also.at(found)));
}
