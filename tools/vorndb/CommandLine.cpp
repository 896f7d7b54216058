#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <iterator>

#include "Commands.h"
#include "Errors.h"
#include "Format.h"
#include "log/LogSink.h"

namespace vorndb {

namespace {

template <typename Parsed>
using Parse = Parsed (*)(const std::string&);

// Every command is declared once, with its arguments, help and example.
class CommandLine {
 public:
  CommandLine();

  void Run(int argc, const char* const* argv);

 private:
  void DeclareWrites();
  void DeclareReads();
  void DeclareFiles();

  CLI::App* Add(const std::string& name, void (*run)(const Arguments&),
                const std::string& description, const std::string& example);
  CLI::App* AddOnTable(const std::string& name, void (*run)(const Arguments&),
                       const std::string& description, const std::string& example);
  void AddValues(CLI::App* command);
  void AddConditions(CLI::App* command);
  void AddFormat(CLI::App* command);
  void AddPath(CLI::App* command, const std::string& name, const std::string& description);

  CLI::App m_app{"Keeps and reads rows in SQLite files with the library vorndatabase."};
  Arguments m_arguments;
};

// An option, or an argument without a form, whose text is parsed into a member.
template <typename Member, typename Parsed>
CLI::Option* AddOne(CLI::App* command, const std::string& name, Member& member, Parse<Parsed> parse,
                    const std::string& form, const std::string& description) {
  const auto keep = [&member, parse](const std::string& text) { member = parse(text); };
  return command->add_option_function<std::string>(name, keep, description)->type_name(form);
}

// The same for several texts.
template <typename Parsed>
CLI::Option* AddList(CLI::App* command, const std::string& name, std::vector<Parsed>& members,
                     Parse<Parsed> parse, const std::string& form, const std::string& description) {
  using Texts = std::vector<std::string>;
  const auto keep = [&members, parse](const Texts& texts) {
    std::transform(texts.begin(), texts.end(), std::back_inserter(members), parse);
  };
  return command->add_option_function<Texts>(name, keep, description)->type_name(form);
}

CommandLine::CommandLine() {
  m_app.name("vorndb");
  m_app.set_version_flag("--version", "vorndb " VORNDB_VERSION);
  m_app.require_subcommand(1);
  m_app.footer(
      "Exit status: 0, 1 for an operation that failed, 2 for wrong use.\n"
      "An example for each command: vorndb COMMAND --help");
  m_app.add_option("-f,--file", m_arguments.file, "The database file")->type_name("FILE");
  m_app.add_flag("--sql", m_arguments.sql,
                 "Print the statement that would be run, and run nothing");
  m_app.add_flag("-v,--verbose", m_arguments.verbose, "Show the library's log on standard error");
  DeclareWrites();
  DeclareReads();
  DeclareFiles();
}

void CommandLine::DeclareWrites() {
  CLI::App* command =
      AddOnTable("create", Create, "Create a table, unless it exists",
                 "vorndb -f app.db create contact name:TEXT age:INTEGER --key uid:TEXT");
  AddList(command, "COLUMNS", m_arguments.columns, ParseTypedColumn, "",
          "Its columns: COLUMN:TYPE…");
  AddOne(command, "--key", m_arguments.key, ParseTypedColumn, "COLUMN:TYPE",
         "The primary key; without it there is a column _ID");
  AddOne(command, "--composite", m_arguments.composite, ParseTypedColumn, "COLUMN:TYPE",
         "A second column of the primary key");

  command = AddOnTable("upsert", Upsert, "Write a row, in the place of one with the same key",
                       "vorndb -f app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42");
  AddValues(command);

  command = AddOnTable("update", Update, "Change rows",
                       "vorndb -f app.db update contact age=43 --where uid=7");
  AddValues(command);
  AddConditions(command);

  command =
      AddOnTable("delete", Delete, "Delete rows", "vorndb -f app.db delete contact --where uid=7");
  AddConditions(command);
  command->add_flag("--all", m_arguments.all, "Every row, without asking");
}

void CommandLine::DeclareReads() {
  CLI::App* command = AddOnTable("select", Select, "Read rows",
                                 "vorndb -f app.db select contact --where name=Kim age=42");
  AddConditions(command);
  AddFormat(command);
  command->add_flag("--wide", m_arguments.wide, "Cut no cells to the terminal's width");

  command = Add("join", Join, "Read the rows of two tables that have a value in common",
                "vorndb -f app.db join contact.uid note.owner --where note.kind=2");
  AddOne(command, "LEFT", m_arguments.left, ParseTableColumn, "", "TABLE.COLUMN")->required();
  AddOne(command, "RIGHT", m_arguments.right, ParseTableColumn, "", "TABLE.COLUMN")->required();
  AddList(command, "--where", m_arguments.where, ParseJoinCondition, "COLUMN=VALUE",
          "Only rows with these values, all of them; a column may be TABLE.COLUMN");
  AddFormat(command);
  command->add_flag("--wide", m_arguments.wide, "Cut no cells to the terminal's width");

  AddOnTable("exists", Exists, "Tell whether there is a table: yes or no",
             "vorndb -f app.db exists contact");
}

void CommandLine::DeclareFiles() {
  AddOnTable("drop", Drop, "Remove a table with all its rows", "vorndb -f app.db drop contact");

  CLI::App* command = AddOnTable("import", Import, "Write the rows of a CSV file into a table",
                                 "vorndb -f app.db import contact contacts.csv");
  AddPath(command, "CSV", "The file, whose first line names the columns; - for standard input");

  command = AddOnTable("export", Export, "Write rows of a table into a file",
                       "vorndb -f app.db export contact contacts.json --where age=42");
  AddPath(command, "OUT", "The file; .csv, .json or .txt (lines) tells its format");
  AddConditions(command);
  AddFormat(command);
  command->add_flag("--force", m_arguments.force, "Write over a file that exists");

  command = Add("explain-log", Explain, "Tell what happened from a log of the library",
                "vorndb explain-log captured.log");
  AddPath(command, "LOG", "The captured log; - for standard input");
}

CLI::App* CommandLine::Add(const std::string& name, void (*run)(const Arguments&),
                           const std::string& description, const std::string& example) {
  CLI::App* const command = m_app.add_subcommand(name, description);
  // The options of all commands may also follow the command.
  command->fallthrough();
  command->footer("Example:\n  " + example);
  command->callback([this, run] {
    if (m_arguments.file.empty() && !m_arguments.sql && run != Explain) {
      throw UsageError("the database file is missing: vorndb -f FILE …");
    }
    ShowLog(m_arguments.verbose);
    run(m_arguments);
  });
  return command;
}

CLI::App* CommandLine::AddOnTable(const std::string& name, void (*run)(const Arguments&),
                                  const std::string& description, const std::string& example) {
  CLI::App* const command = Add(name, run, description, example);
  AddOne(command, "TABLE", m_arguments.table, ParseTable, "", "The table")->required();
  return command;
}

void CommandLine::AddValues(CLI::App* command) {
  AddList(command, "VALUES", m_arguments.values, ParseAssignment, "",
          "What to write: COLUMN=VALUE…")
      ->required();
}

void CommandLine::AddConditions(CLI::App* command) {
  AddList(command, "--where", m_arguments.where, ParseAssignment, "COLUMN=VALUE",
          "Only rows with these values, all of them");
}

void CommandLine::AddFormat(CLI::App* command) {
  AddOne(command, "--format", m_arguments.format, ParseFormat, "NAME",
         "table (the default), csv, json or lines");
}

void CommandLine::AddPath(CLI::App* command, const std::string& name,
                          const std::string& description) {
  command->add_option(name, m_arguments.path, description)->type_name("")->required();
}

void CommandLine::Run(int argc, const char* const* argv) {
  try {
    m_app.parse(argc, argv);
  } catch (const CLI::Success& help) {
    m_app.exit(help, std::cout, std::cerr);
  } catch (const CLI::ParseError& error) {
    const bool unknown = m_app.get_subcommands().empty() && m_app.remaining_size() > 0;
    throw UsageError(unknown ? "'" + m_app.remaining().front() + "' is no command" : error.what());
  }
}

}  // namespace

void RunCommandLine(int argc, const char* const* argv) { CommandLine().Run(argc, argv); }

}  // namespace vorndb
