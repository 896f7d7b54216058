#include "Commands.h"

#include <sqlite3.h>
#include <unistd.h>

#include <fstream>
#include <iostream>
#include <type_traits>

#include "CreateRequest.h"
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

template <typename Subject, typename Given>
void Print(void (SqlGenerator::*generate)(Subject, std::string&), Given& subject) {
  std::string sql;
  (SqlGenerator().*generate)(subject, sql);
  std::cout << sql << ";\n";
}

template <typename Request>
using Generate = void (SqlGenerator::*)(Request&, std::string&);

// Runs a request on the table or, with --sql, prints its statement. Throws Failure.
template <typename Request>
void RunOrPrint(const Arguments& arguments, Request& request, Generate<Request> generate,
                int (Database::*run)(Request&)) {
  request.SetTable(arguments.table.c_str());
  if (arguments.sql) {
    Print(generate, request);
    return;
  }
  if constexpr (!std::is_same_v<Request, CreateRequest>) {
    RequireExisting(arguments.file);
  }
  OnTables(arguments.file, {arguments.table},
           [&] { Observe(arguments.file, request, [&] { return (Database().*run)(request); }); });
}

// By SQLite's rules: a type with one of these words is no number's, unless it has INT.
bool HoldsNumbers(const std::string& type) {
  const auto has = [&](const char* word) { return sqlite3_strlike(word, type.c_str(), 0) == 0; };
  return has("%INT%") ||
         !(type.empty() || has("%CHAR%") || has("%CLOB%") || has("%TEXT%") || has("%BLOB%"));
}

// The chosen part of a query's result. With --sql it prints the statement and ends the run.
template <typename Request>
Result QueryOrPrint(const Arguments& arguments, const Texts& tables, Request& request,
                    Generate<Request> generate, int (Database::*run)(Request&, Cursor&)) {
  if (arguments.sql) {
    Print(generate, request);
    throw Answer{0};
  }
  Result result;
  OnTables(arguments.file, tables, [&] { result = Query(arguments.file, request, run); });
  for (const std::string& table : arguments.typed ? tables : Texts()) {
    for (const Column& column : ColumnsOf(arguments.file, table)) {
      if (HoldsNumbers(column.type)) {
        result.numberColumns.insert(column.name);
      }
    }
  }
  Choose(result, arguments.choice);
  return result;
}

void Show(const Arguments& arguments, Result result) {
  const std::optional<std::size_t> width = TerminalWidth(STDOUT_FILENO);
  Write(result, arguments.format, arguments.wide ? std::nullopt : width, std::cout);
  if (width && !arguments.quiet && arguments.format.empty() && !result.rows.empty()) {
    std::cout << '(' << Counted(result.rows.size(), "row") << ")\n";
  }
  for (const std::string& doubt : result.doubts) {
    PrintMessage("warning: " + doubt);
  }
  FailIf(!result.stop.empty(), result.stop);
}

// Upsert, update and delete. The library does not report the number of rows that are changed, so
// they are counted before.
template <typename Request>
void WriteRows(const Arguments& arguments, Generate<Request> generate,
               int (Database::*run)(Request&)) {
  const bool changes = !std::is_same_v<Request, UpsertRequest>;
  const bool isCounted = changes && !arguments.sql && !arguments.quiet;
  const Result met = isCounted ? RunSelect(arguments) : Result();
  Statement<Request> statement(arguments.values, arguments.where);
  RunOrPrint(arguments, statement.request, generate, run);
  // A cursor counts one row of a single column.
  if (isCounted && met.stop.empty() && met.columns.size() != 1) {
    std::cout << Counted(met.rows.size(), "row")
              << (arguments.where.empty() ? " in the table\n" : " met the conditions\n");
  }
}

// Returns the names of all columns of the table.
Texts Fill(CreateRequest& request, const Arguments& arguments) {
  Texts columns{arguments.key ? arguments.key->first : "_ID"};
  if (arguments.key) {
    request.SetPrimaryKey(arguments.key->first.c_str(), arguments.key->second.c_str());
  }
  if (arguments.composite) {
    request.SetCompositeKey(arguments.composite->first.c_str(),
                            arguments.composite->second.c_str());
    columns.push_back(arguments.composite->first);
  }
  for (const auto& [column, type] : arguments.columns) {
    request.SetColumnKey(column.c_str(), type.c_str());
    columns.push_back(column);
  }
  return columns;
}

// Loses data, so somebody has to have meant it.
void RequireConsent(const Arguments& arguments, const std::string& question) {
  if (!arguments.sql && !arguments.yes) {
    const std::optional<bool> meant = Ask(question);
    RefuseIf(!meant, question + " If so, give --yes");
    FailIf(!*meant, "nothing is done");
  }
}

// With --sql prints the select on the list of all tables, and ends the run.
void PrintLookup(Arguments arguments) {
  if (arguments.sql) {
    if (!arguments.table.empty()) {
      arguments.where.emplace_back("tbl_name", arguments.table);
    }
    arguments.table = "sqlite_master";
    RunSelect(arguments);
  }
}

}  // namespace

// To create a table that exists changes nothing, and is a success. SQLite does not mind case, and
// takes a view for a table.
void Create(const Arguments& arguments) {
  RefuseIf(arguments.composite && !arguments.key,
           "--composite needs --key: alone, the library leaves it out");
  RefuseIf(arguments.key && arguments.key->second.empty(), "--key needs COLUMN:TYPE");
  CreateRequest request;
  const Texts columns = Fill(request, arguments);
  RequireDistinct(columns);
  const std::string& file = arguments.file;
  if (!arguments.sql) {
    const std::string namesake = IsThere(file) ? Namesake(file, arguments.table) : "";
    if (!namesake.empty()) {
      PrintMessage("the " + namesake + " exists in " + file + " already and is left as it is");
    }
    if (columns.size() == 1) {
      PrintMessage("warning: the table " + arguments.table +
                   " has a single column; a select of it reads one row only");
    }
  }
  RunOrPrint(arguments, request, &SqlGenerator::GetCreateTableSql, &Database::CreateTable);
}

void Upsert(const Arguments& arguments) {
  WriteRows(arguments, &SqlGenerator::GetUpsertSql, &Database::Upsert);
}

void Update(const Arguments& arguments) {
  RefuseIf(arguments.where.empty(),
           "update needs --where: the library does not change all rows at once");
  WriteRows(arguments, &SqlGenerator::GetUpdateSql, &Database::Update);
}

void Delete(const Arguments& arguments) {
  RefuseIf(arguments.yes && !arguments.where.empty(), "--all and --where contradict each other");
  if (arguments.where.empty()) {
    RequireConsent(arguments,
                   "Delete every row of " + arguments.table + " in " + arguments.file + "?");
  }
  WriteRows(arguments, &SqlGenerator::GetDeleteSql, &Database::Delete);
}

Result RunSelect(const Arguments& arguments) {
  Statement<SelectRequest> statement({}, arguments.where);
  statement.request.SetTable(arguments.table.c_str());
  return QueryOrPrint(arguments, {arguments.table}, statement.request, &SqlGenerator::GetSelectSql,
                      &Database::Select);
}

void Select(const Arguments& arguments) { Show(arguments, RunSelect(arguments)); }

void Join(const Arguments& arguments) {
  const auto& [leftTable, leftColumn] = arguments.left;
  const auto& [rightTable, rightColumn] = arguments.right;
  Statement<JoinRequest> statement({}, arguments.where);
  statement.request.SetLeftJoin(leftTable.c_str(), leftColumn.c_str());
  statement.request.SetRightJoin(rightTable.c_str(), rightColumn.c_str());
  Show(arguments, QueryOrPrint(arguments, {leftTable, rightTable}, statement.request,
                               &SqlGenerator::GetJoinSql, &Database::JoinSelect));
}

void Count(const Arguments& arguments) {
  const Result result = RunSelect(arguments);
  FailIf(!result.stop.empty(), result.stop);
  FailIf(result.columns.size() == 1,
         "the rows of " + arguments.table +
             " cannot be counted: a cursor counts one row of a single column");
  std::cout << result.rows.size() << '\n';
}

void Tables(const Arguments& arguments) {
  PrintLookup(arguments);
  for (const std::string& table : TablesOf(arguments.file)) {
    std::cout << Printable(table) << '\n';
  }
}

void Columns(const Arguments& arguments) {
  Arguments select = arguments;
  select.table = ColumnTable(arguments.table);
  select.choice.columns = {"name", "type", "notnull", "dflt_value", "pk"};
  Result result = RunSelect(select);
  RequireTable(arguments.file, arguments.table, result.rows.size());
  Show(arguments, std::move(result));
}

void Schema(const Arguments& arguments) {
  PrintLookup(arguments);
  const Texts statements = StatementsOf(arguments.file, arguments.table);
  RequireTable(arguments.file, arguments.table, statements.size());
  const bool isShown = TerminalWidth(STDOUT_FILENO).has_value();
  for (const std::string& statement : statements) {
    std::cout << (isShown ? Printable(statement, "\n") : statement) << ";\n";
  }
}

void Exists(const Arguments& arguments) {
  if (arguments.sql) {
    Print(&SqlGenerator::GetCheckTableSql, arguments.table);
    return;
  }
  const bool exists = HasTable(arguments.file, arguments.table);
  if (arguments.verbose || (TerminalWidth(STDOUT_FILENO) && !arguments.quiet)) {
    std::cout << (exists ? "yes\n" : "no\n");
  }
  if (!exists) {
    throw Answer{1};
  }
}

void Drop(const Arguments& arguments) {
  RequireConsent(arguments, "Drop the table " + arguments.table + " of " + arguments.file + "?");
  DropRequest request;
  RunOrPrint(arguments, request, &SqlGenerator::GetDropTableSql, &Database::DropTable);
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
