#include "log/LogHistory.h"

#include <string_view>

namespace vorndb {

const char* const kSomeQuery = "a query";
const char* const kSelectOrJoin = "Select or JoinSelect";

bool IsQuery(const std::string& kind) {
  return kind == "Select" || kind == "JoinSelect" || kind == "CheckExistTable" ||
         kind == kSelectOrJoin || kind == kSomeQuery;
}

namespace {

constexpr std::string_view kDatabase = "Database.cpp";
constexpr std::string_view kParser = "DatabasePasrser.cpp";
constexpr std::string_view kCursor = "Cursor.cpp";
constexpr std::string_view kOpenMember = "OpenDB";

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

// What an operation asks its request for while it runs.
bool IsGetter(const LogLine& line) {
  return line.file != kDatabase && line.file != kCursor && StartsWith(line.function, "Get");
}

// What a line of the parser tells of the query that it serves.
std::string QueryOf(const LogLine& line) {
  if (line.function == "ParseDatabase") {
    return kSelectOrJoin;
  }
  return line.function == "ParseExistTable" ? "CheckExistTable" : kSomeQuery;
}

// Whether an operation of the one kind may turn out to be of the other.
bool MayBe(const std::string& kind, const std::string& other) {
  if (kind.empty() || kind == other) {
    return true;
  }
  if (kind == kSomeQuery || other == kSomeQuery) {
    return IsQuery(kind) && IsQuery(other);
  }
  const auto isSelect = [](const std::string& one) {
    return one == "Select" || one == "JoinSelect";
  };
  return (kind == kSelectOrJoin && isSelect(other)) || (other == kSelectOrJoin && isSelect(kind));
}

// Keeps the kind that tells more.
void Refine(std::string& kind, const std::string& other) {
  if (kind.empty() || kind == kSomeQuery || (kind == kSelectOrJoin && other != kSomeQuery)) {
    kind = other;
  }
}

bool HasFile(const Operation& operation) {
  return operation.fileState != Operation::File::kNotNamed;
}

}  // namespace

// --- The operation that a thread is in ------------------------------------------------

Operation& LogHistory::Begin(Thread& thread, const LogLine& line, const std::string& kind,
                             bool begun) {
  Leave(thread);
  Operation operation;
  operation.prefix = line.prefix;
  operation.kind = kind;
  operation.begun = begun;
  thread.current = m_operations.size();
  thread.last = thread.current;
  thread.entry = line.number;
  thread.busyLines = 0;
  thread.opens.clear();
  m_operations.push_back(operation);
  return m_operations.back();
}

Operation* LogHistory::Current(const Thread& thread) {
  return thread.current ? &m_operations[*thread.current] : nullptr;
}

bool LogHistory::IsOpen(const Operation* operation) {
  return operation != nullptr && operation->end == Operation::End::kNone;
}

void LogHistory::Leave(Thread& thread) {
  if (Operation* const operation = Current(thread)) {
    operation->leftBehind = true;
  }
  thread.current.reset();
}

// For a line outside of operations. Without threads it may be another thread's.
void LogHistory::LeaveFor(Thread& thread, const LogLine& line) {
  if (NamesThread(line)) {
    Leave(thread);
  }
}

// The operation that a line inside of one belongs to.
Operation& LogHistory::Continue(Thread& thread, const LogLine& line) {
  Operation* const operation = Current(thread);
  return IsOpen(operation) ? *operation : Begin(thread, line, "", false);
}

Operation& LogHistory::ContinueQuery(Thread& thread, const LogLine& line) {
  const std::string kind = QueryOf(line);
  Operation* operation = Current(thread);
  // Whoever opens a file by hand may fetch rows from it by hand.
  const bool belongs =
      IsOpen(operation) && (MayBe(operation->kind, kind) || operation->kind == kOpenMember);
  if (!belongs) {
    operation = &Begin(thread, line, kind, false);
  }
  if (operation->kind != kOpenMember) {
    Refine(operation->kind, kind);
  }
  operation->stepped = true;
  return *operation;
}

// The one that a line of the busy rule belongs to.
Operation& LogHistory::ContinueAt(Thread& thread, const LogLine& line) {
  return line.file == kParser ? ContinueQuery(thread, line) : Continue(thread, line);
}

// --- Lines ------------------------------------------------------------------------------

void LogHistory::Enter(Thread& thread, const LogLine& line) {
  if (line.file == kDatabase && line.function == kOpenMember) {
    EnterOpen(thread, line);
  } else if (line.file == kDatabase && line.function != "Database" &&
             line.function != "~Database") {
    Begin(thread, line, line.function, true);
  } else if (!IsGetter(line)) {
    LeaveFor(thread, line);
  }
}

// On behalf of the operation that goes on, unless that has come here before.
void LogHistory::EnterOpen(Thread& thread, const LogLine& line) {
  Operation* const operation = Current(thread);
  const bool belongs = IsOpen(operation) && !HasFile(*operation) && thread.opens.empty();
  if (!belongs) {
    Begin(thread, line, std::string(kOpenMember), true);
  }
  thread.opens.insert(line.number);
}

void LogHistory::Opening(Thread& thread, const LogLine& line, const LogMeaning& meaning) {
  Operation* operation = Current(thread);
  if (!IsOpen(operation) || HasFile(*operation)) {
    operation = &Begin(thread, line, "", true);
  }
  thread.opens.insert(line.number);
  operation->fileState = Operation::File::kNamed;
  operation->file = meaning.text;
}

void LogHistory::OpenFailed(Thread& thread, const LogLine& line, const LogMeaning& meaning) {
  Operation& operation = Continue(thread, line);
  operation.end = Operation::End::kNotOpened;
  operation.code = meaning.code;
  operation.text = meaning.text;
}

// Follows the line about the open itself.
void LogHistory::SelectFailed(Thread& thread, const LogLine& line, const LogMeaning& meaning) {
  Operation* operation = Current(thread);
  if (operation == nullptr || operation->end != Operation::End::kNotOpened ||
      !MayBe(operation->kind, line.function)) {
    operation = &Begin(thread, line, line.function, false);
    operation->end = Operation::End::kNotOpened;
    operation->code = meaning.code;
  }
  operation->kind = line.function;
  Leave(thread);
}

void LogHistory::End(Thread& thread, const LogLine& line, const LogMeaning& meaning,
                     Operation::End end) {
  Operation* operation = Current(thread);
  if (!IsOpen(operation) || !MayBe(operation->kind, line.function)) {
    operation = &Begin(thread, line, line.function, false);
  }
  operation->kind = line.function;
  operation->end = end;
  operation->code = meaning.code;
  operation->text = meaning.text;
  Leave(thread);
}

void LogHistory::Busy(Thread& thread, const LogLine& line, const LogMeaning& meaning) {
  Operation& operation = ContinueAt(thread, line);
  if (meaning.code == "1" || thread.busyPlace != line.file) {
    thread.busyLines = 0;
  }
  thread.busyPlace = line.file;
  ++thread.busyLines;
  ++operation.waits;
}

// Comes after fifteen waits, also where their lines are missing.
void LogHistory::Limit(Thread& thread, const LogLine& line) {
  constexpr int kWaitsOfLimit = 15;
  Operation& operation = ContinueAt(thread, line);
  if (thread.busyPlace != line.file) {
    thread.busyLines = 0;
  }
  if (thread.busyLines < kWaitsOfLimit) {
    operation.waits += kWaitsOfLimit - thread.busyLines;
  }
  thread.busyLines = 0;
  ++operation.limits;
  operation.stepLimits += line.file == kParser ? 1 : 0;
}

void LogHistory::ReadFailed(Thread& thread, const LogLine& line, const LogMeaning& meaning) {
  LeaveFor(thread, line);
  std::map<std::string, int>& failures =
      thread.last ? m_operations[*thread.last].readFailures : m_earlyReadFailures;
  ++failures[line.function + ": " + (meaning.unreadable ? "an unreadable line" : meaning.text)];
}

// --- Lines whose message and place together do not tell what they mean ------------------

void LogHistory::Unreadable(Thread& thread, const LogLine& line) {
  if (line.function == "IsRetryLimit") {
    ++ContinueAt(thread, line).busyUnreadable;
  } else if (line.file == kParser) {
    ++ContinueQuery(thread, line).stepUnreadable;
  } else if (line.file == kDatabase && line.function == kOpenMember) {
    UnreadableOpen(thread, line);
  } else if (line.file == kDatabase && line.function != "Database" &&
             line.function != "~Database") {
    // Its entry; or its end, when the file has been opened since.
    const Operation* const operation = Current(thread);
    if (IsOpen(operation) && HasFile(*operation) && MayBe(operation->kind, line.function) &&
        (operation->kind.empty() || line.number != thread.entry)) {
      End(thread, line, {}, Operation::End::kUnreadable);
    } else {
      Begin(thread, line, line.function, true);
    }
  }
}

// The line that names the file comes first; a later one from another place in the member
// tells that the open failed. Without a priority entries look the same.
void LogHistory::UnreadableOpen(Thread& thread, const LogLine& line) {
  Operation* operation = Current(thread);
  const bool isNew = thread.opens.insert(line.number).second;
  if (!IsOpen(operation) || (HasFile(*operation) && !isNew)) {
    operation = &Begin(thread, line, "", true);
    thread.opens.insert(line.number);
  } else if (HasFile(*operation) && line.prefix.priority == 'E') {
    operation->end = Operation::End::kNotOpened;
  }
  if (!HasFile(*operation)) {
    operation->fileState = Operation::File::kUnreadable;
  }
}

void LogHistory::Add(const LogLine& line, const LogMeaning& meaning) {
  ProcessLevel& level = m_levels[line.prefix.process];
  m_lacksThreads = m_lacksThreads || !NamesThread(line);
  Thread& thread = m_threads[line.prefix.process + ' ' + line.prefix.thread];
  switch (meaning.event) {
    case LogEvent::kEntered:
      level = {true, true};
      Enter(thread, line);
      break;
    case LogEvent::kOpening:
      Opening(thread, line, meaning);
      break;
    case LogEvent::kOpenFailed:
      OpenFailed(thread, line, meaning);
      break;
    case LogEvent::kSelectFailed:
      level.successes = true;
      SelectFailed(thread, line, meaning);
      break;
    case LogEvent::kSucceeded:
      level.successes = true;
      End(thread, line, meaning, Operation::End::kSucceeded);
      break;
    case LogEvent::kFailed:
      End(thread, line, meaning, Operation::End::kFailed);
      break;
    case LogEvent::kBusy:
      Busy(thread, line, meaning);
      break;
    case LogEvent::kBusyLimit:
      Limit(thread, line);
      break;
    case LogEvent::kStepFailed:
      ContinueQuery(thread, line).stepFailures.push_back(meaning.text);
      break;
    case LogEvent::kBlob:
      ++ContinueQuery(thread, line).blobs;
      break;
    case LogEvent::kReadFailed:
      ReadFailed(thread, line, meaning);
      break;
    case LogEvent::kMoved:
      level.successes = true;
      LeaveFor(thread, line);
      break;
    case LogEvent::kLockUnnamed:
      ++m_unnamedLocks;
      break;
    case LogEvent::kUnreadable:
      Unreadable(thread, line);
      break;
  }
}

}  // namespace vorndb
