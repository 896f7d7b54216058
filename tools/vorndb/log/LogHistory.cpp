#include "log/LogHistory.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include "Errors.h"
#include "Terminal.h"

namespace vorndb {

namespace {

constexpr std::string_view kDatabase = "Database.cpp";
constexpr std::string_view kParser = "DatabasePasrser.cpp";
constexpr std::string_view kCursor = "Cursor.cpp";
constexpr char kOpenMember[] = "OpenDB";
constexpr char kExistMember[] = "CheckExistTable";

bool IsOpenMember(const LogLine& line) {
  return line.file == kDatabase && line.function == kOpenMember;
}

bool IsOperation(const LogLine& line) {
  return line.file == kDatabase && line.function != "Database" && line.function != "~Database";
}

// A running operation calls these of its request.
bool IsGetter(const LogLine& line) {
  return line.file != kDatabase && line.file != kCursor && line.function.rfind("Get", 0) == 0;
}

// The member that takes the request.
std::string TakerOf(const LogLine& getter) {
  const std::string name = getter.file.substr(0, getter.file.find("Request"));
  const bool ofTable = name == "Create" || name == "Drop";
  return name + (name == "Join" ? "Select" : ofTable ? "Table" : "");
}

// The members that can call a function of the parser.
Members CallersOf(const LogLine& line) {
  Members members;
  for (const std::string& member : Queries()) {
    const bool calls = (member == kExistMember) == (line.function == "ParseExistTable");
    if (calls || line.function == "IsRetryLimit") {
      members.push_back(member);
    }
  }
  return members;
}

// Leaves the members that are possible; false, changing nothing, where there are none.
bool Narrow(Members& members, const Members& possible) {
  Members common;
  for (const std::string& member : possible) {
    if (members.empty() || std::count(members.begin(), members.end(), member) != 0) {
      common.push_back(member);
    }
  }
  members = common.empty() ? members : common;
  return !common.empty() || possible.empty();
}

// Directory and name are logged with a space between them. With a single space the path is
// clear, and joined as the library does.
std::string PathOf(const std::string& logged) {
  const std::size_t space = logged.find(' ');
  if (space == std::string::npos || logged.find(' ', space + 1) != std::string::npos ||
      logged == " ") {
    return '"' + Printable(logged) + '"';
  }
  std::string path = logged.substr(0, space);
  if (!path.empty() && path.back() != '/') {
    path += '/';
  }
  return Printable(path + logged.substr(space + 1));
}

// The operations of one thread, in which they never overlap. Without the names of threads
// this is a whole process.
class LogThread {
 public:
  LogThread(LogHistory& history, const Listener& listener)
      : m_history(history), m_listener(listener) {
    m_none.end = Outcome::kSucceeded;
  }

  void Add(const LogLine& line) {
    switch (line.event) {
      case LogEvent::kEntered:
        return Enter(line);
      case LogEvent::kOpening:
        return Opening(line);
      case LogEvent::kOpenFailed:
        return Close(Continue(line), line, Outcome::kNotOpened);
      case LogEvent::kSelectNotOpened:
        return SelectNotOpened(line);
      case LogEvent::kSucceeded:
        return End(line, Outcome::kSucceeded);
      case LogEvent::kFailed:
        return End(line, Outcome::kFailed);
      case LogEvent::kBusy:
        return Busy(line);
      case LogEvent::kBusyLimit:
        return Limit(line);
      case LogEvent::kStepFailed:
      case LogEvent::kExistStepFailed:
        Continue(line).stepFailures.push_back(line.text);
        return;
      case LogEvent::kUnknownType:
        ++Continue(line).blobs;
        return;
      case LogEvent::kReadFailed:
        return ReadFailed(line);
      case LogEvent::kMoved:
        return LeaveIfNamed(line);
      case LogEvent::kLockUnnamed:
        ++m_history.unnamedLocks;
        return;
      case LogEvent::kUnreadable:
        return Unreadable(line);
      default:
        return;  // no part of an operation
    }
  }

  void Report() {
    if (m_listener && m_last != nullptr) {
      m_listener(m_history, *m_last);
    }
  }

 private:
  Operation& Begin(const LogLine& line, const Members& members, bool begun) {
    Leave();
    m_isNew = false;
    m_kept = m_listener ? std::make_unique<Operation>() : nullptr;
    m_current = m_last = m_listener ? m_kept.get() : &m_history.operations.emplace_back();
    m_current->prefix = line.prefix;
    m_current->members = members;
    m_current->begun = begun;
    m_entry = line.number;
    m_busyLines = 0;
    m_opens.clear();
    m_isOpened = !begun;
    return *m_current;
  }

  void Leave() {
    m_current->leftBehind = true;
    Report();
    m_current = &m_none;
  }

  // For a line outside of operations. Without names it may be another thread's.
  void LeaveIfNamed(const LogLine& line) {
    m_isNew = false;
    if (!line.prefix.thread.empty()) {
      Leave();
    }
  }

  // The running operation, if it may be one of the members.
  Operation& Continue(const LogLine& line, const Members& members) {
    const bool fits = !m_current->end && Narrow(m_current->members, members);
    return fits ? *m_current : Begin(line, members, false);
  }

  // The operation that a line inside of one belongs to.
  Operation& Continue(const LogLine& line) {
    if (line.file != kParser) {
      return Continue(line, {});
    }
    // The application may fetch rows itself from a file that it has opened itself.
    const bool own = !m_current->end && m_current->members == Members{kOpenMember};
    Operation& query = Continue(line, own ? Members() : CallersOf(line));
    query.stepped = true;
    return query;
  }

  void Close(Operation& operation, const LogLine& line, Outcome end) {
    operation.end = end;
    operation.code = line.code;
    operation.text = line.text;
    Report();
  }

  void Enter(const LogLine& line) {
    if (IsOpenMember(line)) {
      EnterOpen(line);
    } else if (IsOperation(line)) {
      Begin(line, {line.function}, true);
    } else if (!IsGetter(line)) {
      LeaveIfNamed(line);
    } else if (!m_current->end && m_current->members.empty()) {
      // Entries are in the log, but not that of the member.
      m_current->members = {TakerOf(line)};
      m_current->begun = false;
    }
  }

  // On behalf of the running operation, unless that has come here before. The first records of a
  // thread may lack the member.
  void EnterOpen(const LogLine& line) {
    if (m_isNew) {
      Begin(line, {}, false);
      m_isOpened = false;
    } else if (m_current->end || m_isOpened || !m_opens.empty()) {
      Begin(line, {kOpenMember}, true);
    }
    m_opens.insert(line.number);
  }

  void Opening(const LogLine& line) {
    if (m_current->end || m_isOpened) {
      Begin(line, {}, true);
    }
    m_opens.insert(line.number);
    m_isOpened = true;
    m_current->file = PathOf(line.text);
  }

  // Follows the record of the open itself.
  void SelectNotOpened(const LogLine& line) {
    if (m_current->end != Outcome::kNotOpened || !Narrow(m_current->members, {line.function})) {
      Close(Begin(line, {line.function}, false), line, Outcome::kNotOpened);
    }
    Leave();
  }

  void End(const LogLine& line, Outcome end) {
    Close(Continue(line, {line.function}), line, end);
    Leave();
  }

  void Busy(const LogLine& line) {
    Operation& operation = Continue(line);
    if (line.code == "1" || m_busyFile != line.file) {
      m_busyLines = 0;
    }
    m_busyFile = line.file;
    ++m_busyLines;
    ++operation.waits;
  }

  // Follows fifteen waits, also where their lines are missing.
  void Limit(const LogLine& line) {
    constexpr int kWaitsOfLimit = 15;
    Operation& operation = Continue(line);
    const int seen = m_busyFile == line.file ? m_busyLines : 0;
    operation.waits += std::max(0, kWaitsOfLimit - seen);
    m_busyLines = 0;
    ++operation.limits;
    operation.stepLimits += line.file == kParser ? 1 : 0;
  }

  void ReadFailed(const LogLine& line) {
    LeaveIfNamed(line);
    auto& failures = m_last != nullptr ? m_last->readFailures : m_history.earlyReadFailures;
    ++failures[line.function + ": " + (line.unreadable ? "an unreadable line" : line.text)];
    if (m_current->end) {
      Report();
    }
  }

  void Unreadable(const LogLine& line) {
    if (line.function == "IsRetryLimit") {
      ++Continue(line).busyUnreadable;
    } else if (line.file == kParser) {
      ++Continue(line).stepUnreadable;
    } else if (IsOpenMember(line)) {
      UnreadableOpen(line);
    } else if (IsOperation(line)) {
      UnreadableOperation(line);
    }
  }

  // Its entry; or its end, if the file has been opened since.
  void UnreadableOperation(const LogLine& line) {
    Members members = m_current->members;
    const bool mayEnd = members.empty() || line.number != m_entry;
    if (!m_current->end && m_isOpened && mayEnd && Narrow(members, {line.function})) {
      End(line, Outcome::kUnreadable);
    } else {
      Begin(line, {line.function}, true);
    }
  }

  // The line that names the file comes first; a later one from another line of the source
  // is the failure. Without a priority entries look the same.
  void UnreadableOpen(const LogLine& line) {
    const bool isNew = m_opens.insert(line.number).second;
    if (m_current->end || (m_isOpened && !(isNew && m_current->file))) {
      Begin(line, {}, true);
      m_opens.insert(line.number);
    } else if (m_isOpened && line.prefix.priority == 'E') {
      m_current->end = Outcome::kNotOpened;
    }
    m_isOpened = true;
    m_current->file = m_current->file.value_or("an unreadable file");
  }

  LogHistory& m_history;
  const Listener& m_listener;
  Operation m_none;                   // the current operation while there is none: it has ended
  std::unique_ptr<Operation> m_kept;  // the last one, if the history keeps none
  Operation* m_current = &m_none;
  Operation* m_last = nullptr;
  bool m_isNew = true;            // no record has shown a beginning or an end
  bool m_isOpened = false;        // the current operation has begun to open its file
  std::string m_entry;            // the line number of the current operation's first record
  std::string m_busyFile;         // of the last busy line
  int m_busyLines = 0;            // of the loop that goes on
  std::set<std::string> m_opens;  // the line numbers of the current operation's OpenDB
};

// Reads a line, without its end. The rest of an endless one is left out, so that a file
// that is no log does not fill the memory.
bool ReadLine(std::istream& log, std::string& line) {
  constexpr std::size_t kLimit = 65536;
  line.clear();
  for (char next = '\0'; log.get(next) && next != '\n';) {
    if (line.size() < kLimit) {
      line += next;
    }
  }
  const bool isLine = log || !line.empty();
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return isLine;
}

// SQLite quotes the parts of a statement in its texts.
bool HasOpenQuote(const std::string& text) {
  return std::count(text.begin(), text.end(), '"') % 2 != 0;
}

// The line's text is from SQLite and goes on in the next line.
bool IsOpen(const LogLine& line) {
  return (line.event == LogEvent::kFailed || line.event == LogEvent::kOpenFailed ||
          line.event == LogEvent::kStepFailed) &&
         HasOpenQuote(line.text);
}

// The first record of a log may lack the beginning of its prefix.
void Mend(LogPrefix& torn, const LogPrefix& next) {
  for (std::string LogPrefix::*part : {&LogPrefix::process, &LogPrefix::thread}) {
    const std::string& whole = next.*part;
    const std::size_t size = (torn.*part).size();
    if (size < whole.size() && torn.*part == whole.substr(whole.size() - size)) {
      torn.*part = whole;
    }
  }
  if (FormOfTime(torn.time) != FormOfTime(next.time)) {
    torn.time.clear();
  }
}

// Sorts lines into the library's and others.
class Explanation {
 public:
  Explanation(const std::string& since, const Listener& listener)
      : m_since(since), m_listener(listener) {}

  void Add(const std::string& text) {
    m_isReached = m_isReached || m_since.empty() || IsReached(text);
    if (!m_isReached) {
      return;
    }
    std::optional<LogLine> line = ParseLogLine(text);
    if (m_open && !line && MayGoOn(text)) {
      return;
    }
    CommitOpen();
    if (!line || !SetMeaning(*line)) {
      ++m_history.foreign;
    } else if (m_open = line; !IsOpen(*line)) {
      CommitOpen();
    }
  }

  LogHistory Finish() {
    CommitOpen();
    AddRecords();
    FailIf(!m_since.empty() && !m_hasTime, "the log has no times of the form of " + m_since);
    for (auto* threads : {&m_oldThreads, &m_threads}) {
      for (auto& [name, thread] : *threads) {
        thread.Report();
      }
    }
    return std::move(m_history);
  }

 private:
  // Once a line is of that time, all later ones count: a clock may be set back.
  bool IsReached(const std::string& text) {
    const std::optional<bool> isSince = IsSince(ParseLogPrefix(text).time, m_since);
    m_hasTime = m_hasTime || isSince;
    return isSince.value_or(false);
  }

  // A statement may contain line ends; its line of the log then goes on in the next ones,
  // as one with the other end of the quote shows.
  bool MayGoOn(const std::string& text) {
    constexpr std::size_t kMost = 100;
    if (m_held == kMost || ParseLogPrefix(text).priority != '\0') {
      return false;
    }
    ++m_held;
    m_rest += '\n' + text;
    if (HasOpenQuote(text)) {
      m_open->text += m_rest;
      m_history.continued += std::exchange(m_held, 0);
      CommitOpen();
    }
    return true;
  }

  void CommitOpen() {
    if (m_open) {
      m_history.foreign += std::exchange(m_held, 0);
      // The first record waits for the next one.
      m_pending.push_back(*m_open);
      if (m_history.own > 0 || m_pending.size() > 1) {
        Mend(m_pending.front().prefix, m_open->prefix);
        AddRecords();
      }
    }
    m_open.reset();
    m_rest.clear();
  }

  void AddRecords() {
    for (const LogLine& line : std::exchange(m_pending, {})) {
      AddRecord(line);
    }
  }

  void AddRecord(const LogLine& line) {
    const auto& [time, process, name, priority] = line.prefix;
    ++m_history.own;
    m_history.unreadable += line.unreadable ? 1 : 0;
    m_history.lacksThreads = m_history.lacksThreads || name.empty();
    if (line.event == LogEvent::kEntered || line.event == LogEvent::kSucceeded ||
        line.event == LogEvent::kSelectNotOpened || line.event == LogEvent::kMoved) {
      m_history.successes.insert(process);
    }
    ThreadOf(process + ' ' + name).Add(line);
  }

  // A log without an end may have any number of threads: those of long ago are forgotten.
  LogThread& ThreadOf(const std::string& name) {
    constexpr std::size_t kMost = 1000;
    if (m_listener && m_threads.size() == kMost) {
      for (auto& [old, thread] : m_oldThreads) {
        thread.Report();
      }
      m_oldThreads.clear();
      m_oldThreads.swap(m_threads);
    }
    m_threads.insert(m_oldThreads.extract(name));
    return m_threads.try_emplace(name, m_history, m_listener).first->second;
  }

  const std::string& m_since;
  const Listener& m_listener;
  bool m_isReached = false;  // the time
  bool m_hasTime = false;    // of the form of that time
  LogHistory m_history;
  std::map<std::string, LogThread> m_threads;
  std::map<std::string, LogThread> m_oldThreads;
  std::vector<LogLine> m_pending;
  std::optional<LogLine> m_open;
  // Lines that may belong to the open one, and their texts.
  std::size_t m_held = 0;
  std::string m_rest;
};

}  // namespace

LogHistory ReadHistory(std::istream& log, const std::string& since, const Listener& listener) {
  Explanation explanation(since, listener);
  for (std::string line; ReadLine(log, line);) {
    explanation.Add(line);
  }
  return explanation.Finish();
}

Outcome OutcomeOf(const LogHistory& history, const Operation& operation) {
  if (operation.end) {
    return *operation.end;
  }
  if (operation.members.empty()) {
    return history.successes.count(operation.prefix.process) != 0 ? Outcome::kNoSuccess
                                                                  : Outcome::kNoFailure;
  }
  if (operation.members == Members{kOpenMember}) {
    return operation.file ? Outcome::kOpened : Outcome::kNoEnd;
  }
  Members members = operation.members;
  if (!Narrow(members, Queries()) || (!operation.stepped && !operation.file)) {
    return Outcome::kNoEnd;
  }
  return operation.stepped || operation.leftBehind ? Outcome::kPrepared : Outcome::kNothingYet;
}

}  // namespace vorndb
