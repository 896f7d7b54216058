// A request of the library: how it is filled, run and shown.

#ifndef VORNDB_STATEMENT_H
#define VORNDB_STATEMENT_H

#include <iostream>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "Commands.h"
#include "Database.h"
#include "DatabaseFile.h"
#include "SqlGenerator.h"

namespace vorndb {

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
  const DatabaseFile file(arguments.file);
  if constexpr (!std::is_same_v<Request, CreateRequest>) {
    file.RequireExisting();
  }
  file.Locate(request);
  const CallResult call = Observe([&] { return (Database().*run)(request, output...); });
  file.ExpectSuccess(call, tables);
  return call;
}

}  // namespace vorndb

#endif  // VORNDB_STATEMENT_H
