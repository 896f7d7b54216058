// The commands and their arguments.

#ifndef VORNDB_COMMANDS_H
#define VORNDB_COMMANDS_H

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "DatabaseFile.h"
#include "Names.h"
#include "Result.h"

class Cursor;

namespace vorndb {

struct Arguments {
  std::string file;      // the database
  bool sql = false;      // print the statement, run nothing
  bool quiet = false;    // no word about success
  bool verbose = false;  // show the library's log

  std::string table;                 // empty if not given
  std::vector<TypedColumn> columns;  // all, or some with their types
  std::optional<TypedColumn> key;
  std::optional<TypedColumn> composite;
  std::vector<Assignment> values;
  std::vector<Assignment> where;
  TableColumn left;
  TableColumn right;

  bool yes = false;    // delete every row, or a table
  bool force = false;  // write over a file
  bool wide = false;   // cut no cells
  bool typed = false;  // write numbers as such
  Choice choice;
  std::string format;  // empty if not given
  std::string separator;
  bool create = false;  // the table, before an import
  bool noSync = false;  // until the last row
  Place fromLine;       // of an import
  std::string path;     // a file beside the database; "-" is standard input

  std::string since;  // a time in a log
  bool failures = false;
  bool summary = false;
  bool follow = false;

  std::string from;  // two databases, to be compared or copied
  std::string to;
  std::vector<std::string> tables;  // all if empty
};

// Each throws Failure, and UsageError before anything is done.
void Create(const Arguments& arguments);
void Upsert(const Arguments& arguments);
void Update(const Arguments& arguments);
void Delete(const Arguments& arguments);
void Select(const Arguments& arguments);
void Join(const Arguments& arguments);
void Count(const Arguments& arguments);
void Tables(const Arguments& arguments);
void Columns(const Arguments& arguments);
void Schema(const Arguments& arguments);
void Exists(const Arguments& arguments);
void Drop(const Arguments& arguments);
void Import(const Arguments& arguments);
void Export(const Arguments& arguments);
void Diff(const Arguments& arguments);
void Copy(const Arguments& arguments);
void Explain(const Arguments& arguments);
void LogReference(const Arguments& arguments);

// Runs a select, and reads the part of its rows that is chosen. With --sql it prints the
// statement and returns nothing.
struct Selected {
  CallResult call;
  Result result;
};
std::optional<Selected> RunSelect(const Arguments& arguments, Cursor& cursor);

// Of explain-log; the first is the default.
std::vector<std::string> LogFormats();

// Opens a file, or standard input for "-", and makes the name one for messages.
std::istream& OpenInput(std::string& name, std::ifstream& file);

}  // namespace vorndb

#endif  // VORNDB_COMMANDS_H
