#include "DatabaseFile.h"

#include <sqlite3.h>

#include <filesystem>
#include <system_error>

#include "BasePath.h"
#include "Database.h"
#include "Errors.h"
#include "Names.h"

namespace vorndb {

namespace {

// With a folder in front, no name has a meaning of its own to SQLite.
std::string DirectoryOf(const std::string& file) {
  const std::size_t slash = file.rfind('/');
  return slash == std::string::npos ? "." : file.substr(0, slash + 1);
}

// The reason why a file cannot be opened.
std::string OpenProblem(const std::string& file) {
  std::error_code ignored;
  if (!std::filesystem::is_directory(DirectoryOf(file), ignored)) {
    return "the folder " + DirectoryOf(file) + " does not exist";
  }
  return file +
         (std::filesystem::is_directory(file, ignored) ? " is a folder" : " cannot be opened");
}

CallResult CheckTable(const std::string& file, const std::string& table, bool& exists) {
  BasePath location;
  Locate(file, location);
  const std::string name = Quoted(table);
  return Observe([&] { return Database().CheckExistTable(location, name.c_str(), exists); });
}

// SQLite's text for the failure of an operation, or nothing.
std::string FailureIn(const Log& log) {
  std::string text;
  for (const LogLine& line : log) {
    if (line.event == LogEvent::kFailed || line.event == LogEvent::kOpenFailed) {
      text = line.text;
    }
  }
  return text;
}

// The reason why a result is truncated, or nothing if it is complete.
std::string BreakIn(const Log& log) {
  for (const LogLine& line : log) {
    if (line.event == LogEvent::kStepFailed || line.event == LogEvent::kExistStepFailed) {
      return "reading stopped" + (line.text.empty() ? "" : " with: " + line.text);
    }
    // Only the wait for a row truncates a result; elsewhere the last attempt decides.
    if (line.event == LogEvent::kBusyLimit && line.file == "DatabasePasrser.cpp") {
      return "the file stayed busy";
    }
  }
  return "";
}

// SQLite's words where they say as much as the tool could.
std::string Explain(const std::string& file, const std::vector<std::string>& tables, int result,
                    const std::string& message) {
  const std::string words = message.empty() ? "no more is known" : message;
  switch (result) {
    case SQLITE_ERROR:
      // The platform may have made SQLite's message unreadable; then the table is looked for.
      for (const std::string& table : tables) {
        if (message == std::string("no such table: ").append(table) ||
            (message.empty() && LacksTable(file, table))) {
          return std::string("the table ").append(table).append(" does not exist in ") + file;
        }
      }
      return "SQLite refuses it: " + words;
    case SQLITE_BUSY:
      return file + " is busy: another program kept it locked for longer than the library waits";
    case SQLITE_READONLY:
      return file + " cannot be written";
    case SQLITE_CORRUPT:
      return file + " is damaged: " + words;
    case SQLITE_CANTOPEN:
      return OpenProblem(file);
    case SQLITE_CONSTRAINT:
      return "the table does not allow it: " + words;
    case SQLITE_NOTADB:
      return file + " is not a database";
    default:
      return message.empty() ? sqlite3_errstr(result) : message;
  }
}

}  // namespace

void RequireFileName(const std::string& file) {
  RefuseIf(file.empty(), "the database file is missing: vorndb -f FILE …");
  RefuseIf(file.back() == '/', "'" + file + "' names no file");
}

void Locate(const std::string& file, BasePath& request) {
  request.SetPath(DirectoryOf(file).c_str(), file.substr(file.rfind('/') + 1).c_str());
}

bool IsThere(const std::string& file) {
  // A file that cannot be looked at is left to SQLite to complain about.
  std::error_code problem;
  return std::filesystem::status(file, problem).type() != std::filesystem::file_type::not_found;
}

void RequireExisting(const std::string& file) {
  FailIf(!IsThere(file), "the file " + file + " does not exist");
}

bool HasTable(const std::string& file, const std::string& table) {
  bool exists = false;
  const CallResult call = CheckTable(file, table, exists);
  ExpectSuccess(file, {}, call);
  ExpectComplete(file, call);
  return exists;
}

bool LacksTable(const std::string& file, const std::string& table) {
  bool exists = false;
  const CallResult call = CheckTable(file, table, exists);
  return call.result == SQLITE_OK && BreakIn(call.log).empty() && !exists;
}

void ExpectSuccess(const std::string& file, const std::vector<std::string>& tables,
                   const CallResult& call) {
  if (call.result != SQLITE_OK) {
    throw Failure(Explain(file, tables, call.result, FailureIn(call.log)) + " (SQLite " +
                  std::to_string(call.result) + ")");
  }
}

void ExpectComplete(const std::string& file, const CallResult& call) {
  const std::string reason = BreakIn(call.log);
  FailIf(!reason.empty(), "the result from " + file + " is not complete; " + reason);
}

}  // namespace vorndb
