#include "Options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <memory>

namespace vorncheck {
namespace {

bool Has(const std::vector<std::string>& identifiers, Kind kind) {
  return std::find(identifiers.begin(), identifiers.end(), TextOf(kind).identifier) !=
         identifiers.end();
}

CLI::Validator KnownIdentifier() {
  return {[](std::string& text) {
            std::string known;
            for (const KindText& kind : kKinds) {
              if (text == kind.identifier) {
                return std::string();
              }
              known.append(" ").append(kind.identifier);
            }
            return "no finding is named " + text + "; there are:" + known;
          },
          ""};
}

// The program may change its folder.
CLI::Validator MadeAbsolute() {
  return {[](std::string& path) {
            path = std::filesystem::absolute(path).string();
            return std::string();
          },
          ""};
}

std::string VariableOf(const std::string& option) {
  std::string variable = "VORNCHECK_" + option;
  std::transform(variable.begin(), variable.end(), variable.begin(), [](unsigned char letter) {
    return letter == '-' ? '_' : static_cast<char>(std::toupper(letter));
  });
  return variable;
}

void Declare(CLI::App& app, Options& options) {
  app.add_option("--only", options.only, "Report these findings alone, separated by commas")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("ID")
      ->check(KnownIdentifier());
  app.add_option("--except", options.except, "Leave these findings out")
      ->delimiter(',')
      ->allow_extra_args(false)
      ->type_name("ID")
      ->check(KnownIdentifier());
  app.add_flag("--fatal", options.isFatal, "Abort at the first finding");
  app.add_option("--status", options.status,
                 "Exit status if something was found; 0 keeps the program's own")
      ->capture_default_str()
      ->type_name("N")
      ->check(CLI::Range(0, 255));
  app.add_option("--json", options.json, "Append each finding to a file, as a line of JSON")
      ->type_name("FILE")
      ->transform(MadeAbsolute());
  app.add_option("--quiet-after", options.quietAfter,
                 "Findings printed for each kind and call site; 0 prints all")
      ->capture_default_str()
      ->type_name("N")
      ->check(CLI::Range(0, 1000000000));
  app.add_option("--suppressions", options.suppressions,
                 "File with findings to leave out; a line is an identifier and a function, both "
                 "with * and ?")
      ->type_name("FILE")
      ->transform(MadeAbsolute());
  app.add_option("--main-thread", options.mainThread,
                 "Report operations on the thread that started the program that take longer")
      ->type_name("MS")
      ->check(CLI::Range(0, 1000000000));
  for (CLI::Option* const option : app.get_options()) {
    if (option->get_name() != "--help") {
      option->envname(VariableOf(option->get_name().substr(2)));
    }
  }
}

class Help : public CLI::Formatter {
 public:
  std::string make_usage(const CLI::App* /*app*/, std::string /*name*/) const override {
    return "Usage: vorncheck [OPTIONS] PROGRAM [ARGUMENTS...]\n";
  }
};

// The program and its arguments are what the options leave.
std::vector<std::string> ProgramOf(const CLI::App& app) {
  std::vector<std::string> words = app.remaining();
  if (!words.empty() && words[0] == "--") {
    words.erase(words.begin());
  }
  if (words.empty()) {
    throw CLI::RequiredError("PROGRAM");
  }
  if (words[0][0] == '-') {
    throw CLI::ExtrasError({words[0]});
  }
  return words;
}

}  // namespace

bool Options::IsOn(Kind kind) const {
  if (kind == Kind::kMainThread && mainThread == 0) {
    return false;
  }
  return (only.empty() || Has(only, kind)) && !Has(except, kind);
}

Options ReadEnvironment() {
  CLI::App app;
  Options options;
  Declare(app, options);
  app.parse(std::vector<std::string>());
  return options;
}

CommandLine ReadCommandLine(int count, char** arguments) {
  CLI::App app("Runs a program and reports wrong use of libvorndatabase.", "vorncheck");
  CommandLine line;
  Declare(app, line.options);
  app.set_version_flag("-V,--version", "vorncheck " VORNCHECK_VERSION);
  app.formatter(std::make_shared<Help>());
  app.prefix_command();
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success& help) {
    app.exit(help);
    return line;
  }
  for (const CLI::Option* const option : app.get_options()) {
    if (option->count() > 0 && !option->get_envname().empty()) {
      line.variables.emplace_back(option->get_envname(), CLI::detail::join(option->results(), ","));
    }
  }
  line.program = ProgramOf(app);
  return line;
}

}  // namespace vorncheck
