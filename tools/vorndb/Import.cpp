#include <algorithm>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <system_error>

#include "Commands.h"
#include "DatabaseFile.h"
#include "Errors.h"
#include "Transfer.h"

namespace vorndb {

namespace {

// The types that lose a value.
constexpr unsigned kInteger = 1;
constexpr unsigned kReal = 2;

// An INTEGER has 64 bits, and a REAL is read back with 15 digits. A REAL may get another form: 1.50
// is read back as 1.5.
unsigned LosersOf(const std::string& value) {
  constexpr std::ptrdiff_t kDigits = 15;
  const std::optional<Number> number = NumberIn(value);
  if (!number) {
    return kInteger | kReal;
  }
  const auto begin = value.begin() + (value.front() == '-' ? 1 : 0);
  const auto end = std::find_if(begin, value.end(), [](char c) { return c == 'e' || c == 'E'; });
  const auto digits = std::count_if(begin, end, [](char c) { return c >= '0' && c <= '9'; });
  const bool hasZero = end - begin > 1 && *begin == '0' && begin[1] != '.';
  return (digits <= kDigits && !hasZero ? 0 : kReal) |
         (value == std::to_string(number->second) ? 0 : kInteger);
}

// The columns of an input, in the order in which they are met, with types that keep their values.
Pairs TypedColumnsOf(std::istream& source, Input input) {
  constexpr const char* kNames[] = {"INTEGER", "REAL", "INTEGER", "TEXT"};
  std::map<std::string, unsigned> losers;  // of columns with values
  EachRow(source, input, [&losers](const Pairs& row) {
    for (const auto& [column, value] : row) {
      if (!value.empty()) {
        losers[column] |= LosersOf(value);
      }
    }
  });
  Pairs columns;
  for (const std::string& name : input.columns) {
    const bool isText = input.hasTexts[name] || losers.count(name) == 0;
    columns.emplace_back(name, isText ? "TEXT" : kNames[losers[name]]);
  }
  FailIf(columns.empty(), "the input names no columns");
  return columns;
}

// Creates the table for an input, with the types that are given.
void CreateFor(const Arguments& arguments, std::istream& source, const Input& input) {
  Arguments create = arguments;
  create.columns = TypedColumnsOf(source, input);
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

Texts ImportFormats() { return {"csv", "tsv", "json", "jsonl"}; }

// To guess types, all rows are read before the first is written.
void Import(const Arguments& arguments) {
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
             [&](const TakeRow& take) { EachRow(*source, input, take); });
}

}  // namespace vorndb
