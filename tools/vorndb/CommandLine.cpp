#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Commands.h"
#include "Errors.h"
#include "Result.h"
#include "Terminal.h"
#include "log/LogLine.h"

namespace vorndb {

namespace {

using Word = const std::string&;

template <bool Arguments::*kMember>
void TakeFlag(Arguments& args, Word /*word*/) {
  args.*kMember = true;
}

template <auto kMember>
void TakeText(Arguments& args, Word word) {
  args.*kMember = word;
}

template <auto kMember, auto kParse>
void TakeParsed(Arguments& args, Word word) {
  args.*kMember = kParse(word);
}

template <auto kMember, auto kParse>
void TakeEachParsed(Arguments& args, Word word) {
  (args.*kMember).push_back(kParse(word));
}

std::string FileName(Word word) {
  RefuseIf(word.empty(), "the database file is missing: vorndb FILE COMMAND");
  RefuseIf(word.back() == '/', '\'' + word + "' names no file");
  return word;
}

std::string TableName(Word word) {
  RequirePlainName("table", word);
  return word;
}

// Only a join has columns of several tables.
void TakeCondition(Arguments& args, Word word) {
  args.where.push_back(args.table.empty() ? ParseJoinCondition(word) : ParseAssignment(word));
}

void TakeLimit(Arguments& args, Word word) {
  std::size_t limit = 0;
  RefuseIf(word.front() == '-' || !CLI::detail::lexical_cast(word, limit),
           '\'' + word + "' is no number of rows");
  args.choice.limit = limit;
}

void TakeFormat(Arguments& args, Word word) {
  RefuseIf(!args.format.empty() && args.format != word,
           "--format, --csv and --json exclude each other");
  RefuseIf(std::count(args.formats.begin(), args.formats.end(), word) == 0,
           '\'' + word + "' is no format; the formats are " + Joined(args.formats));
  args.format = word;
}

// An option with its names, or an argument. The type is empty for a flag and for an argument, and
// ends in "..." where several words may follow.
struct Option {
  const char* names;
  const char* type;
  void (*take)(Arguments&, Word);
  const char* description;
};

constexpr Option kOptions[] = {
    {"TABLE", "", TakeParsed<&Arguments::table, TableName>, "The table"},
    {"TABLES", "", TakeEachParsed<&Arguments::tables, TableName>, "Only these tables"},
    {"FILE1", "", TakeParsed<&Arguments::file, FileName>, "A database file"},
    {"FILE2", "", TakeParsed<&Arguments::path, FileName>, "Another one"},
    {"FROM", "", TakeParsed<&Arguments::file, FileName>, "A database file"},
    {"TO", "", TakeParsed<&Arguments::path, FileName>, "Another one"},
    {"IN", "", TakeText<&Arguments::path>, "The file; - for standard input"},
    {"OUT", "", TakeText<&Arguments::path>, "The file; its ending is that of a format"},
    {"LOG", "", TakeText<&Arguments::path>, "The captured log; - for standard input"},
    {"LEFT", "", TakeParsed<&Arguments::left, ParseTableColumn>, "TABLE.COLUMN"},
    {"RIGHT", "", TakeParsed<&Arguments::right, ParseTableColumn>, "TABLE.COLUMN"},
    {"COLUMNS", "", TakeEachParsed<&Arguments::columns, ParseTypedColumn>,
     "Its columns: COLUMN:TYPE..."},
    {"VALUES", "", TakeEachParsed<&Arguments::values, ParseAssignment>,
     "The values to be written: COLUMN=VALUE..."},
    {"COMMAND", "", [](Arguments& /*to*/, Word /*word*/) {}, "The command"},
    {"--where", "COLUMN=VALUE...", TakeCondition,
     "Only rows with these values, all of them; of a join also TABLE.COLUMN=VALUE"},
    {"--columns", "COLUMN[,COLUMN]",
     [](Arguments& args, Word word) { args.choice.columns = CLI::detail::split(word, ','); },
     "Only these columns, in this order"},
    {"--order", "COLUMN[:desc]",
     [](Arguments& args, Word word) { args.choice.order = ParseOrder(word); }, "Sort the rows"},
    {"--limit", "NUMBER", TakeLimit, "No more rows than that"},
    {"--format", "NAME", TakeFormat, "One of "},
    {"--csv", "", [](Arguments& args, Word /*word*/) { TakeFormat(args, "csv"); },
     "The same as --format csv"},
    {"--json", "", [](Arguments& args, Word /*word*/) { TakeFormat(args, "json"); },
     "The same as --format json"},
    {"--typed", "", TakeFlag<&Arguments::typed>,
     "Numbers of JSON by the declared types of columns, not as texts"},
    {"--wide", "", TakeFlag<&Arguments::wide>, "Cut no cells to the terminal's width"},
    {"--create", "", TakeFlag<&Arguments::create>, "Create the table first, unless it exists"},
    {"--key", "COLUMN[:TYPE]", TakeParsed<&Arguments::key, ParseKeyColumn>,
     "The primary key; import guesses its type. Without it there is a column _ID"},
    {"--composite", "COLUMN:TYPE", TakeParsed<&Arguments::composite, ParseTypedColumn>,
     "A second column of the primary key"},
    {"--types", "COLUMN:TYPE...", TakeEachParsed<&Arguments::columns, ParseTypedColumn>,
     "Types that are not guessed from the values"},
    {"--separator", "CHARACTER", TakeText<&Arguments::separator>,
     "Between the values of CSV; or tab"},
    {"--from-line", "LINE[:ROW]", TakeParsed<&Arguments::fromLine, ParsePlace>,
     "Only rows from this line of the file on"},
    {"--no-sync", "", TakeFlag<&Arguments::noSync>,
     "Sync after the last row only; until then a loss of power can damage the file"},
    {"--force", "", TakeFlag<&Arguments::force>, "Write over a file that exists"},
    {"--all,-y,--yes", "", TakeFlag<&Arguments::yes>, "Every row, without a question"},
    {"-y,--yes", "", TakeFlag<&Arguments::yes>, "Without a question"},
    {"--failures", "", TakeFlag<&Arguments::failures>,
     "List only operations with failures or blobs"},
    {"--summary", "", TakeFlag<&Arguments::summary>, "List no operations"},
    {"--since", "TIME", TakeText<&Arguments::since>, "Only records from that time on"},
    {"--follow", "", TakeFlag<&Arguments::follow>,
     "Await more of the log, and list each operation at its end"},
    {"-f,--file", "FILE", TakeText<&Arguments::file>, "The database file"},
    {"-n,--dry-run,--sql", "", TakeFlag<&Arguments::sql>,
     "Print the SQL statements, and run nothing"},
    {"-q,--quiet", "", TakeFlag<&Arguments::quiet>, "Print nothing about success"},
    {"-v,--verbose", "", TakeFlag<&Arguments::verbose>, "Show the library's log on standard error"},
};

// In the usage, an argument is in brackets if it may be left out, and has "..." behind it if it may
// be several words. Values are taken in the order of usage and options.
struct Command {
  const char* name;
  void (*run)(const Arguments&);
  const char* usage;
  const char* options;
  const char* description;
  const char* example;
};

constexpr char kPurpose[] = "Keeps and reads rows in SQLite files with the library vorndatabase.";

// The command of a line that names none.
constexpr Command kNone{"", nullptr, "FILE COMMAND ...", "", kPurpose, ""};

constexpr Command kCommands[] = {
    {"select", Select, "FILE select TABLE",
     "--where --columns --order --limit --format --csv --json --typed --wide", "Read rows",
     "app.db select contact --where name=Kim age=42"},
    {"join", Join, "FILE join LEFT RIGHT", "--where --format --csv --json --typed --wide",
     "Read the rows of two tables that have a value in common",
     "app.db join contact.uid note.owner --where note.kind=2"},
    {"count", Count, "FILE count TABLE", "--where", "Count rows",
     "app.db count contact --where age=42"},
    {"tables", Tables, "FILE tables", "", "List the tables", "app.db tables"},
    {"columns", Columns, "FILE columns TABLE", "--format --csv --json --typed --wide",
     "List the columns of a table with their types", "app.db columns contact"},
    {"schema", Schema, "FILE schema [TABLE]", "",
     "Print the statements that made the tables, or one of them", "app.db schema contact"},
    {"exists", Exists, "FILE exists TABLE", "",
     "Exit with status 0 if there is the table, otherwise with 1", "app.db exists contact"},
    {"create", Create, "FILE create TABLE [COLUMNS...]", "--key --composite",
     "Create a table, unless it exists",
     "app.db create contact name:TEXT age:INTEGER --key uid:TEXT"},
    {"upsert", Upsert, "FILE upsert TABLE VALUES...", "",
     "Write a row, in the place of one with the same key",
     "app.db upsert contact uid=7 name=\"Miles O'Brien\" age=42"},
    {"update", Update, "FILE update TABLE VALUES...", "--where", "Change rows",
     "app.db update contact age=43 --where uid=7"},
    {"delete", Delete, "FILE delete TABLE", "--where --all,-y,--yes", "Delete rows",
     "app.db delete contact --where uid=7"},
    {"drop", Drop, "FILE drop TABLE", "-y,--yes", "Remove a table with all its rows",
     "app.db drop contact --yes"},
    {"import", Import, "FILE import TABLE IN",
     "--format --separator --create --key --types --from-line --no-sync",
     "Write the rows of a CSV or JSON file into a table",
     "app.db import person persons.csv --create --key uid"},
    {"export", Export, "FILE export TABLE OUT",
     "--where --columns --order --limit --format --csv --json --typed --force",
     "Write rows of a table into a file", "app.db export contact contacts.json --where age=42"},
    {"diff", Diff, "diff FILE1 FILE2 [TABLES...]", "",
     "Compare the rows of two files; exit with status 1 if they differ",
     "diff app.db device.db contact"},
    {"copy", Copy, "copy FROM TO [TABLES...]", "--no-sync -n,--dry-run,--sql",
     "Copy tables with their rows into another file", "copy app.db device.db contact"},
    {"explain-log", Explain, "explain-log LOG", "--failures --summary --since --follow --format",
     "List the operations in a log of the library", "explain-log captured.log"},
    {"log-reference", LogReference, "log-reference", "",
     "Print every message of the library's log with its meaning, in Markdown", "log-reference"},
    {"help", nullptr, "help [COMMAND]", "", "Print help on a command", "help select"},
};

const Command& Find(const std::string& name) {
  for (const Command& command : kCommands) {
    if (command.name == name) {
      return command;
    }
  }
  return kNone;
}

bool IsCommand(const std::string& word) { return &Find(word) != &kNone; }

bool IsOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

class Help : public CLI::Formatter {
 public:
  Help() { label("Positionals", "Arguments"); }

  std::string make_usage(const CLI::App* /*app*/, std::string name) const override {
    return "Usage: vorndb " + name + " [OPTIONS]\n";
  }

  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string& type = option->get_option_text();
    return type.empty() ? "" : ' ' + type;
  }
};

// The parser of a command line, to which only the command that is run is declared.
class CommandLine {
 public:
  // Runs the command, or prints help or the version.
  int Parse(Texts words) {
    try {
      TakeCommand(words);
      if (Name() == "help" && std::count(words.begin(), words.end(), "--help") == 0) {
        TakeCommand(words);
        words.emplace_back("--help");
      }
      Declare();
      std::reverse(words.begin(), words.end());
      m_app.parse(words);
      RefuseIf(m_command->run == nullptr, "COMMAND is missing");
      TakeValues();
      if (TakesFile() && !m_arguments.sql) {
        FileName(m_arguments.file);
      }
      ShowLog(m_arguments.verbose);
      m_command->run(m_arguments);
      return 0;
    } catch (const Answer& answer) {
      return answer.status;
    } catch (const CLI::Success& help) {
      return m_app.exit(help, std::cout, std::cerr);
    } catch (const CLI::ParseError& error) {
      PrintMessage(Rephrased(error));
    } catch (const UsageError& error) {
      PrintMessage(error.what());
    }
    std::cerr << "For help: vorndb help" + (Name().empty() ? "" : ' ' + Name()) + '\n';
    return kWrongUse;
  }

  // Prints the candidates for the last word, which may be "--OPTION=VALUE".
  int Complete(Texts words) {
    std::string word = words.empty() ? "" : words.back();
    words.resize(words.empty() ? 0 : words.size() - 1);
    const std::size_t length = IsOption(word) ? word.find('=') + 1 : 0;
    const std::string option = word.substr(0, length);
    if (length > 0) {
      words.push_back(option.substr(0, length - 1));
      word.erase(0, length);
    }
    for (const std::string& candidate : CandidatesAfter(words, word)) {
      if (candidate.rfind(word, 0) == 0) {
        std::cout << option << candidate << '\n';
      }
    }
    return 0;
  }

 private:
  // The first word from a position on that is neither an option nor the file of one.
  static Texts::iterator Bare(Texts& words, Texts::iterator word) {
    bool isValue = false;
    for (; word != words.end() && (isValue || IsOption(*word)); ++word) {
      isValue = !isValue && (*word == "-f" || *word == "--file");
    }
    return word;
  }

  static bool IsFile(Texts& words, Texts::iterator word) {
    const auto next = Bare(words, word + 1);
    std::error_code ignored;
    return word->find_first_of("./") != std::string::npos ||
           std::filesystem::exists(*word, ignored) || (next != words.end() && IsCommand(*next));
  }

  // Takes the command out of the words, and puts the option before a file that comes without.
  void TakeCommand(Texts& words) {
    m_command = &kNone;
    auto word = Bare(words, words.begin());
    const bool isFile = word != words.end() && !IsCommand(*word) && IsFile(words, word);
    if (isFile) {
      word = Bare(words, words.insert(word, "--file"));
    }
    if (word != words.end()) {
      RefuseIf(!IsCommand(*word),
               '\'' + *word + "' is no command" + Suggestion(*word, NamesIn(kCommands)));
      m_command = &Find(*word);
      words.erase(word);
      RefuseIf(isFile && !TakesFile() && Name() != "help", Name() + " takes no file before it");
    }
  }

  std::string Name() const { return m_command->name; }

  bool TakesFile() const { return std::string(m_command->usage).rfind("FILE ", 0) == 0; }

  // The long names of the options.
  Texts OptionNames() const {
    Texts names;
    for (const CLI::Option* const option : m_app.get_options()) {
      for (const std::string& name : option->get_lnames()) {
        names.emplace_back("--").append(name);
      }
    }
    return names;
  }

  // The option or argument that takes the next word, or null. Parses the words before it.
  const CLI::Option* OptionAfter(Texts words) {
    const std::string next = "\x01";
    words.push_back(next);
    std::reverse(words.begin(), words.end());
    try {
      m_app.parse(words);
    } catch (const CLI::ParseError&) {
      // The line is not complete.
    }
    for (const auto& [option, parsed] : m_declared) {
      if (!parsed->empty() && parsed->results().back() == next) {
        return parsed;
      }
    }
    return nullptr;
  }

  Texts CandidatesAfter(Texts words, const std::string& word) {
    TakeCommand(words);
    Declare();
    const CLI::Option* const place = OptionAfter(words);
    if (IsOption(word) || word == "-") {
      return OptionNames();
    }
    const std::string name = place == nullptr ? "" : place->get_name();
    if (name == "COMMAND") {
      return NamesIn(kCommands);
    }
    try {
      TakeValues(place);
    } catch (const UsageError&) {
      // The file and the table come first.
    }
    return name == "--format" ? m_arguments.formats : Candidates(name, m_arguments, word);
  }

  // Takes all values but the last one of an incomplete option or argument.
  void TakeValues(const CLI::Option* incomplete = nullptr) {
    for (const auto& [option, parsed] : m_declared) {
      Texts values = parsed->results();
      values.resize(values.size() - (parsed == incomplete ? 1 : 0));
      for (const std::string& value : values) {
        option->take(m_arguments, value);
      }
    }
  }

  std::string Rephrased(const CLI::ParseError& error) const {
    std::string text = error.what();
    const std::string subject = text.substr(0, text.find_first_of(": "));
    const std::string last = text.substr(text.rfind(' ') + 1);
    const Texts extras = m_app.remaining();
    // "--" is one as well.
    const std::string extra = extras.empty() ? "" : extras[0] == "--" ? extras.back() : extras[0];
    const std::string name = extra.substr(0, extra.find('='));
    if (IsOption(extra)) {
      return name + " is no option of " + (Name().empty() ? "vorndb" : Name()) +
             Suggestion(name, OptionNames());
    }
    switch (static_cast<CLI::ExitCodes>(error.get_exit_code())) {
      case CLI::ExitCodes::RequiredError:
        return subject + " is missing";
      case CLI::ExitCodes::ExtrasError:
        return '\'' + extra + "' is too much";
      case CLI::ExitCodes::ArgumentMismatch:
        return last == "override"
                   ? "--" + subject + " takes no value"
                   : subject + (last == "missing" ? " needs a value" : " is given twice");
      default:
        return text;
    }
  }

  void Declare() {
    m_app.formatter(std::make_shared<Help>());
    m_app.name(m_command->usage);
    m_app.description(m_command->description);
    m_app.footer(Name().empty() ? Overview()
                                : std::string("Example:\n  vorndb ") + m_command->example);
    m_arguments.formats = m_command->run == Import    ? Texts{"csv", "tsv", "json", "jsonl"}
                          : m_command->run == Explain ? Texts{"text", "json"}
                                                      : FormatNames();
    const char* const file = std::getenv("VORNDB_FILE");
    m_arguments.file = file == nullptr ? "" : file;
    Add(TakesFile() ? "-f,--file -n,--dry-run,--sql" : "");
    Add(m_command->usage);
    Add(m_command->options);
    Add("-q,--quiet -v,--verbose");
    m_app.set_help_flag("-h,--help", "Print help");
    m_app.set_version_flag("-V,--version", "vorndb " VORNDB_VERSION, "Print the version");
  }

  // Declares the options and arguments that a text names.
  void Add(const std::string& text) {
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      const std::string name = CLI::detail::trim_copy(word, "[].");
      const auto* const option =
          std::find_if(std::begin(kOptions), std::end(kOptions),
                       [&name](const Option& known) { return known.names == name; });
      if (option != std::end(kOptions)) {
        AddOption(*option, word);
      }
    }
  }

  void AddOption(const Option& option, const std::string& word) {
    const bool isArgument = *option.names != '-';
    const bool isFlag = !isArgument && *option.type == '\0';
    CLI::Option* const added =
        isFlag ? m_app.add_flag(option.names) : m_app.add_option(option.names);
    const bool isFormat = option.take == TakeFormat;
    added->description(option.description + (isFormat ? Joined(m_arguments.formats) : ""));
    added->option_text(option.type)->disable_flag_override();
    added->required(isArgument && word.front() != '[');
    if ((word + option.type).find("...") != std::string::npos) {
      added->expected(1, -1)->allow_extra_args();
    }
    m_declared.emplace_back(&option, added);
  }

  static std::string Overview() {
    constexpr std::size_t kWidth = 30;
    std::ostringstream text;
    text << "Commands:\n";
    for (const Command& command : kCommands) {
      CLI::detail::format_help(text, command.name, command.description, kWidth);
    }
    text << "\nThe file may also follow -f, or be named by the variable VORNDB_FILE.\n"
            "Exit status: 0, 1 for an operation that failed, 2 for wrong use.\n"
            "An example for each command: vorndb help COMMAND";
    return text.str();
  }

  CLI::App m_app;
  std::vector<std::pair<const Option*, const CLI::Option*>> m_declared;
  const Command* m_command = &kNone;
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
