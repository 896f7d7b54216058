#include "DatabaseFile.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <tuple>

#include "Errors.h"
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

// The columns of sqlite_master, and of the table with the columns of a table.
enum Master { kKind, kName, kTable, kRootPage, kSql };
enum ColumnPart { kPosition, kColumnName, kType, kNotNull, kDefault, kKey };

Result SelectFrom(const std::string& file, const std::string& table, const Pairs& where) {
  Statement<SelectRequest> statement({}, where);
  statement.request.SetTable(table.c_str());
  return Query(file, statement.request, &Database::Select);
}

std::vector<Row> AllRows(const std::string& file, const Result& result) {
  ExpectComplete(file, result.stop);
  std::vector<Row> rows;
  EachRow(result, [&rows](const Row& row) { rows.push_back(row); });
  return rows;
}

std::vector<Row> Lookup(const std::string& file, const std::string& table) {
  return AllRows(file, SelectFrom(file, table, {}));
}

// Empty texts may be NULL.
std::vector<Row> ReadTexts(const std::string& file, const std::string& table, const Texts& columns,
                           const Pairs& where) {
  Result result = SelectFrom(file, table, where);
  Choose(result, {columns, std::nullopt, std::nullopt});
  if (!result.doubts.empty()) {
    throw Failure(table + " in " + file + " cannot be read as it is: " + result.doubts.front());
  }
  return AllRows(file, result);
}

// A cursor has an empty text for NULL, too, but no condition on a text is met by NULL: `empty` are
// the rows with an empty text in the column.
void RemoveNulls(const std::vector<Row>& empty, const std::vector<Row>& texts, std::size_t column,
                 std::vector<Row>& rows) {
  std::multiset<Row> left(empty.begin(), empty.end());
  for (std::size_t row = 0; row < texts.size(); ++row) {
    if (const auto text = left.find(texts[row]); text != left.end()) {
      left.erase(text);
    } else if (texts[row][column]->empty()) {
      rows[row][column].reset();
    }
  }
}

// Whether SQLite makes the table or index of that name by itself.
bool IsInternal(const std::string& name) { return name.rfind("sqlite_", 0) == 0; }

// By SQLite's rules: a type with one of these words is no number's, unless it has INT.
bool HoldsNumbers(const std::string& type) {
  const auto has = [&type](const char* word) {
    return sqlite3_strlike(word, type.c_str(), 0) == 0;
  };
  return has("%INT%") ||
         !(type.empty() || has("%CHAR%") || has("%CLOB%") || has("%TEXT%") || has("%BLOB%"));
}

// SQLite's text for the failure of an operation, or nothing.
std::string FailureIn(const Texts& lines) {
  std::string text;
  for (const LogLine& line : ReadLines(lines)) {
    if (line.event == LogEvent::kFailed || line.event == LogEvent::kOpenFailed) {
      text = line.text;
    }
  }
  return text;
}

// Names the tables that there are.
std::string MissingTable(const std::string& file, const std::string& table) {
  constexpr std::size_t kMost = 20;
  Texts tables = TablesOf(file);
  if (tables.size() > kMost) {
    const std::size_t more = tables.size() - kMost;
    tables.resize(kMost);
    tables.push_back(std::to_string(more) + " more");
  }
  return "the table " + table + " does not exist in " + file +
         (tables.empty() ? ", which has no table" : "; its tables: " + Joined(tables));
}

// For SQLite's text about a column, which it ends with.
std::string ColumnSuggestion(const std::string& file, const Texts& tables,
                             const std::string& message) {
  if (message.find("no such column: ") != 0 &&
      message.find(" has no column named ") == std::string::npos) {
    return "";
  }
  Texts names;
  for (const std::string& table : tables) {
    const Texts own = NamesOf(ColumnsOf(file, table));
    names.insert(names.end(), own.begin(), own.end());
  }
  return Suggestion(message.substr(message.find_last_of(" .") + 1), names);
}

// SQLite's words where they are as clear as the tool's could be.
std::string Explain(const std::string& file, int result, const std::string& text) {
  const std::string words = text.empty() ? "no more is known" : text;
  switch (result) {
    case SQLITE_ERROR:
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
      return text.empty() ? sqlite3_errstr(result) : text;
  }
}

std::string WithCode(const std::string& problem, int result) {
  return problem + " (SQLite " + std::to_string(result) + ")";
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
  RequireExisting(file);
  BasePath location;
  Locate(file, location);
  const std::string name = Escaped(table, "'", '\'');
  bool exists = false;
  const auto lines =
      Observe(file, [&] { return Database().CheckExistTable(location, name.c_str(), exists); });
  ExpectComplete(file, StopIn(ReadLines(lines)));
  return exists;
}

bool LacksTable(const std::string& file, const std::string& table) {
  try {
    return !HasTable(file, table);
  } catch (const Failure&) {
    return false;
  }
}

Texts TablesOf(const std::string& file) {
  Texts tables;
  for (const Row& row : Lookup(file, "sqlite_master")) {
    if (row[kKind] == "table" && !IsInternal(*row[kName])) {
      tables.push_back(*row[kName]);
    }
  }
  std::sort(tables.begin(), tables.end());
  return tables;
}

Texts StatementsOf(const std::string& file, const std::string& table) {
  Texts statements;
  for (const Row& row : Lookup(file, "sqlite_master")) {
    if ((table.empty() || row[kTable] == table) && !IsInternal(*row[kName])) {
      statements.push_back(*row[kSql]);
    }
  }
  return statements;
}

std::string ColumnTable(const std::string& table) { return "pragma_table_info('" + table + "')"; }

std::vector<Column> ColumnsOf(const std::string& file, const std::string& table) {
  std::vector<Column> columns;
  for (const Row& row : Lookup(file, ColumnTable(table))) {
    columns.push_back({*row[kColumnName], *row[kType], HoldsNumbers(*row[kType]),
                       row[kNotNull] == "1", std::stoi(*row[kKey])});
  }
  return columns;
}

Texts NamesOf(const std::vector<Column>& columns) {
  Texts names;
  for (const Column& column : columns) {
    names.push_back(column.name);
  }
  return names;
}

std::vector<Row> ReadRows(const std::string& file, const std::string& table, const Texts& columns) {
  const std::vector<Row> texts = ReadTexts(file, table, columns, {});
  std::vector<Row> rows = texts;
  for (std::size_t column = 0; column < columns.size(); ++column) {
    const auto isEmpty = [column](const Row& row) { return row[column]->empty(); };
    if (std::any_of(texts.begin(), texts.end(), isEmpty)) {
      RequirePlainName("column", columns[column]);
      RemoveNulls(ReadTexts(file, table, columns, {{columns[column], ""}}), texts, column, rows);
    }
  }
  return rows;
}

CallFailure::CallFailure(const std::string& file, int aResult, const std::string& aText)
    : Failure(WithCode(Explain(file, aResult, aText), aResult)), result(aResult), text(aText) {}

Texts Observe(const std::string& file, const std::function<int()>& call) {
  TakeLines();
  const int result = call();
  Texts lines = TakeLines();
  if (result != SQLITE_OK) {
    throw CallFailure(file, result, FailureIn(lines));
  }
  return lines;
}

void OnTables(const std::string& file, const Texts& tables, const std::function<void()>& call) {
  try {
    call();
  } catch (const CallFailure& failure) {
    const auto& [result, text] = std::tie(failure.result, failure.text);
    for (const std::string& table : result == SQLITE_ERROR ? tables : Texts()) {
      // The platform may have made SQLite's text unreadable; then the table is looked for.
      if (text == "no such table: " + table || (text.empty() && LacksTable(file, table))) {
        throw Failure(WithCode(MissingTable(file, table), result));
      }
    }
    const std::string hint = ColumnSuggestion(file, tables, text);
    if (hint.empty()) {
      throw;
    }
    throw Failure(WithCode(Explain(file, result, text) + hint, result));
  }
}

void RequireTable(const std::string& file, const std::string& table, std::size_t found) {
  if (!table.empty() && found == 0) {
    throw Failure(MissingTable(file, table));
  }
}

void ExpectComplete(const std::string& file, const std::string& stop) {
  FailIf(!stop.empty(), "the result from " + file + " is not complete; " + stop);
}

}  // namespace vorndb
