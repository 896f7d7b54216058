// A request of the library: how it is filled, run and shown.

#ifndef VORNDB_STATEMENT_H
#define VORNDB_STATEMENT_H

#include <iostream>
#include <string>
#include <vector>

#include "Database.h"
#include "DatabaseFile.h"
#include "Names.h"
#include "SqlGenerator.h"

class BaseSet;

namespace vorndb {

// The names have to live until the request has been run.
void SetValues(BaseSet& request, const std::vector<Assignment>& values, const NameBlock& names);
void SetConditions(BaseSet& request, const std::vector<Assignment>& where, const NameBlock& names);

template <typename Request>
using Generate = void (SqlGenerator::*)(Request&, std::string&);

template <typename Request>
void PrintSql(Request& request, Generate<Request> generate) {
  std::string sql;
  (SqlGenerator().*generate)(request, sql);
  std::cout << sql << '\n';
}

// Runs a request that changes tables. Throws Failure.
template <typename Request>
void RunWrite(const DatabaseFile& file, Request& request, int (Database::*run)(Request&),
              const std::vector<std::string>& tables) {
  file.Locate(request);
  file.ExpectSuccess(Observe([&] { return (Database().*run)(request); }), tables);
}

}  // namespace vorndb

#endif  // VORNDB_STATEMENT_H
