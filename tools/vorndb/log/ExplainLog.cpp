#include <fcntl.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
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

struct OutcomeText {
  std::string label;
  std::string note;
};

const OutcomeText& TextOf(Outcome outcome) {
#define VORN_OUTCOME(name, label, note) {Outcome::name, {label, note}},
  static const std::map<Outcome, OutcomeText> texts = {VORN_OUTCOMES(VORN_OUTCOME)};
#undef VORN_OUTCOME
  return texts.at(outcome);
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

void WriteIf(bool applies, const std::string& line) { std::cout << (applies ? line + '\n' : ""); }

std::string Times(int count) { return count == 1 ? "once" : std::to_string(count) + " times"; }

std::string Seconds(int waits) {
  return std::to_string(waits / 10) + '.' + std::to_string(waits % 10) + " s";
}

std::string LimitsOf(const Operation& operation) {
  return std::string(operation.limits > 0 ? ", up to the limit" : "") +
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

void WriteReadFailures(const std::map<std::string, int>& failures, const std::string& when) {
  for (const auto& [failure, count] : failures) {
    WriteIf(true, when + ", reading a cursor: " + Printable(failure) +
                      (count > 1 ? " (" + Times(count) + ')' : ""));
  }
}

void WriteDetails(const Operation& operation) {
  const std::string doubt = operation.members == Members{"CheckExistTable"}
                                ? "; the answer may be wrong"
                                : "; the cursor may lack rows";
  const std::string lines = "unreadable line";
  WriteIf(!operation.begun, "   its beginning is not in the log");
  WriteIf(operation.waits > 0,
          "   waited " + Seconds(operation.waits) + " for the busy file" + LimitsOf(operation));
  WriteIf(operation.busyUnreadable > 0,
          "   met the busy file: " + Counted(operation.busyUnreadable, lines) +
              " of a wait or of the limit");
  for (const std::string& text : operation.stepFailures) {
    WriteIf(true, "   fetching rows failed" + Appended(text) + doubt);
  }
  WriteIf(operation.stepLimits > 0, "   the limit was met while fetching rows" + doubt);
  WriteIf(operation.blobs > 0, "   " + Counted(operation.blobs, "cell") +
                                   (operation.blobs == 1 ? " is a blob" : " are blobs") +
                                   " and empty in the cursor");
  WriteIf(
      operation.stepUnreadable > 0,
      "   fetching rows: " + Counted(operation.stepUnreadable, lines) + " of a failure or a blob");
  WriteReadFailures(operation.readFailures, "   then");
}

void WriteOperation(const Operation& operation, Outcome outcome) {
  std::cout << operation.number << ". " << KindOf(operation) << " on " << FileOf(operation)
            << OriginOf(operation.prefix) << ": " << TextOf(outcome).label;
  if (HasCode(outcome)) {
    std::cout << ", " << CodeOf(operation) << Appended(operation.text);
  }
  std::cout << '\n';
  WriteDetails(operation);
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
                 OriginOf(origin) + ": " + Seconds(operation.waits) + LimitsOf(operation) + '\n';
  }
}

void WriteSummary(const LogHistory& history, const Summary& summary) {
  std::cout << "Summary\n  " << Counted(history.own, "line") << " of the library, "
            << history.foreign << " of others\n";
  WriteIf(history.unreadable > 0,
          "  unreadable, since protected or damaged: " + Counted(history.unreadable, "line"));
  WriteIf(history.continued > 0,
          "  continuing the text of the line before: " + Counted(history.continued, "line"));
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
  WriteIf(history.unnamedLocks > 0,
          "  locks that could not be named: " + std::to_string(history.unnamedLocks));
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
    if (const auto& [label, note] = TextOf(outcome); !note.empty()) {
      notes.emplace_back(label).append(": ").append(note).append(".");
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

// Makes a file standard input, without an end: tail awaits more, also if the file is emptied or
// another one takes its name. tail ends with this process.
void Follow(const std::string& path) {
  int ends[2];
  FailIf(pipe2(ends, O_CLOEXEC) != 0, "no pipe is left for tail");
  const pid_t tail = fork();
  FailIf(tail < 0, "tail cannot be started");
  if (tail == 0) {
    static_cast<void>(prctl(PR_SET_PDEATHSIG, SIGKILL));
    static_cast<void>(dup2(ends[1], STDOUT_FILENO));
    execlp("tail", "tail", "-n", "+1", "-F", "--", path.c_str(), nullptr);
    _exit(1);
  }
  static_cast<void>(dup2(ends[0], STDIN_FILENO));
  static_cast<void>(close(ends[1]));
}

}  // namespace

std::vector<std::string> LogFormats() { return {"text", "json"}; }

void Explain(const Arguments& arguments) {
  const std::string& since = arguments.since;
  std::string name = arguments.path;
  std::ifstream file;
  std::istream* log = &OpenInput(name, file);
  if (arguments.follow && file.is_open() && std::filesystem::is_regular_file(name)) {
    Follow(name);
    log = &std::cin;
  }
  LogHistory history;
  Report report(arguments, history);
  history.listener = [&report](Operation& operation) { report.Add(operation); };
  ReadHistory(*log, since, history);
  if (history.own > 0) {
    report.End();
  }
  FailIf(log->bad(), "cannot read " + name);
  FailIf(history.own == 0,
         name + " has no line of the library's log" + (since.empty() ? "" : " since " + since));
}

}  // namespace vorndb
