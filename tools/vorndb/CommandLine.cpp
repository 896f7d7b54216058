#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <iostream>

#include "Errors.h"

namespace vorndb {

namespace {

// The grammar. Every command fills what it needs of the arguments.
class CommandLine {
 public:
  CommandLine();

  std::optional<Arguments> Parse(int argc, const char* const* argv);

 private:
  CLI::App* AddCommand(Command command, const std::string& name, const std::string& description,
                       const std::string& example);
  void AddTable(CLI::App* command);
  void AddValues(CLI::App* command);
  void AddConditions(CLI::App* command);
  void AddFormats(CLI::App* command);

  void AddCreate();
  void AddUpsert();
  void AddUpdate();
  void AddDelete();
  void AddSelect();
  void AddJoin();
  void AddExists();
  void AddDrop();
  void AddImport();
  void AddExport();
  void AddExplainLog();

  CLI::App m_app{"Keeps and reads rows in SQLite files with the library vorndatabase."};
  Arguments m_arguments;
};

using Texts = std::vector<std::string>;

constexpr char kEpilogue[] =
    "Exit status: 0, 1 for an operation that failed, 2 for wrong use.\n"
    "An example for each command: vorndb COMMAND --help";

template <typename Parsed, typename Parse>
std::vector<Parsed> ParseAll(const Texts& texts, Parse parse) {
  std::vector<Parsed> all;
  Texts columns;
  for (const std::string& text : texts) {
    all.push_back(parse(text));
    columns.push_back(all.back().column);
  }
  RequireDistinct(columns);
  return all;
}

CommandLine::CommandLine() {
  m_app.name("vorndb");
  m_app.set_version_flag("--version", "vorndb " VORNDB_VERSION);
  m_app.require_subcommand(1);
  m_app.footer(kEpilogue);
  m_app.add_option("-f,--file", m_arguments.file, "The database file")->type_name("FILE");
  m_app.add_flag("--sql", m_arguments.sql,
                 "Print the statement that would be run, and run nothing");
  m_app.add_flag("-v,--verbose", m_arguments.verbose, "Show the library's log on standard error");
  AddCreate();
  AddUpsert();
  AddUpdate();
  AddDelete();
  AddSelect();
  AddJoin();
  AddExists();
  AddDrop();
  AddImport();
  AddExport();
  AddExplainLog();
}

CLI::App* CommandLine::AddCommand(Command command, const std::string& name,
                                  const std::string& description, const std::string& example) {
  CLI::App* const added = m_app.add_subcommand(name, description);
  // The options of all commands may also stand behind the command.
  added->fallthrough();
  added->footer("Example:\n  " + example);
  added->callback([this, command] { m_arguments.command = command; });
  return added;
}

void CommandLine::AddTable(CLI::App* command) {
  command
      ->add_option_function<std::string>(
          "TABLE",
          [this](const std::string& text) {
            RequirePlainName("table", text);
            m_arguments.table = text;
          },
          "The table")
      ->type_name("")
      ->required();
}

void CommandLine::AddValues(CLI::App* command) {
  command
      ->add_option_function<Texts>(
          "VALUES",
          [this](const Texts& texts) {
            m_arguments.values = ParseAll<Assignment>(texts, ParseAssignment);
          },
          "What to write: COLUMN=VALUE…")
      ->type_name("")
      ->required();
}

void CommandLine::AddConditions(CLI::App* command) {
  command
      ->add_option_function<Texts>(
          "--where",
          [this](const Texts& texts) {
            m_arguments.where = ParseAll<Assignment>(texts, ParseAssignment);
          },
          "Only rows with these values, all of them")
      ->type_name("COLUMN=VALUE");
}

void CommandLine::AddFormats(CLI::App* command) {
  command
      ->add_option_function<std::string>(
          "--format",
          [this](const std::string& text) {
            m_arguments.format = FormatNamed(text);
            if (!m_arguments.format) {
              throw UsageError("'" + text + "' is no format; there are table, csv, json and lines");
            }
          },
          "table (the default), csv, json or lines")
      ->type_name("NAME");
}

void CommandLine::AddCreate() {
  CLI::App* const command =
      AddCommand(Command::kCreate, "create", "Create a table, unless it exists",
                 "vorndb -f app.db create contact name:TEXT age:INTEGER --key uid:TEXT");
  AddTable(command);
  command
      ->add_option_function<Texts>(
          "COLUMNS",
          [this](const Texts& texts) {
            m_arguments.columns = ParseAll<TypedColumn>(texts, ParseTypedColumn);
          },
          "Its columns: COLUMN:TYPE…")
      ->type_name("");
  command
      ->add_option_function<std::string>(
          "--key", [this](const std::string& text) { m_arguments.key = ParseTypedColumn(text); },
          "The primary key; without it there is a column _ID")
      ->type_name("COLUMN:TYPE");
  command
      ->add_option_function<std::string>(
          "--composite",
          [this](const std::string& text) { m_arguments.composite = ParseTypedColumn(text); },
          "A second column of the primary key")
      ->type_name("COLUMN:TYPE");
}

void CommandLine::AddUpsert() {
  CLI::App* const command =
      AddCommand(Command::kUpsert, "upsert", "Write a row, in the place of one with the same key",
                 "vorndb -f app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42");
  AddTable(command);
  AddValues(command);
}

void CommandLine::AddUpdate() {
  CLI::App* const command = AddCommand(Command::kUpdate, "update", "Change rows",
                                       "vorndb -f app.db update contact age=43 --where uid=7");
  AddTable(command);
  AddValues(command);
  AddConditions(command);
}

void CommandLine::AddDelete() {
  CLI::App* const command = AddCommand(Command::kDelete, "delete", "Delete rows",
                                       "vorndb -f app.db delete contact --where uid=7");
  AddTable(command);
  AddConditions(command);
  command->add_flag("--all", m_arguments.all, "Every row, without asking");
}

void CommandLine::AddSelect() {
  CLI::App* const command = AddCommand(Command::kSelect, "select", "Read rows",
                                       "vorndb -f app.db select contact --where name=Kim age=42");
  AddTable(command);
  AddConditions(command);
  AddFormats(command);
  command->add_flag("--wide", m_arguments.wide, "Cut no cells to the terminal's width");
}

void CommandLine::AddJoin() {
  CLI::App* const command =
      AddCommand(Command::kJoin, "join", "Read the rows of two tables that have a value in common",
                 "vorndb -f app.db join contact.uid note.owner --where note.kind=2");
  const auto side = [](TableColumn& column) {
    return [&column](const std::string& text) { column = ParseTableColumn(text); };
  };
  command->add_option_function<std::string>("LEFT", side(m_arguments.left), "TABLE.COLUMN")
      ->type_name("")
      ->required();
  command->add_option_function<std::string>("RIGHT", side(m_arguments.right), "TABLE.COLUMN")
      ->type_name("")
      ->required();
  command
      ->add_option_function<Texts>(
          "--where",
          [this](const Texts& texts) {
            m_arguments.where = ParseAll<Assignment>(texts, ParseJoinCondition);
          },
          "Only rows with these values, all of them; a column may be TABLE.COLUMN")
      ->type_name("COLUMN=VALUE");
  AddFormats(command);
  command->add_flag("--wide", m_arguments.wide, "Cut no cells to the terminal's width");
}

void CommandLine::AddExists() {
  AddTable(AddCommand(Command::kExists, "exists", "Tell whether there is a table: yes or no",
                      "vorndb -f app.db exists contact"));
}

void CommandLine::AddDrop() {
  AddTable(AddCommand(Command::kDrop, "drop", "Remove a table with all its rows",
                      "vorndb -f app.db drop contact"));
}

void CommandLine::AddImport() {
  CLI::App* const command =
      AddCommand(Command::kImport, "import", "Write the rows of a CSV file into a table",
                 "vorndb -f app.db import contact contacts.csv");
  AddTable(command);
  command
      ->add_option("CSV", m_arguments.path,
                   "The file, whose first line names the columns; - for standard input")
      ->type_name("")
      ->required();
}

void CommandLine::AddExport() {
  CLI::App* const command =
      AddCommand(Command::kExport, "export", "Write rows of a table into a file",
                 "vorndb -f app.db export contact contacts.json --where age=42");
  AddTable(command);
  command
      ->add_option("OUT", m_arguments.path,
                   "The file; .csv, .json or .txt (lines) tells its format")
      ->type_name("")
      ->required();
  AddConditions(command);
  AddFormats(command);
  command->add_flag("--force", m_arguments.force, "Write over a file that exists");
}

void CommandLine::AddExplainLog() {
  CLI::App* const command =
      AddCommand(Command::kExplainLog, "explain-log",
                 "Tell what happened from a log of the library", "vorndb explain-log captured.log");
  command->add_option("LOG", m_arguments.path, "The captured log; - for standard input")
      ->type_name("")
      ->required();
}

// What the grammar allows, but no careful caller does.
void Refuse(const Arguments& arguments) {
  if (arguments.file.empty() && !arguments.sql && arguments.command != Command::kExplainLog) {
    throw UsageError("the database file is missing: vorndb -f FILE …");
  }
  if (arguments.command == Command::kExplainLog && (arguments.sql || !arguments.file.empty())) {
    throw UsageError("explain-log reads a log, and no database: it takes neither -f nor --sql");
  }
  if (arguments.command == Command::kExport && arguments.path == "-") {
    throw UsageError("export writes a file; for standard output there is select --format");
  }
  if (arguments.command == Command::kUpdate && arguments.where.empty()) {
    throw UsageError("update needs --where: the library does not change all rows at once");
  }
  if (arguments.all && !arguments.where.empty()) {
    throw UsageError("--all and --where contradict each other");
  }
  if (arguments.composite && !arguments.key) {
    throw UsageError("--composite needs --key: alone, the library leaves it out");
  }
}

// All columns of a table, whichever way they are given.
void RefuseRepeatedColumns(const Arguments& arguments) {
  Texts columns;
  for (const auto& key : {arguments.key, arguments.composite}) {
    if (key) {
      columns.push_back(key->column);
    }
  }
  if (arguments.command == Command::kCreate && !arguments.key) {
    columns.emplace_back("_ID");
  }
  for (const TypedColumn& column : arguments.columns) {
    columns.push_back(column.column);
  }
  RequireDistinct(columns);
}

std::optional<Arguments> CommandLine::Parse(int argc, const char* const* argv) {
  try {
    m_app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // Help is an error, too, whose status is success.
    if (error.get_exit_code() != 0) {
      const bool unknown = m_app.get_subcommands().empty() && m_app.remaining_size() > 0;
      throw UsageError(unknown ? "'" + m_app.remaining().front() + "' is no command"
                               : error.what());
    }
    m_app.exit(error, std::cout, std::cerr);
    return std::nullopt;
  }
  Refuse(m_arguments);
  RefuseRepeatedColumns(m_arguments);
  return m_arguments;
}

}  // namespace

std::optional<Arguments> ParseCommandLine(int argc, const char* const* argv) {
  return CommandLine().Parse(argc, argv);
}

}  // namespace vorndb
