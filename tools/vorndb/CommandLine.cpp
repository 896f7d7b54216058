#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Result.h"
#include "log/LogLine.h"

namespace vorndb {

namespace {

using Run = void (*)(const Arguments&);
using ParsePair = Pair (*)(const std::string&);

bool IsOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

bool Repeats(const CLI::Option* option) {
  return option->get_allow_extra_args() &&
         option->get_expected_max() == CLI::detail::expected_max_vector_size;
}

void RequireTableName(const std::string& name) { RequirePlainName("table", name); }

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
    m_app.option_defaults()->group("Options of all commands");
    m_app.set_help_flag("-h,--help", "Print help");
    m_app.set_version_flag("-V,--version", "vorndb " VORNDB_VERSION, "Print the version");
    m_app.require_subcommand(1);
    m_app.footer(
        "The file may also follow -f, or be named by the variable VORNDB_FILE.\n"
        "Exit status: 0, 1 for an operation that failed, 2 for wrong use.\n"
        "An example for each command: vorndb help COMMAND");
    const char* const file = std::getenv("VORNDB_FILE");
    m_arguments.file = file == nullptr ? "" : file;
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
  int Parse(Texts words) {
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
      return 0;
    } catch (const Answer& answer) {
      return answer.status;
    } catch (const CLI::Success& help) {
      return m_app.exit(help, std::cout, std::cerr);
    } catch (const CLI::ParseError& error) {
      throw UsageError(Rephrased(error), m_name);
    } catch (const UsageError& error) {
      throw UsageError(error.what(), m_name);
    }
  }

  // Prints the candidates for the last word. Bash makes three words of "NAME=VALUE".
  int Complete(Texts words) {
    std::string word = words.empty() ? "" : words.back();
    words.resize(words.empty() ? 0 : words.size() - 1);
    if (words.size() > 1 && words.back() == "=" && !IsOption(words[words.size() - 2])) {
      return 0;
    }
    words.erase(std::remove(words.begin(), words.end(), "="), words.end());
    word = word == "=" ? "" : word;
    for (const std::string& candidate : CandidatesAfter(words, word)) {
      if (candidate.rfind(word, 0) == 0) {
        std::cout << candidate << '\n';
      }
    }
    return 0;
  }

 private:
  bool IsCommand(const std::string& word) const {
    return std::count(m_commands.begin(), m_commands.end(), word) > 0;
  }

  // The command to be run, or all of them where it is not known.
  CLI::App* Command() { return m_name.empty() ? &m_app : m_app.get_subcommand(m_name); }

  const CLI::Option* FindOption(const std::string& name) {
    const CLI::Option* const option = Command()->get_option_no_throw(name);
    return option != nullptr ? option : m_app.get_option_no_throw(name);
  }

  // The first word from a position on that is neither an option nor the file of one.
  static Texts::iterator Bare(Texts& words, Texts::iterator word) {
    bool isValue = false;
    for (; word != words.end() && (isValue || IsOption(*word)); ++word) {
      isValue = !isValue && (*word == "-f" || *word == "--file");
    }
    return word;
  }

  bool IsFile(Texts& words, Texts::iterator word) {
    const auto next = Bare(words, word + 1);
    std::error_code ignored;
    return word->find_first_of("./") != std::string::npos ||
           std::filesystem::exists(*word, ignored) || (next != words.end() && IsCommand(*next));
  }

  // Finds the command, and puts the option before a file that comes without.
  void PlaceFile(Texts& words) {
    auto word = Bare(words, words.begin());
    if (word != words.end() && !IsCommand(*word) && IsFile(words, word)) {
      word = Bare(words, words.insert(word, "--file"));
    }
    if (word != words.end()) {
      RefuseIf(!IsCommand(*word), '\'' + *word + "' is no command" + Suggestion(*word, m_commands));
      m_name = *word;
    }
  }

  // Before any value is looked at.
  void RequireKnownOptions(const Texts& words) {
    for (auto word = words.begin(); word != words.end() && *word != "--"; ++word) {
      const std::string name = word->substr(0, word->find('='));
      RefuseIf(name.rfind("--", 0) == 0 && FindOption(name) == nullptr,
               name + " is no option of " + (m_name.empty() ? "vorndb" : m_name) +
                   Suggestion(name, OptionNames()));
    }
  }

  // The long options of the command, and those of all.
  Texts OptionNames() {
    std::set<std::string> names;
    for (const CLI::App* const app : {Command(), &m_app}) {
      for (const CLI::Option* const option : app->get_options()) {
        for (const std::string& name : option->get_lnames()) {
          names.insert("--" + name);
        }
      }
    }
    return {names.begin(), names.end()};
  }

  // The option or argument that takes the next word, or nothing. Takes the words before it.
  std::string TakePlace(Texts words) {
    const std::string next = "\x01";
    words.push_back(next);
    Command()->callback(nullptr);
    try {
      std::reverse(words.begin(), words.end());
      m_app.parse(words);
    } catch (const std::runtime_error&) {
      // The line is not complete.
    }
    for (const CLI::App* const app : {Command(), &m_app}) {
      for (const CLI::Option* const option : app->get_options()) {
        const Texts& taken = option->results();
        if (std::find(taken.begin(), taken.end(), next) != taken.end()) {
          return option->get_name();
        }
      }
    }
    return "";
  }

  Texts CandidatesAfter(Texts words, const std::string& word) {
    PlaceFile(words);
    const std::string place = TakePlace(words);
    if (IsOption(word) || word == "-") {
      return OptionNames();
    }
    if (place == "COMMAND" || (place.empty() && m_name.empty())) {
      return m_commands;
    }
    return place == "--format" ? m_formats[m_name] : Candidates(place, m_arguments, word);
  }

  static std::string Rephrased(const CLI::ParseError& error) {
    std::string text = error.what();
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
    m_commands.emplace_back(name);
    m_command = m_app.add_subcommand(name, description);
    m_command->group(m_group);
    // The options of all commands may also follow the command.
    m_command->fallthrough();
    m_command->set_help_flag("-h,--help", "Print help")->group("");
    m_command->option_defaults()->group("Options");
    m_command->footer("Example:\n  vorndb " + example);
    m_command->callback([this, run] { RunCommand(run); });
  }

  void RunCommand(Run run) {
    if (!TakesFile(m_name)) {
      RefuseIf(m_app.count("--file") > 0, m_name + " takes no -f, and no file before it");
      RefuseIf(m_arguments.sql && run != Copy, m_name + " has no statement to be printed");
    } else if (!m_arguments.sql) {
      RequireFileName(m_arguments.file);
    }
    ShowLog(m_arguments.verbose);
    run(m_arguments);
  }

  template <typename Value>
  CLI::Option* Add(const char* name, const char* type, Value& value,
                   const std::string& description) {
    return m_command->add_option(name, value, description)->type_name(type);
  }

  CLI::Option* Add(const char* name, const char* type, Pairs& pairs, ParsePair parse,
                   const std::string& description) {
    const auto take = [&pairs, parse](const Texts& words) {
      std::transform(words.begin(), words.end(), std::back_inserter(pairs), parse);
    };
    return m_command->add_option_function<Texts>(name, take, description)->type_name(type);
  }

  // A pair, perhaps an optional one.
  template <typename Single>
  CLI::Option* Add(const char* name, const char* type, Single& pair, ParsePair parse,
                   const std::string& description) {
    const auto take = [&pair, parse](const std::string& word) { pair = parse(word); };
    return m_command->add_option_function<std::string>(name, take, description)->type_name(type);
  }

  CLI::Option* AddFlag(const char* name, bool& value, const char* description) {
    return m_command->add_flag(name, value, description);
  }

  void AddTable() {
    Add("TABLE", "", m_arguments.table, "The table")->required()->each(RequireTableName);
  }

  void AddOnTable(const char* name, Run run, const char* description, const std::string& example) {
    AddCommand(name, run, description, example);
    AddTable();
  }

  void AddPath(const char* name, const char* description) {
    Add(name, "", m_arguments.path, description)->required();
  }

  void AddValues() {
    Add("VALUES", "", m_arguments.values, ParseAssignment,
        "The values to be written: COLUMN=VALUE...")
        ->required();
  }

  void AddWhere() {
    Add("--where", "COLUMN=VALUE", m_arguments.where, ParseAssignment,
        "Only rows with these values, all of them");
  }

  CLI::Option* AddFormatName(const Texts& formats, const std::string& description) {
    m_formats[m_command->get_name()] = formats;
    return Add("--format", "NAME", m_arguments.format, description)
        ->each([formats](const std::string& name) {
          RefuseIf(std::count(formats.begin(), formats.end(), name) == 0,
                   '\'' + name + "' is no format; the formats are " + Joined(formats));
        });
  }

  void AddFormat() {
    CLI::Option* const format = AddFormatName(FormatNames(), "One of " + Joined(FormatNames()));
    for (const std::string name : {"csv", "json"}) {
      m_command
          ->add_flag_callback(
              "--" + name, [this, name] { m_arguments.format = name; },
              "The same as --format " + name)
          ->excludes(format);
    }
    AddFlag("--typed", m_arguments.typed,
            "Numbers of JSON by the declared types of columns, not as texts");
  }

  void AddChoice() {
    Add("--columns", "COLUMN,...", m_arguments.choice.columns, "Only these columns, in this order")
        ->delimiter(',')
        ->allow_extra_args(false);
    Add("--order", "COLUMN[:desc]", m_arguments.choice.order, ParseOrder, "Sort the rows");
    Add("--limit", "NUMBER", m_arguments.choice.limit, "No more rows than that");
  }

  void AddWide() { AddFlag("--wide", m_arguments.wide, "Cut no cells to the terminal's width"); }

  void DeclareReads() {
    m_group = "Read";
    AddOnTable("select", Select, "Read rows", "app.db select contact --where name=Kim age=42");
    AddWhere();
    AddChoice();
    AddFormat();
    AddWide();

    AddCommand("join", Join, "Read the rows of two tables that have a value in common",
               "app.db join contact.uid note.owner --where note.kind=2");
    Add("LEFT", "", m_arguments.left, ParseTableColumn, "TABLE.COLUMN")->required();
    Add("RIGHT", "", m_arguments.right, ParseTableColumn, "TABLE.COLUMN")->required();
    Add("--where", "COLUMN=VALUE", m_arguments.where, ParseJoinCondition,
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
    AddTable();
    m_command->get_option("TABLE")->required(false);
    AddOnTable("exists", Exists, "Exit with status 0 if there is the table, otherwise with 1",
               "app.db exists contact");
  }

  void DeclareWrites() {
    m_group = "Write";
    AddOnTable("create", Create, "Create a table, unless it exists",
               "app.db create contact name:TEXT age:INTEGER --key uid:TEXT");
    Add("COLUMNS", "", m_arguments.columns, ParseTypedColumn, "Its columns: COLUMN:TYPE...");
    Add("--key", "COLUMN:TYPE", m_arguments.key, ParseTypedColumn,
        "The primary key; without it there is a column _ID");
    Add("--composite", "COLUMN:TYPE", m_arguments.composite, ParseTypedColumn,
        "A second column of the primary key");

    AddOnTable("upsert", Upsert, "Write a row, in the place of one with the same key",
               "app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42");
    AddValues();

    AddOnTable("update", Update, "Change rows", "app.db update contact age=43 --where uid=7");
    AddValues();
    AddWhere();

    AddOnTable("delete", Delete, "Delete rows", "app.db delete contact --where uid=7");
    AddWhere();
    AddFlag("--all,-y,--yes", m_arguments.yes, "Every row, without a question");

    AddOnTable("drop", Drop, "Remove a table with all its rows", "app.db drop contact --yes");
    AddFlag("-y,--yes", m_arguments.yes, "Without a question");
  }

  void DeclareTransfers() {
    m_group = "Transfer";
    AddOnTable("import", Import, "Write the rows of a CSV or JSON file into a table",
               "app.db import person persons.csv --create --key uid");
    AddPath("IN", "The file; - for standard input");
    AddFormatName(ImportFormats(), "csv, tsv, json or jsonl; otherwise by the ending of the file");
    Add("--separator", "CHARACTER", m_arguments.separator, "Between the values of CSV; or tab");
    CLI::Option* const create =
        AddFlag("--create", m_arguments.create, "Create the table first, unless it exists");
    Add("--key", "COLUMN[:TYPE]", m_arguments.key, ParseKeyColumn,
        "Its primary key; without it there is a column _ID")
        ->needs(create);
    Add("--types", "COLUMN:TYPE", m_arguments.columns, ParseTypedColumn,
        "Types that are not guessed from the values")
        ->needs(create);
    Add("--from-line", "LINE[:ROW]", m_arguments.fromLine,
        "Only rows from this line of the file on");
    AddNoSync();

    AddOnTable("export", Export, "Write rows of a table into a file",
               "app.db export contact contacts.json --where age=42");
    AddPath("OUT", "The file; its ending is that of a format");
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

  void AddOnFiles(const char* name, Run run, const char* description, const char* left,
                  const char* right, const std::string& example) {
    AddCommand(name, run, description, example);
    Add(left, "", m_arguments.from, "A database file")->required()->each(RequireFileName);
    Add(right, "", m_arguments.to, "Another one")->required()->each(RequireFileName);
    Add("TABLES", "", m_arguments.tables, "Only these tables")->each(RequireTableName);
  }

  void DeclareOthers() {
    m_group = "Log and help";
    AddCommand("explain-log", Explain, "List the operations in a log of the library",
               "explain-log captured.log");
    AddPath("LOG", "The captured log; - for standard input");
    AddFlag("--failures", m_arguments.failures, "List only operations with failures");
    AddFlag("--summary", m_arguments.summary, "List no operations");
    Add("--since", "TIME", m_arguments.since, "Only records from that time on");
    AddFlag("--follow", m_arguments.follow,
            "Await more of the log, and list each operation at its end");
    AddFormatName(LogFormats(), "One of " + Joined(LogFormats()));
    AddCommand("log-reference", LogReference,
               "Print every message of the library's log with its meaning, in Markdown",
               "log-reference");
    AddCommand("help", nullptr, "Print help on a command", "help select");
    Add("COMMAND", "", m_topic, "The command");
  }

  CLI::App m_app{"Keeps and reads rows in SQLite files with the library vorndatabase.", "vorndb"};
  CLI::App* m_command = &m_app;
  const char* m_group = "";
  std::string m_name;   // of the command to be run, if known
  std::string m_topic;  // of help
  Texts m_commands;
  std::map<std::string, Texts> m_formats;  // by command
  Arguments m_arguments;
};

}  // namespace

int RunCommandLine(int argc, const char* const* argv) {
  const Texts words(argv + 1, argv + argc);
  const bool isCompletion = words.size() > 1 && words[0] == "complete" && words[1] == "--";
  CommandLine line;
  return isCompletion ? line.Complete({words.begin() + 2, words.end()}) : line.Parse(words);
}

}  // namespace vorndb
