// Many threads of many processes change and read one file at the same time. Each notes its
// operations and their results, and the notes have to fit together.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "NoteTable.h"
#include "Operations.h"
#include "RealWait.h"
#include "RunOnThreads.h"
#include "TemporaryDatabase.h"
#include "TestNumbers.h"

namespace {

constexpr int kMaxWriters = 32;  // threads, of all processes
constexpr int kOperations = 40;  // of each

// Each thread has keys that nobody else writes; all of them write key 0.
constexpr int kOwnKeys = 2;
constexpr int kKeys = 1 + kMaxWriters * kOwnKeys;
constexpr int kSharedKey = 0;

// No two writes write the same value. Instead of one, a key has or shows:
constexpr int kAbsent = 0;
constexpr int kUnseen = -1;

using Time = std::chrono::steady_clock::time_point;
using Values = std::array<int, kKeys>;

// At a length that takes a while to write.
std::string TextOf(int value) { return note_table::TextOf(value, 1400); }

int& At(Values& values, int key) { return values.at(static_cast<std::size_t>(key)); }

// A thread's note of an operation.
struct Note {
  bool isWrite;
  int key;      // of a write
  int value;    // that it leaves, provided that it succeeds
  Values seen;  // by a read
  int result;
  int waits;
  Time begin;
  Time end;
};

using Notes = std::array<std::array<Note, kOperations>, kMaxWriters>;

// In memory that outlives the processes.
std::unique_ptr<Notes, void (*)(Notes*)> ShareNotes() {
  void* const memory =
      mmap(nullptr, sizeof(Notes), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    throw std::bad_alloc();
  }
  return {new (memory) Notes{}, [](Notes* notes) { munmap(notes, sizeof(Notes)); }};
}

// No row is torn.
void NoteRows(const note_table::Rows& rows, Values& seen) {
  for (const auto& [uid, text] : rows) {
    const int value = std::stoi(text);
    EXPECT_TRUE(text == TextOf(value)) << "key " << uid << " is torn: " << text;
    At(seen, std::stoi(uid)) = value;
  }
}

// One thread's part, on that thread.
class Writer {
 public:
  Writer(Database& database, const TemporaryDatabase& file, int number, unsigned seed, Notes& notes)
      : m_database(database),
        m_file(file),
        m_number(number),
        m_notes(notes.at(static_cast<std::size_t>(number))),
        m_random(seed) {
    OnWait([this] { ++m_note->waits; });
  }

  bool IsDone() const { return m_note == m_notes.end(); }

  // The first operation is a write.
  int RunNext() {
    *m_note = {};
    m_note->seen.fill(kUnseen);
    m_note->begin = std::chrono::steady_clock::now();
    m_note->result = Choose(m_note == m_notes.begin() ? 0 : Random(6));
    m_note->end = std::chrono::steady_clock::now();
    return (m_note++)->result;
  }

 private:
  int Random(int bound) { return static_cast<int>(m_random() % static_cast<unsigned>(bound)); }

  int Choose(int act) {
    const int own = 1 + m_number * kOwnKeys + Random(kOwnKeys);
    const int key = Random(kOwnKeys + 1) == 0 ? kSharedKey : own;
    switch (act) {
      case 0:
      case 1:
        return Write("Upsert", key, true);
      case 2:  // of a key of the thread's own: only there it is known whether there is a row
        return Write("Update", own, At(m_rows, own) != kAbsent);
      case 3:
        return Write("Delete", key, false);
      case 4:
        return Select(key, key);
      default:
        return Select(0, kKeys - 1);
    }
  }

  int Write(const std::string& member, int key, bool leavesRow) {
    const int value = (m_number + 1) * 1000 + static_cast<int>(m_note - m_notes.begin());
    m_note->isWrite = true;
    m_note->key = key;
    m_note->value = leavesRow ? value : kAbsent;
    const int result =
        note_table::Run({member, std::to_string(key), TextOf(value)}, m_file, m_database);
    At(m_rows, key) = result == SQLITE_OK ? m_note->value : At(m_rows, key);
    return result;
  }

  int Select(int firstKey, int lastKey) {
    const operations::Texts all = {{"table", note_table::kTable}};
    const operations::Texts one =
        all.With("whereColumn", note_table::kUid).With("whereValue", std::to_string(firstKey));
    operations::Call call(operations::Get("Select"), m_file, firstKey == lastKey ? one : all);
    const int result = call.Run(m_database);
    // Without a result there are no rows; and where stepping may have stayed busy, rows may be
    // missing.
    if (result == SQLITE_OK && m_note->waits < 15) {
      std::fill(&At(m_note->seen, firstKey), &At(m_note->seen, lastKey) + 1, kAbsent);
    }
    NoteRows(note_table::RowsOf(call.cursor), m_note->seen);
    return result;
  }

  Database& m_database;
  const TemporaryDatabase& m_file;
  const int m_number;
  std::array<Note, kOperations>& m_notes;
  Note* m_note = m_notes.begin();  // of the current operation
  std::mt19937 m_random;
  Values m_rows{};  // those that the thread has written
};

// The successful writes of each key.
using Writes = std::vector<std::vector<const Note*>>;

// Whether a read may see the value: that of a write that has begun, and that none was later
// than and done before the read.
bool MaySee(int value, const Note& read, const std::vector<const Note*>& writes) {
  return std::any_of(writes.begin(), writes.end(), [&](const Note* write) {
    return write->value == value && write->begin <= read.end &&
           std::none_of(writes.begin(), writes.end(), [&](const Note* later) {
             return later->begin > write->end && later->end < read.begin;
           });
  });
}

class ContentionTest : public ::testing::Test {
 protected:
  ContentionTest() { EXPECT_EQ(0, note_table::Run({"CreateTable"}, file, database)); }

  // Runs the threads of all processes against each other, and fits their notes together. The
  // threads of a process share one Database object.
  void Run(int processCount, int threadCount) {
    processes = processCount;
    threads = threadCount;
    const int rounds = test_numbers::Scaled(1);
    for (int round = 0; round < rounds; ++round) {
      EXPECT_EQ(0, note_table::Run({"Delete"}, file, database));
      RunProcesses(test_numbers::Seed() + static_cast<unsigned>(round * kMaxWriters));
      CheckNotes();
      EXPECT_THAT(file.Rows("PRAGMA integrity_check"), ::testing::ElementsAre("ok"));
      ASSERT_FALSE(HasFailure()) << "in round " << round;
    }
    EXPECT_GE(busyResults, rounds * CountWriters());
    EXPECT_GT(rowsRead, 0);
    std::printf("%d operations, %d waits, %d busy results, %d rows read\n",
                rounds * CountWriters() * kOperations, waits, busyResults, rowsRead);
  }

  int CountWriters() const { return processes * threads; }

  // Lets the first operation of each thread meet a lock that outlasts it. The others
  // meet each other.
  void RunProcesses(unsigned seed) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int process = 0; process < processes; ++process) {
      children.push_back(std::make_unique<ChildProcess>(
          [=](Channel& parent) { RunProcess(process, seed, parent); }));
    }
    {
      const Locker locker(file, "BEGIN EXCLUSIVE");
      for (const auto& child : children) {
        ASSERT_TRUE(child->Link().Send(1));
      }
      for (int writer = 0; writer < CountWriters(); ++writer) {
        ChildProcess& child = *children[static_cast<std::size_t>(writer / threads)];
        ASSERT_EQ(SQLITE_BUSY, child.Link().Receive(kPatience));
      }
    }
    for (const auto& child : children) {
      EXPECT_TRUE(child->EndsWell(kPatience));
    }
  }

  void RunProcess(int process, unsigned seed, Channel& parent) {
    parent.Receive(kPatience);
    RunOnThreads(threads, [&](int thread) {
      const int number = process * threads + thread;
      Writer writer(database, file, number, seed + static_cast<unsigned>(number), *notes);
      parent.Send(writer.RunNext());
      while (!writer.IsDone()) {
        writer.RunNext();
      }
    });
  }

  void CheckNotes() {
    Note none{};  // at first there are no rows
    none.begin = none.end = Time::min();
    Writes writes(kKeys, {&none});
    ForEachNote([&](const Note& note) {
      CheckResult(note);
      if (note.isWrite && note.result == SQLITE_OK) {
        writes[static_cast<std::size_t>(note.key)].push_back(&note);
      }
    });
    ForEachNote([&](const Note& note) { CheckSeen(note, writes); });
    Note last{};
    last.begin = last.end = Time::max();
    int result = 0;
    NoteRows(note_table::Read(file, result).value(), last.seen);
    EXPECT_EQ(0, result);
    CheckSeen(last, writes);
  }

  template <typename Visit>
  void ForEachNote(Visit visit) {
    for (int writer = 0; writer < CountWriters(); ++writer) {
      for (const Note& note : notes->at(static_cast<std::size_t>(writer))) {
        visit(note);
      }
    }
  }

  // A busy result comes after all waits and no sooner.
  void CheckResult(const Note& note) {
    waits += note.waits;
    if (note.result == SQLITE_BUSY) {
      ++busyResults;
      EXPECT_EQ(15, note.waits);
      EXPECT_GE(note.end - note.begin, std::chrono::milliseconds(1500));
    } else {
      EXPECT_EQ(SQLITE_OK, note.result);
      EXPECT_LE(note.waits, note.isWrite ? 15 : 30);
    }
  }

  // A row that is read, or found in the end, is that of a successful write.
  void CheckSeen(const Note& read, const Writes& writes) {
    for (std::size_t key = 0; key < kKeys; ++key) {
      if (const int value = read.seen[key]; value != kUnseen) {
        rowsRead += value != kAbsent ? 1 : 0;
        EXPECT_TRUE(MaySee(value, read, writes[key])) << "key " << key << " shows " << value;
      }
    }
  }

  int processes = 0;
  int threads = 0;  // of each
  TemporaryDatabase file;
  Database database;
  const std::unique_ptr<Notes, void (*)(Notes*)> notes = ShareNotes();
  int waits = 0;
  int busyResults = 0;
  int rowsRead = 0;
};

TEST_F(ContentionTest, ProcessesLeaveTheRowsOfTheirSuccessfulWrites) { Run(8, 4); }

TEST_F(ContentionTest, ThreadsLeaveTheRowsOfTheirSuccessfulWrites) { Run(1, 8); }

}  // namespace
