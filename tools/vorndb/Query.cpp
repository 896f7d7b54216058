#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <optional>
#include <system_error>

#include "Commands.h"
#include "Cursor.h"
#include "Errors.h"
#include "Format.h"
#include "JoinRequest.h"
#include "OutputFile.h"
#include "Result.h"
#include "SelectRequest.h"
#include "Statement.h"
#include "Terminal.h"
#include "Text.h"

namespace vorndb {

namespace {

template <typename Request>
void ShowRows(const Arguments& arguments, Request& request, Generate<Request> generate,
              int (Database::*run)(Request&, Cursor&), const std::vector<std::string>& tables) {
  if (arguments.sql) {
    PrintSql(request, generate);
    return;
  }
  const DatabaseFile file(arguments.file);
  file.RequireExisting();
  Cursor cursor;
  const CallResult call = Execute(file, request, tables, run, cursor);
  Result result(cursor, call.log);
  Write(result, arguments.format, arguments.wide ? std::nullopt : TerminalWidth(STDOUT_FILENO),
        std::cout);
  std::cout.flush();
  for (const std::string& doubt : result.Doubts()) {
    Tell("warning: " + doubt);
  }
  file.ExpectComplete(call);
}

void RefuseDatabase(const Arguments& arguments) {
  std::error_code ignored;
  if (std::filesystem::equivalent(arguments.path, arguments.file, ignored)) {
    throw Failure(arguments.path + " is the database itself");
  }
}

// A file cannot warn of its own gaps, so a doubtful result is not exported.
int WriteFile(const Arguments& arguments, SelectRequest& request, const std::string& format) {
  const DatabaseFile file(arguments.file);
  RefuseDatabase(arguments);
  OutputFile output(arguments.path, arguments.force);
  file.RequireExisting();
  Cursor cursor;
  const CallResult call = Execute(file, request, {arguments.table}, &Database::Select, cursor);
  file.ExpectComplete(call);
  Result result(cursor, call.log);
  Write(result, format, std::nullopt, output.Stream());
  if (!result.Doubts().empty()) {
    throw Failure("nothing is exported: " + result.Doubts().front());
  }
  output.Keep();
  return result.RowCount();
}

}  // namespace

void Select(const Arguments& arguments) {
  Statement<SelectRequest> statement(arguments);
  SelectRequest& request = statement.Filled();
  request.SetTable(arguments.table.c_str());
  ShowRows(arguments, request, &SqlGenerator::GetSelectSql, &Database::Select, {arguments.table});
}

void Join(const Arguments& arguments) {
  const TableColumn& left = arguments.left;
  const TableColumn& right = arguments.right;
  Statement<JoinRequest> statement(arguments);
  JoinRequest& request = statement.Filled();
  request.SetLeftJoin(left.table.c_str(), left.column.c_str());
  request.SetRightJoin(right.table.c_str(), right.column.c_str());
  ShowRows(arguments, request, &SqlGenerator::GetJoinSql, &Database::JoinSelect,
           {left.table, right.table});
}

void Exists(const Arguments& arguments) {
  if (arguments.sql) {
    std::string sql;
    SqlGenerator().GetCheckTableSql(arguments.table, sql);
    std::cout << sql << '\n';
    return;
  }
  const DatabaseFile file(arguments.file);
  file.RequireExisting();
  std::cout << (file.HasTable(arguments.table) ? "yes\n" : "no\n");
}

void Export(const Arguments& arguments) {
  if (arguments.path == "-") {
    throw UsageError("export writes a file; for standard output there is select --format");
  }
  const std::string format =
      arguments.format.empty() ? FormatOfFile(arguments.path) : arguments.format;
  Statement<SelectRequest> statement(arguments);
  SelectRequest& request = statement.Filled();
  request.SetTable(arguments.table.c_str());
  if (arguments.sql) {
    PrintSql(request, &SqlGenerator::GetSelectSql);
    return;
  }
  const int rows = WriteFile(arguments, request, format);
  std::cout << CountedRows(static_cast<std::size_t>(rows)) << " written to " << arguments.path
            << '\n';
}

}  // namespace vorndb
