#include "Options.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

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

}  // namespace

bool Options::IsOn(Kind kind) const {
  if (kind == Kind::kMainThread && mainThread == 0) {
    return false;
  }
  return (only.empty() || Has(only, kind)) && !Has(except, kind);
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

}  // namespace vorncheck
