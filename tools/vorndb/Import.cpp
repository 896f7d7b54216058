#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <system_error>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Transfer.h"

namespace vorndb {

namespace {

// Creates the table for an input, with the types that are given.
void CreateFor(const Arguments& arguments, std::istream& source, Input input) {
  Arguments create = arguments;
  create.columns = ReadInput(source, input, [](const Pairs& /*values*/) {});
  FailIf(create.columns.empty(), "the input names no columns");
  const auto find = [&create](const std::string& name) {
    const auto column = std::find_if(create.columns.begin(), create.columns.end(),
                                     [&name](const Pair& known) { return known.first == name; });
    FailIf(column == create.columns.end(), "the input has no column " + name);
    return column;
  };
  for (const auto& [name, type] : arguments.columns) {
    find(name)->second = type;
  }
  if (arguments.key) {
    const auto key = find(arguments.key->first);
    create.key->second = arguments.key->second.empty() ? key->second : arguments.key->second;
    create.columns.erase(key);
  }
  Create(create);
}

// Between the values of a row; 0 for JSON.
char SeparatorOf(const Arguments& arguments) {
  const std::string ending = arguments.path.substr(arguments.path.rfind('.') + 1);
  const std::string format = arguments.format.empty() ? ending : arguments.format;
  const bool isJson = format == "json" || format == "jsonl";
  const std::string usual = format == "tsv" ? "\t" : ",";
  const std::string& text = arguments.separator;
  const std::string given = text == "tab" || text == "\\t" ? "\t" : text;
  RefuseIf(!given.empty() && (isJson || given.size() > 1 || given.find_first_of("\"\r\n") == 0),
           '\'' + given + "' is no separator: one character, or tab, in CSV");
  return isJson ? '\0' : (given.empty() ? usual : given).front();
}

}  // namespace

// To guess types, all rows are read before the first is written.
void Import(const Arguments& arguments) {
  RefuseIf(!arguments.create && (arguments.key || !arguments.columns.empty()),
           "--key and --types need --create");
  Input input{arguments.path, SeparatorOf(arguments)};
  std::ifstream file;
  std::stringstream held;
  std::istream* source = &OpenInput(input.name, file);
  if (arguments.create) {
    if (source == &std::cin) {
      held << std::cin.rdbuf();
      source = &held;
    }
    CreateFor(arguments, *source, input);
    source->clear();
    source->seekg(0);
    FailIf(!*source, input.name + " cannot be read twice; give it as standard input");
  } else if (!arguments.sql) {
    RequireExisting(arguments.file);
  }
  std::error_code unknown;
  const std::uintmax_t size = file.is_open() ? std::filesystem::file_size(input.name, unknown) : 0;
  UpsertRows(arguments, input.position, unknown ? 0 : size,
             [&](const TakeRow& take) { ReadInput(*source, input, take); });
}

}  // namespace vorndb
