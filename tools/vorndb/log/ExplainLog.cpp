#include <sqlite3.h>

#include <cstddef>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <utility>

#include "Commands.h"
#include "Errors.h"
#include "Terminal.h"
#include "log/LogHistory.h"

namespace vorndb {

namespace {

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
     "a query logs nothing when it succeeds; its statement was prepared, unless an exception left "
     "it before"},
    {"opened", "the application called OpenDB itself, which logs nothing when it succeeds"},
    {"no end in the log",
     "an exception left it, its process ended or was still at it, or lines are missing"},
    {"no failure up to the end of the log",
     "nothing else of its thread follows; it may not have come to its end"},
    {"no failure in the log",
     "lines of success (priority 4) of its process are not in the log: a write that succeeded, a "
     "query that was prepared, or OpenDB alone"},
    {"neither success nor failure in the log",
     "its entry (priority 3) is not in the log: a query that was prepared, OpenDB alone, or a "
     "write whose end is missing"},
    {"ended, how is unreadable", nullptr},
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

// With SQLite's name for it, if docs/log.md explains the code.
std::string NamedCodeOf(const Operation& operation) {
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
  return CodeOf(operation) + (found == names.end() ? "" : ' ' + found->second);
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
    output << "   waited " << Seconds(operation.waits) << " for the busy file"
           << (operation.limits > 0 ? ", up to the limit" : "")
           << (operation.limits > 1 ? ' ' + Times(operation.limits) : "") << '\n';
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
  output << KindOf(operation) << " on " << FileOf(operation) << OriginOf(operation.prefix) << ": "
         << TextOf(outcome).label;
  if (HasCode(outcome)) {
    output << ", " << CodeOf(operation) << Appended(operation.text);
  }
  output << '\n' << (operation.begun ? "" : "   its beginning is not in the log\n");
  WriteWaits(operation, output);
  WriteRows(operation, output);
  WriteReadFailures(operation.readFailures, "   then", output);
}

struct Summary {
  std::map<std::string, std::map<Outcome, int>> kinds;
  std::map<Outcome, int> outcomes;
  std::map<std::string, int> codes;
  std::map<std::string, std::pair<int, std::size_t>> waits;  // and their operations, by file
};

void WriteSummary(const LogHistory& history, const Summary& summary, std::ostream& output) {
  output << "\nSummary\n  " << Counted(history.own, "line") << " of the library, "
         << history.foreign << " of others\n";
  WriteCount("  unreadable, since protected or damaged: ", history.unreadable, "line", "", output);
  WriteCount("  going on with a text of the line before: ", history.continued, "line", "", output);
  for (const auto& [kind, outcomes] : summary.kinds) {
    output << "  " << kind;
    const char* separator = ": ";
    for (const auto& [outcome, count] : outcomes) {
      output << separator << count << ' ' << TextOf(outcome).label;
      separator = ", ";
    }
    output << '\n';
  }
  for (const auto& [code, count] : summary.codes) {
    output << "  failed with " << code << ": " << Times(count) << '\n';
  }
  for (const auto& [file, waits] : summary.waits) {
    output << "  waited for " << file << ": " << Seconds(waits.first) << " in "
           << Counted(waits.second, "operation") << '\n';
  }
  if (history.unnamedLocks > 0) {
    output << "  locks that could not be named: " << history.unnamedLocks << '\n';
  }
}

void WriteNotes(const LogHistory& history, const Summary& summary, std::ostream& output) {
  std::string notes;
  for (const auto& [outcome, count] : summary.outcomes) {
    if (const auto& [label, note] = TextOf(outcome); note != nullptr) {
      notes += "  " + std::string(label) + ": " + note + ".\n";
    }
  }
  if (history.unreadable > 0) {
    notes += "  unreadable: what such lines mean is told from place and priority alone.\n";
  }
  if (history.lacksThreads) {
    notes += "  The log names no threads: what ran at once in a process is mixed up here.\n";
  }
  output << (notes.empty() ? "" : "\nNotes\n" + notes);
}

void WriteReport(const LogHistory& history, std::ostream& output) {
  Summary summary;
  std::size_t number = 0;
  output << "Operations [process thread time]\n";
  WriteReadFailures(history.earlyReadFailures, "before the first of its thread", output);
  for (const Operation& operation : history.operations) {
    const Outcome outcome = OutcomeOf(history, operation);
    output << ++number << ". ";
    WriteOperation(operation, outcome, output);
    ++summary.kinds[KindOf(operation)][outcome];
    ++summary.outcomes[outcome];
    if (HasCode(outcome)) {
      ++summary.codes[NamedCodeOf(operation)];
    }
    if (operation.waits > 0) {
      auto& [waits, operations] = summary.waits[FileOf(operation)];
      waits += operation.waits;
      ++operations;
    }
  }
  WriteSummary(history, summary, output);
  WriteNotes(history, summary, output);
}

}  // namespace

void Explain(const Arguments& arguments) {
  std::string name = arguments.path;
  std::ifstream file;
  std::istream& log = OpenInput(name, file);
  const LogHistory history = ReadHistory(log);
  if (history.own > 0) {
    WriteReport(history, std::cout);
  }
  FailIf(log.bad(), "cannot read " + name);
  FailIf(history.own == 0, name + " has no line of the library's log");
}

}  // namespace vorndb
