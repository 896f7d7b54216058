#include "DatabaseFile.h"

#include <sqlite3.h>

#include <filesystem>
#include <system_error>

#include "BasePath.h"
#include "Database.h"
#include "Errors.h"
#include "Names.h"
#include "log/QueryLog.h"

namespace vorndb {

namespace {

// SQLite's own message of a failure, or nothing.
std::string MessageIn(const std::vector<LoggedLine>& lines) {
  std::string message;
  for (const LoggedLine& logged : lines) {
    const LogEvent event = logged.meaning.event;
    if (event == LogEvent::kFailed || event == LogEvent::kOpenFailed) {
      message = logged.meaning.text;
    }
  }
  return message;
}

// The reason why a file cannot be opened.
std::string OpenProblem(const std::string& path, const std::string& directory) {
  std::error_code ignored;
  if (!std::filesystem::is_directory(directory, ignored)) {
    return "the folder " + directory + " does not exist";
  }
  if (std::filesystem::is_directory(path, ignored)) {
    return path + " is a folder";
  }
  return path + " cannot be opened";
}

}  // namespace

DatabaseFile::DatabaseFile(const std::string& path) : m_path(path) {
  // With a folder in front, no name has a meaning of its own to SQLite.
  const std::size_t slash = path.rfind('/');
  m_directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  m_name = path.substr(slash + 1);
  if (m_name.empty()) {
    throw UsageError("'" + path + "' names no file");
  }
}

void DatabaseFile::Locate(BasePath& request) const {
  request.SetPath(m_directory.c_str(), m_name.c_str());
}

bool DatabaseFile::IsThere() const {
  // A file that cannot be looked at is left to SQLite to complain about.
  std::error_code problem;
  return std::filesystem::status(m_path, problem).type() != std::filesystem::file_type::not_found;
}

void DatabaseFile::RequireExisting() const {
  if (!IsThere()) {
    throw Failure("the file " + m_path + " does not exist");
  }
}

bool DatabaseFile::HasTable(const std::string& table) const {
  BasePath location;
  Locate(location);
  const std::string name = Quoted(table);
  bool exists = false;
  const CallResult call =
      Observe([&] { return Database().CheckExistTable(location, name.c_str(), exists); });
  ExpectSuccess(call, {});
  ExpectComplete(call);
  return exists;
}

bool DatabaseFile::LacksTable(const std::string& table) const {
  try {
    return !HasTable(table);
  } catch (const Failure&) {
    return false;
  }
}

void DatabaseFile::ExpectSuccess(const CallResult& call,
                                 const std::vector<std::string>& tables) const {
  if (call.result != SQLITE_OK) {
    throw Failure(Explain(call.result, tables, MessageIn(call.log)) + " (SQLite " +
                  std::to_string(call.result) + ")");
  }
}

void DatabaseFile::ExpectComplete(const CallResult& call) const {
  const std::string reason = BreakOf(call.log);
  if (!reason.empty()) {
    throw Failure("the result from " + m_path + " is not complete; " + reason);
  }
}

// SQLite's words where they say as much as the tool could.
std::string DatabaseFile::Explain(int result, const std::vector<std::string>& tables,
                                  const std::string& message) const {
  const std::string words = message.empty() ? "no more is known" : message;
  switch (result) {
    case SQLITE_ERROR:
      // The platform may have made SQLite's message unreadable; then the table is looked for.
      for (const std::string& table : tables) {
        if (message == "no such table: " + table || (message.empty() && LacksTable(table))) {
          return "the table " + table + " does not exist in " + m_path;
        }
      }
      return "SQLite refuses it: " + words;
    case SQLITE_BUSY:
      return m_path + " is busy: another program kept it locked for longer than the library waits";
    case SQLITE_READONLY:
      return m_path + " cannot be written";
    case SQLITE_CORRUPT:
      return m_path + " is damaged: " + words;
    case SQLITE_CANTOPEN:
      return OpenProblem(m_path, m_directory);
    case SQLITE_CONSTRAINT:
      return "the table does not allow it: " + words;
    case SQLITE_NOTADB:
      return m_path + " is not a database";
    default:
      return message.empty() ? sqlite3_errstr(result) : message;
  }
}

}  // namespace vorndb
