// What the command line asks for.

#ifndef VORNDB_ARGUMENTS_H
#define VORNDB_ARGUMENTS_H

#include <optional>
#include <string>
#include <vector>

#include "Format.h"
#include "Names.h"

namespace vorndb {

enum class Command {
  kCreate,
  kUpsert,
  kUpdate,
  kDelete,
  kSelect,
  kJoin,
  kExists,
  kDrop,
  kImport,
  kExport,
  kExplainLog,
};

struct Arguments {
  Command command = Command::kSelect;
  std::string file;      // the database
  bool sql = false;      // print the statement, run nothing
  bool verbose = false;  // show the library's log

  std::string table;
  std::vector<TypedColumn> columns;
  std::optional<TypedColumn> key;
  std::optional<TypedColumn> composite;
  std::vector<Assignment> values;
  std::vector<Assignment> where;
  TableColumn left;
  TableColumn right;

  bool all = false;    // delete every row
  bool force = false;  // write over a file
  bool wide = false;   // cut no cells
  std::optional<Format> format;
  std::string path;  // what is read or written beside the database; "-" is standard input
};

}  // namespace vorndb

#endif  // VORNDB_ARGUMENTS_H
