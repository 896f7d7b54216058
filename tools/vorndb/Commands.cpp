#include "Commands.h"

#include <unistd.h>

#include <fstream>
#include <iostream>
#include <type_traits>

#include "CreateRequest.h"
#include "Cursor.h"
#include "Database.h"
#include "DatabaseFile.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "Errors.h"
#include "JoinRequest.h"
#include "Result.h"
#include "SelectRequest.h"
#include "SqlGenerator.h"
#include "Terminal.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"

namespace vorndb {

namespace {

// A request with the values and conditions of the command line. It refers to their names.
template <typename Request>
struct Statement {
  explicit Statement(const Arguments& arguments)
      : values(NamesOf(arguments.values)), conditions(NamesOf(arguments.where)) {
    const char* name = values.c_str();
    for (const auto& [column, value] : arguments.values) {
      request.SetData(name, Quoted(value).c_str());
      name += column.size() + 1;
    }
    name = conditions.c_str();
    for (const auto& [column, value] : arguments.where) {
      request.SetWhere(name, Quoted(value).c_str());
      name += column.size() + 1;
    }
  }

  std::string values;
  std::string conditions;
  Request request;
};

template <typename Request>
using Generate = void (SqlGenerator::*)(Request&, std::string&);

// Runs a request on these tables, a query with its cursor; or, with --sql, prints its
// statement and returns nothing. Throws Failure.
template <typename Request, typename... Output>
std::optional<CallResult> RunOrPrint(const Arguments& arguments, Request& request,
                                     const std::vector<std::string>& tables,
                                     Generate<Request> generate,
                                     int (Database::*run)(Request&, Output&...),
                                     Output&... output) {
  if (arguments.sql) {
    std::string sql;
    (SqlGenerator().*generate)(request, sql);
    std::cout << sql << ";\n";
    return std::nullopt;
  }
  if constexpr (!std::is_same_v<Request, CreateRequest>) {
    RequireExisting(arguments.file);
  }
  Locate(arguments.file, request);
  const CallResult call = Observe([&] { return (Database().*run)(request, output...); });
  ExpectSuccess(arguments.file, tables, call);
  return call;
}

// Upsert, update and delete.
template <typename Request>
void WriteRows(const Arguments& arguments, Generate<Request> generate,
               int (Database::*run)(Request&)) {
  Statement<Request> statement(arguments);
  statement.request.SetTable(arguments.table.c_str());
  RunOrPrint(arguments, statement.request, {arguments.table}, generate, run);
}

// Returns the names of all columns of the table.
std::vector<std::string> Fill(CreateRequest& request, const Arguments& arguments) {
  std::vector<std::string> columns{arguments.key ? arguments.key->column : "_ID"};
  request.SetTable(arguments.table.c_str());
  if (arguments.key) {
    request.SetPrimaryKey(columns.front().c_str(), arguments.key->type.c_str());
  }
  if (arguments.composite) {
    request.SetCompositeKey(arguments.composite->column.c_str(), arguments.composite->type.c_str());
    columns.push_back(arguments.composite->column);
  }
  for (const auto& [column, type] : arguments.columns) {
    request.SetColumnKey(column.c_str(), type.c_str());
    columns.push_back(column);
  }
  return columns;
}

// Reads the result of a query on these tables.
Result Read(const Arguments& arguments, const std::vector<std::string>& tables,
            const CallResult& call, Cursor& cursor) {
  Result result = ReadResult(cursor, ReadLines(call.lines));
  for (const std::string& table : arguments.typed ? tables : std::vector<std::string>()) {
    for (const Column& column : ColumnsOf(arguments.file, table)) {
      if (column.holdsNumbers) {
        result.numberColumns.insert(column.name);
      }
    }
  }
  Choose(result, arguments.choice);
  return result;
}

void Show(const Arguments& arguments, const CallResult& call, Result& result) {
  const std::optional<std::size_t> width = TerminalWidth(STDOUT_FILENO);
  Write(result, arguments.format, arguments.wide ? std::nullopt : width, std::cout);
  if (width && !arguments.quiet && arguments.format.empty() && result.rowCount > 0) {
    std::cout << '(' << Counted(result.rowCount, "row") << ")\n";
  }
  std::cout.flush();
  for (const std::string& doubt : result.doubts) {
    Tell("warning: " + doubt);
  }
  ExpectComplete(arguments.file, call);
}

// The number of rows of a select; nothing where a cursor does not have it.
std::optional<std::size_t> CountOf(const Result& result) {
  return result.columns.size() == 1 ? std::nullopt : std::make_optional(result.rowCount);
}

// The number of rows that meet the conditions of a change.
std::optional<std::size_t> CountRows(const Arguments& arguments) {
  Arguments select = arguments;
  select.values.clear();
  Cursor cursor;
  const Selected selected = *RunSelect(select, cursor);
  return IsComplete(selected.call) ? CountOf(selected.result) : std::nullopt;
}

// Update and delete. The library does not report the number of rows, so they are counted before.
template <typename Request>
void ChangeRows(const Arguments& arguments, Generate<Request> generate,
                int (Database::*run)(Request&)) {
  const bool counts = !arguments.sql && !arguments.quiet;
  const std::optional<std::size_t> count = counts ? CountRows(arguments) : std::nullopt;
  WriteRows(arguments, generate, run);
  if (count) {
    std::cout << Counted(*count, "row")
              << (arguments.where.empty() ? " in the table\n" : " met the conditions\n");
  }
}

// Loses data, so somebody has to have meant it.
void RequireConsent(const Arguments& arguments, const std::string& question,
                    const std::string& refusal, const std::string& otherwise) {
  if (!arguments.sql && !arguments.yes) {
    const std::optional<bool> meant = Ask(question);
    RefuseIf(!meant, refusal);
    FailIf(!*meant, otherwise);
  }
}

// A select on one of SQLite's own tables.
Arguments LookUp(const Arguments& arguments, const std::string& source,
                 const std::string& table = "") {
  Arguments select = arguments;
  select.table = source;
  if (!table.empty()) {
    select.where.emplace_back("tbl_name=" + table);
  }
  return select;
}

}  // namespace

// To create a table that exists changes nothing, and is a success. SQLite finds it in other
// capital letters, too, and takes a view for one.
void Create(const Arguments& arguments) {
  RefuseIf(arguments.composite && !arguments.key,
           "--composite needs --key: alone, the library leaves it out");
  CreateRequest request;
  const std::vector<std::string> columns = Fill(request, arguments);
  RequireDistinct(columns);
  const std::string& table = arguments.table;
  if (!arguments.sql) {
    if (IsThere(arguments.file) && HasTable(arguments.file, table)) {
      Tell("the table " + table + " exists in " + arguments.file + " already and is left as it is");
    }
    if (columns.size() == 1) {
      Tell("warning: the table " + table +
           " has a single column; a select of it reads one row only");
    }
  }
  const auto call = RunOrPrint(arguments, request, {table}, &SqlGenerator::GetCreateTableSql,
                               &Database::CreateTable);
  if (call && LacksTable(arguments.file, table)) {
    Tell("nothing is created: in " + arguments.file + " there is a view " + table +
         ", or a table that differs in capital letters");
  }
}

void Upsert(const Arguments& arguments) {
  WriteRows(arguments, &SqlGenerator::GetUpsertSql, &Database::Upsert);
}

void Update(const Arguments& arguments) {
  RefuseIf(arguments.where.empty(),
           "update needs --where: the library does not change all rows at once");
  ChangeRows(arguments, &SqlGenerator::GetUpdateSql, &Database::Update);
}

void Delete(const Arguments& arguments) {
  RefuseIf(arguments.yes && !arguments.where.empty(), "--all and --where contradict each other");
  if (arguments.where.empty()) {
    RequireConsent(arguments,
                   "Delete every row of " + arguments.table + " in " + arguments.file + "?",
                   "delete without --where takes every row; if that is meant, give --all",
                   "nothing is deleted");
  }
  ChangeRows(arguments, &SqlGenerator::GetDeleteSql, &Database::Delete);
}

std::optional<Selected> RunSelect(const Arguments& arguments, Cursor& cursor) {
  Statement<SelectRequest> statement(arguments);
  statement.request.SetTable(arguments.table.c_str());
  auto call = RunOrPrint(arguments, statement.request, {arguments.table},
                         &SqlGenerator::GetSelectSql, &Database::Select, cursor);
  if (!call) {
    return std::nullopt;
  }
  Result result = Read(arguments, {arguments.table}, *call, cursor);
  return Selected{std::move(*call), std::move(result)};
}

void Select(const Arguments& arguments) {
  Cursor cursor;
  if (auto selected = RunSelect(arguments, cursor)) {
    Show(arguments, selected->call, selected->result);
  }
}

void Join(const Arguments& arguments) {
  const TableColumn& left = arguments.left;
  const TableColumn& right = arguments.right;
  const std::vector<std::string> tables{left.table, right.table};
  Statement<JoinRequest> statement(arguments);
  JoinRequest& request = statement.request;
  request.SetLeftJoin(left.table.c_str(), left.column.c_str());
  request.SetRightJoin(right.table.c_str(), right.column.c_str());
  Cursor cursor;
  if (const auto call = RunOrPrint(arguments, request, tables, &SqlGenerator::GetJoinSql,
                                   &Database::JoinSelect, cursor)) {
    Result result = Read(arguments, tables, *call, cursor);
    Show(arguments, *call, result);
  }
}

void Count(const Arguments& arguments) {
  Cursor cursor;
  if (const auto selected = RunSelect(arguments, cursor)) {
    ExpectComplete(arguments.file, selected->call);
    const std::optional<std::size_t> count = CountOf(selected->result);
    FailIf(!count, "the rows of " + arguments.table +
                       " cannot be counted: a cursor counts one row of a single column");
    std::cout << *count << '\n';
  }
}

void Tables(const Arguments& arguments) {
  if (arguments.sql) {
    Select(LookUp(arguments, "sqlite_master"));
    return;
  }
  RequireExisting(arguments.file);
  for (const std::string& table : TablesOf(arguments.file)) {
    std::cout << Printable(table) << '\n';
  }
}

void Columns(const Arguments& arguments) {
  Arguments select = LookUp(arguments, ColumnTable(arguments.table));
  select.choice.columns = {"name", "type", "notnull", "dflt_value", "pk"};
  Cursor cursor;
  if (auto selected = RunSelect(select, cursor)) {
    RequireTable(arguments.file, arguments.table, selected->result.rowCount);
    Show(arguments, selected->call, selected->result);
  }
}

void Schema(const Arguments& arguments) {
  const std::string& table = arguments.table;
  if (arguments.sql) {
    Select(LookUp(arguments, "sqlite_master", table));
    return;
  }
  RequireExisting(arguments.file);
  const std::vector<std::string> statements = StatementsOf(arguments.file, table);
  RequireTable(arguments.file, table, statements.size());
  const bool isShown = TerminalWidth(STDOUT_FILENO).has_value();
  for (const std::string& statement : statements) {
    std::cout << (isShown ? PrintableLines(statement) : statement) << ";\n";
  }
}

void Exists(const Arguments& arguments) {
  if (arguments.sql) {
    std::string sql;
    SqlGenerator().GetCheckTableSql(arguments.table, sql);
    std::cout << sql << ";\n";
    return;
  }
  RequireExisting(arguments.file);
  const bool exists = HasTable(arguments.file, arguments.table);
  if (arguments.verbose || (TerminalWidth(STDOUT_FILENO) && !arguments.quiet)) {
    std::cout << (exists ? "yes\n" : "no\n");
  }
  if (!exists) {
    throw Answer{1};
  }
}

void Drop(const Arguments& arguments) {
  RequireConsent(arguments, "Drop the table " + arguments.table + " of " + arguments.file + "?",
                 "drop removes a table with all its rows; if that is meant, give --yes",
                 "nothing is dropped");
  DropRequest request;
  request.SetTable(arguments.table.c_str());
  RunOrPrint(arguments, request, {arguments.table}, &SqlGenerator::GetDropTableSql,
             &Database::DropTable);
}

std::istream& OpenInput(std::string& name, std::ifstream& file) {
  if (name == "-") {
    name = "standard input";
    return std::cin;
  }
  file.open(name, std::ios::binary);
  FailIf(!file, "cannot read " + name);
  return file;
}

}  // namespace vorndb
