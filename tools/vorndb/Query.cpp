#include "Query.h"

#include <unistd.h>

#include <filesystem>
#include <iostream>
#include <system_error>
#include <utility>

#include "Cursor.h"
#include "Errors.h"
#include "JoinRequest.h"
#include "OutputFile.h"
#include "Result.h"
#include "SelectRequest.h"
#include "Statement.h"
#include "Terminal.h"
#include "Text.h"
#include "log/QueryLog.h"

namespace vorndb {

namespace {

// Rows, and how they came to be.
struct Answer {
  Cursor cursor;
  CallResult call;
};

template <typename Request>
void Fetch(const DatabaseFile& file, Request& request, int (Database::*run)(Request&, Cursor&),
           const std::vector<std::string>& tables, Answer& answer) {
  file.RequireExisting();
  file.Locate(request);
  answer.call = Observe([&] { return (Database().*run)(request, answer.cursor); });
  file.ExpectSuccess(answer.call, tables);
}

// JSON is UTF-8 by its own rules.
bool IsRewritten(Result& result) {
  for (int row = 0; row < result.RowCount(); ++row) {
    for (std::size_t column = 0; column < result.Columns().size(); ++column) {
      if (result.Columns()[column].known && !IsUtf8(result.Cell(row, column))) {
        return true;
      }
    }
  }
  return false;
}

// Cells that are no text arrive as empty ones; only the log tells.
std::vector<std::string> DoubtsAbout(Result& result, Format format, const CallResult& call) {
  std::vector<std::string> doubts = result.Doubts();
  const std::size_t blobs = CountBlobs(call.log);
  if (blobs > 0) {
    doubts.push_back("Cells with binary data (blobs): " + std::to_string(blobs) +
                     ". The library gives them as empty texts.");
  }
  const std::size_t unreadable = CountUnreadable(call.log);
  if (unreadable > 0) {
    doubts.push_back("Lines of the log that cannot be read: " + std::to_string(unreadable) +
                     ". They tell of blobs, or that the result is not complete.");
  }
  if (format == Format::kJson && IsRewritten(result)) {
    doubts.emplace_back("JSON holds UTF-8 only; bytes that are none are written as U+FFFD.");
  }
  return doubts;
}

std::optional<std::size_t> TableWidth(const Arguments& arguments) {
  return arguments.wide ? std::nullopt : TerminalWidth(STDOUT_FILENO);
}

template <typename Request>
void RunQuery(const Arguments& arguments, Request& request, Generate<Request> generate,
              int (Database::*run)(Request&, Cursor&), const std::vector<std::string>& tables) {
  if (arguments.sql) {
    PrintSql(request, generate);
    return;
  }
  const DatabaseFile file(arguments.file);
  Answer answer;
  Fetch(file, request, run, tables, answer);
  Result result(answer.cursor);
  const Format format = arguments.format.value_or(Format::kTable);
  Write(result, format, TableWidth(arguments), std::cout);
  std::cout.flush();
  for (const std::string& doubt : DoubtsAbout(result, format, answer.call)) {
    Tell("warning: " + doubt);
  }
  file.ExpectComplete(answer.call);
}

// A file tells nobody what it lacks.
void RequireFaithful(const std::vector<std::string>& doubts) {
  if (!doubts.empty()) {
    throw Failure("nothing is exported: " + doubts.front());
  }
}

void RefuseDatabase(const Arguments& arguments) {
  std::error_code ignored;
  if (std::filesystem::equivalent(arguments.path, arguments.file, ignored)) {
    throw Failure(arguments.path + " is the database itself");
  }
}

Format FormatOf(const Arguments& arguments) {
  if (arguments.format) {
    return *arguments.format;
  }
  const std::size_t dot = arguments.path.rfind('.');
  const std::string ending = dot == std::string::npos ? "" : arguments.path.substr(dot + 1);
  for (const auto& [known, format] :
       {std::pair("csv", Format::kCsv), {"json", Format::kJson}, {"txt", Format::kLines}}) {
    if (ending == known) {
      return format;
    }
  }
  throw UsageError("'" + arguments.path +
                   "' does not tell a format by .csv, .json or .txt; give --format");
}

}  // namespace

void Select(const Arguments& arguments) {
  const NameBlock conditions(arguments.where);
  SelectRequest request;
  request.SetTable(arguments.table.c_str());
  SetConditions(request, arguments.where, conditions);
  RunQuery(arguments, request, &SqlGenerator::GetSelectSql, &Database::Select, {arguments.table});
}

void Join(const Arguments& arguments) {
  const NameBlock conditions(arguments.where);
  const TableColumn& left = arguments.left;
  const TableColumn& right = arguments.right;
  JoinRequest request;
  request.SetLeftJoin(left.table.c_str(), left.column.c_str());
  request.SetRightJoin(right.table.c_str(), right.column.c_str());
  SetConditions(request, arguments.where, conditions);
  RunQuery(arguments, request, &SqlGenerator::GetJoinSql, &Database::JoinSelect,
           {left.table, right.table});
}

void Export(const Arguments& arguments) {
  const Format format = FormatOf(arguments);
  const NameBlock conditions(arguments.where);
  SelectRequest request;
  request.SetTable(arguments.table.c_str());
  SetConditions(request, arguments.where, conditions);
  if (arguments.sql) {
    PrintSql(request, &SqlGenerator::GetSelectSql);
    return;
  }
  const DatabaseFile file(arguments.file);
  RefuseDatabase(arguments);
  OutputFile output(arguments.path, arguments.force);
  Answer answer;
  Fetch(file, request, &Database::Select, {arguments.table}, answer);
  file.ExpectComplete(answer.call);
  Result result(answer.cursor);
  RequireFaithful(DoubtsAbout(result, format, answer.call));
  Write(result, format, std::nullopt, output.Stream());
  output.Keep();
  std::cout << CountedRows(static_cast<std::size_t>(result.RowCount())) << " written to "
            << arguments.path << '\n';
}

}  // namespace vorndb
