#include "Sweep.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <new>
#include <stdexcept>

#include "FakePlatform.h"
#include "HeapSpy.h"
#include "Journal.h"
#include "Locks.h"
#include "OpenFiles.h"
#include "Points.h"
#include "ShimVfs.h"
#include "SqliteSpy.h"
#include "TemporaryDatabase.h"
#include "WholeFile.h"

namespace {

using contract::CursorImage;
using contract::End;
using contract::ImageOf;
using contract::Owed;
using ::testing::AnyOf;
using ::testing::Contains;

// What one run did, as far as it can be seen from outside.
struct Outcome {
  End end = End::kReturned;
  int result = 0;
  int failures = 0;
  std::vector<std::string> lines;
  std::size_t waits = 0;
  std::vector<sqlite_spy::Reply> replies;
  CursorImage cursorBefore, cursor;
  bool existsBefore = false, exists = false;
};

void StartAfresh(const Fault& fault) {
  journal::Clear();
  sqlite_spy::Reset();
  fake::ResetPlatform();
  fake::SetEncryption(fault.protectsLog);
  fake::SetConversion([](const std::string& message) { return message; });
}

// Runs the operation with one fault, which is over when it ends.
Outcome RunOnce(Subject& subject, Database& database, const Fault& fault, int successes,
                FaultPoint::Kind kind) {
  Outcome outcome;
  outcome.cursorBefore = ImageOf(subject.cursor);
  outcome.existsBefore = subject.exists;
  StartAfresh(fault);
  heap_spy::Resume();
  fault.set(successes, kind);
  try {
    outcome.result = subject.RunOn(database);
  } catch (const std::bad_alloc&) {
    outcome.end = End::kBadAlloc;
  } catch (const std::logic_error&) {
    outcome.end = End::kLogicError;
  }
  outcome.failures = fault.clear();
  heap_spy::Stop();
  outcome.lines = fake::Lines();
  outcome.waits = journal::Of({journal::Kind::kSleep}).size();
  outcome.replies = sqlite_spy::Replies();
  outcome.cursor = ImageOf(subject.cursor);
  outcome.exists = subject.exists;
  return outcome;
}

void JudgeLines(const std::vector<std::string>& lines, const Owed& owed) {
  ASSERT_LE(lines.size(), owed.lines.size()) << ::testing::PrintToString(lines);
  EXPECT_GE(lines.size(), owed.linesForSure);
  EXPECT_EQ(std::vector<std::string>(
                owed.lines.begin(), owed.lines.begin() + static_cast<std::ptrdiff_t>(lines.size())),
            lines);
}

// Compares what happened with what is owed, and releases what is left by contract.
void Judge(const Subject& subject, const Outcome& outcome) {
  const Owed owed = WorkOut(subject.Operation(), outcome.replies, outcome.end, outcome.cursorBefore,
                            outcome.existsBefore);
  EXPECT_EQ("", owed.deviation);
  EXPECT_EQ(owed.end, outcome.end);
  if (outcome.end == End::kReturned) {
    EXPECT_EQ(owed.result, outcome.result);
  }
  JudgeLines(outcome.lines, owed);
  JudgeLocks(outcome.end != End::kReturned);
  EXPECT_EQ(static_cast<std::size_t>(owed.waits), outcome.waits);
  EXPECT_THAT(owed.cursors, Contains(outcome.cursor));
  EXPECT_EQ(owed.exists, outcome.exists);
  EXPECT_THAT(sqlite_spy::OpenStatements(), ::testing::IsEmpty());
  EXPECT_EQ(static_cast<std::size_t>(owed.connectionsLeft), sqlite_spy::OpenConnections().size());
  EXPECT_EQ(static_cast<std::size_t>(owed.textsLeft), sqlite_spy::HeldErrorTexts().size());
  sqlite_spy::CloseConnections();
  sqlite_spy::FreeErrorTexts();
}

// The database file of a sweep, which every run finds as it was.
class World {
 public:
  explicit World(Found found) : m_exists(found != Found::kNoFile) {
    if (found == Found::kAutoVacuum) {
      m_file.Run("PRAGMA auto_vacuum = FULL; CREATE TABLE first (a TEXT); DROP TABLE first");
    }
    m_file.Run(m_exists ? SubjectsSchema() : "");
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

  // Everything that the file holds. It must be sound, and nobody may lock it.
  std::vector<std::string> Content() const {
    std::vector<std::string> content =
        m_file.Rows("BEGIN EXCLUSIVE; PRAGMA integrity_check; SELECT name FROM sqlite_master");
    EXPECT_EQ("ok", content.front());
    std::string queries;
    for (const char* const table : {"person", "note_with_a_name_that_is_long", "animal"}) {
      if (std::find(content.begin(), content.end(), table) != content.end()) {
        queries += std::string("SELECT * FROM ") + table + ";";
      }
    }
    const auto rows = m_file.Rows(queries);
    content.insert(content.end(), rows.begin(), rows.end());
    return content;
  }

  const TemporaryDatabase& File() const { return m_file; }
  const std::vector<std::string>& Before() const { return m_before; }

 private:
  std::string JournalPath() const { return m_file.Path() + "-journal"; }

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
        "PRAGMA synchronous = FULL; BEGIN; UPDATE person SET name = hex(zeroblob(9000));"
        "DELETE FROM note_with_a_name_that_is_long; COMMIT");
    ASSERT_FALSE(m_journal.empty());
  }

  const bool m_exists;
  TemporaryDatabase m_file;
  std::string m_image;
  std::string m_journal;
  std::vector<std::string> m_before;
};

const Fault kNoFault = {"none", "nothing", [](int, FaultPoint::Kind) {}, [] { return 0; }};

class OperationSweep {
 public:
  OperationSweep(const SubjectMaker& maker, const Fault& fault, Found found)
      : m_maker(maker), m_fault(fault), m_world(found) {
    auto subject = Make();
    EXPECT_EQ(SQLITE_OK, subject->RunOn(m_database));
    m_after = m_world.Content();
    m_cursorAfter = ImageOf(subject->cursor);
    m_existsAfter = subject->exists;
  }

  // Answers how many points there were.
  int Run(FaultPoint::Kind kind) {
    int points = 0;
    // One point that fails tells more than a thousand.
    while (RunPoint(points, kind) && !::testing::Test::HasFailure()) {
      ++points;
    }
    return points;
  }

 private:
  std::unique_ptr<Subject> Make() const {
    m_world.Restore();
    return m_maker.make(m_world.File().Directory(), m_world.File().FileName());
  }

  // Answers whether there was such a point.
  bool RunPoint(int successes, FaultPoint::Kind kind) {
    SCOPED_TRACE(m_maker.name + ", " + m_fault.name + ": call " + std::to_string(successes + 1) +
                 (kind == FaultPoint::Kind::kOnce ? " fails" : " and all after it fail"));
    auto subject = Make();
    heap_spy::Start();
    heap_spy::Stop();
    const int filesBefore = CountOpenFiles();
    const int sqliteBefore = sqlite_spy::MemoryBlocks();
    const Outcome outcome = RunOnce(*subject, m_database, m_fault, successes, kind);
    Judge(*subject, outcome);
    EXPECT_EQ(m_fault.isOwnMemory && outcome.failures > 0, outcome.end == End::kBadAlloc);
    EXPECT_EQ(filesBefore, CountOpenFiles());
    EXPECT_EQ(sqliteBefore, sqlite_spy::MemoryBlocks());
    JudgeEffect(outcome);
    JudgeNextRun(*subject);
    subject.reset();
    EXPECT_EQ(0, heap_spy::BlocksHeld());
    return outcome.failures > 0;
  }

  // All of the effect, or nothing; all, if the result says so.
  void JudgeEffect(const Outcome& outcome) {
    const auto content = m_world.Content();
    EXPECT_THAT(content, AnyOf(m_world.Before(), m_after));
    m_isDone = content == m_after;
    if (outcome.end == End::kReturned && outcome.result == SQLITE_OK) {
      EXPECT_TRUE(m_isDone) << "an acknowledged effect is not there";
    } else if (m_after != m_world.Before() && !m_fault.mayComeAfterEffect) {
      EXPECT_FALSE(m_isDone) << "an effect is there that was not acknowledged";
    }
  }

  // The same objects do their work when nothing fails any more. A table can be
  // dropped only once, however.
  void JudgeNextRun(Subject& subject) {
    subject.exists = false;
    const Outcome outcome = RunOnce(subject, m_database, kNoFault, 0, FaultPoint::Kind::kOnce);
    Judge(subject, outcome);
    EXPECT_EQ(m_isDone && m_maker.name == "DropTable" ? SQLITE_ERROR : SQLITE_OK, outcome.result);
    EXPECT_EQ(m_after, m_world.Content());
    EXPECT_EQ(m_cursorAfter, outcome.cursor);
    EXPECT_EQ(m_existsAfter, outcome.exists);
  }

  const SubjectMaker& m_maker;
  const Fault& m_fault;
  World m_world;
  Database m_database;
  std::vector<std::string> m_after;
  CursorImage m_cursorAfter;
  bool m_existsAfter = false;
  bool m_isDone = false;
};

}  // namespace

int SweepOver(const SubjectMaker& maker, const Fault& fault, Found found) {
  OperationSweep sweep(maker, fault, found);
  const int points = sweep.Run(FaultPoint::Kind::kOnce) + sweep.Run(FaultPoint::Kind::kAlways);
  const std::map<Found, std::string> also = {{Found::kFile, ""},
                                             {Found::kHotJournal, " with a hot journal"},
                                             {Found::kAutoVacuum, " with auto_vacuum"},
                                             {Found::kNoFile, " without a file"}};
  points::Add(maker.name, fault.kind + also.at(found), points);
  return points;
}
