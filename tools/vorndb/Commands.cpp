#include "Commands.h"

#include <fstream>
#include <iostream>

#include "CreateRequest.h"
#include "DeleteRequest.h"
#include "DropRequest.h"
#include "Errors.h"
#include "Import.h"
#include "Query.h"
#include "Statement.h"
#include "Terminal.h"
#include "UpdateRequest.h"
#include "UpsertRequest.h"
#include "log/ExplainLog.h"

namespace vorndb {

namespace {

template <typename Request>
void RunOrPrint(const Arguments& arguments, Request& request, Generate<Request> generate,
                int (Database::*run)(Request&)) {
  if (arguments.sql) {
    PrintSql(request, generate);
    return;
  }
  const DatabaseFile file(arguments.file);
  if (arguments.command != Command::kCreate) {
    file.RequireExisting();
  }
  RunWrite(file, request, run, {arguments.table});
}

// To create a table that exists changes nothing about it, and is a success. SQLite finds it in
// other capital letters, too, and takes a view for one.
void TellIfExisting(const Arguments& arguments) {
  const DatabaseFile file(arguments.file);
  if (file.IsThere() && file.HasTable(arguments.table)) {
    Tell("the table " + arguments.table + " exists in " + file.Path() +
         " already and is left as it is");
  }
}

void TellIfNotCreated(const Arguments& arguments) {
  const DatabaseFile file(arguments.file);
  if (file.IsMissing(arguments.table)) {
    Tell("nothing is created: in " + file.Path() + " there is a view " + arguments.table +
         ", or a table that differs in capital letters");
  }
}

void WarnOfSingleColumn(const Arguments& arguments) {
  const std::size_t keys = arguments.composite ? 2 : 1;
  if (keys + arguments.columns.size() == 1) {
    Tell("warning: the table " + arguments.table +
         " has a single column; a select of it reads one row only");
  }
}

void Create(const Arguments& arguments) {
  CreateRequest request;
  request.SetTable(arguments.table.c_str());
  if (arguments.key) {
    request.SetPrimaryKey(arguments.key->column.c_str(), arguments.key->type.c_str());
  }
  if (arguments.composite) {
    request.SetCompositeKey(arguments.composite->column.c_str(), arguments.composite->type.c_str());
  }
  for (const TypedColumn& column : arguments.columns) {
    request.SetColumnKey(column.column.c_str(), column.type.c_str());
  }
  if (!arguments.sql) {
    TellIfExisting(arguments);
    WarnOfSingleColumn(arguments);
  }
  RunOrPrint(arguments, request, &SqlGenerator::GetCreateTableSql, &Database::CreateTable);
  if (!arguments.sql) {
    TellIfNotCreated(arguments);
  }
}

void Upsert(const Arguments& arguments) {
  const NameBlock names(arguments.values);
  UpsertRequest request;
  request.SetTable(arguments.table.c_str());
  SetValues(request, arguments.values, names);
  RunOrPrint(arguments, request, &SqlGenerator::GetUpsertSql, &Database::Upsert);
}

void Update(const Arguments& arguments) {
  const NameBlock names(arguments.values);
  const NameBlock conditions(arguments.where);
  UpdateRequest request;
  request.SetTable(arguments.table.c_str());
  SetValues(request, arguments.values, names);
  SetConditions(request, arguments.where, conditions);
  RunOrPrint(arguments, request, &SqlGenerator::GetUpdateSql, &Database::Update);
}

// A delete without conditions takes every row, so somebody has to have meant it.
void ConfirmDelete(const Arguments& arguments) {
  if (arguments.sql || arguments.all || !arguments.where.empty()) {
    return;
  }
  if (!CanAsk()) {
    throw UsageError("delete without --where takes every row; if that is meant, give --all");
  }
  if (!Ask("Delete every row of " + arguments.table + " in " + arguments.file + "?")) {
    throw Failure("nothing is deleted");
  }
}

void Delete(const Arguments& arguments) {
  const NameBlock conditions(arguments.where);
  DeleteRequest request;
  request.SetTable(arguments.table.c_str());
  SetConditions(request, arguments.where, conditions);
  ConfirmDelete(arguments);
  RunOrPrint(arguments, request, &SqlGenerator::GetDeleteSql, &Database::Delete);
}

void Drop(const Arguments& arguments) {
  DropRequest request;
  request.SetTable(arguments.table.c_str());
  RunOrPrint(arguments, request, &SqlGenerator::GetDropTableSql, &Database::DropTable);
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

void ExplainFrom(std::istream& log, const std::string& name) {
  const bool found = ExplainLog(log, std::cout);
  if (log.bad()) {
    throw Failure("cannot read " + name);
  }
  if (!found) {
    throw Failure(name + " has no line of the library's log");
  }
}

void Explain(const Arguments& arguments) {
  if (arguments.path == "-") {
    ExplainFrom(std::cin, "standard input");
    return;
  }
  std::ifstream log(arguments.path, std::ios::binary);
  if (!log) {
    throw Failure("cannot read " + arguments.path);
  }
  ExplainFrom(log, arguments.path);
}

}  // namespace

void Run(const Arguments& arguments) {
  switch (arguments.command) {
    case Command::kCreate:
      return Create(arguments);
    case Command::kUpsert:
      return Upsert(arguments);
    case Command::kUpdate:
      return Update(arguments);
    case Command::kDelete:
      return Delete(arguments);
    case Command::kSelect:
      return Select(arguments);
    case Command::kJoin:
      return Join(arguments);
    case Command::kExists:
      return Exists(arguments);
    case Command::kDrop:
      return Drop(arguments);
    case Command::kImport:
      return Import(arguments);
    case Command::kExport:
      return Export(arguments);
    case Command::kExplainLog:
      return Explain(arguments);
  }
}

}  // namespace vorndb
