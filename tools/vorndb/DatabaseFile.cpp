#include "DatabaseFile.h"

#include <sqlite3.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>

#include "BasePath.h"
#include "Cursor.h"
#include "Database.h"
#include "Errors.h"
#include "Names.h"
#include "SelectRequest.h"
#include "Terminal.h"

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

// Calls `take` with a cursor on each row. Throws Failure.
template <typename Take>
void EachRowOf(const std::string& file, const std::string& table, Take take) {
  SelectRequest request;
  Locate(file, request);
  request.SetTable(table.c_str());
  Cursor cursor;
  const CallResult call = Observe([&] { return Database().Select(request, cursor); });
  ExpectSuccess(file, {}, call);
  ExpectComplete(file, call);
  while (cursor.MoveToNext() == 0) {
    take(cursor);
  }
}

std::string Text(Cursor& row, const char* column) {
  std::string text;
  row.GetString(column, text);
  return text;
}

// Whether SQLite makes the table or index of that name by itself.
bool IsInternal(const std::string& name) { return name.rfind("sqlite_", 0) == 0; }

// By SQLite's rules: a type with one of these words is no number's, unless it has INT.
bool HoldsNumbers(std::string type) {
  std::transform(type.begin(), type.end(), type.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  const auto has = [&type](const char* word) { return type.find(word) != std::string::npos; };
  return has("INT") || !(type.empty() || has("CHAR") || has("CLOB") || has("TEXT") || has("BLOB"));
}

// SQLite's text for the failure of an operation, or nothing.
std::string FailureIn(const CallResult& call) {
  std::string text;
  for (const LogLine& line : ReadLines(call.lines)) {
    if (line.event == LogEvent::kFailed || line.event == LogEvent::kOpenFailed) {
      text = line.text;
    }
  }
  return text;
}

// The reason why a result is truncated, or nothing if it is complete.
std::string BreakIn(const CallResult& call) {
  for (const LogLine& line : ReadLines(call.lines)) {
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

// Names the tables that there are.
std::string MissingTable(const std::string& file, const std::string& table) {
  constexpr std::size_t kMost = 20;
  std::vector<std::string> tables = TablesOf(file);
  if (tables.size() > kMost) {
    const std::size_t more = tables.size() - kMost;
    tables.resize(kMost);
    tables.push_back(std::to_string(more) + " more");
  }
  return "the table " + table + " does not exist in " + file +
         (tables.empty() ? ", which has no table" : "; its tables: " + Joined(tables));
}

// For SQLite's text about a column, which it ends with.
std::string ColumnSuggestion(const std::string& file, const std::vector<std::string>& tables,
                             const std::string& message) {
  if (message.find("no such column: ") != 0 &&
      message.find(" has no column named ") == std::string::npos) {
    return "";
  }
  std::vector<std::string> names;
  for (const std::string& table : tables) {
    for (const Column& column : ColumnsOf(file, table)) {
      names.push_back(column.name);
    }
  }
  return Suggestion(message.substr(message.find_last_of(" .") + 1), names);
}

// SQLite's words where they are as clear as the tool's could be.
std::string Explain(const std::string& file, const std::vector<std::string>& tables, int result,
                    const std::string& message) {
  const std::string words = message.empty() ? "no more is known" : message;
  switch (result) {
    case SQLITE_ERROR:
      // The platform may have made SQLite's message unreadable; then the table is looked for.
      for (const std::string& table : tables) {
        if (message == std::string("no such table: ").append(table) ||
            (message.empty() && LacksTable(file, table))) {
          return MissingTable(file, table);
        }
      }
      return "SQLite refuses it: " + words + ColumnSuggestion(file, tables, message);
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
  RefuseIf(file.empty(), "the database file is missing: vorndb FILE COMMAND");
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
  return call.result == SQLITE_OK && BreakIn(call).empty() && !exists;
}

std::vector<std::string> TablesOf(const std::string& file) {
  std::vector<std::string> tables;
  EachRowOf(file, "sqlite_master", [&tables](Cursor& row) {
    const std::string name = Text(row, "name");
    if (Text(row, "type") == "table" && !IsInternal(name)) {
      tables.push_back(name);
    }
  });
  std::sort(tables.begin(), tables.end());
  return tables;
}

std::vector<std::string> StatementsOf(const std::string& file, const std::string& table) {
  std::vector<std::string> statements;
  EachRowOf(file, "sqlite_master", [&](Cursor& row) {
    if ((table.empty() || Text(row, "tbl_name") == table) && !IsInternal(Text(row, "name"))) {
      statements.push_back(Text(row, "sql"));
    }
  });
  return statements;
}

std::string ColumnTable(const std::string& table) { return "pragma_table_info('" + table + "')"; }

std::vector<Column> ColumnsOf(const std::string& file, const std::string& table) {
  std::vector<Column> columns;
  EachRowOf(file, ColumnTable(table), [&columns](Cursor& row) {
    const std::string type = Text(row, "type");
    columns.push_back({Text(row, "name"), type, HoldsNumbers(type), Text(row, "notnull") == "1",
                       std::stoi(Text(row, "pk"))});
  });
  return columns;
}

void ExpectSuccess(const std::string& file, const std::vector<std::string>& tables,
                   const CallResult& call) {
  if (call.result != SQLITE_OK) {
    throw Failure(Explain(file, tables, call.result, FailureIn(call)) + " (SQLite " +
                  std::to_string(call.result) + ")");
  }
}

void RequireTable(const std::string& file, const std::string& table, std::size_t found) {
  if (!table.empty() && found == 0) {
    throw Failure(MissingTable(file, table));
  }
}

bool IsComplete(const CallResult& call) { return BreakIn(call).empty(); }

void ExpectComplete(const std::string& file, const CallResult& call) {
  const std::string reason = BreakIn(call);
  FailIf(!reason.empty(), "the result from " + file + " is not complete; " + reason);
}

}  // namespace vorndb
