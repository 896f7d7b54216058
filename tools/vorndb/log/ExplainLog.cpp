#include <fcntl.h>
#include <sqlite3.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Errors.h"
#include "Terminal.h"
#include "log/LogHistory.h"

namespace vorndb {

namespace {

using SortedJson = nlohmann::json;

bool HasFailed(const Operation& operation) {
  return operation.end == kEndFailed || operation.end == kEndNotOpened;
}

std::string Seconds(int waits) {
  return std::to_string(waits / 10) + '.' + std::to_string(waits % 10) + " s";
}

std::string WaitOf(const Operation& operation) {
  return Seconds(operation.waits) + (operation.limits > 0 ? ", up to the limit" : "");
}

std::string FileOf(const Operation& operation) {
  return operation.file.value_or("a file that is not named");
}

std::string KindOf(const Operation& operation) {
  if (operation.members.empty()) {
    return "an operation";
  }
  return operation.members == kQueries ? "a query" : operation.members;
}

// "NUMBER. KIND on FILE [PROCESS THREAD TIME]", as far as they are known.
std::string HeadOf(const Operation& operation) {
  const LogPrefix& prefix = operation.prefix;
  std::string origin;
  for (const std::string& part : {prefix.process, prefix.thread, prefix.time}) {
    origin += (origin.empty() || part.empty() ? "" : " ") + part;
  }
  return std::to_string(operation.number) + ". " + KindOf(operation) + " on " + FileOf(operation) +
         (origin.empty() ? "" : " [" + Printable(origin) + ']');
}

void WriteOperation(const Operation& operation) {
  std::cout << HeadOf(operation) << ": " << OutcomeOf(operation).label;
  if (HasFailed(operation)) {
    std::cout << ", " << (operation.code.empty() ? "an unreadable code" : operation.code)
              << (operation.text.empty() ? "" : ": " + Printable(operation.text));
  }
  std::cout << (operation.begun ? "\n" : "\n   its beginning is not in the log\n");
  if (operation.waits > 0) {
    std::cout << "   waited for the busy file: " << WaitOf(operation) << '\n';
  }
  for (const auto& [fault, count] : operation.faults) {
    std::cout << "   " << Printable(fault)
              << (count > 1 ? " (" + std::to_string(count) + " times)\n" : "\n");
  }
}

SortedJson JsonOf(const Operation& operation) {
  return {{"number", operation.number},
          {"process", operation.prefix.process},
          {"thread", operation.prefix.thread},
          {"time", operation.prefix.time},
          {"begun", operation.begun},
          {"kind", KindOf(operation)},
          {"file", operation.file ? SortedJson(*operation.file) : SortedJson()},
          {"outcome", OutcomeOf(operation).label},
          {"code", operation.code.empty() ? SortedJson() : SortedJson(std::stoi(operation.code))},
          {"text", operation.text},
          {"waitedSeconds", operation.waits / 10.0},
          {"limits", operation.limits},
          {"faults", operation.faults}};
}

// The waits of all operations for a file.
struct FileWaits {
  int waits = 0;                     // of 100 ms each
  std::vector<std::size_t> numbers;  // of the operations
  Texts operations;                  // for a reader
};

void to_json(SortedJson& json, const FileWaits& file) {
  json = {{"seconds", file.waits / 10.0}, {"operations", file.numbers}};
}

class Report {
 public:
  Report(const Arguments& arguments, LogHistory& history)
      : m_arguments(arguments), m_history(history), m_isJson(arguments.format == "json") {
    if (m_isJson && !arguments.follow) {
      m_document["operations"] = SortedJson::array();
    }
  }

  // An operation is added again for each later failure to read its cursor.
  void Add(Operation& operation) {
    if (!m_arguments.follow) {
      m_operations[operation.number] = operation;
      return;
    }
    List(operation);
    FailIf(!std::cout.flush(), "cannot write to standard output");
  }

  void End() {
    for (auto& [number, operation] : m_operations) {
      List(operation);
    }
    if (!m_isJson) {
      std::cout << (m_arguments.summary ? "" : m_title + '\n');
      WriteSummary();
      return;
    }
    m_document["summary"] = {
        {"operations", m_kinds}, {"waits", m_waits}, {"counts", m_history.counts}};
    m_document["notes"] = m_history.notes;
    WriteJson(m_document);
  }

 private:
  void List(Operation& operation) {
    const bool isNew = !std::exchange(operation.isListed, true);
    const bool isWanted = !m_arguments.failures || HasFailed(operation) || operation.limits > 0;
    if (isNew) {
      Count(operation);
    }
    if (!m_arguments.summary && (!operation.faults.empty() || (isNew && isWanted))) {
      Write(operation);
    }
    operation.faults.clear();
  }

  void Count(const Operation& operation) {
    const auto& [label, note] = OutcomeOf(operation);
    ++m_kinds[KindOf(operation)][label];
    if (!note.empty()) {
      m_history.notes.insert(label + ": " + note + '.');
    }
    if (HasFailed(operation)) {
      const std::string& code = operation.code;
      const std::string cause =
          code.empty() ? "an unreadable code" : code + ", " + sqlite3_errstr(std::stoi(code));
      ++m_history.counts["failed with " + cause];
    }
    if (operation.waits > 0) {
      FileWaits& file = m_waits[FileOf(operation)];
      file.waits += operation.waits;
      file.numbers.push_back(operation.number);
      file.operations.push_back(HeadOf(operation) + ": " + WaitOf(operation));
    }
  }

  void Write(const Operation& operation) {
    if (!m_isJson) {
      std::cout << std::exchange(m_title, "");
      WriteOperation(operation);
    } else if (m_arguments.follow) {
      WriteJson(JsonOf(operation));
    } else {
      m_document["operations"].push_back(JsonOf(operation));
    }
  }

  void WriteJson(const SortedJson& json) const {
    const int indent = m_arguments.follow ? -1 : 1;
    std::cout << json.dump(indent, ' ', false, SortedJson::error_handler_t::replace) << '\n';
  }

  void WriteSummary() const {
    std::cout << "Summary\n";
    for (const auto& [kind, outcomes] : m_kinds) {
      const char* separator = ": ";
      std::cout << "  " << kind;
      for (const auto& [label, count] : outcomes) {
        std::cout << std::exchange(separator, ", ") << count << ' ' << label;
      }
      std::cout << '\n';
    }
    for (const auto& [text, count] : m_history.counts) {
      std::cout << "  " << Printable(text) << ": " << count << '\n';
    }
    for (const auto& [name, file] : m_waits) {
      std::cout << "  waited for " << name << ": " << Seconds(file.waits) << " in "
                << Counted(file.operations.size(), "operation") << '\n';
      for (const std::string& operation : file.operations) {
        std::cout << "    " << operation << '\n';
      }
    }
    std::cout << (m_history.notes.empty() ? "" : "\nNotes\n");
    for (const std::string& note : m_history.notes) {
      std::cout << "  " << note << '\n';
    }
  }

  const Arguments& m_arguments;
  LogHistory& m_history;
  const bool m_isJson;
  std::string m_title = "Operations [process thread time]\n";  // before the first one
  std::map<std::size_t, Operation> m_operations;               // by number; none with --follow
  std::map<std::string, Counts> m_kinds;                       // their outcomes
  std::map<std::string, FileWaits> m_waits;
  SortedJson m_document;
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

void Explain(const Arguments& arguments) {
  RefuseIf(arguments.since.find_first_not_of("0123456789-:. +") != std::string::npos,
           '\'' + arguments.since + "' is no time of a log, such as 11-21 10:00, 10:00:30 or 71.5");
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
  const bool hasRecords = ReadHistory(*log, arguments.since, history);
  if (hasRecords) {
    report.End();
  }
  FailIf(log->bad(), "cannot read " + name);
  FailIf(!hasRecords, name + " has no line of the library's log" +
                          (arguments.since.empty() ? "" : " since " + arguments.since));
}

}  // namespace vorndb
