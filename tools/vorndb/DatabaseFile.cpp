#include "DatabaseFile.h"

#include <sqlite3.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include "Errors.h"
#include "SelectRequest.h"

namespace vorndb {

namespace {

// A call of the library whose result is not 0.
struct CallFailure : Failure {
  CallFailure(const std::string& problem, int aResult, std::string aText = "")
      : Failure(problem + " (SQLite " + std::to_string(aResult) + ")"),
        result(aResult),
        text(std::move(aText)) {}

  int result;
  std::string text;  // SQLite's, unless it is unreadable
};

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

// SQLite's words where they are as clear as the tool's could be.
std::string Explained(const std::string& file, int result, const std::string& text) {
  const std::string words = text.empty() ? sqlite3_errstr(result) : text;
  const std::map<int, std::string> problems{
      {SQLITE_ERROR, "SQLite refuses it: " + words},
      {SQLITE_BUSY,
       file + " is busy: another program kept it locked for longer than the library waits"},
      {SQLITE_READONLY, file + " cannot be written"},
      {SQLITE_CORRUPT, file + " is damaged: " + words},
      {SQLITE_CANTOPEN, OpenProblem(file)},
      {SQLITE_CONSTRAINT, "the table does not allow it: " + words},
      {SQLITE_NOTADB, file + " is not a database"},
  };
  const auto found = problems.find(result);
  return found == problems.end() ? words : found->second;
}

// Empty texts may be NULL.
std::vector<Row> ReadTexts(const std::string& file, const std::string& table, const Texts& columns,
                           const Pairs& where = {}) {
  Statement<SelectRequest> statement({}, where);
  statement.request.SetTable(table.c_str());
  Result result = Query(file, statement.request, &Database::Select);
  FailIf(!result.stop.empty(), result.stop);
  Choose(result, {columns, std::nullopt, std::nullopt});
  if (!result.doubts.empty()) {
    throw Failure(table + " in " + file + " cannot be read as it is: " + result.doubts.front());
  }
  std::vector<Row> rows;
  EachRow(result, [&rows](const Row& row) { rows.push_back(row); });
  return rows;
}

// The texts in a column of sqlite_master, without the tables and indexes that SQLite makes by
// itself.
Texts Listed(const std::string& file, const std::string& column, const Pairs& where) {
  Texts texts;
  for (const Row& row : ReadTexts(file, "sqlite_master", {"name", column}, where)) {
    if (row[0]->rfind("sqlite_", 0) != 0) {
      texts.push_back(*row[1]);
    }
  }
  return texts;
}

// Names the tables that there are.
std::string MissingTable(const std::string& file, const std::string& table) {
  const Texts tables = TablesOf(file);
  return "the table " + table + " does not exist in " + file +
         (tables.empty() ? ", which has no table" : "; its tables: " + Joined(tables));
}

}  // namespace

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
  const std::string name = Escaped(table, "'", '\'');
  bool exists = false;
  const Texts lines = Observe(
      file, location, [&] { return Database().CheckExistTable(location, name.c_str(), exists); });
  const std::string stop = StopIn(file, ReadLines(lines));
  FailIf(!stop.empty(), stop);
  return exists;
}

std::string Namesake(const std::string& file, const std::string& name) {
  for (const Row& row : ReadTexts(file, "sqlite_master", {"type", "name"})) {
    if ((row[0] == "table" || row[0] == "view") &&
        sqlite3_stricmp(row[1]->c_str(), name.c_str()) == 0) {
      return *row[0] + ' ' + *row[1];
    }
  }
  return "";
}

Texts TablesOf(const std::string& file) {
  Texts tables = Listed(file, "name", {{"type", "table"}});
  std::sort(tables.begin(), tables.end());
  return tables;
}

Texts StatementsOf(const std::string& file, const std::string& table) {
  return Listed(file, "sql", table.empty() ? Pairs() : Pairs{{"tbl_name", table}});
}

std::string ColumnTable(const std::string& table) { return "pragma_table_info('" + table + "')"; }

std::vector<Column> ColumnsOf(const std::string& file, const std::string& table) {
  std::vector<Column> columns;
  for (const Row& row : ReadTexts(file, ColumnTable(table), {"name", "type", "notnull", "pk"})) {
    columns.push_back({*row[0], *row[1], row[2] == "1", std::stoi(*row[3])});
  }
  return columns;
}

// A cursor has an empty text for NULL, too, but no condition on a text is met by NULL.
std::vector<Row> ReadRows(const std::string& file, const std::string& table, const Texts& columns) {
  const std::vector<Row> texts = ReadTexts(file, table, columns);
  std::vector<Row> rows = texts;
  for (std::size_t column = 0; column < columns.size(); ++column) {
    const auto isEmpty = [column](const Row& row) { return row[column]->empty(); };
    if (std::none_of(texts.begin(), texts.end(), isEmpty)) {
      continue;
    }
    RequirePlainName("column", columns[column]);
    const std::vector<Row> empty = ReadTexts(file, table, columns, {{columns[column], ""}});
    std::multiset<Row> left(empty.begin(), empty.end());
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (isEmpty(texts[row]) && left.extract(texts[row]).empty()) {
        rows[row][column].reset();
      }
    }
  }
  return rows;
}

Texts Observe(const std::string& file, BasePath& request, const std::function<int()>& call) {
  request.SetPath(DirectoryOf(file).c_str(), file.substr(file.rfind('/') + 1).c_str());
  TakeLines();
  const int result = call();
  Texts lines = TakeLines();
  if (result == SQLITE_OK) {
    return lines;
  }
  std::string text;
  for (const LogLine& line : ReadLines(lines)) {
    const bool isFailure = line.event == LogEvent::kFailed || line.event == LogEvent::kOpenFailed;
    text = isFailure ? line.text : text;
  }
  throw CallFailure(Explained(file, result, text), result, text);
}

void OnTables(const std::string& file, const Texts& tables, const std::function<void()>& call) {
  try {
    call();
  } catch (const CallFailure& failure) {
    const std::string& text = failure.text;
    for (const std::string& table : failure.result == SQLITE_ERROR ? tables : Texts()) {
      // The platform may have made SQLite's text unreadable; then the table is looked for.
      if (text == "no such table: " + table || (text.empty() && Namesake(file, table).empty())) {
        throw CallFailure(MissingTable(file, table), failure.result);
      }
    }
    const bool lacksColumn = text.find("no such column: ") == 0 ||
                             text.find(" has no column named ") != std::string::npos;
    Texts columns;
    for (const std::string& table : lacksColumn ? tables : Texts()) {
      const Texts own = NamesIn(ColumnsOf(file, table));
      columns.insert(columns.end(), own.begin(), own.end());
    }
    // SQLite's text ends with the name of the column.
    const std::string hint = Suggestion(text.substr(text.find_last_of(" .") + 1), columns);
    throw CallFailure(Explained(file, failure.result, text) + hint, failure.result);
  }
}

void RequireTable(const std::string& file, const std::string& table, std::size_t found) {
  if (!table.empty() && found == 0) {
    throw Failure(MissingTable(file, table));
  }
}

}  // namespace vorndb
