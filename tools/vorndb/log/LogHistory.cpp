#include "log/LogHistory.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "Errors.h"
#include "Result.h"
#include "Terminal.h"

namespace vorndb {

namespace {

constexpr std::string_view kDatabase = "Database.cpp";
constexpr std::string_view kParser = "DatabasePasrser.cpp";
constexpr char kOpenMember[] = "OpenDB";

// The steps of an operation. A record of one that is not later begins the next operation.
enum class Step { kEntry, kOpenEntry, kOpening, kInside };

bool IsOperation(const LogLine& line) {
  return line.file == kDatabase && line.function != "Database" && line.function != "~Database";
}

// The member that calls a getter of its request; nothing for another line.
std::string CallerOf(const LogLine& line) {
  const std::size_t end = line.file.find("Request");
  if (end == std::string::npos || line.function.rfind("Get", 0) != 0) {
    return "";
  }
  const std::string name = line.file.substr(0, end);
  const bool ofTable = name == "Create" || name == "Drop";
  return name + (name == "Join" ? "Select" : ofTable ? "Table" : "");
}

// The members that can write a record.
std::string WritersOf(const LogLine& line) {
  if (line.function == "IsRetryLimit" || line.function == kOpenMember) {
    return line.file == kParser ? kQueries : "";
  }
  if (line.function == "ParseDatabase") {
    return "Select or JoinSelect";
  }
  return line.function == "ParseExistTable" ? "CheckExistTable" : line.function;
}

bool AreAmong(const std::string& part, const std::string& members) {
  return members.empty() || (' ' + members + ' ').find(' ' + part + ' ') != std::string::npos;
}

// The members that are possible by both; nothing where there are none.
std::optional<std::string> Common(const std::string& some, const std::string& others) {
  if (AreAmong(some, others)) {
    return some;
  }
  return AreAmong(others, some) ? std::make_optional(others) : std::nullopt;
}

// Directory and name are logged with a space between them. With a single space the path is
// clear, and joined as the library does.
std::string PathOf(const std::string& logged) {
  if (std::count(logged.begin(), logged.end(), ' ') != 1 || logged == " ") {
    return '"' + Printable(logged) + '"';
  }
  const std::size_t space = logged.find(' ');
  const std::string directory = logged.substr(0, space);
  const bool needsSlash = !directory.empty() && directory.back() != '/';
  return Printable(directory + (needsSlash ? "/" : "") + logged.substr(space + 1));
}

// The operations of one thread, in which they never overlap. Without the names of threads
// this is a whole process.
class LogThread {
 public:
  explicit LogThread(LogHistory& history) : m_history(history) {}

  void Add(const LogLine& line) {
    switch (line.event) {
      case LogEvent::kEntered:
        return Enter(line);
      case LogEvent::kOpening:
        Take(line, Step::kOpening).file = PathOf(line.text);
        return;
      case LogEvent::kOpenFailed:
      case LogEvent::kSelectNotOpened:
        return End(line, kEndNotOpened);
      case LogEvent::kSucceeded:
        return End(line, "succeeded");
      case LogEvent::kFailed:
        return End(line, kEndFailed);
      case LogEvent::kBusy:
        ++Take(line).waits;
        return;
      case LogEvent::kBusyLimit:
        return MeetLimit(line);
      case LogEvent::kStepFailed:
        ++Take(line).faults["fetching rows failed: " + line.text + "; the cursor may lack rows"];
        return;
      case LogEvent::kExistStepFailed:
        ++Take(line).faults["fetching rows failed; the answer may be wrong"];
        return;
      case LogEvent::kUnknownType:
        ++Take(line).faults["a cell is a blob and empty in the cursor"];
        return;
      case LogEvent::kReadFailed:
        return ReadFailed(line);
      case LogEvent::kLockUnnamed:
        ++m_history.counts["locks that could not be named"];
        return;
      case LogEvent::kUnreadable:
        return Unreadable(line);
      default:  // a cursor is at one of its ends
        return LeaveIfNamed(line);
    }
  }

  void Report() {
    if (m_last.number > 0) {
      m_history.listener(m_last);
    }
  }

 private:
  // The possible members of the last operation if the record is one of its own.
  std::optional<std::string> MembersWith(const LogLine& line, Step step) const {
    // A select that could not open its file has a second record of that.
    const bool runs = !m_last.leftBehind ||
                      (line.event == LogEvent::kSelectNotOpened && m_last.end == kEndNotOpened);
    if (m_last.number == 0 || !runs || (step <= m_step && step != Step::kInside)) {
      return std::nullopt;
    }
    // The application may fetch rows itself from a file that it has opened itself.
    const bool own = m_last.members == kOpenMember && line.file == kParser;
    return Common(m_last.members, own ? "" : WritersOf(line));
  }

  // The operation of the record: the running one, or a new one.
  Operation& Take(const LogLine& line, Step step = Step::kInside) {
    if (const std::optional<std::string> members = MembersWith(line, step)) {
      m_last.members = *members;
    } else {
      Begin(line, step);
    }
    m_step = step;
    m_sites.insert(line.file + line.number);
    m_last.stepped = m_last.stepped || line.file == kParser;
    return m_last;
  }

  void Begin(const LogLine& line, Step step) {
    // A thread's first records may lack the member that opens the file.
    const bool isNew = m_last.number == 0 && !m_last.leftBehind;
    Leave();
    const bool opens = step == Step::kOpenEntry;
    m_last = Operation();
    m_last.number = ++m_history.operations;
    m_last.prefix = line.prefix;
    m_last.members = opens && !isNew ? kOpenMember : WritersOf(line);
    m_last.begun = step != Step::kInside && !(opens && isNew);
    m_sites.clear();
  }

  void Leave() {
    m_last.leftBehind = true;
    Report();
  }

  // For a line outside of operations. Without names it may be another thread's.
  void LeaveIfNamed(const LogLine& line) {
    if (m_last.number == 0 || !line.prefix.thread.empty()) {
      Leave();
    }
  }

  void End(const LogLine& line, const std::string& end) {
    Operation& operation = Take(line);
    if (operation.end.empty()) {
      operation.end = end;
      operation.code = line.code;
      operation.text = line.text;
    }
    Leave();
  }

  void Enter(const LogLine& line) {
    if (IsOperation(line)) {
      Take(line, line.function == kOpenMember ? Step::kOpenEntry : Step::kEntry);
    } else if (CallerOf(line).empty()) {
      LeaveIfNamed(line);
    } else if (!m_last.leftBehind && m_last.members.empty()) {
      // Entries are in the log, but not that of the member.
      m_last.members = CallerOf(line);
      m_last.begun = false;
    }
  }

  // The limit follows fifteen waits, also where their lines are missing.
  void MeetLimit(const LogLine& line) {
    constexpr int kWaitsOfLimit = 15;
    Operation& operation = Take(line);
    ++operation.limits;
    operation.waits = std::max(operation.waits, operation.limits * kWaitsOfLimit);
    if (line.file == kParser) {
      ++operation.faults["the limit was met while fetching rows; the result may be wrong"];
    }
  }

  void ReadFailed(const LogLine& line) {
    LeaveIfNamed(line);
    const bool isEarly = m_last.number == 0;
    const std::string when = isEarly ? "before the first operation of a thread" : "then";
    Counts& counts = isEarly ? m_history.counts : m_last.faults;
    ++counts[when + ", reading a cursor: " + line.function + ": " +
             (line.unreadable ? "an unreadable line" : line.message)];
    if (m_last.leftBehind) {
      Report();
    }
  }

  void Unreadable(const LogLine& line) {
    if (line.function == "IsRetryLimit" || line.file == kParser) {
      ++Take(line).faults["a wait, a failure or a blob: unreadable line of " + line.function];
    } else if (IsOperation(line)) {
      UnreadableStep(line);
    }
  }

  // Its entry, or the line that names the file, comes first. Each line of the source is run once
  // in an operation: another one is of its end. Without a priority entries of OpenDB look the same.
  void UnreadableStep(const LogLine& line) {
    const bool opens = line.function == kOpenMember;
    const bool isLater = m_step >= Step::kOpening && m_sites.count(line.file + line.number) == 0 &&
                         MembersWith(line, Step::kInside) && (m_last.file || !opens);
    if (!isLater && opens) {
      Take(line, Step::kOpening).file = "an unreadable file";
    } else if (!isLater) {
      Take(line, Step::kEntry);
    } else if (!opens || line.prefix.priority == LetterOf(kError)) {
      End(line, opens ? kEndNotOpened : "ended with an unreadable outcome");
    } else {
      Take(line);
    }
  }

  LogHistory& m_history;
  Operation m_last;               // without a number before the first one
  Step m_step = Step::kEntry;     // of its last record
  std::set<std::string> m_sites;  // of its records, by file and number
};

// Leaves out the rest of an endless line, so that a file that is no log does not fill the memory.
bool ReadLine(std::istream& log, std::string& line) {
  constexpr std::size_t kLimit = 65536;
  line.clear();
  for (char next = '\0'; log.get(next) && next != '\n';) {
    if (line.size() < kLimit) {
      line += next;
    }
  }
  return log || !line.empty();
}

// The same for all times of one form.
std::string FormOf(std::string time) {
  std::replace_if(
      time.begin(), time.end(), [](char next) { return next >= '0' && next <= '9'; }, '0');
  return time;
}

// Whether the time of a record is that or a later one; nothing if it is of another form.
std::optional<bool> IsSince(const std::string& time, const std::string& since) {
  // Of seconds since boot the number of digits grows.
  const std::optional<Number> seconds = NumberIn(time);
  const std::optional<Number> first = NumberIn(since);
  if (seconds && first) {
    return seconds >= first;
  }
  const bool isOfAnyDay = since.find('-') == std::string::npos;
  const std::string part = isOfAnyDay ? time.substr(time.find(' ') + 1) : time;
  const std::string form = FormOf(part) + ' ';
  const bool isComparable =
      !first && form.rfind(FormOf(since), 0) == 0 && form[since.size()] != '0';
  return isComparable ? std::make_optional(part >= since) : std::nullopt;
}

// SQLite quotes the parts of a statement in its texts.
bool HasOpenQuote(const std::string& text) {
  return std::count(text.begin(), text.end(), '"') % 2 != 0;
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
  if (FormOf(torn.time) != FormOf(next.time)) {
    torn.time.clear();
  }
}

// Sorts lines into the library's and others.
class LogReader {
 public:
  explicit LogReader(LogHistory& history) : m_history(history) {}

  void Add(const std::string& text) {
    std::optional<LogLine> line = ParseLogLine(text);
    if (line && SetMeaning(*line)) {
      if (m_waiting && m_threads.empty()) {
        Mend(m_waiting->prefix, line->prefix);
      }
      AddWaiting();
      // All texts but paths are SQLite's.
      m_isOpen = line->event != LogEvent::kOpening && HasOpenQuote(line->text);
      m_rest.clear();
      m_waiting = std::move(line);
    } else {
      ++m_history.counts["lines of others"];
      m_isOpen = m_isOpen && !line && ParseLogPrefix(text).priority == '\0' && MayGoOn(text);
    }
    // The first record waits for the next one, and an open one for the rest of its text.
    if (!m_isOpen && !m_threads.empty()) {
      AddWaiting();
    }
  }

  // False if there was no record.
  bool Finish() {
    AddWaiting();
    for (auto& [name, thread] : m_threads) {
      thread.Report();
    }
    return !m_threads.empty();
  }

 private:
  // A statement may contain line ends; its line of the log then goes on in the next ones,
  // as one with the other end of the quote shows.
  bool MayGoOn(const std::string& text) {
    constexpr std::size_t kMost = 100;
    m_rest += '\n' + text;
    const auto lines = static_cast<std::size_t>(std::count(m_rest.begin(), m_rest.end(), '\n'));
    if (!HasOpenQuote(text)) {
      return lines < kMost;
    }
    m_waiting->text += m_rest;
    m_history.counts["lines of others that continue a text"] += lines;
    return false;
  }

  void AddWaiting() {
    if (m_waiting) {
      AddRecord(*m_waiting);
    }
    m_waiting.reset();
  }

  void AddRecord(const LogLine& line) {
    ++m_history.counts["lines of the library"];
    if (line.unreadable) {
      ++m_history.counts["lines of the library that are unreadable"];
      m_history.notes.insert(
          "unreadable: protected or damaged; only call site and priority show the meaning.");
    }
    if (line.prefix.thread.empty()) {
      m_history.notes.insert(
          "The log names no threads: operations of a process that overlap are mixed up.");
    }
    const std::string name = line.prefix.process + ' ' + line.prefix.thread;
    m_threads.try_emplace(name, m_history).first->second.Add(line);
  }

  LogHistory& m_history;
  std::map<std::string, LogThread> m_threads;
  std::optional<LogLine> m_waiting;  // the last record, not yet added
  bool m_isOpen = false;             // it may go on
  std::string m_rest;                // lines that may belong to it
};

}  // namespace

bool ReadHistory(std::istream& log, const std::string& since, LogHistory& history) {
  LogReader reader(history);
  bool isReached = since.empty();
  bool hasTime = isReached;  // of the form of `since`
  for (std::string line; ReadLine(log, line);) {
    // Once a line is of that time, all later ones count: a clock may be set back.
    if (!isReached) {
      const std::optional<bool> isSince = IsSince(ParseLogPrefix(line).time, since);
      hasTime = hasTime || isSince;
      isReached = isSince.value_or(false);
    }
    if (isReached) {
      reader.Add(line.substr(0, line.size() - (!line.empty() && line.back() == '\r' ? 1 : 0)));
    }
  }
  FailIf(!hasTime && !log.bad(), "the log has no times of the form of " + since);
  return reader.Finish();
}

Outcome OutcomeOf(const Operation& operation) {
  if (!operation.end.empty()) {
    return {operation.end, ""};
  }
  if (operation.members == kOpenMember && operation.file) {
    return {"opened", "the application called OpenDB itself, which logs nothing when it succeeds"};
  }
  const bool isOpened = operation.stepped || operation.file;
  if (!operation.members.empty() && !(AreAmong(operation.members, kQueries) && isOpened)) {
    return {"no end in the log",
            "an exception ended it, its process ended or was still running it, or lines are"
            " missing"};
  }
  if (operation.stepped || (operation.leftBehind && !operation.members.empty())) {
    return {"prepared",
            "a query logs nothing when it succeeds; its statement was prepared, unless an"
            " exception ended it first"};
  }
  return {"no failure in the log",
          "it is a query that was prepared or was still running, OpenDB alone, or a write whose"
          " end (priority 4) is not in the log"};
}

}  // namespace vorndb
