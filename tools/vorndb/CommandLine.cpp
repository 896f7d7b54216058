#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "Commands.h"
#include "Completion.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Result.h"
#include "log/LogLine.h"

namespace vorndb {

namespace {

using Run = void (*)(const Arguments&);
using Words = std::vector<std::string>;

bool IsOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

bool Repeats(const CLI::Option* option) {
  return option->get_allow_extra_args() &&
         option->get_expected_max() == CLI::detail::expected_max_vector_size;
}

// The database file is an option of all other commands.
bool TakesFile(const std::string& command) {
  constexpr const char* kOthers[] = {"diff", "copy", "explain-log", "log-reference", "help"};
  return std::find(std::begin(kOthers), std::end(kOthers), command) == std::end(kOthers);
}

// Help of a command with a usage line to be copied and with the options of all commands.
class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* app, std::string /*name*/) const override {
    const bool isCommand = app->get_parent() != nullptr;
    std::string usage = "Usage: vorndb";
    usage += !isCommand || TakesFile(app->get_name()) ? " FILE" : "";
    usage += ' ' + (isCommand ? app->get_name() : "COMMAND ...");
    for (const CLI::Option* option : app->get_options()) {
      if (option->get_positional()) {
        const std::string name = option->get_name(true) + make_option_opts(option);
        usage += ' ' + (option->get_required() ? name : '[' + name + ']');
      }
    }
    return usage + (isCommand ? " [OPTIONS]\n" : "\n");
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_positional() ? "" : ' ' + option->get_type_name();
    return (option->get_type_size() == 0 ? "" : type) + (Repeats(option) ? "..." : "");
  }

  std::string make_footer(const CLI::App* app) const override {
    const CLI::App* const all = app->get_parent();
    const std::string options =
        all == nullptr ? "" : make_groups(all, CLI::AppFormatMode::Normal).substr(1) + '\n';
    return options + CLI::Formatter::make_footer(app);
  }
};

// The declaration of all commands: each option is one of the command that was added last.
class CommandLine {
 public:
  CommandLine() {
    const auto help = std::make_shared<Help>();
    help->label("Positionals", "Arguments");
    m_app.formatter(help);
    m_app.set_help_flag("-h,--help", "Print help");
    m_app.set_version_flag("-V,--version", "vorndb " VORNDB_VERSION, "Print the version");
    m_app.option_defaults()->group("Options of all commands");
    m_app.get_help_ptr()->group("Options of all commands");
    m_app.get_version_ptr()->group("Options of all commands");
    m_app.require_subcommand(1);
    m_app.footer(
        "The file may also follow -f, or be named by the variable VORNDB_FILE.\n"
        "Exit status: 0, 1 for an operation that failed, 2 for wrong use.\n"
        "An example for each command: vorndb help COMMAND");
    Add("-f,--file", "FILE", m_arguments.file, "The database file");
    AddFlag("-n,--dry-run,--sql", m_arguments.sql, "Print the SQL statements, and run nothing");
    AddFlag("-q,--quiet", m_arguments.quiet, "Print nothing about success");
    AddFlag("-v,--verbose", m_arguments.verbose, "Show the library's log on standard error");
    DeclareReads();
    DeclareWrites();
    DeclareTransfers();
    DeclareOthers();
  }

  // Runs the command, or prints help or the version.
  void Parse(Words words) {
    try {
      PlaceFile(words);
      if (m_name == "help" && words.back() != "--help") {
        words.erase(Bare(words, words.begin()));
        words.emplace_back("--help");
        m_name.clear();
        PlaceFile(words);
      }
      RequireKnownOptions(words);
      std::reverse(words.begin(), words.end());
      m_app.parse(words);
    } catch (const CLI::Success& help) {
      m_app.exit(help, std::cout, std::cerr);
    } catch (const CLI::ParseError& error) {
      Refuse(Rephrased(error));
    } catch (UsageError& error) {
      error.command = m_name;
      throw;
    }
  }

  // Prints the candidates for the last word. Bash makes three words of "NAME=VALUE".
  void Complete(Words words) {
    std::string word = words.empty() ? "" : words.back();
    words.resize(words.empty() ? 0 : words.size() - 1);
    if (words.size() > 1 && words.back() == "=" && !IsOption(words[words.size() - 2])) {
      return;
    }
    words.erase(std::remove(words.begin(), words.end(), "="), words.end());
    word = word == "=" ? "" : word;
    for (const std::string& candidate : CandidatesAfter(words, word)) {
      if (candidate.rfind(word, 0) == 0) {
        std::cout << candidate << '\n';
      }
    }
  }

 private:
  [[noreturn]] void Refuse(const std::string& problem) const {
    UsageError error(problem);
    error.command = m_name;
    throw error;
  }

  CLI::App* Find(const std::string& command) {
    const auto found = m_app.get_subcommands(
        [&command](const CLI::App* app) { return app->get_name() == command; });
    return found.empty() ? nullptr : found.front();
  }

  // The first word from a position on that is neither an option nor the file of one.
  static Words::iterator Bare(Words& words, Words::iterator word) {
    bool isValue = false;
    for (; word != words.end() && (isValue || IsOption(*word)); ++word) {
      isValue = !isValue && (*word == "-f" || *word == "--file");
    }
    return word;
  }

  bool IsFile(Words& words, Words::iterator word) {
    const auto next = Bare(words, word + 1);
    std::error_code ignored;
    return word->find_first_of("./") != std::string::npos ||
           std::filesystem::exists(*word, ignored) ||
           (next != words.end() && Find(*next) != nullptr);
  }

  // Finds the command, and puts the option before a file that comes without.
  void PlaceFile(Words& words) {
    auto word = Bare(words, words.begin());
    if (word != words.end() && Find(*word) == nullptr && IsFile(words, word)) {
      word = Bare(words, words.insert(word, "--file"));
    }
    if (word != words.end()) {
      RefuseIf(Find(*word) == nullptr,
               '\'' + *word + "' is no command" + Suggestion(*word, CommandNames()));
      m_name = *word;
    }
  }

  // Before any value is looked at.
  void RequireKnownOptions(const Words& words) {
    const CLI::App* const command = m_name.empty() ? &m_app : Find(m_name);
    for (auto word = words.begin(); word != words.end() && *word != "--"; ++word) {
      const std::string name = word->substr(0, word->find('='));
      if (name.rfind("--", 0) == 0 && command->get_option_no_throw(name) == nullptr &&
          m_app.get_option_no_throw(name) == nullptr) {
        throw UsageError(name + " is no option of " + (m_name.empty() ? "vorndb" : m_name) +
                         Suggestion(name, OptionNames(command)));
      }
    }
  }

  // The long options of a command, and those of all.
  Words OptionNames(const CLI::App* command) const {
    std::set<std::string> names;
    for (const CLI::App* const app : {command, &m_app}) {
      for (const CLI::Option* const option : app->get_options()) {
        for (const std::string& name : option->get_lnames()) {
          names.insert("--" + name);
        }
      }
    }
    return {names.begin(), names.end()};
  }

  Words CommandNames() const {
    Words names;
    for (const CLI::App* const command :
         m_app.get_subcommands([](const CLI::App*) { return true; })) {
      names.push_back(command->get_name());
    }
    return names;
  }

  // The option or argument that the next word belongs to. An option without its value is
  // removed.
  const CLI::Option* TakePlace(const CLI::App& command, Words& words) const {
    const auto last = std::find_if(words.rbegin(), words.rend(), IsOption);
    if (last != words.rend()) {
      const CLI::Option* option = command.get_option_no_throw(*last);
      option = option != nullptr ? option : m_app.get_option_no_throw(*last);
      const bool takesValue = option != nullptr && option->get_type_size() > 0;
      if (takesValue && (last == words.rbegin() || Repeats(option))) {
        words.resize(words.size() - (last == words.rbegin() ? 1 : 0));
        return option;
      }
    }
    return nullptr;
  }

  Words CandidatesAfter(Words words, const std::string& word) {
    PlaceFile(words);
    const CLI::App* const command = m_name.empty() ? &m_app : Find(m_name);
    const CLI::Option* place = TakePlace(*command, words);
    m_isCompletion = true;
    try {
      std::reverse(words.begin(), words.end());
      m_app.parse(words);
    } catch (const std::runtime_error&) {
      // The line is not complete.
    }
    for (const CLI::Option* const option : command->get_options()) {
      const bool isFree = option->get_positional() && (option->count() == 0 || Repeats(option));
      place = place == nullptr && isFree ? option : place;
    }
    SetFileFromEnvironment();
    if (IsOption(word) || word == "-") {
      return OptionNames(command);
    }
    if (place == nullptr || place->get_name() == "COMMAND") {
      return place == nullptr && command != &m_app ? Words() : CommandNames();
    }
    const bool isOfLog = m_name == "explain-log" && place->get_name() == "--format";
    return isOfLog ? LogFormats() : Candidates(place->get_name(), m_arguments, word);
  }

  static std::string Rephrased(const CLI::ParseError& error) {
    const std::string text = error.what();
    const std::string subject = text.substr(0, text.find_first_of(": "));
    const std::string last = text.substr(text.rfind(' ') + 1);
    switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
      case CLI::ExitCodes::RequiredError:
        return (subject == "A" ? "a command" : subject) + " is missing";
      case CLI::ExitCodes::ExtrasError:
        return '\'' + text.substr(text.find(": ") + 2) + "' is too much";
      case CLI::ExitCodes::ExcludesError:
        return subject + " and " + last + " exclude each other";
      case CLI::ExitCodes::ArgumentMismatch:
        return subject + (last == "missing" ? " needs a value" : " is given twice");
      case CLI::ExitCodes::ConversionError:
        return '\'' + last + "' is no value of an option";
      default:
        return text;
    }
  }

  void AddCommand(const char* name, Run run, const char* description, const std::string& example) {
    m_command = m_app.add_subcommand(name, description);
    m_command->group(m_group);
    // The options of all commands may also follow the command.
    m_command->fallthrough();
    m_command->set_help_flag("-h,--help", "Print help")->group("");
    m_command->option_defaults()->group("Options");
    m_command->footer("Example:\n  vorndb " + example);
    m_command->callback([this, run] {
      if (m_isCompletion) {
        return;
      }
      if (TakesFile(m_name)) {
        TakeFile();
      } else {
        RefuseIf(!m_arguments.file.empty(), m_name + " takes no -f, and no file before it");
        RefuseIf(m_arguments.sql && run != Copy, m_name + " has no statement to be printed");
      }
      ShowLog(m_arguments.verbose);
      run(m_arguments);
    });
  }

  void SetFileFromEnvironment() {
    if (const char* const file = std::getenv("VORNDB_FILE");
        file != nullptr && m_arguments.file.empty()) {
      m_arguments.file = file;
    }
  }

  void TakeFile() {
    SetFileFromEnvironment();
    if (!m_arguments.sql) {
      RequireFileName(m_arguments.file);
    }
  }

  // The texts have to be those of a `Form`.
  template <typename Value, typename Form = Value>
  CLI::Option* Add(const char* name, const char* type, Value& value,
                   const std::string& description) {
    return m_command->add_option<Value, Form>(name, value, description)->type_name(type);
  }

  CLI::Option* AddFlag(const char* name, bool& value, const char* description) {
    return m_command->add_flag(name, value, description);
  }

  // For an argument without a name of its own.
  template <typename Value>
  CLI::Option* AddPlace(const char* name, Value& value, const char* description) {
    return Add(name, "", value, description)->required();
  }

  CLI::Option* AddTable() {
    return AddPlace("TABLE", m_arguments.table, "The table")->each([](const std::string& table) {
      RequirePlainName("table", table);
    });
  }

  void AddOnTable(const char* name, Run run, const char* description, const std::string& example) {
    AddCommand(name, run, description, example);
    AddTable();
  }

  void AddValues() {
    AddPlace("VALUES", m_arguments.values, "The values to be written: COLUMN=VALUE...");
  }

  void AddWhere() {
    Add("--where", "COLUMN=VALUE", m_arguments.where, "Only rows with these values, all of them");
  }

  void AddFormat() {
    CLI::Option* const format =
        Add("--format", "NAME", m_arguments.format, "One of " + Joined(FormatNames()))
            ->each(RequireFormat);
    for (const char* const name : {"csv", "json"}) {
      m_command
          ->add_flag_callback(
              std::string("--") + name, [this, name] { m_arguments.format = name; },
              std::string("The same as --format ") + name)
          ->excludes(format);
    }
    AddFlag("--typed", m_arguments.typed,
            "Numbers of JSON by the declared types of columns, not as texts");
  }

  void AddChoice() {
    Add("--columns", "COLUMN,...", m_arguments.choice.columns, "Only these columns, in this order")
        ->delimiter(',')
        ->allow_extra_args(false);
    Add("--order", "COLUMN[:desc]", m_arguments.choice.order, "Sort the rows");
    Add("--limit", "NUMBER", m_arguments.choice.limit, "No more rows than that");
  }

  void AddWide() { AddFlag("--wide", m_arguments.wide, "Cut no cells to the terminal's width"); }

  void AddYes(const char* names, const char* description) {
    AddFlag(names, m_arguments.yes, description);
  }

  void DeclareReads() {
    m_group = "Read";
    AddOnTable("select", Select, "Read rows", "app.db select contact --where name=Kim age=42");
    AddWhere();
    AddChoice();
    AddFormat();
    AddWide();

    AddCommand("join", Join, "Read the rows of two tables that have a value in common",
               "app.db join contact.uid note.owner --where note.kind=2");
    AddPlace("LEFT", m_arguments.left, "TABLE.COLUMN");
    AddPlace("RIGHT", m_arguments.right, "TABLE.COLUMN");
    Add<std::vector<Assignment>, std::vector<JoinCondition>>(
        "--where", "COLUMN=VALUE", m_arguments.where,
        "Only rows with these values, all of them; a column may be TABLE.COLUMN");
    AddFormat();
    AddWide();

    AddOnTable("count", Count, "Count rows", "app.db count contact --where age=42");
    AddWhere();
    AddCommand("tables", Tables, "List the tables", "app.db tables");
    AddOnTable("columns", Columns, "List the columns of a table with their types",
               "app.db columns contact");
    AddFormat();
    AddWide();
    AddCommand("schema", Schema, "Print the statements that made the tables, or one of them",
               "app.db schema contact");
    AddTable()->required(false);
    AddOnTable("exists", Exists, "Exit with status 0 if there is the table, otherwise with 1",
               "app.db exists contact");
  }

  void DeclareWrites() {
    m_group = "Write";
    AddOnTable("create", Create, "Create a table, unless it exists",
               "app.db create contact name:TEXT age:INTEGER --key uid:TEXT");
    Add("COLUMNS", "", m_arguments.columns, "Its columns: COLUMN:TYPE...");
    Add("--key", "COLUMN:TYPE", m_arguments.key,
        "The primary key; without it there is a column _ID");
    Add("--composite", "COLUMN:TYPE", m_arguments.composite, "A second column of the primary key");

    AddOnTable("upsert", Upsert, "Write a row, in the place of one with the same key",
               "app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42");
    AddValues();

    AddOnTable("update", Update, "Change rows", "app.db update contact age=43 --where uid=7");
    AddValues();
    AddWhere();

    AddOnTable("delete", Delete, "Delete rows", "app.db delete contact --where uid=7");
    AddWhere();
    AddYes("--all,-y,--yes", "Every row, without a question");

    AddOnTable("drop", Drop, "Remove a table with all its rows", "app.db drop contact --yes");
    AddYes("-y,--yes", "Without a question");
  }

  void DeclareTransfers() {
    m_group = "Transfer";
    AddOnTable("import", Import, "Write the rows of a CSV or JSON file into a table",
               "app.db import person persons.csv --create --key uid");
    AddPlace("IN", m_arguments.path, "The file; - for standard input");
    Add("--format", "NAME", m_arguments.format,
        "csv, tsv, json or jsonl; otherwise by the ending of the file");
    Add("--separator", "CHARACTER", m_arguments.separator, "Between the values of CSV; or tab");
    CLI::Option* const create =
        AddFlag("--create", m_arguments.create, "Create the table first, unless it exists");
    Add<std::optional<TypedColumn>, KeyColumn>("--key", "COLUMN[:TYPE]", m_arguments.key,
                                               "Its primary key; without it there is a column _ID")
        ->needs(create);
    Add("--types", "COLUMN:TYPE", m_arguments.columns, "Types that are not guessed from the values")
        ->needs(create);
    Add("--from-line", "LINE[:ROW]", m_arguments.fromLine,
        "Only rows from this line of the file on");
    AddNoSync();

    AddOnTable("export", Export, "Write rows of a table into a file",
               "app.db export contact contacts.json --where age=42");
    AddPlace("OUT", m_arguments.path, "The file; its ending is that of a format");
    AddWhere();
    AddChoice();
    AddFormat();
    AddFlag("--force", m_arguments.force, "Write over a file that exists");

    AddOnFiles("diff", Diff, "Compare the rows of two files; exit with status 1 if they differ",
               "FILE1", "FILE2", "diff app.db device.db contact");
    AddOnFiles("copy", Copy, "Copy tables with their rows into another file", "FROM", "TO",
               "copy app.db device.db contact");
    AddNoSync();
  }

  void AddNoSync() {
    AddFlag("--no-sync", m_arguments.noSync,
            "Sync after the last row only; until then a loss of power can damage the file");
  }

  void AddOnFiles(const char* name, Run run, const char* description, const char* from,
                  const char* to, const std::string& example) {
    AddCommand(name, run, description, example);
    AddPlace(from, m_arguments.from, "A database file")->each(RequireFileName);
    AddPlace(to, m_arguments.to, "Another one")->each(RequireFileName);
    Add("TABLES", "", m_arguments.tables, "Only these tables")->each([](const std::string& table) {
      RequirePlainName("table", table);
    });
  }

  void DeclareOthers() {
    m_group = "Log and help";
    AddCommand("explain-log", Explain, "List the operations in a log of the library",
               "explain-log captured.log");
    AddPlace("LOG", m_arguments.path, "The captured log; - for standard input");
    AddFlag("--failures", m_arguments.failures, "List only operations with failures");
    AddFlag("--summary", m_arguments.summary, "List no operations");
    Add("--since", "TIME", m_arguments.since, "Only records from that time on");
    AddFlag("--follow", m_arguments.follow,
            "Await more of the log, and list each operation at its end");
    Add("--format", "NAME", m_arguments.format, "One of " + Joined(LogFormats()));
    AddCommand("log-reference", LogReference,
               "Print every message of the library's log with its meaning, in Markdown",
               "log-reference");
    AddCommand("help", nullptr, "Print help on a command", "help select");
    Add("COMMAND", "", m_topic, "The command");
  }

  CLI::App m_app{"Keeps and reads rows in SQLite files with the library vorndatabase.", "vorndb"};
  CLI::App* m_command = &m_app;
  const char* m_group = "";
  std::string m_name;           // of the command to be run, if known
  std::string m_topic;          // of help
  bool m_isCompletion = false;  // no command is to be run
  Arguments m_arguments;
};

}  // namespace

void RunCommandLine(int argc, const char* const* argv) {
  const Words words(argv + 1, argv + argc);
  CommandLine line;
  if (words.size() > 1 && words[0] == "complete" && words[1] == "--") {
    line.Complete(Words(words.begin() + 2, words.end()));
  } else {
    line.Parse(words);
  }
}

}  // namespace vorndb
