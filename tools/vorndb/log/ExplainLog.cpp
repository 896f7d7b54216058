#include <poll.h>
#include <sqlite3.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <utility>

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
// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): a function has no name of its argument
#define VORNDB_CODE(name) \
  { std::to_string(name), #name }
  static const std::map<std::string, std::string> names = {
      VORNDB_CODE(SQLITE_ERROR),   VORNDB_CODE(SQLITE_BUSY),       VORNDB_CODE(SQLITE_LOCKED),
      VORNDB_CODE(SQLITE_NOMEM),   VORNDB_CODE(SQLITE_READONLY),   VORNDB_CODE(SQLITE_IOERR),
      VORNDB_CODE(SQLITE_CORRUPT), VORNDB_CODE(SQLITE_FULL),       VORNDB_CODE(SQLITE_CANTOPEN),
      VORNDB_CODE(SQLITE_TOOBIG),  VORNDB_CODE(SQLITE_CONSTRAINT), VORNDB_CODE(SQLITE_MISMATCH),
      VORNDB_CODE(SQLITE_NOTADB),
  };
#undef VORNDB_CODE
  const auto found = names.find(operation.code);
  return found == names.end() ? "" : found->second;
}

// A line about that many, unless there is none.
void WriteCount(const char* before, std::size_t count, const char* noun, const char* after,
                std::ostream& output) {
  if (count > 0) {
    output << before << Counted(count, noun) << after << '\n';
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

void WriteWaits(const Operation& operation, std::ostream& output) {
  if (operation.waits > 0) {
    output << "   waited " << WaitOf(operation, " for the busy file") << '\n';
  }
  WriteCount("   met the busy file: ", operation.busyUnreadable, "unreadable line",
             " of a wait or of the limit", output);
}

void WriteRows(const Operation& operation, std::ostream& output) {
  const char* const doubt = operation.members == Members{"CheckExistTable"}
                                ? "; the answer may be wrong\n"
                                : "; the cursor may lack rows\n";
  for (const std::string& text : operation.stepFailures) {
    output << "   fetching rows failed" << Appended(text) << doubt;
  }
  if (operation.stepLimits > 0) {
    output << "   the limit was met while fetching rows" << doubt;
  }
  WriteCount("   ", operation.blobs, "cell",
             operation.blobs == 1 ? " is a blob and empty in the cursor"
                                  : " are blobs and empty in the cursor",
             output);
  WriteCount("   fetching rows: ", operation.stepUnreadable, "unreadable line",
             " of a failure or a blob", output);
}

void WriteReadFailures(const std::map<std::string, int>& failures, const char* indent,
                       std::ostream& output) {
  for (const auto& [failure, count] : failures) {
    output << indent << ", reading a cursor: " << Printable(failure)
           << (count > 1 ? " (" + Times(count) + ')' : "") << '\n';
  }
}

void WriteOperation(const Operation& operation, Outcome outcome, std::ostream& output) {
  output << operation.number << ". " << KindOf(operation) << " on " << FileOf(operation)
         << OriginOf(operation.prefix) << ": " << TextOf(outcome).label;
  if (HasCode(outcome)) {
    output << ", " << CodeOf(operation) << Appended(operation.text);
  }
  output << '\n' << (operation.begun ? "" : "   its beginning is not in the log\n");
  WriteWaits(operation, output);
  WriteRows(operation, output);
  WriteReadFailures(operation.readFailures, "   then", output);
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

// Adds the operation to the summary. Its waits are listed if the history keeps it.
void CountOperation(const Operation& operation, Outcome outcome, bool isKept, SortedJson& summary) {
  const auto increase = [](SortedJson& count) {
    count = count.is_null() ? 1 : count.get<int>() + 1;
  };
  increase(summary["operations"][KindOf(operation)][TextOf(outcome).label]);
  if (HasCode(outcome)) {
    const std::string name = CodeNameOf(operation);
    increase(summary["codes"][CodeOf(operation) + (name.empty() ? "" : ' ' + name)]);
  }
  if (operation.waits > 0) {
    SortedJson& waits =
        *summary["waits"].emplace(FileOf(operation), SortedJson{{"seconds", 0.0}}).first;
    waits["seconds"] = std::round(waits["seconds"].get<double>() * 10 + operation.waits) / 10;
    increase(waits["operations"]);
    if (isKept) {
      waits["numbers"].push_back(operation.number);
    }
  }
}

void WriteFileWaits(const LogHistory& history, const SortedJson& waits, std::ostream& output) {
  output << Seconds(static_cast<int>(std::lround(waits["seconds"].get<double>() * 10))) << " in "
         << Counted(waits["operations"], "operation") << '\n';
  for (const std::size_t number : waits.value("numbers", std::vector<std::size_t>())) {
    const Operation& operation = history.operations[number - 1];
    LogPrefix origin = operation.prefix;
    origin.thread = origin.thread == origin.process ? "" : origin.thread;
    output << "    " << number << ". " << KindOf(operation) << OriginOf(origin) << ": "
           << WaitOf(operation, "") << '\n';
  }
}

void WriteSummary(const LogHistory& history, const SortedJson& summary, std::ostream& output) {
  output << "Summary\n  " << Counted(history.own, "line") << " of the library, " << history.foreign
         << " of others\n";
  WriteCount("  unreadable, since protected or damaged: ", history.unreadable, "line", "", output);
  WriteCount("  continuing the text of the line before: ", history.continued, "line", "", output);
  for (const auto& [kind, outcomes] : summary["operations"].items()) {
    output << "  " << kind;
    const char* separator = ": ";
    for (const auto& [label, note] : kOutcomeTexts) {
      if (outcomes.contains(label)) {
        output << separator << outcomes[label] << ' ' << label;
        separator = ", ";
      }
    }
    output << '\n';
  }
  for (const auto& [code, count] : summary["codes"].items()) {
    output << "  failed with " << code << ": " << Times(count) << '\n';
  }
  for (const auto& [file, waits] : summary["waits"].items()) {
    output << "  waited for " << file << ": ";
    WriteFileWaits(history, waits, output);
  }
  WriteReadFailures(history.earlyReadFailures, "  before the first operation of a thread", output);
  if (history.unnamedLocks > 0) {
    output << "  locks that could not be named: " << history.unnamedLocks << '\n';
  }
}

SortedJson NotesOn(const LogHistory& history, const SortedJson& summary) {
  SortedJson notes = SortedJson::array();
  for (const auto& [label, note] : kOutcomeTexts) {
    const auto has = [text = label](const SortedJson& outcomes) { return outcomes.contains(text); };
    const SortedJson& kinds = summary["operations"];
    if (note != nullptr && std::any_of(kinds.begin(), kinds.end(), has)) {
      notes.push_back(std::string(label) + ": " + note + '.');
    }
  }
  if (history.unreadable > 0) {
    notes.push_back("unreadable: only call site and priority show the meaning of such lines.");
  }
  if (history.lacksThreads) {
    notes.push_back("The log names no threads: operations of a process that overlap are mixed up.");
  }
  return notes;
}

bool HasFailure(const Operation& operation, Outcome outcome) {
  return HasCode(outcome) || operation.limits > 0 || operation.busyUnreadable > 0 ||
         !operation.stepFailures.empty() || operation.stepUnreadable > 0 ||
         !operation.readFailures.empty();
}

// On standard output.
class Report {
 public:
  explicit Report(const Arguments& arguments)
      : m_arguments(arguments), m_isJson(arguments.format == "json") {
    if (m_isJson) {
      m_next = arguments.follow ? "" : "{\"operations\": [\n";
    } else if (!arguments.summary) {
      m_next = "Operations [process thread time]\n";
    }
  }

  // Again with later failures to read its cursor.
  void Add(const LogHistory& history, Operation& operation) {
    const Outcome outcome = OutcomeOf(history, operation);
    bool isShown = !operation.readFailures.empty();
    if (operation.number == 0) {
      operation.number = ++m_count;
      CountOperation(operation, outcome, !m_arguments.follow, m_summary);
      isShown = !m_arguments.failures || HasFailure(operation, outcome);
    }
    if (isShown && !m_arguments.summary) {
      Write(operation, outcome);
    }
    if (m_arguments.follow) {
      operation.readFailures.clear();
      FailIf(!std::cout.flush(), "cannot write to standard output");
    }
  }

  void End(LogHistory& history) {
    for (Operation& operation : history.operations) {
      Add(history, operation);
    }
    std::cout << (m_next == kSeparator ? "" : m_next);
    const SortedJson notes = NotesOn(history, m_summary);
    if (m_isJson) {
      m_summary.update({{"lines", history.own},
                        {"otherLines", history.foreign},
                        {"unreadableLines", history.unreadable},
                        {"continuedLines", history.continued},
                        {"unnamedLocks", history.unnamedLocks},
                        {"earlyReadFailures", history.earlyReadFailures}});
      std::cout << (m_arguments.follow ? "{" : "\n],\n") << "\"summary\": " << Dump(m_summary)
                << ", \"notes\": " << Dump(notes) << "}\n";
      return;
    }
    std::cout << (m_arguments.summary ? "" : "\n");
    WriteSummary(history, m_summary, std::cout);
    std::cout << (notes.empty() ? "" : "\nNotes\n");
    for (const std::string note : notes) {
      std::cout << "  " << note << '\n';
    }
  }

 private:
  static constexpr char kSeparator[] = ",\n";

  void Write(const Operation& operation, Outcome outcome) {
    const bool isList = m_isJson && !m_arguments.follow;
    std::cout << std::exchange(m_next, isList ? kSeparator : "");
    if (m_isJson) {
      std::cout << Dump(JsonOf(operation, outcome)) << (isList ? "" : "\n");
    } else {
      WriteOperation(operation, outcome, std::cout);
    }
  }

  const Arguments& m_arguments;
  const bool m_isJson;
  std::string m_next;  // before the next operation
  unsigned m_count = 0;
  SortedJson m_summary{{"operations", SortedJson::object()},
                       {"codes", SortedJson::object()},
                       {"waits", SortedJson::object()}};
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
      AwaitMore();
    }
    return next;
  }

 private:
  void Open() {
    close();
    static_cast<void>(stat(m_path.c_str(), &m_opened));
    open(m_path, std::ios::in);
    static_cast<void>(inotify_add_watch(m_events, m_path.c_str(), IN_MODIFY));
  }

  void AwaitMore() {
    struct stat named {};
    if (stat(m_path.c_str(), &named) == 0 &&
        (named.st_ino != m_opened.st_ino || named.st_size < seekoff(0, std::ios::cur))) {
      return Open();
    }
    // Another file of the name is no event.
    constexpr int kLongest = 1000;
    pollfd events{m_events, POLLIN, 0};
    char ignored[4096];
    if (poll(&events, 1, kLongest) > 0) {
      static_cast<void>(read(m_events, ignored, sizeof ignored) == 0);
    }
  }

  const std::string m_path;
  const int m_events = inotify_init1(IN_CLOEXEC);  // until the process ends
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
  Report report(arguments);
  const Listener listener = [&report](LogHistory& history, Operation& operation) {
    report.Add(history, operation);
  };
  LogHistory history = ReadHistory(log, since, arguments.follow ? listener : Listener());
  if (history.own > 0) {
    report.End(history);
  }
  FailIf(log.bad(), "cannot read " + name);
  FailIf(history.own == 0,
         name + " has no line of the library's log" + (since.empty() ? "" : " since " + since));
}

}  // namespace vorndb
