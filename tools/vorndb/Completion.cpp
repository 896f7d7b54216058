#include "Completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "DatabaseFile.h"
#include "Errors.h"
#include "Names.h"
#include "Result.h"

namespace vorndb {

namespace {

using Words = std::vector<std::string>;

// The words of a command line by their parts.
class Line {
 public:
  Line(const CLI::App& app, const Words& words) : m_app(app), m_command(&app) {
    for (const std::string& word : words) {
      Add(word);
    }
  }

  Words Candidates(const std::string& word) const {
    if (word.rfind('-', 0) == 0) {
      return OptionNames(*m_command, m_app);
    }
    if (m_open != nullptr) {
      return Values(m_open->get_name(), word);
    }
    if (m_command == &m_app) {
      return CommandNames(m_app);
    }
    std::size_t place = 0;
    for (const CLI::Option* option : m_command->get_options()) {
      if (option->get_positional() && (place++ == m_places.size() || Repeats(*option))) {
        return Values(option->get_name(), word);
      }
    }
    return {};
  }

 private:
  static bool Repeats(const CLI::Option& option) {
    return option.get_expected_max() == CLI::detail::expected_max_vector_size;
  }

  void Add(const std::string& word) {
    const std::size_t equals = word.find('=');
    if (word == "=") {
      return;
    }
    if (word.rfind("--", 0) == 0 && equals != std::string::npos) {
      Add(word.substr(0, equals));
      Add(word.substr(equals + 1));
    } else if (word.rfind('-', 0) == 0) {
      const CLI::Option* const own = m_command->get_option_no_throw(word);
      m_open = own != nullptr ? own : m_app.get_option_no_throw(word);
      m_open = m_open != nullptr && m_open->get_type_size() > 0 ? m_open : nullptr;
    } else if (m_open != nullptr) {
      m_file = m_open->check_name("--file") ? word : m_file;
      m_open = Repeats(*m_open) ? m_open : nullptr;
    } else if (m_command == &m_app) {
      m_command = m_app.get_subcommand(word);
    } else {
      m_places.push_back(word);
    }
  }

  Words Values(const std::string& name, const std::string& word) const {
    if (name == "--format") {
      return FormatNames();
    }
    if (name == "COMMAND") {
      return CommandNames(m_app);
    }
    if (name == "TABLE") {
      return Tables(m_file, "");
    }
    if (name == "TABLES") {
      return Tables(m_places[0], "");
    }
    if (name == "LEFT" || name == "RIGHT") {
      const std::size_t dot = word.find('.');
      return dot == std::string::npos ? Tables(m_file, ".")
                                      : Columns({word.substr(0, dot)}, true, "");
    }
    if (name == "--where" || name == "VALUES") {
      return Columns(m_places, m_command->get_name() == "join", "=");
    }
    if (name == "--columns" || name == "--order") {
      return Columns(m_places, false, "");
    }
    return {};
  }

  // Only plain names can be given to the tool, and a shell would run other texts.
  static Words Tables(const std::string& file, const char* end) {
    Words tables;
    for (const std::string& table : IsThere(file) ? TablesOf(file) : Words()) {
      if (IsPlainName(table)) {
        tables.push_back(table + end);
      }
    }
    return tables;
  }

  // Of tables, or of those before a dot.
  Words Columns(const Words& places, bool withTable, const char* end) const {
    Words columns;
    for (const std::string& place : places) {
      const std::string table = place.substr(0, place.find('.'));
      if (!IsPlainName(table) || !IsThere(m_file)) {
        continue;
      }
      for (const Column& column : ColumnsOf(m_file, table)) {
        if (IsPlainName(column.name)) {
          columns.push_back((withTable ? table + '.' : "") + column.name + end);
        }
      }
    }
    return columns;
  }

  const CLI::App& m_app;
  const CLI::App* m_command;
  const CLI::Option* m_open = nullptr;  // the last option, if values of it may follow
  std::string m_file;
  Words m_places;  // the arguments without a name
};

}  // namespace

Words CommandNames(const CLI::App& app) {
  Words names;
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    names.push_back(command->get_name());
  }
  return names;
}

Words OptionNames(const CLI::App& command, const CLI::App& app) {
  Words names;
  for (const CLI::App* const owner : {&command, &app}) {
    for (const CLI::Option* option : owner->get_options()) {
      for (const std::string& name : option->get_lnames()) {
        if (std::count(names.begin(), names.end(), "--" + name) == 0) {
          names.push_back("--" + name);
        }
      }
    }
  }
  return names;
}

Words Candidates(const CLI::App& app, const Words& words, const std::string& word) {
  Words candidates;
  for (const std::string& candidate : Line(app, words).Candidates(word)) {
    if (candidate.rfind(word, 0) == 0) {
      candidates.push_back(candidate);
    }
  }
  return candidates;
}

}  // namespace vorndb
