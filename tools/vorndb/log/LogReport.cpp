#include "log/LogReport.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "Text.h"
#include "log/LogOutcome.h"

namespace vorndb {

namespace {

struct CodeName {
  std::string_view code;
  std::string_view name;
};

// Those that docs/log.md explains.
constexpr CodeName kCodeNames[] = {
    {"1", "SQLITE_ERROR"},    {"5", "SQLITE_BUSY"},        {"6", "SQLITE_LOCKED"},
    {"7", "SQLITE_NOMEM"},    {"8", "SQLITE_READONLY"},    {"10", "SQLITE_IOERR"},
    {"11", "SQLITE_CORRUPT"}, {"13", "SQLITE_FULL"},       {"14", "SQLITE_CANTOPEN"},
    {"18", "SQLITE_TOOBIG"},  {"19", "SQLITE_CONSTRAINT"}, {"20", "SQLITE_MISMATCH"},
    {"26", "SQLITE_NOTADB"},
};

std::string NamedCode(const std::string& code) {
  if (code.empty()) {
    return "an unreadable code";
  }
  const auto* const found = std::find_if(std::begin(kCodeNames), std::end(kCodeNames),
                                         [&](const CodeName& name) { return name.code == code; });
  return found == std::end(kCodeNames) ? code : code + ' ' + std::string(found->name);
}

std::string Count(int count, const std::string& one, const std::string& many) {
  return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

std::string Times(int count) { return count == 1 ? "once" : std::to_string(count) + " times"; }

std::string Seconds(int waits) {
  return std::to_string(waits / 10) + '.' + std::to_string(waits % 10) + " s";
}

// Directory and name stand with a blank between them: with a single blank the path is
// clear, and joined as the library does.
std::string PathOf(const std::string& logged) {
  const std::size_t blank = logged.find(' ');
  if (blank == std::string::npos || logged.find(' ', blank + 1) != std::string::npos ||
      logged == " ") {
    return '"' + Printable(logged) + '"';
  }
  std::string path = logged.substr(0, blank);
  if (!path.empty() && path.back() != '/') {
    path += '/';
  }
  return Printable(path + logged.substr(blank + 1));
}

std::string FileOf(const Operation& operation) {
  switch (operation.fileState) {
    case Operation::File::kNamed:
      return PathOf(operation.file);
    case Operation::File::kUnreadable:
      return "an unreadable file";
    case Operation::File::kNotNamed:
      break;
  }
  return "a file that is not named";
}

std::string KindOf(const Operation& operation) {
  return operation.kind.empty() ? "an operation" : operation.kind;
}

std::string OriginOf(const LogPrefix& prefix) {
  std::string origin = prefix.process;
  for (const std::string& part : {prefix.thread, prefix.time}) {
    origin += (origin.empty() || part.empty() ? "" : " ") + part;
  }
  return origin.empty() ? "" : " [" + Printable(origin) + ']';
}

std::string EndOf(const Operation& operation, Outcome outcome) {
  std::string text = TextOf(outcome).label;
  if (outcome == Outcome::kFailed || outcome == Outcome::kNotOpened) {
    text += ", ";
    text += operation.code.empty() ? "an unreadable code" : operation.code;
    text += operation.text.empty() ? "" : ": " + Printable(operation.text);
  }
  return text;
}

// --- One operation ----------------------------------------------------------------------

void WriteWaits(const Operation& operation, std::ostream& output) {
  if (operation.waits > 0) {
    output << "   waited " << Seconds(operation.waits) << " for the busy file";
    if (operation.limits > 0) {
      output << ", up to the limit" << (operation.limits > 1 ? ' ' + Times(operation.limits) : "");
    }
    output << '\n';
  }
  if (operation.busyUnreadable > 0) {
    output << "   met the busy file: "
           << Count(operation.busyUnreadable, "unreadable line", "unreadable lines")
           << " of a wait or of the limit\n";
  }
}

void WriteRows(const Operation& operation, std::ostream& output) {
  const char* const doubt =
      operation.kind == "CheckExistTable" ? "the answer may be wrong" : "the cursor may lack rows";
  for (const std::string& text : operation.stepFailures) {
    output << "   fetching rows failed" << (text.empty() ? "" : ": " + Printable(text)) << "; "
           << doubt << '\n';
  }
  if (operation.stepLimits > 0) {
    output << "   the limit was met while fetching rows; " << doubt << '\n';
  }
  if (operation.blobs > 0) {
    output << "   " << Count(operation.blobs, "cell is a blob", "cells are blobs")
           << " and empty in the cursor\n";
  }
  if (operation.stepUnreadable > 0) {
    output << "   fetching rows: "
           << Count(operation.stepUnreadable, "unreadable line", "unreadable lines")
           << " of a failure or a blob\n";
  }
}

void WriteReadFailures(const std::map<std::string, int>& failures, const char* indent,
                       std::ostream& output) {
  for (const auto& [failure, count] : failures) {
    output << indent << Printable(failure) << (count > 1 ? " (" + Times(count) + ')' : "") << '\n';
  }
}

void WriteOperation(std::size_t number, const Operation& operation, Outcome outcome,
                    std::ostream& output) {
  output << number << ". " << KindOf(operation) << " on " << FileOf(operation)
         << OriginOf(operation.prefix) << ": " << EndOf(operation, outcome) << '\n';
  if (!operation.begun) {
    output << "   its beginning is not in the log\n";
  }
  WriteWaits(operation, output);
  WriteRows(operation, output);
  WriteReadFailures(operation.readFailures, "   then, reading a cursor: ", output);
}

// --- All of them ------------------------------------------------------------------------

// What the summary counts.
class Summary {
 public:
  void Add(const Operation& operation, Outcome outcome) {
    ++m_kinds[KindOf(operation)][outcome];
    m_outcomes.insert(outcome);
    if (outcome == Outcome::kFailed || outcome == Outcome::kNotOpened) {
      ++m_codes[NamedCode(operation.code)];
    }
    if (operation.waits > 0) {
      Waits& waits = m_waits[FileOf(operation)];
      waits.time += operation.waits;
      ++waits.operations;
    }
  }

  void Write(std::ostream& output) const {
    for (const auto& [kind, outcomes] : m_kinds) {
      output << "  " << kind << ": ";
      const char* separator = "";
      for (const auto& [outcome, count] : outcomes) {
        output << separator << count << ' ' << TextOf(outcome).label;
        separator = ", ";
      }
      output << '\n';
    }
    for (const auto& [code, count] : m_codes) {
      output << "  failed with " << code << ": " << Times(count) << '\n';
    }
    for (const auto& [file, waits] : m_waits) {
      output << "  waited for " << file << ": " << Seconds(waits.time) << " in "
             << Count(waits.operations, "operation", "operations") << '\n';
    }
  }

  void WriteNotes(std::ostream& output) const {
    for (const Outcome outcome : m_outcomes) {
      if (const OutcomeText text = TextOf(outcome); text.note != nullptr) {
        output << "  " << text.label << ": " << text.note << ".\n";
      }
    }
  }

 private:
  struct Waits {
    int time = 0;
    int operations = 0;
  };

  std::map<std::string, std::map<Outcome, int>> m_kinds;
  std::set<Outcome> m_outcomes;
  std::map<std::string, int> m_codes;
  std::map<std::string, Waits> m_waits;
};

void WriteCounts(const LineCounts& counts, std::ostream& output) {
  output << "  " << Count(counts.own, "line of the library", "lines of the library") << ", "
         << counts.foreign << " of others\n";
  if (counts.unreadable > 0) {
    output << "  unreadable, since protected or damaged: "
           << Count(counts.unreadable, "line", "lines") << '\n';
  }
  if (counts.continued > 0) {
    output << "  going on with a text of the line before: "
           << Count(counts.continued, "line", "lines") << '\n';
  }
}

void WriteNotes(const LogHistory& history, const LineCounts& counts, const Summary& summary,
                std::ostream& output) {
  summary.WriteNotes(output);
  if (counts.unreadable > 0) {
    output << "  unreadable: what such lines mean is told from place and priority alone.\n";
  }
  if (history.LacksThreads()) {
    output << "  The log names no threads: what ran at once in a process is mixed up here.\n";
  }
}

}  // namespace

void WriteReport(const LogHistory& history, const LineCounts& counts, std::ostream& output) {
  Summary summary;
  std::size_t number = 0;
  output << "Operations [process thread time]\n";
  WriteReadFailures(history.EarlyReadFailures(),
                    "before the first of its thread, reading a cursor: ", output);
  for (const Operation& operation : history.Operations()) {
    const Outcome outcome = OutcomeOf(operation, history.LevelOf(operation));
    WriteOperation(++number, operation, outcome, output);
    summary.Add(operation, outcome);
  }
  output << "\nSummary\n";
  WriteCounts(counts, output);
  summary.Write(output);
  if (history.UnnamedLocks() > 0) {
    output << "  locks that could not be named: " << history.UnnamedLocks() << '\n';
  }
  std::ostringstream notes;
  WriteNotes(history, counts, summary, notes);
  if (!notes.str().empty()) {
    output << "\nNotes\n" << notes.str();
  }
}

}  // namespace vorndb
