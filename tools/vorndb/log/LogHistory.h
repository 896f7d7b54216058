// The operations that a log tells of.

#ifndef VORNDB_LOGHISTORY_H
#define VORNDB_LOGHISTORY_H

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "log/LogLine.h"
#include "log/LogMeaning.h"

namespace vorndb {

// One operation, as far as the log has it.
struct Operation {
  enum class End { kNone, kSucceeded, kFailed, kNotOpened, kUnreadable };
  enum class File { kNotNamed, kNamed, kUnreadable };

  LogPrefix prefix;  // of its first line
  // The member; or what is known of it, such as kSomeQuery; empty for nothing.
  std::string kind;
  bool begun = true;  // whether its beginning is in the log
  File fileState = File::kNotNamed;
  std::string file;  // directory and name, as they are logged
  End end = End::kNone;
  std::string code;
  std::string text;
  int waits = 0;            // of 100 ms each
  int limits = 0;           // how often it did not go on waiting
  int stepLimits = 0;       // of these, while rows were fetched
  bool stepped = false;     // rows were fetched
  bool leftBehind = false;  // its thread went on to something else
  int busyUnreadable = 0;   // lines that tell of a wait or of the limit
  int blobs = 0;
  std::vector<std::string> stepFailures;
  int stepUnreadable = 0;
  // What failed in reading the cursor, before the thread's next operation.
  std::map<std::string, int> readFailures;
};

// Kinds of operations whose member is not known.
extern const char* const kSomeQuery;
extern const char* const kSelectOrJoin;

// Whether operations of that kind read.
bool IsQuery(const std::string& kind);

// What is known of the lines that a process writes.
struct ProcessLevel {
  bool entries = false;    // priority 3
  bool successes = false;  // priority 4 or lower
};

class LogHistory {
 public:
  // Takes the next line of the library.
  void Add(const LogLine& line, const LogMeaning& meaning);

  // In the order of their first lines.
  const std::vector<Operation>& Operations() const { return m_operations; }

  ProcessLevel LevelOf(const Operation& operation) const {
    return m_levels.at(operation.prefix.process);
  }

  // What failed in reading cursors before the first operation of a thread.
  const std::map<std::string, int>& EarlyReadFailures() const { return m_earlyReadFailures; }

  int UnnamedLocks() const { return m_unnamedLocks; }

  // Whether there are lines without a thread.
  bool LacksThreads() const { return m_lacksThreads; }

 private:
  struct Thread {
    std::optional<std::size_t> current;
    std::optional<std::size_t> last;
    std::string entry;            // the number of the current operation's first line
    std::string busyPlace;        // the file of the last busy line
    int busyLines = 0;            // of the loop that goes on
    std::set<std::string> opens;  // the numbers of the current operation's lines of OpenDB
  };

  Operation& Begin(Thread& thread, const LogLine& line, const std::string& kind, bool begun);
  Operation& Continue(Thread& thread, const LogLine& line);
  Operation& ContinueQuery(Thread& thread, const LogLine& line);
  Operation& ContinueAt(Thread& thread, const LogLine& line);
  Operation* Current(const Thread& thread);
  static bool IsOpen(const Operation* operation);
  static bool NamesThread(const LogLine& line) { return !line.prefix.thread.empty(); }
  void Leave(Thread& thread);
  void LeaveFor(Thread& thread, const LogLine& line);

  void Enter(Thread& thread, const LogLine& line);
  void EnterOpen(Thread& thread, const LogLine& line);
  void Opening(Thread& thread, const LogLine& line, const LogMeaning& meaning);
  void OpenFailed(Thread& thread, const LogLine& line, const LogMeaning& meaning);
  void SelectFailed(Thread& thread, const LogLine& line, const LogMeaning& meaning);
  void End(Thread& thread, const LogLine& line, const LogMeaning& meaning, Operation::End end);
  void Busy(Thread& thread, const LogLine& line, const LogMeaning& meaning);
  void Limit(Thread& thread, const LogLine& line);
  void ReadFailed(Thread& thread, const LogLine& line, const LogMeaning& meaning);
  void Unreadable(Thread& thread, const LogLine& line);
  void UnreadableOpen(Thread& thread, const LogLine& line);

  std::vector<Operation> m_operations;
  std::map<std::string, Thread> m_threads;
  std::map<std::string, ProcessLevel> m_levels;
  std::map<std::string, int> m_earlyReadFailures;
  int m_unnamedLocks = 0;
  bool m_lacksThreads = false;
};

}  // namespace vorndb

#endif  // VORNDB_LOGHISTORY_H
