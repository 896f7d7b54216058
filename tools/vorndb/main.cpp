// vorndb: every operation of the library, on any database file, from the command line.

#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <new>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Result.h"
#include "Terminal.h"
#include "log/LogLine.h"

namespace vorndb {

namespace {

using Run = void (*)(const Arguments&);

// The declaration of all commands: each option is one of the command that was added last.
class CommandLine {
 public:
  CommandLine() {
    m_app.set_version_flag("--version", "vorndb " VORNDB_VERSION);
    m_app.require_subcommand(1);
    m_app.footer(
        "Exit status: 0, 1 for an operation that failed, 2 for wrong use.\n"
        "An example for each command: vorndb COMMAND --help");
    Add("-f,--file", "FILE", m_arguments.file, "The database file");
    AddFlag("--sql", m_arguments.sql, "Print the statement that would be run, and run nothing");
    AddFlag("-v,--verbose", m_arguments.verbose, "Show the library's log on standard error");
    DeclareWrites();
    DeclareReads();
    DeclareOthers();
  }

  // Runs the command, or prints help or the version.
  void Parse(int argc, const char* const* argv) {
    try {
      m_app.parse(argc, argv);
    } catch (const CLI::Success& help) {
      m_app.exit(help, std::cout, std::cerr);
    } catch (const CLI::ParseError& error) {
      const bool unknown = m_app.get_subcommands().empty() && m_app.remaining_size() > 0;
      throw UsageError(unknown ? "'" + m_app.remaining().front() + "' is no command"
                               : error.what());
    }
  }

 private:
  void AddCommand(const char* name, Run run, const char* description, const std::string& example) {
    m_command = m_app.add_subcommand(name, description);
    // The options of all commands may also follow the command.
    m_command->fallthrough();
    m_command->footer("Example:\n  vorndb " + example);
    m_command->callback([this, run, name] {
      if (run == Explain || run == LogReference) {
        RefuseIf(m_arguments.sql || !m_arguments.file.empty(),
                 std::string(name) + " reads no database: it takes neither -f nor --sql");
      } else if (!m_arguments.sql) {
        RequireFileName(m_arguments.file);
      }
      ShowLog(m_arguments.verbose);
      run(m_arguments);
    });
  }

  // The texts have to be those of a `Form`.
  template <typename Value, typename Form = Value>
  CLI::Option* Add(const char* name, const char* type, Value& value, const char* description) {
    return m_command->add_option<Value, Form>(name, value, description)->type_name(type);
  }

  void AddFlag(const char* name, bool& value, const char* description) {
    m_command->add_flag(name, value, description);
  }

  // For an argument without a name of its own.
  template <typename Value>
  CLI::Option* AddPlace(const char* name, Value& value, const char* description) {
    return Add(name, "", value, description)->required();
  }

  void AddOnTable(const char* name, Run run, const char* description, const std::string& example) {
    AddCommand(name, run, description, example);
    AddPlace("TABLE", m_arguments.table, "The table")->each([](const std::string& table) {
      RequirePlainName("table", table);
    });
  }

  void AddValues() { AddPlace("VALUES", m_arguments.values, "What to write: COLUMN=VALUE…"); }

  void AddWhere() {
    Add("--where", "COLUMN=VALUE", m_arguments.where, "Only rows with these values, all of them");
  }

  void AddFormat() {
    Add("--format", "NAME", m_arguments.format, "table (the default), csv, json or lines")
        ->each(RequireFormat);
  }

  void AddWide() { AddFlag("--wide", m_arguments.wide, "Cut no cells to the terminal's width"); }

  void DeclareWrites() {
    AddOnTable("create", Create, "Create a table, unless it exists",
               "-f app.db create contact name:TEXT age:INTEGER --key uid:TEXT");
    Add("COLUMNS", "", m_arguments.columns, "Its columns: COLUMN:TYPE…");
    Add("--key", "COLUMN:TYPE", m_arguments.key,
        "The primary key; without it there is a column _ID");
    Add("--composite", "COLUMN:TYPE", m_arguments.composite, "A second column of the primary key");

    AddOnTable("upsert", Upsert, "Write a row, in the place of one with the same key",
               "-f app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42");
    AddValues();

    AddOnTable("update", Update, "Change rows", "-f app.db update contact age=43 --where uid=7");
    AddValues();
    AddWhere();

    AddOnTable("delete", Delete, "Delete rows", "-f app.db delete contact --where uid=7");
    AddWhere();
    AddFlag("--all", m_arguments.all, "Every row, without asking");
  }

  void DeclareReads() {
    AddOnTable("select", Select, "Read rows", "-f app.db select contact --where name=Kim age=42");
    AddWhere();
    AddFormat();
    AddWide();

    AddCommand("join", Join, "Read the rows of two tables that have a value in common",
               "-f app.db join contact.uid note.owner --where note.kind=2");
    AddPlace("LEFT", m_arguments.left, "TABLE.COLUMN");
    AddPlace("RIGHT", m_arguments.right, "TABLE.COLUMN");
    Add<std::vector<Assignment>, std::vector<JoinCondition>>(
        "--where", "COLUMN=VALUE", m_arguments.where,
        "Only rows with these values, all of them; a column may be TABLE.COLUMN");
    AddFormat();
    AddWide();

    AddOnTable("exists", Exists, "Tell whether there is a table: yes or no",
               "-f app.db exists contact");
  }

  void DeclareOthers() {
    AddOnTable("drop", Drop, "Remove a table with all its rows", "-f app.db drop contact");

    AddOnTable("import", Import, "Write the rows of a CSV file into a table",
               "-f app.db import contact contacts.csv");
    AddPlace("CSV", m_arguments.path,
             "The file, whose first line names the columns; - for standard input");

    AddOnTable("export", Export, "Write rows of a table into a file",
               "-f app.db export contact contacts.json --where age=42");
    AddPlace("OUT", m_arguments.path, "The file; .csv, .json or .txt (lines) tells its format");
    AddWhere();
    AddFormat();
    AddFlag("--force", m_arguments.force, "Write over a file that exists");

    AddCommand("explain-log", Explain, "Tell what happened from a log of the library",
               "explain-log captured.log");
    AddPlace("LOG", m_arguments.path, "The captured log; - for standard input");
    AddCommand("log-reference", LogReference,
               "Print every message of the library's log with its meaning, in Markdown",
               "log-reference");
  }

  CLI::App m_app{"Keeps and reads rows in SQLite files with the library vorndatabase.", "vorndb"};
  CLI::App* m_command = &m_app;
  Arguments m_arguments;
};

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
    vorndb::CommandLine().Parse(argc, argv);
    // A full disk shows here at the latest.
    vorndb::FailIf(!std::cout.flush(), "cannot write to standard output");
    return vorndb::kDone;
  } catch (const vorndb::UsageError& error) {
    return vorndb::Fail(error.what(), vorndb::kWrongUse);
  } catch (const std::bad_alloc&) {
    return vorndb::Fail("memory is exhausted", vorndb::kFailed);
  } catch (const std::exception& error) {
    return vorndb::Fail(error.what(), vorndb::kFailed);
  }
}
