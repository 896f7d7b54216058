#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Errors.h"
#include "Terminal.h"
#include "log/LogHistory.h"

namespace vorndb {

namespace {

// With its members in the order of their names.
using SortedJson = nlohmann::json;

// Sentences without capital and full stop; the note explains the label, or is null.
struct OutcomeText {
  const char* label;
  const char* note;
};

// In the order of Outcome.
constexpr OutcomeText kOutcomeTexts[] = {
    {"succeeded", nullptr},
    {"failed", nullptr},
    {"not opened", nullptr},
    {"prepared",
     "a query logs nothing when it succeeds; its statement was prepared, unless an exception ended "
     "it first"},
    {"opened", "the application called OpenDB itself, which logs nothing when it succeeds"},
    {"no end in the log",
     "an exception ended it, its process ended or was still running it, or lines are missing"},
    {"no failure up to the end of the log",
     "no record of its thread follows; it may still have been running"},
    {"no failure in the log",
     "records of success (priority 4) of its process are not in the log; it is a write that "
     "succeeded, a query that was prepared, or OpenDB alone"},
    {"neither success nor failure in the log",
     "its entry (priority 3) is not in the log; it is a query that was prepared, OpenDB alone, or "
     "a "
     "write whose end is missing"},
    {"ended with an unreadable outcome", nullptr},
};

const OutcomeText& TextOf(Outcome outcome) {
  return kOutcomeTexts[static_cast<std::size_t>(outcome)];
}

bool HasCode(Outcome outcome) {
  return outcome == Outcome::kFailed || outcome == Outcome::kNotOpened;
}

std::string CodeOf(const Operation& operation) {
  return operation.code.empty() ? "an unreadable code" : operation.code;
}

// SQLite's name for it, if docs/log.md explains the code.
std::string CodeNameOf(const Operation& operation) {
  static const std::map<std::string, std::string> names = {
      {"1", "SQLITE_ERROR"},    {"5", "SQLITE_BUSY"},        {"6", "SQLITE_LOCKED"},
      {"7", "SQLITE_NOMEM"},    {"8", "SQLITE_READONLY"},    {"10", "SQLITE_IOERR"},
      {"11", "SQLITE_CORRUPT"}, {"13", "SQLITE_FULL"},       {"14", "SQLITE_CANTOPEN"},
      {"18", "SQLITE_TOOBIG"},  {"19", "SQLITE_CONSTRAINT"}, {"20", "SQLITE_MISMATCH"},
      {"26", "SQLITE_NOTADB"},
  };
  const auto found = names.find(operation.code);
  return found == names.end() ? "" : found->second;
}

// A line about that many, unless there is none.
void WriteCount(const char* before, std::size_t count, const char* noun, const char* after) {
  if (count > 0) {
    std::cout << before << Counted(count, noun) << after << '\n';
  }
}

std::string Times(int count) { return count == 1 ? "once" : std::to_string(count) + " times"; }

std::string Seconds(int waits) {
  return std::to_string(waits / 10) + '.' + std::to_string(waits % 10) + " s";
}

// "TIME", or with the limit.
std::string WaitOf(const Operation& operation, const char* purpose) {
  return Seconds(operation.waits) + purpose + (operation.limits > 0 ? ", up to the limit" : "") +
         (operation.limits > 1 ? ' ' + Times(operation.limits) : "");
}

// ": TEXT", or nothing.
std::string Appended(const std::string& text) { return text.empty() ? "" : ": " + Printable(text); }

std::string FileOf(const Operation& operation) {
  return operation.file.value_or("a file that is not named");
}

std::string KindOf(const Operation& operation) {
  if (operation.members.empty()) {
    return "an operation";
  }
  if (operation.members == Queries()) {
    return "a query";
  }
  std::string kind;
  for (const std::string& member : operation.members) {
    kind += (kind.empty() ? "" : " or ") + member;
  }
  return kind;
}

std::string OriginOf(const LogPrefix& prefix) {
  std::string origin;
  for (const std::string& part : {prefix.process, prefix.thread, prefix.time}) {
    origin += (origin.empty() || part.empty() ? "" : " ") + part;
  }
  return origin.empty() ? "" : " [" + Printable(origin) + ']';
}

void WriteWaits(const Operation& operation) {
  if (operation.waits > 0) {
    std::cout << "   waited " << WaitOf(operation, " for the busy file") << '\n';
  }
  WriteCount("   met the busy file: ", operation.busyUnreadable, "unreadable line",
             " of a wait or of the limit");
}

void WriteRows(const Operation& operation) {
  const char* const doubt = operation.members == Members{"CheckExistTable"}
                                ? "; the answer may be wrong\n"
                                : "; the cursor may lack rows\n";
  for (const std::string& text : operation.stepFailures) {
    std::cout << "   fetching rows failed" << Appended(text) << doubt;
  }
  if (operation.stepLimits > 0) {
    std::cout << "   the limit was met while fetching rows" << doubt;
  }
  WriteCount("   ", operation.blobs, "cell",
             operation.blobs == 1 ? " is a blob and empty in the cursor"
                                  : " are blobs and empty in the cursor");
  WriteCount("   fetching rows: ", operation.stepUnreadable, "unreadable line",
             " of a failure or a blob");
}

void WriteReadFailures(const std::map<std::string, int>& failures, const char* indent) {
  for (const auto& [failure, count] : failures) {
    std::cout << indent << ", reading a cursor: " << Printable(failure)
              << (count > 1 ? " (" + Times(count) + ')' : "") << '\n';
  }
}

void WriteOperation(const Operation& operation, Outcome outcome) {
  std::cout << operation.number << ". " << KindOf(operation) << " on " << FileOf(operation)
            << OriginOf(operation.prefix) << ": " << TextOf(outcome).label;
  if (HasCode(outcome)) {
    std::cout << ", " << CodeOf(operation) << Appended(operation.text);
  }
  std::cout << '\n' << (operation.begun ? "" : "   its beginning is not in the log\n");
  WriteWaits(operation);
  WriteRows(operation);
  WriteReadFailures(operation.readFailures, "   then");
}

SortedJson JsonOf(const Operation& operation, Outcome outcome) {
  return {{"number", operation.number},
          {"process", operation.prefix.process},
          {"thread", operation.prefix.thread},
          {"time", operation.prefix.time},
          {"begun", operation.begun},
          {"members", operation.members},
          {"file", operation.file ? SortedJson(*operation.file) : SortedJson()},
          {"outcome", TextOf(outcome).label},
          {"code", operation.code.empty() ? SortedJson() : SortedJson(std::stoi(operation.code))},
          {"codeName", CodeNameOf(operation)},
          {"text", operation.text},
          {"waitedSeconds", operation.waits / 10.0},
          {"limits", operation.limits},
          {"limitsWhileFetching", operation.stepLimits},
          {"blobs", operation.blobs},
          {"stepFailures", operation.stepFailures},
          {"readFailures", operation.readFailures}};
}

std::string Dump(const SortedJson& json) {
  return json.dump(-1, ' ', false, SortedJson::error_handler_t::replace);
}

// The waits of all operations for a file.
struct FileWaits {
  int waits = 0;                     // of 100 ms each
  std::vector<std::size_t> numbers;  // of the operations
  std::string list;
};

void to_json(SortedJson& json, const FileWaits& file) {
  json = {{"seconds", file.waits / 10.0},
          {"operations", file.numbers.size()},
          {"numbers", file.numbers}};
}

struct Summary {
  std::set<Outcome> outcomes;
  std::map<std::string, std::map<std::string, int>> kinds;  // by their labels
  std::map<std::string, int> codes;
  std::map<std::string, FileWaits> files;
};

void CountOperation(const Operation& operation, Outcome outcome, Summary& summary) {
  summary.outcomes.insert(outcome);
  ++summary.kinds[KindOf(operation)][TextOf(outcome).label];
  if (HasCode(outcome)) {
    const std::string name = CodeNameOf(operation);
    ++summary.codes[CodeOf(operation) + (name.empty() ? "" : ' ' + name)];
  }
  if (operation.waits > 0) {
    FileWaits& file = summary.files[FileOf(operation)];
    file.waits += operation.waits;
    file.numbers.push_back(operation.number);
    LogPrefix origin = operation.prefix;
    origin.thread = origin.thread == origin.process ? "" : origin.thread;
    file.list += "    " + std::to_string(operation.number) + ". " + KindOf(operation) +
                 OriginOf(origin) + ": " + WaitOf(operation, "") + '\n';
  }
}

void WriteSummary(const LogHistory& history, const Summary& summary) {
  std::cout << "Summary\n  " << Counted(history.own, "line") << " of the library, "
            << history.foreign << " of others\n";
  WriteCount("  unreadable, since protected or damaged: ", history.unreadable, "line", "");
  WriteCount("  continuing the text of the line before: ", history.continued, "line", "");
  for (const auto& [kind, counts] : summary.kinds) {
    const char* separator = ": ";
    std::cout << "  " << kind;
    for (const Outcome outcome : summary.outcomes) {
      if (const auto found = counts.find(TextOf(outcome).label); found != counts.end()) {
        std::cout << std::exchange(separator, ", ") << found->second << ' ' << found->first;
      }
    }
    std::cout << '\n';
  }
  for (const auto& [code, count] : summary.codes) {
    std::cout << "  failed with " << code << ": " << Times(count) << '\n';
  }
  for (const auto& [name, file] : summary.files) {
    std::cout << "  waited for " << name << ": " << Seconds(file.waits) << " in "
              << Counted(file.numbers.size(), "operation") << '\n'
              << file.list;
  }
  WriteReadFailures(history.earlyReadFailures, "  before the first operation of a thread");
  if (history.unnamedLocks > 0) {
    std::cout << "  locks that could not be named: " << history.unnamedLocks << '\n';
  }
}

SortedJson JsonOf(const LogHistory& history, const Summary& summary) {
  return {{"operations", summary.kinds},
          {"codes", summary.codes},
          {"waits", summary.files},
          {"lines", history.own},
          {"otherLines", history.foreign},
          {"unreadableLines", history.unreadable},
          {"continuedLines", history.continued},
          {"unnamedLocks", history.unnamedLocks},
          {"earlyReadFailures", history.earlyReadFailures}};
}

std::vector<std::string> NotesOn(const LogHistory& history, const Summary& summary) {
  std::vector<std::string> notes;
  for (const Outcome outcome : summary.outcomes) {
    if (const auto& [label, note] = TextOf(outcome); note != nullptr) {
      notes.push_back(std::string(label) + ": " + note + '.');
    }
  }
  if (history.unreadable > 0) {
    notes.emplace_back("unreadable: only call site and priority show the meaning of such lines.");
  }
  if (history.lacksThreads) {
    notes.emplace_back(
        "The log names no threads: operations of a process that overlap are mixed up.");
  }
  return notes;
}

bool HasFailure(const Operation& operation, Outcome outcome) {
  return HasCode(outcome) || operation.limits > 0 || operation.busyUnreadable > 0 ||
         !operation.stepFailures.empty() || operation.stepUnreadable > 0 ||
         !operation.readFailures.empty();
}

class Report {
 public:
  Report(const Arguments& arguments, const LogHistory& history)
      : m_arguments(arguments), m_history(history), m_isJson(arguments.format == "json") {
    if (m_isJson) {
      m_next = arguments.follow ? "" : "{\"operations\": [\n";
    } else if (!arguments.summary) {
      m_next = "Operations [process thread time]\n";
    }
  }

  // Again with later failures to read its cursor.
  void Add(Operation& operation) {
    if (!m_arguments.follow) {
      m_operations[operation.position] = operation;
      return;
    }
    List(operation);
    operation.readFailures.clear();
    FailIf(!std::cout.flush(), "cannot write to standard output");
  }

  void End() {
    for (auto& [position, operation] : m_operations) {
      List(operation);
    }
    std::cout << (m_next == kSeparator ? "" : m_next);
    const std::vector<std::string> notes = NotesOn(m_history, m_summary);
    if (m_isJson) {
      std::cout << (m_arguments.follow ? "{" : "\n],\n")
                << "\"summary\": " << Dump(JsonOf(m_history, m_summary))
                << ", \"notes\": " << Dump(notes) << "}\n";
      return;
    }
    std::cout << (m_arguments.summary ? "" : "\n");
    WriteSummary(m_history, m_summary);
    std::cout << (notes.empty() ? "" : "\nNotes\n");
    for (const std::string& note : notes) {
      std::cout << "  " << note << '\n';
    }
  }

 private:
  static constexpr char kSeparator[] = ",\n";

  void List(Operation& operation) {
    const Outcome outcome = OutcomeOf(m_history, operation);
    bool isShown = !operation.readFailures.empty();
    if (operation.number == 0) {
      operation.number = ++m_count;
      CountOperation(operation, outcome, m_summary);
      isShown = !m_arguments.failures || HasFailure(operation, outcome);
    }
    if (isShown && !m_arguments.summary) {
      Write(operation, outcome);
    }
  }

  void Write(const Operation& operation, Outcome outcome) {
    const bool isList = m_isJson && !m_arguments.follow;
    std::cout << std::exchange(m_next, isList ? kSeparator : "");
    if (m_isJson) {
      std::cout << Dump(JsonOf(operation, outcome)) << (isList ? "" : "\n");
    } else {
      WriteOperation(operation, outcome);
    }
  }

  const Arguments& m_arguments;
  const LogHistory& m_history;
  const bool m_isJson;
  std::string m_next;                             // before the next operation
  std::map<std::size_t, Operation> m_operations;  // by position; none with --follow
  std::size_t m_count = 0;
  Summary m_summary;
};

// A file that may still grow: at its end more is awaited, also if it is emptied or another one
// takes its name.
class GrowingFile : public std::filebuf {
 public:
  explicit GrowingFile(std::string path) : m_path(std::move(path)) { Open(); }

 protected:
  int_type underflow() override {
    int_type next = std::filebuf::underflow();
    for (; next == traits_type::eof(); next = std::filebuf::underflow()) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      struct stat named {};
      if (stat(m_path.c_str(), &named) == 0 &&
          (named.st_ino != m_opened.st_ino || named.st_size < seekoff(0, std::ios::cur))) {
        Open();
      }
    }
    return next;
  }

 private:
  void Open() {
    close();
    static_cast<void>(stat(m_path.c_str(), &m_opened));
    open(m_path, std::ios::in);
  }

  const std::string m_path;
  struct stat m_opened {};
};

}  // namespace

std::vector<std::string> LogFormats() { return {"text", "json"}; }

void Explain(const Arguments& arguments) {
  const auto& [format, since] = std::tie(arguments.format, arguments.since);
  const std::vector<std::string> formats = LogFormats();
  RefuseIf(!format.empty() && std::count(formats.begin(), formats.end(), format) == 0,
           '\'' + format + "' is no format; the formats are " + Joined(formats));
  RefuseIf(!since.empty() && !IsTime(since),
           '\'' + since + "' is no time of a log, such as 11-21 10:00, 10:00:30 or 71.5");
  std::string name = arguments.path;
  std::ifstream file;
  std::streambuf* opened = OpenInput(name, file).rdbuf();
  std::unique_ptr<std::streambuf> growing;
  if (arguments.follow && file.is_open() && std::filesystem::is_regular_file(name)) {
    growing = std::make_unique<GrowingFile>(name);
    opened = growing.get();
  }
  std::istream log(opened);
  LogHistory history;
  Report report(arguments, history);
  ReadHistory(log, since, history, [&report](Operation& operation) { report.Add(operation); });
  if (history.own > 0) {
    report.End();
  }
  FailIf(log.bad(), "cannot read " + name);
  FailIf(history.own == 0,
         name + " has no line of the library's log" + (since.empty() ? "" : " since " + since));
}

}  // namespace vorndb
