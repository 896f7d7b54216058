// Another process holds the database file: with every kind of lock, met by every
// operation in each of its loops, and let go after every number of busy attempts.

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "LibraryTest.h"
#include "OperationLines.h"
#include "Points.h"
#include "ShimVfs.h"
#include "TemporaryDatabase.h"
#include "WholeFile.h"

namespace {

using fake::BusyLines;
using journal::Kind;
using operations::Call;
using operations::kFile;
using operations::kParserFile;
using operations::Operation;
using operations::Strings;
using operations::Subject;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::ResultOf;
using ::testing::SizeIs;
using ::testing::StrEq;

const std::string kLocked = "database is locked";

// A loop makes at most so many attempts, and waits between all but the last two.
constexpr int kAttempts = 17;
constexpr int kWaits = 15;

Strings operator+(Strings left, const Strings& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The other process.

enum LockKind { kShared, kReserved, kPending, kExclusive };
constexpr LockKind kLockKinds[] = {kShared, kReserved, kPending, kExclusive};
const std::string kLockNames[] = {"shared", "reserved", "pending", "exclusive"};

// What it is told to do besides taking a lock of a kind, and acknowledges.
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

// How long a lock is held, and what comes of it.
struct Hold {
  LockKind kind;
  int attempts;  // that are made while it is held; the last one: all
  int lock;      // that they do not get
  int busy;      // attempts
};

// All that such a statement can meet.
std::vector<Hold> HoldsFrom(bool writes) {
  std::vector<Hold> holds;
  for (const LockKind kind : kLockKinds) {
    const int lock = RefusedLock(writes, kind);
    if (lock == SQLITE_LOCK_NONE) {
      holds.push_back({kind, kAttempts, lock, 0});
      continue;
    }
    for (int busy = 0; busy <= kAttempts; ++busy) {
      holds.push_back({kind, busy, lock, busy});
    }
  }
  return holds;
}

bool Writes(const Subject& subject) {
  return subject.operation->IsWrite() && !subject.own->changesNothing;
}

std::vector<Subject> QueryCases() {
  std::vector<Subject> queries = operations::AllCases();
  queries.erase(std::remove_if(queries.begin(), queries.end(),
                               [](const Subject& subject) { return subject.operation->IsWrite(); }),
                queries.end());
  return queries;
}

// A loop of an operation: the opening, the execution of a write or the preparation of a
// query, and the steps of a query.
enum class Loop { kOpen, kStatement, kStep };

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

  // Makes a case ready to be run on the file as it was. What a query fills holds something
  // from before.
  void Prepare(const Subject& subject) {
    WriteWholeFile(file.Path(), m_image);
    call = std::make_unique<Call>(subject, file);
    call->cursor.SetColumn("old");
    call->cursor.SetData("old", "row");
    call->exists = subject.own->answer == "missing";
  }

  // Puts a lock in the way of a loop. The file's locks never make an open busy, so that the
  // file system does.
  void Obstruct(Loop loop, LockKind kind) {
    if (loop == Loop::kOpen) {
      m_opensAreBusy = true;
    } else if (loop == Loop::kStatement) {
      holder.Do(kind);
    } else {  // when the query is prepared and not yet stepped
      m_atFirstStep = [this, kind] { holder.Do(kind); };
    }
  }

  // Runs what is prepared; after so many busy attempts of a loop `letGo` takes away what
  // stands in its way.
  void Run(int busy, const std::function<void()>& letGo) {
    ForgetEvents();
    if (sleepsForReal) {
      fake::SleepForReal();
    }
    m_refused.clear();
    m_askedLock = SQLITE_LOCK_NONE;
    m_blocksBefore = sqlite_spy::MemoryBlocks();
    bool isGone = false;
    journal::Listen([&](Kind kind, const std::string& text) {
      if (kind == Kind::kSqlite && text == "sqlite3_step()" && m_atFirstStep) {
        std::exchange(m_atFirstStep, nullptr)();
      }
      if (IsBetweenAttempts(kind, text)) {
        m_refused.push_back(std::exchange(m_askedLock, SQLITE_LOCK_NONE));
      }
      if (!isGone && !m_atFirstStep && static_cast<int>(m_refused.size()) == busy) {
        isGone = true;
        letGo();
      }
    });
    Database database;
    const auto start = std::chrono::steady_clock::now();
    result = call->Run(database);
    duration = std::chrono::steady_clock::now() - start;
    journal::Listen(nullptr);
    if (!isGone) {
      letGo();
    }
  }

  // One loop of a case meets a lock.
  void Round(const Subject& subject, Loop loop, const Hold& hold) {
    SCOPED_TRACE("a " + kLockNames[hold.kind] + " lock during " + std::to_string(hold.attempts) +
                 " attempts");
    const Operation& operation = *subject.operation;
    Prepare(subject);
    const std::string before = call->Answer();
    Obstruct(loop, hold.kind);
    Run(hold.attempts, [this] {
      m_opensAreBusy = false;
      holder.Do(kRelease);
    });

    // The last step only ends its loop: what it gets is not looked at.
    const int attempts = std::min(hold.busy + 1, kAttempts);
    const bool fails = loop != Loop::kStep && hold.busy == kAttempts;
    const bool isEmpty = loop == Loop::kStep && attempts == kAttempts;
    const std::string empty = operation.kind == operations::Kind::kSetsFlag ? "missing" : "";
    ExpectResult(fails ? SQLITE_BUSY : SQLITE_OK,
                 fails     ? before
                 : isEmpty ? empty
                           : subject.own->answer,
                 fails ? operations::InitialContents() : subject.own->contents);
    Strings endLines = SuccessLines(operation);
    if (fails) {
      endLines = loop == Loop::kOpen ? OpenFailureLines(operation, SQLITE_BUSY, kLocked)
                                     : Strings{FailureLine(operation, SQLITE_BUSY, kLocked)};
    }
    ExpectAttempts(hold.busy, hold.lock, loop == Loop::kStep ? kParserFile : kFile, endLines);
    const std::string repeated = loop == Loop::kOpen   ? "sqlite3_open"
                                 : operation.IsWrite() ? "sqlite3_exec"
                                                       : "sqlite3_prepare";
    EXPECT_EQ(loop == Loop::kStep ? 1 : attempts, sqlite_spy::CountCalls(repeated));
    // The text of each execution that was followed by another.
    ExpectLeftovers(loop == Loop::kOpen ? hold.busy : 0,
                    loop == Loop::kStatement && operation.IsWrite() ? attempts - 1 : 0);
  }

  void ExpectResult(int code, const std::string& answer, const Strings& contents) {
    EXPECT_EQ(code, result);
    EXPECT_EQ(answer, call->Answer());
    EXPECT_EQ(contents, operations::Contents(file));
  }

  // It was kept from this lock in every busy attempt, waited after each and logged each; and
  // at its end, these lines.
  void ExpectAttempts(int busy, int lock, const std::string& source, const Strings& endLines) {
    const auto followed = static_cast<std::size_t>(std::min(busy, kAttempts - 1));
    EXPECT_EQ(std::vector<int>(followed, lock), m_refused);
    EXPECT_EQ(Strings(std::min<std::size_t>(followed, kWaits), "usleep 100000"),
              journal::Of({Kind::kSleep}));
    const std::string opening = fake::Line(
        6, kFile, "OpenDB", "DB file: " + std::string(file.Directory()) + " " + file.FileName());
    EXPECT_EQ(Strings{opening} + BusyLines(source, busy) + endLines, LinesAboveTraces());
  }

  // It has closed what it has opened, but for so many handles of busy opens, and holds no
  // memory of SQLite but for theirs and so many error texts.
  void ExpectLeftovers(int handles, int texts) {
    EXPECT_THAT(sqlite_spy::OpenStatements(), IsEmpty());
    EXPECT_THAT(sqlite_spy::OpenConnections(),
                AllOf(SizeIs(handles), Each(ResultOf(sqlite3_errcode, SQLITE_BUSY))));
    EXPECT_THAT(sqlite_spy::HeldErrorTexts(), AllOf(SizeIs(texts), Each(StrEq(kLocked))));
    sqlite_spy::CloseConnections();
    sqlite_spy::FreeErrorTexts();
    EXPECT_EQ(m_blocksBefore, sqlite_spy::MemoryBlocks());
  }

  TemporaryDatabase file;
  LockHolder holder{file};  // before this process uses SQLite
  std::unique_ptr<Call> call;
  bool sleepsForReal = false;

  // Of the last run.
  int result = SQLITE_OK;
  std::chrono::steady_clock::duration duration{};

 private:
  static Strings LinesAboveTraces() {
    Strings lines = fake::Lines();
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const std::string& line) { return line[0] == '3'; }),
                lines.end());
    return lines;
  }

  // Between the last two attempts there is a line in the place of a wait.
  static bool IsBetweenAttempts(Kind kind, const std::string& text) {
    return kind == Kind::kSleep ||
           (kind == Kind::kLog && text.find("RETRY COUNT") != std::string::npos);
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
  std::function<void()> m_atFirstStep;
  int m_askedLock = SQLITE_LOCK_NONE;  // the last one
  std::vector<int> m_refused;          // the last one that each busy attempt asked for
  int m_blocksBefore = 0;
};

class EveryCaseBusyTest : public BusyTest, public ::testing::WithParamInterface<Subject> {
 protected:
  void Rounds(Loop loop, const std::vector<Hold>& holds, const std::string& kind) {
    for (const Hold& hold : holds) {
      Round(GetParam(), loop, hold);
    }
    points::Add(GetParam().operation->member, kind, static_cast<int>(holds.size()));
  }
};

TEST_P(EveryCaseBusyTest, RepeatsTheOpen) {
  std::vector<Hold> holds;
  for (int busy = 0; busy <= kAttempts; ++busy) {
    holds.push_back({kExclusive, busy, SQLITE_LOCK_NONE, busy});
  }
  Rounds(Loop::kOpen, holds, "busy open");
}

TEST_P(EveryCaseBusyTest, RepeatsTheStatement) {
  Rounds(Loop::kStatement, HoldsFrom(Writes(GetParam())), "busy statement");
}

std::string NameOf(const ::testing::TestParamInfo<Subject>& test) { return test.param.own->name; }

INSTANTIATE_TEST_SUITE_P(, EveryCaseBusyTest, ::testing::ValuesIn(operations::AllCases()), NameOf);

class EveryQueryBusyTest : public EveryCaseBusyTest {};

TEST_P(EveryQueryBusyTest, RepeatsTheStep) { Rounds(Loop::kStep, HoldsFrom(false), "busy step"); }

INSTANTIATE_TEST_SUITE_P(, EveryQueryBusyTest, ::testing::ValuesIn(QueryCases()), NameOf);

// The other process lets go with a commit that makes prepared statements out of date.
class ChangedSchemaTest : public BusyTest {
 protected:
  void RunUntilChanged(const std::string& member, Loop loop, LockKind kind) {
    Prepare(operations::GetCase(member));
    Obstruct(loop, kind);
    Run(3, [this] { holder.Do(kChangeSchemaAndRelease); });
    EXPECT_THAT(operations::Contents(file), ::testing::Contains("late"));
    file.Run("DROP TABLE late");
  }
};

TEST_F(ChangedSchemaTest, AWriteIsPreparedAnewForEachAttempt) {
  RunUntilChanged("Upsert", Loop::kStatement, kReserved);
  const Subject upsert = operations::GetCase("Upsert");
  ExpectResult(SQLITE_OK, "", upsert.own->contents);
  ExpectAttempts(3, SQLITE_LOCK_RESERVED, kFile, SuccessLines(*upsert.operation));
  ExpectLeftovers(0, 3);
}

// The text is all that SQLite tells of a statement of the legacy call.
TEST_F(ChangedSchemaTest, AStepFailsAndTheQueryFindsNothing) {
  RunUntilChanged("Select", Loop::kStep, kExclusive);
  ExpectResult(SQLITE_OK, "", operations::InitialContents());
  ExpectAttempts(
      3, SQLITE_LOCK_SHARED, kParserFile,
      {fake::Line(6, kParserFile, "ParseDatabase", "SQLITE STEP ERROR!!! SQL logic error")});
  ExpectLeftovers(0, 0);
}

// The waits take their time here.
class RealBusyTest : public BusyTest {
 protected:
  void RoundWithWaits(const std::string& member, Loop loop, const Hold& hold) {
    sleepsForReal = true;
    Round(operations::GetCase(member), loop, hold);
    EXPECT_GE(duration, std::min(hold.busy, kWaits) * std::chrono::milliseconds(100));
  }
};

TEST_F(RealBusyTest, AnOpenIsWaitedFor) {
  RoundWithWaits("Select", Loop::kOpen, {kExclusive, 3, SQLITE_LOCK_NONE, 3});
}

TEST_F(RealBusyTest, AnExecutionIsWaitedFor) {
  RoundWithWaits("Update", Loop::kStatement, {kReserved, 3, SQLITE_LOCK_RESERVED, 3});
}

TEST_F(RealBusyTest, APreparationIsWaitedFor) {
  RoundWithWaits("Select", Loop::kStatement, {kExclusive, 3, SQLITE_LOCK_SHARED, 3});
}

TEST_F(RealBusyTest, AStepIsWaitedFor) {
  RoundWithWaits("Select", Loop::kStep, {kExclusive, 3, SQLITE_LOCK_SHARED, 3});
}

TEST_F(RealBusyTest, GivesUpAfterASecondAndAHalf) {
  RoundWithWaits("Update", Loop::kStatement,
                 {kShared, kAttempts, SQLITE_LOCK_EXCLUSIVE, kAttempts});
}

}  // namespace
