// vorndb: every operation of the library, on any database file, from the command line.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <iterator>
#include <new>

#include "Commands.h"
#include "Errors.h"
#include "Format.h"
#include "Terminal.h"
#include "log/LogSink.h"

namespace vorndb {

namespace {

using Run = void (*)(const Arguments&);

template <typename Parsed>
using Parse = Parsed (*)(const std::string&);

// A command while it is declared.
class Command {
 public:
  Command(CLI::App& app, Arguments& arguments, const std::string& name, Run run,
          const std::string& description, const std::string& example)
      : m_arguments(arguments), m_command(app.add_subcommand(name, description)) {
    // The options of all commands may also follow the command.
    m_command->fallthrough();
    m_command->footer("Example:\n  " + example);
    m_command->callback([&arguments, run] {
      if (arguments.file.empty() && !arguments.sql && run != Explain) {
        throw UsageError("the database file is missing: vorndb -f FILE …");
      }
      ShowLog(arguments.verbose);
      run(arguments);
    });
  }

  // An option, or a required positional argument, which has no form, parsed into a member.
  template <typename Member, typename Parsed>
  Command& One(const std::string& name, Member& member, Parse<Parsed> parse,
               const std::string& form, const std::string& description) {
    const auto keep = [&member, parse](const std::string& text) { member = parse(text); };
    m_command->add_option_function<std::string>(name, keep, description)
        ->type_name(form)
        ->required(form.empty());
    return *this;
  }

  // The same for any number of texts.
  template <typename Parsed>
  Command& List(const std::string& name, std::vector<Parsed>& members, Parse<Parsed> parse,
                const std::string& form, const std::string& description, bool required = false) {
    using Texts = std::vector<std::string>;
    const auto keep = [&members, parse](const Texts& texts) {
      std::transform(texts.begin(), texts.end(), std::back_inserter(members), parse);
    };
    m_command->add_option_function<Texts>(name, keep, description)
        ->type_name(form)
        ->required(required);
    return *this;
  }

  Command& Flag(const std::string& name, bool& member, const std::string& description) {
    m_command->add_flag(name, member, description);
    return *this;
  }

  Command& Table() { return One("TABLE", m_arguments.table, ParseTable, "", "The table"); }

  Command& Values() {
    return List("VALUES", m_arguments.values, ParseAssignment, "", "What to write: COLUMN=VALUE…",
                true);
  }

  Command& Where(Parse<Assignment> parse, const std::string& more = "") {
    return List("--where", m_arguments.where, parse, "COLUMN=VALUE",
                "Only rows with these values, all of them" + more);
  }

  Command& Format() {
    return One("--format", m_arguments.format, ParseFormat, "NAME",
               "table (the default), csv, json or lines");
  }

  Command& Wide() {
    return Flag("--wide", m_arguments.wide, "Cut no cells to the terminal's width");
  }

  Command& Path(const std::string& name, const std::string& description) {
    m_command->add_option(name, m_arguments.path, description)->type_name("")->required();
    return *this;
  }

 private:
  Arguments& m_arguments;
  CLI::App* m_command;
};

void DeclareWrites(CLI::App& app, Arguments& arguments) {
  Command(app, arguments, "create", Create, "Create a table, unless it exists",
          "vorndb -f app.db create contact name:TEXT age:INTEGER --key uid:TEXT")
      .Table()
      .List("COLUMNS", arguments.columns, ParseTypedColumn, "", "Its columns: COLUMN:TYPE…")
      .One("--key", arguments.key, ParseTypedColumn, "COLUMN:TYPE",
           "The primary key; without it there is a column _ID")
      .One("--composite", arguments.composite, ParseTypedColumn, "COLUMN:TYPE",
           "A second column of the primary key");
  Command(app, arguments, "upsert", Upsert, "Write a row, in the place of one with the same key",
          "vorndb -f app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42")
      .Table()
      .Values();
  Command(app, arguments, "update", Update, "Change rows",
          "vorndb -f app.db update contact age=43 --where uid=7")
      .Table()
      .Values()
      .Where(ParseAssignment);
  Command(app, arguments, "delete", Delete, "Delete rows",
          "vorndb -f app.db delete contact --where uid=7")
      .Table()
      .Where(ParseAssignment)
      .Flag("--all", arguments.all, "Every row, without asking");
}

void DeclareReads(CLI::App& app, Arguments& arguments) {
  Command(app, arguments, "select", Select, "Read rows",
          "vorndb -f app.db select contact --where name=Kim age=42")
      .Table()
      .Where(ParseAssignment)
      .Format()
      .Wide();
  Command(app, arguments, "join", Join, "Read the rows of two tables that have a value in common",
          "vorndb -f app.db join contact.uid note.owner --where note.kind=2")
      .One("LEFT", arguments.left, ParseTableColumn, "", "TABLE.COLUMN")
      .One("RIGHT", arguments.right, ParseTableColumn, "", "TABLE.COLUMN")
      .Where(ParseJoinCondition, "; a column may be TABLE.COLUMN")
      .Format()
      .Wide();
  Command(app, arguments, "exists", Exists, "Tell whether there is a table: yes or no",
          "vorndb -f app.db exists contact")
      .Table();
}

void DeclareOthers(CLI::App& app, Arguments& arguments) {
  Command(app, arguments, "drop", Drop, "Remove a table with all its rows",
          "vorndb -f app.db drop contact")
      .Table();
  Command(app, arguments, "import", Import, "Write the rows of a CSV file into a table",
          "vorndb -f app.db import contact contacts.csv")
      .Table()
      .Path("CSV", "The file, whose first line names the columns; - for standard input");
  Command(app, arguments, "export", Export, "Write rows of a table into a file",
          "vorndb -f app.db export contact contacts.json --where age=42")
      .Table()
      .Path("OUT", "The file; .csv, .json or .txt (lines) tells its format")
      .Where(ParseAssignment)
      .Format()
      .Flag("--force", arguments.force, "Write over a file that exists");
  Command(app, arguments, "explain-log", Explain, "Tell what happened from a log of the library",
          "vorndb explain-log captured.log")
      .Path("LOG", "The captured log; - for standard input");
}

// Runs the command, or prints help or the version.
void RunCommandLine(int argc, const char* const* argv) {
  CLI::App app("Keeps and reads rows in SQLite files with the library vorndatabase.", "vorndb");
  Arguments arguments;
  app.set_version_flag("--version", "vorndb " VORNDB_VERSION);
  app.require_subcommand(1);
  app.footer(
      "Exit status: 0, 1 for an operation that failed, 2 for wrong use.\n"
      "An example for each command: vorndb COMMAND --help");
  app.add_option("-f,--file", arguments.file, "The database file")->type_name("FILE");
  app.add_flag("--sql", arguments.sql, "Print the statement that would be run, and run nothing");
  app.add_flag("-v,--verbose", arguments.verbose, "Show the library's log on standard error");
  DeclareWrites(app, arguments);
  DeclareReads(app, arguments);
  DeclareOthers(app, arguments);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    app.exit(help, std::cout, std::cerr);
  } catch (const CLI::ParseError& error) {
    const bool unknown = app.get_subcommands().empty() && app.remaining_size() > 0;
    throw UsageError(unknown ? "'" + app.remaining().front() + "' is no command" : error.what());
  }
}

enum ExitStatus { kDone = 0, kFailed = 1, kWrongUse = 2 };

int Fail(const char* problem, ExitStatus status) {
  std::cout.flush();
  Tell(problem);
  if (status == kWrongUse) {
    std::cerr << "For help: vorndb --help\n";
  }
  return status;
}

}  // namespace

}  // namespace vorndb

int main(int argc, char** argv) {
  try {
    vorndb::RunCommandLine(argc, argv);
    // A full disk shows here at the latest.
    if (!std::cout.flush()) {
      throw vorndb::Failure("cannot write to standard output");
    }
    return vorndb::kDone;
  } catch (const vorndb::UsageError& error) {
    return vorndb::Fail(error.what(), vorndb::kWrongUse);
  } catch (const std::bad_alloc&) {
    return vorndb::Fail("memory is exhausted", vorndb::kFailed);
  } catch (const std::exception& error) {
    return vorndb::Fail(error.what(), vorndb::kFailed);
  }
}
