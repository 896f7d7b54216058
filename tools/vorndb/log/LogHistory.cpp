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
constexpr char kExistMember[] = "CheckExistTable";

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
Members WritersOf(const LogLine& line) {
  if (line.function == "IsRetryLimit" || line.function == kOpenMember) {
    return line.file == kParser ? Queries() : Members();
  }
  if (line.function == "ParseDatabase") {
    return {"Select", "JoinSelect"};
  }
  return {line.function == "ParseExistTable" ? kExistMember : line.function};
}

// The members that are possible by both; nothing where there are none.
std::optional<Members> Common(const Members& some, const Members& others) {
  if (some.empty() || others.empty()) {
    return some.empty() ? others : some;
  }
  Members common;
  for (const std::string& member : some) {
    if (std::count(others.begin(), others.end(), member) != 0) {
      common.push_back(member);
    }
  }
  return common.empty() ? std::nullopt : std::make_optional(common);
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
        return End(line, Outcome::kNotOpened);
      case LogEvent::kSucceeded:
        return End(line, Outcome::kSucceeded);
      case LogEvent::kFailed:
        return End(line, Outcome::kFailed);
      case LogEvent::kBusy:
        ++Take(line).waits;
        return;
      case LogEvent::kBusyLimit:
        return MeetLimit(line);
      case LogEvent::kStepFailed:
      case LogEvent::kExistStepFailed:
        Take(line).stepFailures.push_back(line.text);
        return;
      case LogEvent::kUnknownType:
        ++Take(line).blobs;
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
    if (m_last.position > 0) {
      m_history.listener(m_last);
    }
  }

 private:
  // The possible members of the last operation if the record is one of its own.
  std::optional<Members> MembersWith(const LogLine& line, Step step) const {
    // A select that could not open its file has a second record of that.
    const bool runs = !m_last.leftBehind || (line.event == LogEvent::kSelectNotOpened &&
                                             m_last.end == Outcome::kNotOpened);
    if (m_last.position == 0 || !runs || (step <= m_step && step != Step::kInside)) {
      return std::nullopt;
    }
    // The application may fetch rows itself from a file that it has opened itself.
    const bool own = m_last.members == Members{kOpenMember} && line.file == kParser;
    return Common(m_last.members, own ? Members() : WritersOf(line));
  }

  // The operation of the record: the running one, or a new one.
  Operation& Take(const LogLine& line, Step step = Step::kInside) {
    if (const std::optional<Members> members = MembersWith(line, step)) {
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
    const bool isNew = m_last.position == 0 && !m_last.leftBehind;
    Leave();
    const bool opens = step == Step::kOpenEntry;
    m_last = Operation();
    m_last.position = ++m_history.operations;
    m_last.prefix = line.prefix;
    m_last.members = opens && !isNew ? Members{kOpenMember} : WritersOf(line);
    m_last.begun = step != Step::kInside && !(opens && isNew);
    m_sites.clear();
  }

  void Leave() {
    m_last.leftBehind = true;
    Report();
  }

  // For a line outside of operations. Without names it may be another thread's.
  void LeaveIfNamed(const LogLine& line) {
    if (m_last.position == 0 || !line.prefix.thread.empty()) {
      Leave();
    }
  }

  void End(const LogLine& line, Outcome end) {
    Operation& operation = Take(line);
    if (!operation.end) {
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
      m_last.members = {CallerOf(line)};
      m_last.begun = false;
    }
  }

  // The limit follows fifteen waits, also where their lines are missing.
  void MeetLimit(const LogLine& line) {
    constexpr int kWaitsOfLimit = 15;
    Operation& operation = Take(line);
    ++operation.limits;
    operation.stepLimits += line.file == kParser ? 1 : 0;
    operation.waits = std::max(operation.waits, operation.limits * kWaitsOfLimit);
  }

  void ReadFailed(const LogLine& line) {
    LeaveIfNamed(line);
    auto& failures = m_last.position > 0 ? m_last.readFailures : m_history.earlyReadFailures;
    ++failures[line.function + ": " + (line.unreadable ? "an unreadable line" : line.message)];
    if (m_last.leftBehind) {
      Report();
    }
  }

  void Unreadable(const LogLine& line) {
    if (line.function == "IsRetryLimit") {
      ++Take(line).busyUnreadable;
    } else if (line.file == kParser) {
      ++Take(line).stepUnreadable;
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
      End(line, opens ? Outcome::kNotOpened : Outcome::kUnreadable);
    } else {
      Take(line);
    }
  }

  LogHistory& m_history;
  Operation m_last;               // without a position before the first one
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
  const bool isComparable = !first && FormOf(part).rfind(FormOf(since), 0) == 0;
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
      ++m_history.foreign;
      m_isOpen = m_isOpen && !line && ParseLogPrefix(text).priority == '\0' && MayGoOn(text);
    }
    // The first record waits for the next one, and an open one for the rest of its text.
    if (!m_isOpen && !m_threads.empty()) {
      AddWaiting();
    }
  }

  void Finish() {
    AddWaiting();
    for (auto& [name, thread] : m_threads) {
      thread.Report();
    }
  }

 private:
  // A statement may contain line ends; its line of the log then goes on in the next ones,
  // as one with the other end of the quote shows.
  bool MayGoOn(const std::string& text) {
    constexpr std::size_t kMost = 100;
    m_rest.push_back('\n' + text);
    if (!HasOpenQuote(text)) {
      return m_rest.size() < kMost;
    }
    for (const std::string& rest : m_rest) {
      m_waiting->text += rest;
    }
    m_history.continued += m_rest.size();
    m_history.foreign -= m_rest.size();
    return false;
  }

  void AddWaiting() {
    if (m_waiting) {
      AddRecord(*m_waiting);
    }
    m_waiting.reset();
  }

  void AddRecord(const LogLine& line) {
    const auto& [time, process, name, priority] = line.prefix;
    ++m_history.own;
    m_history.unreadable += line.unreadable ? 1 : 0;
    m_history.lacksThreads = m_history.lacksThreads || name.empty();
    if (priority == LetterOf(kDebug) || priority == LetterOf(kInfo)) {
      m_history.successes.insert(process);
    }
    m_threads.try_emplace(process + ' ' + name, m_history).first->second.Add(line);
  }

  LogHistory& m_history;
  std::map<std::string, LogThread> m_threads;
  std::optional<LogLine> m_waiting;  // the last record, not yet added
  bool m_isOpen = false;             // it may go on
  std::vector<std::string> m_rest;   // lines that may belong to it
};

}  // namespace

const Members& Queries() {
  static const Members queries = {"Select", "JoinSelect", kExistMember};
  return queries;
}

void ReadHistory(std::istream& log, const std::string& since, LogHistory& history) {
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
  FailIf(!hasTime, "the log has no times of the form of " + since);
  reader.Finish();
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
  if (!Common(operation.members, Queries()) || (!operation.stepped && !operation.file)) {
    return Outcome::kNoEnd;
  }
  return operation.stepped || operation.leftBehind ? Outcome::kPrepared : Outcome::kNothingYet;
}

}  // namespace vorndb
