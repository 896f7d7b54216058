// vorndb: every operation of the library, on any database file, from the command line.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <iterator>
#include <new>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Result.h"
#include "Terminal.h"
#include "log/LogSink.h"

namespace vorndb {

namespace {

using Run = void (*)(const Arguments&);

CLI::App* AddCommand(CLI::App& app, Arguments& arguments, const std::string& name, Run run,
                     const std::string& description, const std::string& example) {
  CLI::App* const command = app.add_subcommand(name, description);
  // The options of all commands may also follow the command.
  command->fallthrough();
  command->footer("Example:\n  " + example);
  command->callback([&arguments, run] {
    if (!arguments.sql && run != Explain && run != LogReference) {
      RequireFileName(arguments.file);
    }
    ShowLog(arguments.verbose);
    run(arguments);
  });
  return command;
}

CLI::App* AddOnTable(CLI::App& app, Arguments& arguments, const std::string& name, Run run,
                     const std::string& description, const std::string& example) {
  CLI::App* const command = AddCommand(app, arguments, name, run, description, example);
  command->add_option("TABLE", arguments.table, "The table")
      ->type_name("")
      ->required()
      ->each([](const std::string& table) { RequirePlainName("table", table); });
  return command;
}

void AddValues(CLI::App* command, Arguments& arguments) {
  command->add_option("VALUES", arguments.values, "What to write: COLUMN=VALUE…")
      ->type_name("")
      ->required();
}

void AddWhere(CLI::App* command, Arguments& arguments) {
  command->add_option("--where", arguments.where, "Only rows with these values, all of them")
      ->type_name("COLUMN=VALUE");
}

void AddFormat(CLI::App* command, Arguments& arguments) {
  command->add_option("--format", arguments.format, "table (the default), csv, json or lines")
      ->type_name("NAME")
      ->each(RequireFormat);
}

void AddWide(CLI::App* command, Arguments& arguments) {
  command->add_flag("--wide", arguments.wide, "Cut no cells to the terminal's width");
}

void AddPath(CLI::App* command, Arguments& arguments, const char* name, const char* description) {
  command->add_option(name, arguments.path, description)->type_name("")->required();
}

void DeclareWrites(CLI::App& app, Arguments& arguments) {
  CLI::App* command =
      AddOnTable(app, arguments, "create", Create, "Create a table, unless it exists",
                 "vorndb -f app.db create contact name:TEXT age:INTEGER --key uid:TEXT");
  command->add_option("COLUMNS", arguments.columns, "Its columns: COLUMN:TYPE…")->type_name("");
  command->add_option("--key", arguments.key, "The primary key; without it there is a column _ID")
      ->type_name("COLUMN:TYPE");
  command->add_option("--composite", arguments.composite, "A second column of the primary key")
      ->type_name("COLUMN:TYPE");

  command = AddOnTable(app, arguments, "upsert", Upsert,
                       "Write a row, in the place of one with the same key",
                       "vorndb -f app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42");
  AddValues(command, arguments);

  command = AddOnTable(app, arguments, "update", Update, "Change rows",
                       "vorndb -f app.db update contact age=43 --where uid=7");
  AddValues(command, arguments);
  AddWhere(command, arguments);

  command = AddOnTable(app, arguments, "delete", Delete, "Delete rows",
                       "vorndb -f app.db delete contact --where uid=7");
  AddWhere(command, arguments);
  command->add_flag("--all", arguments.all, "Every row, without asking");
}

void DeclareReads(CLI::App& app, Arguments& arguments) {
  CLI::App* command = AddOnTable(app, arguments, "select", Select, "Read rows",
                                 "vorndb -f app.db select contact --where name=Kim age=42");
  AddWhere(command, arguments);
  AddFormat(command, arguments);
  AddWide(command, arguments);

  command = AddCommand(app, arguments, "join", Join,
                       "Read the rows of two tables that have a value in common",
                       "vorndb -f app.db join contact.uid note.owner --where note.kind=2");
  command->add_option("LEFT", arguments.left, "TABLE.COLUMN")->type_name("")->required();
  command->add_option("RIGHT", arguments.right, "TABLE.COLUMN")->type_name("")->required();
  using Texts = std::vector<std::string>;
  const auto keep = [&arguments](const Texts& texts) {
    std::transform(texts.begin(), texts.end(), std::back_inserter(arguments.where), JoinCondition);
  };
  command
      ->add_option_function<Texts>(
          "--where", keep, "Only rows with these values, all of them; a column may be TABLE.COLUMN")
      ->type_name("COLUMN=VALUE");
  AddFormat(command, arguments);
  AddWide(command, arguments);

  AddOnTable(app, arguments, "exists", Exists, "Tell whether there is a table: yes or no",
             "vorndb -f app.db exists contact");
}

void DeclareOthers(CLI::App& app, Arguments& arguments) {
  AddOnTable(app, arguments, "drop", Drop, "Remove a table with all its rows",
             "vorndb -f app.db drop contact");

  CLI::App* command =
      AddOnTable(app, arguments, "import", Import, "Write the rows of a CSV file into a table",
                 "vorndb -f app.db import contact contacts.csv");
  AddPath(command, arguments, "CSV",
          "The file, whose first line names the columns; - for standard input");

  command = AddOnTable(app, arguments, "export", Export, "Write rows of a table into a file",
                       "vorndb -f app.db export contact contacts.json --where age=42");
  AddPath(command, arguments, "OUT", "The file; .csv, .json or .txt (lines) tells its format");
  AddWhere(command, arguments);
  AddFormat(command, arguments);
  command->add_flag("--force", arguments.force, "Write over a file that exists");

  command =
      AddCommand(app, arguments, "explain-log", Explain,
                 "Tell what happened from a log of the library", "vorndb explain-log captured.log");
  AddPath(command, arguments, "LOG", "The captured log; - for standard input");
  AddCommand(app, arguments, "log-reference", LogReference,
             "Print every message of the library's log with its meaning, in Markdown",
             "vorndb log-reference");
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
