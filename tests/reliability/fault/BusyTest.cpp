// Another process holds the database file: with every kind of lock, met by every
// operation in each of its loops, and let go after every number of busy attempts.

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "Contract.h"
#include "HeapSpy.h"
#include "LibraryTest.h"
#include "Points.h"
#include "ShimVfs.h"
#include "TemporaryDatabase.h"
#include "TestNumbers.h"
#include "WholeFile.h"

namespace {

using contract::kAttempts;
using operations::Call;
using operations::Subject;

// The other process.

enum LockKind { kShared, kReserved, kPending, kExclusive };
const std::string kLockNames[] = {"shared", "reserved", "pending", "exclusive"};

// Commands besides the kinds of lock. The process acknowledges each.
enum Command { kRelease = 100, kChangeSchemaAndRelease, kEnd };

// Connections that hold a lock of that kind together, while they live.
std::vector<std::unique_ptr<Locker>> Take(const TemporaryDatabase& file, int kind) {
  std::vector<std::unique_ptr<Locker>> lockers;
  const auto run = [&](const char* sql) { lockers.push_back(std::make_unique<Locker>(file, sql)); };
  if (kind == kExclusive) {
    run("BEGIN EXCLUSIVE");
  } else if (kind == kReserved) {
    run("BEGIN IMMEDIATE");
  } else {
    run("BEGIN; SELECT * FROM contact");
  }
  if (kind == kPending) {  // a writer that waits for the end of a reader
    run("BEGIN IMMEDIATE; UPDATE contact SET name = 'never'");
    EXPECT_EQ(SQLITE_BUSY, lockers.back()->Run("COMMIT"));
  }
  return lockers;
}

void ServeLocks(const TemporaryDatabase& file, Channel& parent) {
  std::vector<std::unique_ptr<Locker>> lockers;
  while (const std::optional<int> command = parent.Receive(kPatience)) {
    if (command == kEnd) {
      return;
    }
    if (command == kChangeSchemaAndRelease) {
      EXPECT_EQ(SQLITE_OK, lockers.back()->Run("CREATE TABLE late (a); COMMIT"));
    }
    lockers.clear();
    if (*command < kRelease) {
      lockers = Take(file, *command);
    }
    parent.Send(*command);
  }
}

// The other process, seen from this one. One that does not answer fails the test, once.
class LockHolder {
 public:
  explicit LockHolder(const TemporaryDatabase& file)
      : m_process([&file](Channel& parent) { ServeLocks(file, parent); }) {}

  // A kind of lock, or a command.
  void Do(int command) {
    m_process.Link().Send(command);
    if (m_answers && m_process.Link().Receive(kPatience) != command) {
      ADD_FAILURE() << "the holder of the lock does not answer";
      m_answers = false;
    }
  }

  // Whether all went well in that process.
  bool EndsWell() {
    m_process.Link().Send(kEnd);
    return m_answers && m_process.EndsWell(kPatience);
  }

 private:
  ChildProcess m_process;
  bool m_answers = true;
};

// The lock that SQLite does not get for a statement while another process holds one of that
// kind. A write that finds nothing to change asks as much as any other.
int RefusedLock(bool writes, LockKind kind) {
  constexpr int kAtStart = SQLITE_LOCK_SHARED;  // the schema cannot even be read
  constexpr int kAtChange = SQLITE_LOCK_RESERVED;
  constexpr int kAtCommit = SQLITE_LOCK_EXCLUSIVE;
  constexpr int kToRead[] = {SQLITE_LOCK_NONE, SQLITE_LOCK_NONE, kAtStart, kAtStart};
  constexpr int kToWrite[] = {kAtCommit, kAtChange, kAtStart, kAtStart};
  return writes ? kToWrite[kind] : kToRead[kind];
}

// A loop of an operation: the opening, the execution of a write or the preparation of a
// query, and the steps of a query.
enum class Loop { kOpen, kStatement, kStep };

// A lock in the way of a loop, and its effect.
struct Hold {
  Loop loop;
  LockKind kind;
  int attempts;  // that are made while it is held; the last one: all
  int lock;      // that they do not get
  int busy;      // attempts
};

const Hold kUnheld = {Loop::kOpen, kExclusive, 0, SQLITE_LOCK_NONE, 0};

// After every number of busy attempts.
void AddHolds(std::vector<Hold>& holds, Loop loop, LockKind kind, int lock) {
  for (int busy = 0; busy <= kAttempts; ++busy) {
    holds.push_back({loop, kind, busy, lock, busy});
  }
}

// All that a loop of a case can meet. The file's locks never make an open busy, so that the
// file system does. A write has no steps.
std::vector<Hold> HoldsOf(const Subject& subject, Loop loop) {
  std::vector<Hold> holds;
  if (loop == Loop::kOpen) {
    AddHolds(holds, loop, kExclusive, SQLITE_LOCK_NONE);
    return holds;
  }
  if (loop == Loop::kStep && subject.operation->IsWrite()) {
    return holds;
  }
  const bool writes = subject.operation->IsWrite() && !subject.own->changesNothing;
  for (const LockKind kind : {kShared, kReserved, kPending, kExclusive}) {
    const int lock = RefusedLock(writes, kind);
    if (lock == SQLITE_LOCK_NONE) {
      holds.push_back({loop, kind, kAttempts, lock, 0});
    } else {
      AddHolds(holds, loop, kind, lock);
    }
  }
  return holds;
}

class BusyTest : public LibraryTest {
 protected:
  BusyTest() {
    file.Run(operations::Schema());
    m_image = ReadWholeFile(file.Path());
  }

  void TearDown() override {
    EXPECT_TRUE(holder.EndsWell());
    LibraryTest::TearDown();
  }

  // Runs a case on the file as it was. After so many busy attempts the other process does
  // `letGo`. What a query fills holds something from before.
  contract::Run Run(const Subject& subject, const Hold& hold, Command letGo = kRelease) {
    WriteWholeFile(file.Path(), m_image);
    call = std::make_unique<Call>(subject, file);
    call->cursor.SetColumn("old");
    call->cursor.SetData("old", "row");
    call->exists = subject.own->answer == "missing";
    answerBefore = call->Answer();
    m_blocksBefore = sqlite_spy::MemoryBlocks();
    m_refused.clear();
    m_askedLock = SQLITE_LOCK_NONE;
    m_opensAreBusy = hold.loop == Loop::kOpen;
    if (hold.loop == Loop::kStatement) {
      holder.Do(hold.kind);
    }
    bool isStepAwaited = hold.loop == Loop::kStep;  // when the query is prepared
    bool isHeld = true;
    const auto release = [&] {
      m_opensAreBusy = isHeld = false;
      holder.Do(letGo);
    };
    Database database;
    contract::Run run = contract::Record(
        *call, database,
        [&] {
          journal::Listen([&](journal::Kind kind, const std::string& text) {
            if (isStepAwaited && text == "sqlite3_step()") {
              isStepAwaited = false;
              holder.Do(hold.kind);
            }
            if (IsBetweenAttempts(kind, text)) {
              m_refused.push_back(std::exchange(m_askedLock, SQLITE_LOCK_NONE));
            }
            if (isHeld && !isStepAwaited && static_cast<int>(m_refused.size()) == hold.attempts) {
              release();
            }
          });
          heap_spy::Start();
        },
        [] {
          heap_spy::Stop();
          journal::Listen(nullptr);
        });
    if (isHeld) {
      release();
    }
    return run;
  }

  // It was kept from this lock in every busy attempt; the rest are the rules for every run.
  // Nothing is kept of the library's memory, or of SQLite's.
  void Judge(const Subject& subject, const Hold& hold, const contract::Run& run,
             const contract::Run& all) {
    const auto followed = static_cast<std::size_t>(std::min(hold.busy, kAttempts - 1));
    EXPECT_EQ(std::vector<int>(followed, hold.lock), m_refused);
    contract::Judge(*subject.operation, file, run, all);
    call.reset();
    EXPECT_EQ(0, heap_spy::BlocksHeld());
    EXPECT_EQ(m_blocksBefore, sqlite_spy::MemoryBlocks());
  }

  // One loop of a case meets a lock.
  void Round(const Subject& subject, const Hold& hold, const contract::Run& all) {
    SCOPED_TRACE("a " + kLockNames[hold.kind] + " lock during " + std::to_string(hold.attempts) +
                 " attempts");
    const contract::Run run = Run(subject, hold);
    // The last step only ends its loop: what it gets is not looked at.
    const bool fails = hold.loop != Loop::kStep && hold.busy == kAttempts;
    const bool isEmpty = hold.loop == Loop::kStep && hold.busy >= kAttempts - 1;
    const bool setsFlag = subject.operation->kind == operations::Kind::kSetsFlag;
    EXPECT_EQ(fails ? SQLITE_BUSY : SQLITE_OK, run.result);
    EXPECT_EQ(fails                 ? answerBefore
              : isEmpty && setsFlag ? "missing"
              : isEmpty             ? ""
                                    : subject.own->answer,
              call->Answer());
    EXPECT_EQ(fails ? operations::InitialContents() : subject.own->contents,
              operations::Contents(file));
    Judge(subject, hold, run, all);
  }

  TemporaryDatabase file;
  LockHolder holder{file};  // a child takes no connection of this process across
  std::unique_ptr<Call> call;
  std::string answerBefore;

 private:
  // Between the last two attempts there is a line in the place of a wait.
  static bool IsBetweenAttempts(journal::Kind kind, const std::string& text) {
    return kind == journal::Kind::kSleep ||
           (kind == journal::Kind::kLog && text.find("RETRY COUNT") != std::string::npos);
  }

  int AnswerFile(const FileEvent& event) {
    if (event.call == FileCall::kLock) {
      m_askedLock = event.flags;
    }
    const bool isOpen = event.call == FileCall::kOpen && (event.flags & SQLITE_OPEN_MAIN_DB) != 0;
    return isOpen && m_opensAreBusy ? SQLITE_BUSY : SQLITE_OK;
  }

  const ShimVfs m_files{[this](const FileEvent& event) { return AnswerFile(event); }};
  std::string m_image;
  bool m_opensAreBusy = false;
  int m_askedLock = SQLITE_LOCK_NONE;  // the last one
  std::vector<int> m_refused;          // the last one that each busy attempt asked for
  int m_blocksBefore = 0;
};

class EveryCaseBusyTest : public BusyTest, public ::testing::WithParamInterface<Subject> {};

TEST_P(EveryCaseBusyTest, RepeatsEachLoop) {
  const Subject& subject = GetParam();
  const contract::Run all = Run(subject, kUnheld);
  for (const auto& [loop, kind] :
       {std::pair(Loop::kOpen, "busy open"), std::pair(Loop::kStatement, "busy statement"),
        std::pair(Loop::kStep, "busy step")}) {
    const std::vector<Hold> holds = HoldsOf(subject, loop);
    // From the last, which no attempt outlives.
    for (auto at = static_cast<int>(holds.size()) - 1; at >= 0; at -= test_numbers::Stride()) {
      Round(subject, holds[static_cast<std::size_t>(at)], all);
      ++points::Count(subject.operation->member, kind);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(, EveryCaseBusyTest, ::testing::ValuesIn(operations::AllCases()),
                         [](const auto& test) { return test.param.own->name; });

// The other process lets go with a commit that makes prepared statements out of date.
class ChangedSchemaTest : public BusyTest {
 protected:
  contract::Run RunUntilChanged(const Subject& subject, const Hold& hold) {
    const contract::Run all = Run(subject, kUnheld);
    contract::Run run = Run(subject, hold, kChangeSchemaAndRelease);
    EXPECT_EQ(SQLITE_OK, run.result);
    EXPECT_EQ("", call->Answer());
    EXPECT_THAT(operations::Contents(file), ::testing::Contains("late"));
    file.Run("DROP TABLE late");
    EXPECT_EQ(subject.own->contents, operations::Contents(file));
    Judge(subject, hold, run, all);
    return run;
  }
};

TEST_F(ChangedSchemaTest, AWriteIsPreparedAnewForEachAttempt) {
  RunUntilChanged(operations::GetCase("Upsert"),
                  {Loop::kStatement, kReserved, 3, SQLITE_LOCK_RESERVED, 3});
}

// The text is all that SQLite tells of a statement of the legacy call.
TEST_F(ChangedSchemaTest, AStepFailsAndTheQueryFindsNothing) {
  const contract::Run run = RunUntilChanged(operations::GetCase("Select"),
                                            {Loop::kStep, kExclusive, 3, SQLITE_LOCK_SHARED, 3});
  EXPECT_EQ(
      fake::Line(6, "DatabasePasrser.cpp", "ParseDatabase", "SQLITE STEP ERROR!!! SQL logic error"),
      run.lines.back());
}

}  // namespace
