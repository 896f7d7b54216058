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
#include "Input.h"
#include "RowWriter.h"

namespace vorndb {

namespace {

// A set of types that keep the values of a column; kEmpty means that it has no value yet.
constexpr unsigned kInteger = 1;
constexpr unsigned kReal = 2;
constexpr unsigned kEmpty = 4;
constexpr unsigned kAll = kInteger | kReal | kEmpty;

// The types that keep a value: an INTEGER has 64 bits, and a REAL is read back with 15 digits. A
// REAL may get another form: 1.50 is read back as 1.5.
unsigned TypesFor(const std::string& value) {
  constexpr std::ptrdiff_t kDigits = 15;
  const std::optional<Number> number = NumberIn(value);
  if (!number) {
    return value.empty() ? kAll : 0;
  }
  const auto begin = value.begin() + (value.front() == '-' ? 1 : 0);
  const auto end = std::find_if(begin, value.end(), [](char c) { return c == 'e' || c == 'E'; });
  const auto digits = std::count_if(begin, end, [](char c) { return c >= '0' && c <= '9'; });
  const bool hasZero = end - begin > 1 && *begin == '0' && begin[1] != '.';
  return (digits <= kDigits && !hasZero ? kReal : 0) |
         (value == std::to_string(number->second) ? kInteger : 0);
}

// The columns of an input, in the order in which they are met, with types for their values.
Pairs TypedColumnsOf(Input& input) {
  constexpr const char* kNames[] = {"TEXT", "INTEGER", "REAL", "INTEGER"};
  std::map<std::string, unsigned> types;
  input.EachRow([&types](const InputRow& row) {
    for (const auto& [column, value] : row.values) {
      const auto found = types.emplace(column, kAll).first;
      found->second &= row.texts.count(column) > 0 ? 0 : TypesFor(value);
    }
  });
  Pairs columns;
  for (const std::string& name : input.Columns()) {
    const unsigned type = types.emplace(name, kAll).first->second;
    columns.emplace_back(name, kNames[type < kEmpty ? type : 0]);
  }
  FailIf(columns.empty(), "the input names no columns");
  return columns;
}

// Creates the table for an input, with the types that are given.
void CreateFor(const Arguments& arguments, Input& input) {
  Arguments create = arguments;
  create.columns = TypedColumnsOf(input);
  Pairs given = arguments.columns;
  if (arguments.key) {
    given.push_back(*arguments.key);
  }
  for (const Pair& wanted : given) {
    const auto column =
        std::find_if(create.columns.begin(), create.columns.end(),
                     [&wanted](const Pair& known) { return known.first == wanted.first; });
    FailIf(column == create.columns.end(), "the input has no column " + wanted.first);
    column->second = wanted.second.empty() ? column->second : wanted.second;
    if (arguments.key && arguments.key->first == wanted.first) {
      create.key = *column;
      create.columns.erase(column);
    }
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

void WriteRows(const Arguments& arguments, Input& input, std::uintmax_t total) {
  const auto goOn = [](const Place& place) { return "; go on with --from-line " + place.Text(); };
  RowWriter writer(arguments, total);
  try {
    input.EachRow([&](const InputRow& row) {
      if (!(input.Here() < arguments.fromLine)) {
        writer.Write(row.values, input.Taken(), goOn(input.After()));
      }
    });
  } catch (const Failure& failure) {
    writer.Fail(failure.what(), goOn(std::max(arguments.fromLine, input.Here())));
  }
  writer.Finish();
}

}  // namespace

Texts ImportFormats() { return {"csv", "tsv", "json", "jsonl"}; }

// To guess types, all rows are read before the first is written.
void Import(const Arguments& arguments) {
  RefuseIf(!arguments.create && (arguments.key || !arguments.columns.empty()),
           "--key and --types need --create");
  const char separator = SeparatorOf(arguments);
  std::string name = arguments.path;
  std::ifstream file;
  std::stringstream held;
  std::istream* source = &OpenInput(name, file);
  if (arguments.create) {
    if (source == &std::cin) {
      held << std::cin.rdbuf();
      source = &held;
    }
    CreateFor(arguments, *MakeInput(*source, name, separator));
    source->clear();
    source->seekg(0);
    FailIf(!*source, name + " cannot be read twice; give it as standard input");
  } else if (!arguments.sql) {
    RequireExisting(arguments.file);
  }
  std::error_code unknown;
  const std::uintmax_t size = file.is_open() ? std::filesystem::file_size(name, unknown) : 0;
  WriteRows(arguments, *MakeInput(*source, name, separator), unknown ? 0 : size);
}

}  // namespace vorndb
