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
    std::cout << sql << '\n';
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

void Show(const Arguments& arguments, const CallResult& call, Cursor& cursor) {
  Result result = ReadResult(cursor, call.log);
  Write(result, arguments.format, arguments.wide ? std::nullopt : TerminalWidth(STDOUT_FILENO),
        std::cout);
  std::cout.flush();
  for (const std::string& doubt : result.doubts) {
    Tell("warning: " + doubt);
  }
  ExpectComplete(arguments.file, call);
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
  WriteRows(arguments, &SqlGenerator::GetUpdateSql, &Database::Update);
}

// Without conditions it takes every row, so somebody has to have meant it.
void Delete(const Arguments& arguments) {
  RefuseIf(arguments.all && !arguments.where.empty(), "--all and --where contradict each other");
  if (!arguments.sql && !arguments.all && arguments.where.empty()) {
    const auto meant =
        Ask("Delete every row of " + arguments.table + " in " + arguments.file + "?");
    RefuseIf(!meant, "delete without --where takes every row; if that is meant, give --all");
    FailIf(!*meant, "nothing is deleted");
  }
  WriteRows(arguments, &SqlGenerator::GetDeleteSql, &Database::Delete);
}

std::optional<CallResult> RunSelect(const Arguments& arguments, Cursor& cursor) {
  Statement<SelectRequest> statement(arguments);
  statement.request.SetTable(arguments.table.c_str());
  return RunOrPrint(arguments, statement.request, {arguments.table}, &SqlGenerator::GetSelectSql,
                    &Database::Select, cursor);
}

void Select(const Arguments& arguments) {
  Cursor cursor;
  if (const auto call = RunSelect(arguments, cursor)) {
    Show(arguments, *call, cursor);
  }
}

void Join(const Arguments& arguments) {
  const TableColumn& left = arguments.left;
  const TableColumn& right = arguments.right;
  Statement<JoinRequest> statement(arguments);
  JoinRequest& request = statement.request;
  request.SetLeftJoin(left.table.c_str(), left.column.c_str());
  request.SetRightJoin(right.table.c_str(), right.column.c_str());
  Cursor cursor;
  if (const auto call = RunOrPrint(arguments, request, {left.table, right.table},
                                   &SqlGenerator::GetJoinSql, &Database::JoinSelect, cursor)) {
    Show(arguments, *call, cursor);
  }
}

void Exists(const Arguments& arguments) {
  if (arguments.sql) {
    std::string sql;
    SqlGenerator().GetCheckTableSql(arguments.table, sql);
    std::cout << sql << '\n';
    return;
  }
  RequireExisting(arguments.file);
  std::cout << (HasTable(arguments.file, arguments.table) ? "yes\n" : "no\n");
}

void Drop(const Arguments& arguments) {
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
