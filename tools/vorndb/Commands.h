// The commands and their arguments.

#ifndef VORNDB_COMMANDS_H
#define VORNDB_COMMANDS_H

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "Names.h"

class Cursor;

namespace vorndb {

struct CallResult;

struct Arguments {
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
  std::string format;  // empty if not given
  std::string path;    // a file beside the database; "-" is standard input
};

// Each throws Failure, and UsageError before anything is done.
void Create(const Arguments& arguments);
void Upsert(const Arguments& arguments);
void Update(const Arguments& arguments);
void Delete(const Arguments& arguments);
void Select(const Arguments& arguments);
void Join(const Arguments& arguments);
void Exists(const Arguments& arguments);
void Drop(const Arguments& arguments);
void Import(const Arguments& arguments);
void Export(const Arguments& arguments);
void Explain(const Arguments& arguments);
void LogReference(const Arguments& arguments);

// Reads the rows of a select or an export. With --sql it prints the statement and returns
// nothing.
std::optional<CallResult> RunSelect(const Arguments& arguments, Cursor& cursor);

// Opens a file, or standard input for "-", and makes the name one for messages.
std::istream& OpenInput(std::string& name, std::ifstream& file);

}  // namespace vorndb

#endif  // VORNDB_COMMANDS_H
