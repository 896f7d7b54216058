// Another process holds the database file: with every kind of lock, met by every
// operation in each of its loops, and let go after every number of busy attempts.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ChildProcess.h"
#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "JoinRequest.h"
#include "LibraryTest.h"
#include "Points.h"
#include "SelectRequest.h"
#include "ShimVfs.h"
#include "TemporaryDatabase.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using fake::BusyLines;
using fake::Line;
using journal::Kind;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::ResultOf;
using ::testing::SizeIs;
using ::testing::StrEq;
using Strings = std::vector<std::string>;

const std::string kFile = "Database.cpp";
const std::string kParserFile = "DatabasePasrser.cpp";
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
enum Command { kRelease = 100, kReleaseSoon, kChangeSchemaAndRelease, kEnd };
constexpr std::chrono::seconds kAnswerLimit{20};

// Connections that hold a lock of that kind together, while they live.
std::vector<std::unique_ptr<Locker>> Take(const TemporaryDatabase& file, int kind) {
  std::vector<std::unique_ptr<Locker>> lockers;
  const auto run = [&](const char* sql) { lockers.push_back(std::make_unique<Locker>(file, sql)); };
  switch (kind) {
    case kShared:
      run("BEGIN; SELECT * FROM contact");
      break;
    case kReserved:
      run("BEGIN IMMEDIATE");
      break;
    case kPending:  // a writer that waits for the end of a reader
      run("BEGIN; SELECT * FROM contact");
      run("BEGIN IMMEDIATE; UPDATE contact SET name = 'never'");
      EXPECT_EQ(SQLITE_BUSY, lockers.back()->Run("COMMIT"));
      break;
    default:
      run("BEGIN EXCLUSIVE");
      break;
  }
  return lockers;
}

void ServeLocks(const TemporaryDatabase& file, Channel& parent) {
  std::vector<std::unique_ptr<Locker>> lockers;
  for (;;) {
    const std::optional<int> command = parent.Receive(kPatience);
    if (!command || command == kEnd) {
      return;
    }
    if (command == kReleaseSoon) {
      std::this_thread::sleep_for(std::chrono::milliseconds(150));
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

  void Hold(LockKind kind) { Do(kind); }
  void Release() { Do(kRelease); }
  void ChangeSchemaAndRelease() { Do(kChangeSchemaAndRelease); }

  // Lets go a while later.
  void ReleaseSoon() { m_process.Link().Send(kReleaseSoon); }
  void AwaitRelease() { Await(kReleaseSoon); }

  // Whether all went well in that process.
  bool EndsWell() {
    m_process.Link().Send(kEnd);
    return m_answers && m_process.EndsWell(kAnswerLimit);
  }

 private:
  void Do(int command) {
    m_process.Link().Send(command);
    Await(command);
  }
  void Await(int command) {
    if (m_answers && m_process.Link().Receive(kAnswerLimit) != command) {
      ADD_FAILURE() << "the holder of the lock does not answer";
      m_answers = false;
    }
  }

  ChildProcess m_process;
  bool m_answers = true;
};

// What blocks what.

// What a statement asks of the file. A write that finds nothing to change asks as much as
// any other; to create a table that exists, only to read.
enum Need { kToRead, kToWrite };

// The lock that SQLite does not get for such a statement while another process holds
// one of that kind.
int RefusedLock(Need need, LockKind kind) {
  constexpr int kNone = SQLITE_LOCK_NONE;
  constexpr int kAtStart = SQLITE_LOCK_SHARED;  // the schema cannot even be read
  constexpr int kAtChange = SQLITE_LOCK_RESERVED;
  constexpr int kAtCommit = SQLITE_LOCK_EXCLUSIVE;
  constexpr int kTable[][4] = {
      // shared, reserved, pending, exclusive
      {kNone, kNone, kAtStart, kAtStart},          // kToRead
      {kAtCommit, kAtChange, kAtStart, kAtStart},  // kToWrite
  };
  return kTable[need][kind];
}

// How long a lock is held, and what comes of it.
struct Hold {
  LockKind kind;
  int attempts;  // that are made while it is held; the last one: all
  int lock;      // that they do not get
  int busy;      // attempts
};

std::ostream& operator<<(std::ostream& stream, const Hold& hold) {
  return stream << "a " << kLockNames[hold.kind] << " lock during " << hold.attempts << " attempts";
}

// All that such a statement can meet.
std::vector<Hold> HoldsFrom(Need need) {
  std::vector<Hold> holds;
  for (const LockKind kind : kLockKinds) {
    const int lock = RefusedLock(need, kind);
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

// The operations, on a file of two tables.

constexpr const char* kTables =
    "CREATE TABLE contact (uid TEXT NOT NULL PRIMARY KEY, name TEXT);"
    "INSERT INTO contact VALUES ('1', 'Kim'), ('2', 'Lee');"
    "CREATE TABLE note (owner TEXT, body TEXT);"
    "INSERT INTO note VALUES ('2', 'first')";
const Strings kContents = {"contact", "note", "1|Kim", "2|Lee"};

// Column names that the requests keep pointers to.
constexpr const char* kUid = "uid";
constexpr const char* kName = "name";

// What a query leaves with its caller, as a text.
struct Answer {
  std::string of;         // it when it succeeds
  std::string before;     // the call, which stays when it fails
  std::string ofNothing;  // it when no row comes
};

struct Operation {
  std::string name;
  std::string member;
  std::string word;  // the first one of its messages
  Need need;
  Strings contents;  // of the file when it succeeds
  Answer answer;     // of a query
  std::function<int(Database&, const TemporaryDatabase&, std::string& answer)> run;

  bool IsQuery() const { return !answer.before.empty(); }
};

void PrintTo(const Operation& operation, std::ostream* stream) { *stream << operation.name; }

// Runs a request on the file: `member` of Database, once `fill` has filled it.
template <typename Request, typename Fill>
auto Requesting(int (Database::*member)(Request&), Fill fill) {
  return [=](Database& database, const TemporaryDatabase& file, std::string&) {
    Request request;
    file.Locate(request);
    fill(request);
    return (database.*member)(request);
  };
}

std::string TextOf(Cursor& cursor) {
  std::string text;
  Strings columns;
  cursor.GetColumn(columns);
  for (const std::string& column : columns) {
    text += column + " ";
  }
  for (int row = 0; row < cursor.GetCount(); ++row) {
    cursor.MoveToPosition(row);
    text += "|";
    for (const std::string& column : columns) {
      std::string cell;
      cursor.GetString(column.c_str(), cell);
      text += " " + cell;
    }
  }
  return text;
}

const std::string kEarlierRow = "old | row";

// The same, into a cursor that holds an earlier row.
template <typename Request, typename Fill>
auto Filling(int (Database::*member)(Request&, Cursor&), Fill fill) {
  return [=](Database& database, const TemporaryDatabase& file, std::string& answer) {
    Request request;
    file.Locate(request);
    fill(request);
    Cursor cursor;
    cursor.SetColumn("old");
    cursor.SetData("old", "row");
    const int result = (database.*member)(request, cursor);
    answer = TextOf(cursor);
    return result;
  };
}

auto Checking(const char* table, bool before) {
  return [=](Database& database, const TemporaryDatabase& file, std::string& answer) {
    BasePath path;
    file.Locate(path);
    bool exists = before;
    const int result = database.CheckExistTable(path, table, exists);
    answer = exists ? "exists" : "missing";
    return result;
  };
}

std::vector<Operation> Writes() {
  const auto update = [](const char* uid) {
    return Requesting(&Database::Update, [=](UpdateRequest& request) {
      request.SetTable("contact");
      request.SetData(kName, "Ann");
      request.SetWhere(kUid, uid);
    });
  };
  const auto erase = [](const char* uid) {
    return Requesting(&Database::Delete, [=](DeleteRequest& request) {
      request.SetTable("contact");
      request.SetWhere(kUid, uid);
    });
  };
  const auto upsert = Requesting(&Database::Upsert, [](UpsertRequest& request) {
    request.SetTable("contact");
    request.SetData(kUid, "3");
    request.SetData(kName, "Ann");
  });
  const auto create = [](const char* table) {
    return Requesting(&Database::CreateTable,
                      [=](CreateRequest& request) { request.SetTable(table); });
  };
  const auto drop =
      Requesting(&Database::DropTable, [](DropRequest& request) { request.SetTable("note"); });

  return {
      {"Update",
       "Update",
       "update",
       kToWrite,
       {"contact", "note", "1|Ann", "2|Lee"},
       {},
       update("1")},
      {"UpdateOfNoRow", "Update", "update", kToWrite, kContents, {}, update("9")},
      {"Delete", "Delete", "delete", kToWrite, {"contact", "note", "2|Lee"}, {}, erase("1")},
      {"DeleteOfNoRow", "Delete", "delete", kToWrite, kContents, {}, erase("9")},
      {"Upsert", "Upsert", "Upsert", kToWrite, kContents + Strings{"3|Ann"}, {}, upsert},
      {"CreateTable",
       "CreateTable",
       "createTable",
       kToWrite,
       {"contact", "extra", "note", "1|Kim", "2|Lee"},
       {},
       create("extra")},
      {"CreateTableThatExists",
       "CreateTable",
       "createTable",
       kToRead,
       kContents,
       {},
       create("note")},
      {"DropTable", "DropTable", "DropTable", kToWrite, {"contact", "1|Kim", "2|Lee"}, {}, drop},
  };
}

std::vector<Operation> Queries() {
  const auto select =
      Filling(&Database::Select, [](SelectRequest& request) { request.SetTable("contact"); });
  const auto join = Filling(&Database::JoinSelect, [](JoinRequest& request) {
    request.SetLeftJoin("contact", "uid");
    request.SetRightJoin("note", "owner");
  });
  return {
      {"Select",
       "Select",
       "SELECT",
       kToRead,
       kContents,
       {"uid name | 1 Kim| 2 Lee", kEarlierRow, ""},
       select},
      {"JoinSelect",
       "JoinSelect",
       "JoinSelect",
       kToRead,
       kContents,
       {"uid name owner body | 2 Lee 2 first", kEarlierRow, ""},
       join},
      {"CheckExistTable",
       "CheckExistTable",
       "CheckExistTable",
       kToRead,
       kContents,
       {"exists", "missing", "missing"},
       Checking("contact", false)},
      {"CheckExistTableOfMissing",
       "CheckExistTable",
       "CheckExistTable",
       kToRead,
       kContents,
       {"missing", "exists", "missing"},
       Checking("extra", true)},
  };
}

Operation Update() { return Writes().front(); }

Operation Upsert() { return Writes()[4]; }

Operation Select() { return Queries().front(); }

std::vector<Operation> Operations() {
  std::vector<Operation> operations = Writes();
  for (const Operation& query : Queries()) {
    operations.push_back(query);
  }
  return operations;
}

// The tests.

// What stands in an operation's way goes away after so many busy attempts of a loop; after
// the last one, the operation has given up.
class BusyTest : public LibraryTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(holder.EndsWell());
    LibraryTest::TearDown();
  }

  // Makes the file as it was.
  void Restore() const {
    std::filesystem::remove(file.Path());
    file.Run(kTables);
  }

  // Runs an operation; `letGo` takes away what stands in its way.
  void Run(const Operation& operation, int busy, const std::function<void()>& letGo) {
    ForgetEvents();
    if (sleepsForReal) {
      fake::SleepForReal();
    }
    m_refused.clear();
    m_askedLock = SQLITE_LOCK_NONE;
    m_blocksBefore = sqlite_spy::MemoryBlocks();
    bool isGone = false;
    journal::Listen([&](Kind kind, const std::string& text) {
      if (kind == Kind::kSqlite && text == "sqlite3_step()" && atFirstStep) {
        std::exchange(atFirstStep, nullptr)();
      }
      if (IsBetweenAttempts(kind, text)) {
        m_refused.push_back(std::exchange(m_askedLock, SQLITE_LOCK_NONE));
      }
      if (!isGone && !atFirstStep && static_cast<int>(m_refused.size()) == busy) {
        isGone = true;
        letGo();
      }
    });
    Database database;
    const auto start = std::chrono::steady_clock::now();
    result = operation.run(database, file, answer);
    duration = std::chrono::steady_clock::now() - start;
    journal::Listen(nullptr);
    if (!isGone) {
      letGo();
    }
  }

  // That it returned this, and what of its answer and of its effect is there.
  void ExpectResult(int code, const std::string& itsAnswer, const Strings& contents) {
    EXPECT_EQ(code, result);
    EXPECT_EQ(itsAnswer, answer);
    EXPECT_EQ(contents, file.Rows("SELECT name FROM sqlite_master WHERE type = 'table' "
                                  "ORDER BY name") +
                            file.Rows("SELECT * FROM contact ORDER BY uid"));
  }

  // That it was kept from this lock in every busy attempt, waited after each and logged
  // each; and at its end, these lines.
  void ExpectAttempts(int busy, int lock, const std::string& source, const Strings& endLines) {
    const auto followed = static_cast<std::size_t>(std::min(busy, kAttempts - 1));
    EXPECT_EQ(std::vector<int>(followed, lock), m_refused);
    EXPECT_EQ(Strings(std::min<std::size_t>(followed, kWaits), "usleep 100000"),
              journal::Of({Kind::kSleep}));
    EXPECT_EQ(Strings{OpeningLine()} + BusyLines(source, busy) + endLines, LinesAboveTraces());
  }

  // That it has closed what it has opened, but for so many handles of busy opens, and holds
  // no memory of SQLite but for theirs and so many error texts.
  void ExpectLeftovers(std::size_t handles, std::size_t texts) {
    EXPECT_THAT(sqlite_spy::OpenStatements(), IsEmpty());
    EXPECT_THAT(sqlite_spy::OpenConnections(),
                AllOf(SizeIs(handles), Each(ResultOf(sqlite3_errcode, SQLITE_BUSY))));
    EXPECT_THAT(sqlite_spy::HeldErrorTexts(), AllOf(SizeIs(texts), Each(StrEq(kLocked))));
    sqlite_spy::CloseConnections();
    sqlite_spy::FreeErrorTexts();
    EXPECT_EQ(m_blocksBefore, sqlite_spy::MemoryBlocks());
  }

  int Waits() const { return static_cast<int>(journal::Of({Kind::kSleep}).size()); }

  TemporaryDatabase file;
  LockHolder holder{file};  // before this process uses SQLite
  std::function<void()> atFirstStep;
  bool opensAreBusy = false;
  bool sleepsForReal = false;

  // Of the last run.
  int result = SQLITE_OK;
  std::string answer;
  std::chrono::steady_clock::duration duration{};

 private:
  std::string OpeningLine() const {
    return Line(6, kFile, "OpenDB", "DB file: " + std::string(file.Directory()) + " app.db");
  }

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
    return isOpen && opensAreBusy ? SQLITE_BUSY : SQLITE_OK;
  }

  const ShimVfs m_files{[this](const FileEvent& event) { return AnswerFile(event); }};
  int m_askedLock = SQLITE_LOCK_NONE;  // the last one
  std::vector<int> m_refused;          // the last one that each busy attempt asked for
  int m_blocksBefore = 0;
};

Strings SuccessLines(const Operation& operation) {
  if (operation.IsQuery()) {
    return {};
  }
  return {Line(4, kFile, operation.member, operation.word + " SUCCESS[0]")};
}

Strings FailureLines(const Operation& operation) {
  return {Line(6, kFile, operation.member, operation.word + " FAILED[5]: " + kLocked)};
}

Strings OpenFailureLines(const Operation& operation) {
  Strings lines = {Line(6, kFile, "OpenDB", "DB open failed. Error no(5): " + kLocked)};
  if (operation.member == "Select") {
    lines.push_back(Line(4, kFile, "Select", "OpenDB Error: 5"));
  }
  return lines;
}

class EveryOperationBusyTest : public BusyTest, public ::testing::WithParamInterface<Operation> {};

// The file's locks never make an open busy, so the file system does.
TEST_P(EveryOperationBusyTest, RepeatsTheOpen) {
  const Operation& operation = GetParam();
  for (int busy = 0; busy <= kAttempts; ++busy) {
    SCOPED_TRACE(std::to_string(busy) + " busy attempts");
    Restore();
    opensAreBusy = true;
    Run(operation, busy, [this] { opensAreBusy = false; });
    EXPECT_EQ(std::min(busy + 1, kAttempts), sqlite_spy::CountCalls("sqlite3_open"));
    if (busy < kAttempts) {
      ExpectResult(SQLITE_OK, operation.answer.of, operation.contents);
      ExpectAttempts(busy, SQLITE_LOCK_NONE, kFile, SuccessLines(operation));
    } else {
      ExpectResult(SQLITE_BUSY, operation.answer.before, kContents);
      ExpectAttempts(busy, SQLITE_LOCK_NONE, kFile, OpenFailureLines(operation));
    }
    ExpectLeftovers(static_cast<std::size_t>(busy), 0);
    points::Add(operation.member, "busy open");
  }
}

// The execution of a write, the preparation of a query.
TEST_P(EveryOperationBusyTest, RepeatsTheStatement) {
  const Operation& operation = GetParam();
  const std::string call = operation.IsQuery() ? "sqlite3_prepare" : "sqlite3_exec";
  for (const Hold& hold : HoldsFrom(operation.need)) {
    SCOPED_TRACE(hold);
    Restore();
    holder.Hold(hold.kind);
    Run(operation, hold.attempts, [this] { holder.Release(); });
    const int attempts = std::min(hold.busy + 1, kAttempts);
    EXPECT_EQ(attempts, sqlite_spy::CountCalls(call));
    if (hold.busy < kAttempts) {
      ExpectResult(SQLITE_OK, operation.answer.of, operation.contents);
      ExpectAttempts(hold.busy, hold.lock, kFile, SuccessLines(operation));
    } else {
      ExpectResult(SQLITE_BUSY, operation.answer.before, kContents);
      ExpectAttempts(hold.busy, hold.lock, kFile, FailureLines(operation));
    }
    // The text of each attempt that was followed by another.
    ExpectLeftovers(0, static_cast<std::size_t>(operation.IsQuery() ? 0 : attempts - 1));
    points::Add(operation.member, "busy statement");
  }
}

std::string NameOf(const ::testing::TestParamInfo<Operation>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(, EveryOperationBusyTest, ::testing::ValuesIn(Operations()), NameOf);

// The other process takes its lock when the query is prepared and not yet stepped.
class EveryQueryBusyTest : public BusyTest, public ::testing::WithParamInterface<Operation> {};

TEST_P(EveryQueryBusyTest, RepeatsTheStep) {
  const Operation& operation = GetParam();
  for (const Hold& hold : HoldsFrom(operation.need)) {
    SCOPED_TRACE(hold);
    Restore();
    atFirstStep = [&] { holder.Hold(hold.kind); };
    Run(operation, hold.attempts, [this] { holder.Release(); });
    // The last attempt only ends the loop: what it gets is not looked at.
    const bool isAnswered = hold.busy < kAttempts - 1;
    ExpectResult(SQLITE_OK, isAnswered ? operation.answer.of : operation.answer.ofNothing,
                 kContents);
    ExpectAttempts(hold.busy, hold.lock, kParserFile, {});
    ExpectLeftovers(0, 0);
    points::Add(operation.member, "busy step");
  }
}

INSTANTIATE_TEST_SUITE_P(, EveryQueryBusyTest, ::testing::ValuesIn(Queries()), NameOf);

// The other process lets go with a commit that makes prepared statements out of date.
class ChangedSchemaTest : public BusyTest {};

const Strings kChangedContents = {"contact", "late", "note", "1|Kim", "2|Lee"};

TEST_F(ChangedSchemaTest, AWriteIsPreparedAnewForEachAttempt) {
  Restore();
  holder.Hold(kReserved);
  Run(Upsert(), 3, [this] { holder.ChangeSchemaAndRelease(); });
  ExpectResult(SQLITE_OK, "", kChangedContents + Strings{"3|Ann"});
  ExpectAttempts(3, SQLITE_LOCK_RESERVED, kFile, SuccessLines(Upsert()));
  ExpectLeftovers(0, 3);
}

// The text is all that SQLite tells of a statement of the legacy call.
TEST_F(ChangedSchemaTest, AStepFailsAndTheQueryFindsNothing) {
  Restore();
  atFirstStep = [this] { holder.Hold(kExclusive); };
  Run(Select(), 3, [this] { holder.ChangeSchemaAndRelease(); });
  ExpectResult(SQLITE_OK, Select().answer.ofNothing, kChangedContents);
  ExpectAttempts(3, SQLITE_LOCK_SHARED, kParserFile,
                 {Line(6, kParserFile, "ParseDatabase", "SQLITE STEP ERROR!!! SQL logic error")});
  ExpectLeftovers(0, 0);
}

// The waits take their time here.
class RealBusyTest : public BusyTest {
 protected:
  RealBusyTest() { sleepsForReal = true; }

  // The other process lets go by itself, some time after the second busy attempt.
  void RunAndWait(const Operation& operation) {
    Run(operation, 2, [this] { holder.ReleaseSoon(); });
    holder.AwaitRelease();
    EXPECT_GE(Waits(), 2);
    ExpectWaited();
  }

  void ExpectWaited() { EXPECT_GE(duration, Waits() * std::chrono::milliseconds(100)); }
};

TEST_F(RealBusyTest, AnOpenIsWaitedFor) {
  Restore();
  opensAreBusy = true;
  Run(Select(), 3, [this] { opensAreBusy = false; });
  ExpectWaited();
  ExpectResult(SQLITE_OK, Select().answer.of, kContents);
  ExpectAttempts(3, SQLITE_LOCK_NONE, kFile, {});
  ExpectLeftovers(3, 0);
}

TEST_F(RealBusyTest, AnExecutionIsWaitedFor) {
  Restore();
  holder.Hold(kReserved);
  RunAndWait(Update());
  ExpectResult(SQLITE_OK, "", Update().contents);
  ExpectAttempts(Waits(), SQLITE_LOCK_RESERVED, kFile, SuccessLines(Update()));
  ExpectLeftovers(0, static_cast<std::size_t>(Waits()));
}

TEST_F(RealBusyTest, APreparationIsWaitedFor) {
  Restore();
  holder.Hold(kExclusive);
  RunAndWait(Select());
  ExpectResult(SQLITE_OK, Select().answer.of, kContents);
  ExpectAttempts(Waits(), SQLITE_LOCK_SHARED, kFile, {});
  ExpectLeftovers(0, 0);
}

TEST_F(RealBusyTest, AStepIsWaitedFor) {
  Restore();
  atFirstStep = [this] { holder.Hold(kExclusive); };
  RunAndWait(Select());
  ExpectResult(SQLITE_OK, Select().answer.of, kContents);
  ExpectAttempts(Waits(), SQLITE_LOCK_SHARED, kParserFile, {});
  ExpectLeftovers(0, 0);
}

TEST_F(RealBusyTest, GivesUpAfterASecondAndAHalf) {
  Restore();
  holder.Hold(kShared);
  Run(Update(), kAttempts, [this] { holder.Release(); });
  EXPECT_GE(duration, std::chrono::milliseconds(1500));
  ExpectResult(SQLITE_BUSY, "", kContents);
  ExpectAttempts(kAttempts, SQLITE_LOCK_EXCLUSIVE, kFile, FailureLines(Update()));
  ExpectLeftovers(0, kAttempts - 1);
}

}  // namespace
