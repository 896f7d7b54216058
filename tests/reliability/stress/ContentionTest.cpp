// Many threads of many processes change and read one file at the same time. Each
// notes what it did and what it was told, and the notes have to fit together.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "Cursor.h"
#include "Database.h"
#include "DeleteRequest.h"
#include "RealWait.h"
#include "RunOnThreads.h"
#include "SelectRequest.h"
#include "TemporaryDatabase.h"
#include "TestNumbers.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace {

using ::testing::ElementsAre;

constexpr int kMaxWriters = 32;  // threads, of all processes
constexpr int kOperations = 40;  // of each

// Each thread has keys that nobody else writes; all of them write key 0.
constexpr int kOwnKeys = 2;
constexpr int kKeys = 1 + kMaxWriters * kOwnKeys;
constexpr int kSharedKey = 0;

// No two writes write the same value. Instead of one, a key has or shows:
constexpr int kAbsent = 0;
constexpr int kUnseen = -1;

// What a thread notes, in memory that outlives its process.
struct Operation {
  enum class Kind : int { kWrite, kRead };
  using Time = std::chrono::steady_clock::time_point;
  Kind kind;
  int key;                      // of a write
  int value;                    // what it leaves, provided that it succeeds
  std::array<int, kKeys> seen;  // by a read, for each key
  int result;
  int waits;
  Time begin;
  Time end;
};

class Notes {
 public:
  Notes() {
    void* const memory =
        mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
      throw std::bad_alloc();
    }
    m_table = new (memory) Table{};
  }
  ~Notes() { munmap(m_table, sizeof(Table)); }
  Notes(const Notes&) = delete;
  Notes& operator=(const Notes&) = delete;

  std::array<Operation, kOperations>& Of(int writer) {
    return (*m_table)[static_cast<std::size_t>(writer)];
  }

 private:
  using Table = std::array<std::array<Operation, kOperations>, kMaxWriters>;
  Table* m_table;
};

// The columns of a row: all tell the value, at a length that takes a while to write.
constexpr char kTable[] = "t";
constexpr char kKey[] = "id";
constexpr char kValue[] = "v";
constexpr char kFirstText[] = "a";
constexpr char kSecondText[] = "b";
constexpr char kCreate[] = "CREATE TABLE t (id INTEGER PRIMARY KEY, a TEXT, v INTEGER, b TEXT)";

std::string TextOf(int value) {
  std::string text;
  while (text.size() < 700) {
    text += std::to_string(value) + ",";
  }
  return text;
}

template <typename Request>
void SetRow(Request& request, int value) {
  const std::string text = TextOf(value);
  request.SetData(kFirstText, text.c_str());
  request.SetData(kValue, value);
  request.SetData(kSecondText, text.c_str());
}

// One thread's part, on that thread.
class Writer {
 public:
  Writer(Database& database, const TemporaryDatabase& file, int number, unsigned seed, Notes& notes)
      : m_database(database),
        m_file(file),
        m_number(number),
        m_notes(notes.Of(number)),
        m_random(seed) {
    OnWait([this] { ++m_waits; });
  }

  // The first operation is a write.
  int RunFirst() { return Run(&Writer::Upsert); }

  void RunOthers() {
    constexpr std::array kActs{&Writer::Upsert, &Writer::Upsert,    &Writer::Update,
                               &Writer::Delete, &Writer::SelectOne, &Writer::SelectAll};
    while (m_count < kOperations) {
      Run(kActs[Random(kActs.size())]);
    }
  }

 private:
  using Act = int (Writer::*)(Operation&);

  unsigned Random(std::size_t bound) { return static_cast<unsigned>(m_random() % bound); }
  int OwnKey(int index) const { return 1 + m_number * kOwnKeys + index; }
  int NewValue() const { return (m_number + 1) * 1000 + m_count; }
  int& Own(int key) { return m_own[static_cast<std::size_t>(key - OwnKey(0))]; }

  int Run(Act act) {
    Operation& note = m_notes[static_cast<std::size_t>(m_count++)];
    note.seen.fill(kUnseen);
    m_waits = 0;
    note.begin = std::chrono::steady_clock::now();
    note.result = (this->*act)(note);
    note.end = std::chrono::steady_clock::now();
    note.waits = m_waits;
    if (note.kind == Operation::Kind::kWrite && note.result == SQLITE_OK &&
        note.key != kSharedKey) {
      Own(note.key) = note.value;
    }
    return note.result;
  }

  template <typename Request>
  void Prepare(Request& request) const {
    m_file.Locate(request);
    request.SetTable(kTable);
  }

  void NoteWrite(Operation& note, int key, int value) {
    note.kind = Operation::Kind::kWrite;
    note.key = key;
    note.value = value;
  }

  int AnyKey() {
    const unsigned index = Random(kOwnKeys + 1);
    return index == kOwnKeys ? kSharedKey : OwnKey(static_cast<int>(index));
  }

  int Upsert(Operation& note) {
    NoteWrite(note, AnyKey(), NewValue());
    UpsertRequest request;
    Prepare(request);
    request.SetData(kKey, note.key);
    SetRow(request, note.value);
    return m_database.Upsert(request);
  }

  // Of a key of the thread's own: only there it is known whether there is a row.
  int Update(Operation& note) {
    const int key = OwnKey(static_cast<int>(Random(kOwnKeys)));
    NoteWrite(note, key, Own(key) == kAbsent ? kAbsent : NewValue());
    UpdateRequest request;
    Prepare(request);
    SetRow(request, NewValue());
    request.SetWhere(kKey, key);
    return m_database.Update(request);
  }

  int Delete(Operation& note) {
    NoteWrite(note, AnyKey(), kAbsent);
    DeleteRequest request;
    Prepare(request);
    request.SetWhere(kKey, note.key);
    return m_database.Delete(request);
  }

  int SelectOne(Operation& note) {
    const int key = AnyKey();
    SelectRequest request;
    Prepare(request);
    request.SetWhere(kKey, key);
    return Select(note, request, key, key);
  }

  int SelectAll(Operation& note) {
    SelectRequest request;
    Prepare(request);
    return Select(note, request, 0, kKeys - 1);
  }

  int Select(Operation& note, SelectRequest& request, int firstKey, int lastKey) {
    note.kind = Operation::Kind::kRead;
    Cursor cursor;
    const int result = m_database.Select(request, cursor);
    // Without a result there are no rows; and where stepping may have stayed busy,
    // rows may be missing.
    if (result == SQLITE_OK && m_waits < 15) {
      std::fill(note.seen.begin() + firstKey, note.seen.begin() + lastKey + 1, kAbsent);
    }
    while (cursor.MoveToNext() == 0) {
      NoteRow(note, cursor);
    }
    return result;
  }

  static void NoteRow(Operation& note, Cursor& cursor) {
    int key = -1;
    int value = kUnseen;
    std::string first;
    std::string second;
    EXPECT_EQ(0, cursor.GetInt(kKey, key));
    EXPECT_EQ(0, cursor.GetInt(kValue, value));
    EXPECT_EQ(0, cursor.GetString(kFirstText, first));
    EXPECT_EQ(0, cursor.GetString(kSecondText, second));
    EXPECT_TRUE(first == TextOf(value) && second == TextOf(value))
        << "key " << key << " is torn: " << value << ", " << first << ", " << second;
    note.seen.at(static_cast<std::size_t>(key)) = value;
  }

  Database& m_database;
  const TemporaryDatabase& m_file;
  const int m_number;
  std::array<Operation, kOperations>& m_notes;
  std::mt19937 m_random;
  int m_count = 0;
  int m_waits = 0;                    // of the current operation
  std::array<int, kOwnKeys> m_own{};  // the values of the thread's keys
};

// The successful writes to one key.
class History {
 public:
  using Time = Operation::Time;

  void Add(int value, Time begin, Time end) { m_writes.push_back({value, begin, end}); }

  // Whether a read between these times may see the value: that of a write that has
  // begun, and that none was later than and done before the read.
  bool Allows(int value, Time begin, Time end) const {
    return std::any_of(m_writes.begin(), m_writes.end(), [&](const Write& write) {
      return write.value == value && write.begin <= end && !IsReplaced(write, begin);
    });
  }

 private:
  struct Write {
    int value;
    Time begin;
    Time end;
  };

  bool IsReplaced(const Write& write, Time before) const {
    return std::any_of(m_writes.begin(), m_writes.end(), [&](const Write& later) {
      return later.begin > write.end && later.end < before;
    });
  }

  std::vector<Write> m_writes{{kAbsent, Time::min(), Time::min()}};
};

struct Crowd {
  int processes;
  int threads;  // of each process, with one Database object for all of them
};

struct Figures {
  int operations = 0;
  int waits = 0;
  int busyResults = 0;
  int rowsRead = 0;
};

class ContentionTest : public ::testing::Test {
 protected:
  ContentionTest() { file.Run(kCreate); }

  // Runs them all against each other, and fits their notes together.
  void Run(Crowd members) {
    crowd = members;
    const int rounds = test_numbers::Scaled(1);
    for (int round = 0; round < rounds; ++round) {
      file.Run("DELETE FROM t");
      RunProcesses(test_numbers::Seed() + static_cast<unsigned>(round * kMaxWriters));
      CheckResults();
      CheckRows();
      EXPECT_THAT(file.Rows("PRAGMA integrity_check"), ElementsAre("ok"));
      ASSERT_FALSE(HasFailure()) << "in round " << round;
    }
    EXPECT_EQ(rounds * CountWriters() * kOperations, figures.operations);
    EXPECT_GE(figures.busyResults, rounds * CountWriters());
    EXPECT_GT(figures.rowsRead, 0);
    std::printf("%d operations, %d waits, %d busy results, %d rows read\n", figures.operations,
                figures.waits, figures.busyResults, figures.rowsRead);
  }

  int CountWriters() const { return crowd.processes * crowd.threads; }

  // Lets the first operation of each thread meet a lock that outlasts it. The others
  // meet each other.
  void RunProcesses(unsigned seed) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int process = 0; process < crowd.processes; ++process) {
      children.push_back(std::make_unique<ChildProcess>(
          [=](Channel& parent) { RunProcess(process, seed, parent); }));
    }
    {
      const Locker locker(file, "BEGIN EXCLUSIVE");
      for (const auto& child : children) {
        ASSERT_TRUE(child->Link().Send(1));
      }
      for (int writer = 0; writer < CountWriters(); ++writer) {
        ChildProcess& child = *children[static_cast<std::size_t>(writer / crowd.threads)];
        ASSERT_EQ(SQLITE_BUSY, child.Link().Receive(kPatience));
      }
    }
    for (const auto& child : children) {
      EXPECT_TRUE(child->EndsWell(kPatience));
    }
  }

  void RunProcess(int process, unsigned seed, Channel& parent) {
    Database database;
    parent.Receive(kPatience);
    RunOnThreads(crowd.threads, [&](int thread) {
      const int number = process * crowd.threads + thread;
      Writer writer(database, file, number, seed + static_cast<unsigned>(number), notes);
      parent.Send(writer.RunFirst());
      writer.RunOthers();
    });
  }

  template <typename Visit>
  void ForEachNote(Visit visit) {
    for (int writer = 0; writer < CountWriters(); ++writer) {
      for (const Operation& note : notes.Of(writer)) {
        visit(note);
      }
    }
  }

  // A busy result comes after all waits and no sooner.
  void CheckResults() {
    ForEachNote([&](const Operation& note) {
      ++figures.operations;
      figures.waits += note.waits;
      if (note.result == SQLITE_BUSY) {
        ++figures.busyResults;
        EXPECT_EQ(15, note.waits);
        EXPECT_GE(note.end - note.begin, std::chrono::milliseconds(1500));
      } else {
        EXPECT_EQ(SQLITE_OK, note.result);
        EXPECT_LE(note.waits, note.kind == Operation::Kind::kWrite ? 15 : 30);
      }
    });
  }

  // What was read, and what is there in the end, are successful writes.
  void CheckRows() {
    std::vector<History> histories(kKeys);
    ForEachNote([&](const Operation& note) {
      if (note.kind == Operation::Kind::kWrite && note.result == SQLITE_OK) {
        histories[static_cast<std::size_t>(note.key)].Add(note.value, note.begin, note.end);
      }
    });
    ForEachNote([&](const Operation& note) {
      if (note.kind == Operation::Kind::kRead) {
        CheckRead(histories, note.seen, note.begin, note.end);
      }
    });
    CheckRead(histories, FinalRows(), Operation::Time::max(), Operation::Time::max());
  }

  void CheckRead(const std::vector<History>& histories, const std::array<int, kKeys>& seen,
                 Operation::Time begin, Operation::Time end) {
    for (std::size_t key = 0; key < kKeys; ++key) {
      if (seen[key] != kUnseen) {
        figures.rowsRead += seen[key] != kAbsent ? 1 : 0;
        EXPECT_TRUE(histories[key].Allows(seen[key], begin, end))
            << "key " << key << " shows " << seen[key];
      }
    }
  }

  std::array<int, kKeys> FinalRows() const {
    std::array<int, kKeys> rows{};
    for (const std::string& row : file.Rows("SELECT id, v, a, b FROM t")) {
      int key = -1;
      int value = kUnseen;
      EXPECT_EQ(2, std::sscanf(row.c_str(), "%d|%d|", &key, &value));
      EXPECT_EQ(std::to_string(key) + "|" + std::to_string(value) + "|" + TextOf(value) + "|" +
                    TextOf(value),
                row);
      rows.at(static_cast<std::size_t>(key)) = value;
    }
    return rows;
  }

  Crowd crowd{};
  TemporaryDatabase file;
  Notes notes;
  Figures figures;
};

TEST_F(ContentionTest, ProcessesLeaveTheRowsOfTheirSuccessfulWrites) { Run({8, 4}); }

TEST_F(ContentionTest, ThreadsLeaveTheRowsOfTheirSuccessfulWrites) { Run({1, 8}); }

}  // namespace
