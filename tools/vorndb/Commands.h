// The command line: commands and their arguments.

#ifndef VORNDB_COMMANDS_H
#define VORNDB_COMMANDS_H

#include <iosfwd>
#include <optional>
#include <string>

#include "Names.h"
#include "Result.h"

namespace vorndb {

struct Arguments {
  std::string file;      // the database, or the first of two
  bool sql = false;      // print the statement, run nothing
  bool quiet = false;    // no word about success
  bool verbose = false;  // show the library's log

  std::string table;        // empty if not given
  Pairs columns;            // with types; all, or some
  std::optional<Pair> key;  // with its type
  std::optional<Pair> composite;
  Pairs values;
  Pairs where;
  Pair left;  // a table with a column
  Pair right;

  bool yes = false;    // delete every row, or a table
  bool force = false;  // write over a file
  bool wide = false;   // cut no cells
  bool typed = false;  // write numbers as such
  Choice choice;
  Texts formats;       // of the command
  std::string format;  // empty if not given
  std::string separator;
  bool create = false;  // the table, before an import
  bool noSync = false;  // until the last row
  Place fromLine;       // of an import
  std::string path;     // another file; "-" may be standard input

  std::string since;  // a time in a log
  bool failures = false;
  bool summary = false;
  bool follow = false;

  Texts tables;  // of two databases; all if empty
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
// statement and ends the run.
Result RunSelect(const Arguments& arguments);

// The candidates for a value of that option or argument, of which `word` is the beginning. They are
// plain names: a shell would run other texts.
Texts Candidates(const std::string& name, const Arguments& arguments, const std::string& word);

// Runs a command, help or completion. Returns the exit status. Throws Failure.
int RunCommandLine(int argc, const char* const* argv);

// Opens a file, or standard input for "-", and makes the name one for messages.
std::istream& OpenInput(std::string& name, std::ifstream& file);

}  // namespace vorndb

#endif  // VORNDB_COMMANDS_H
