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

// The types, any of which gives all values of a column back; kEmpty without a value.
constexpr unsigned kInteger = 1;
constexpr unsigned kReal = 2;
constexpr unsigned kEmpty = 4;
constexpr unsigned kAll = kInteger | kReal | kEmpty;

// But for the form of a REAL. SQLite has 64 bits of an INTEGER, and 15 digits of a REAL.
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
std::vector<TypedColumn> ColumnsOf(Input& input) {
  std::map<std::string, unsigned> types;
  while (const auto row = input.Next()) {
    for (const auto& [column, value] : row->values) {
      const auto found = types.emplace(column, kAll).first;
      found->second &= row->texts.count(column) > 0 ? 0 : TypesFor(value);
    }
  }
  std::vector<TypedColumn> columns;
  for (const std::string& name : input.Columns()) {
    constexpr const char* kNames[] = {"TEXT", "INTEGER", "REAL", "INTEGER"};
    const unsigned type = types.emplace(name, kAll).first->second;
    columns.emplace_back(name + ':' + kNames[type < kEmpty ? type : 0]);
  }
  FailIf(columns.empty(), "the input names no columns");
  return columns;
}

// Creates the table for an input, with the types that are given.
void CreateFor(const Arguments& arguments, Input& input) {
  Arguments create = arguments;
  create.columns = ColumnsOf(input);
  std::vector<TypedColumn> given = arguments.columns;
  if (arguments.key) {
    given.push_back(*arguments.key);
  }
  for (const TypedColumn& wanted : given) {
    const auto column = std::find_if(
        create.columns.begin(), create.columns.end(),
        [&](const TypedColumn& candidate) { return candidate.column == wanted.column; });
    FailIf(column == create.columns.end(), "the input has no column " + wanted.column);
    column->type = wanted.type.empty() ? column->type : wanted.type;
    if (arguments.key && arguments.key->column == wanted.column) {
      create.key = *column;
      create.columns.erase(column);
    }
  }
  Create(create);
}

// Of the values of a row; 0 for JSON.
char SeparatorOf(const Arguments& arguments) {
  static const std::map<std::string, char> separators{
      {"csv", ','}, {"tsv", '\t'}, {"json", '\0'}, {"jsonl", '\0'}};
  const std::string& path = arguments.path;
  const auto found = separators.find(arguments.format.empty() ? path.substr(path.rfind('.') + 1)
                                                              : arguments.format);
  RefuseIf(found == separators.end() && !arguments.format.empty(),
           '\'' + arguments.format + "' cannot be imported; csv, tsv, json and jsonl can");
  const char usual = found == separators.end() ? ',' : found->second;
  const std::string& text = arguments.separator;
  const std::string given = text == "tab" || text == "\\t" ? "\t" : text;
  RefuseIf(
      !given.empty() && (usual == '\0' || given.size() > 1 || given.find_first_of("\"\r\n") == 0),
      '\'' + given + "' is no separator: one character, or tab, in CSV");
  return given.empty() ? usual : given.front();
}

// The input from its beginning, once more.
std::istream& Rewound(std::istream& source, const std::string& name) {
  source.clear();
  source.seekg(0);
  FailIf(!source, name + " cannot be read twice; give it as standard input");
  return source;
}

void WriteRows(const Arguments& arguments, Input& input, std::uintmax_t total) {
  const auto goOn = [](const Place& place) { return "; go on with --from-line " + place.Text(); };
  RowWriter writer(arguments, total);
  try {
    while (const auto row = input.Next()) {
      if (!(row->place < arguments.fromLine)) {
        try {
          writer.Write(row->values, input.Taken(), goOn(input.After()));
        } catch (const std::runtime_error& problem) {
          input.Fail(problem.what());
        }
      }
    }
  } catch (const Failure& failure) {
    writer.Fail(failure.what(), goOn(std::max(arguments.fromLine, input.Here())));
  }
  writer.Finish();
}

}  // namespace

// To guess types, all rows are read before the first is written.
void Import(const Arguments& arguments) {
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
    source = &Rewound(*source, name);
  } else if (!arguments.sql) {
    RequireExisting(arguments.file);
  }
  std::error_code unknown;
  const std::uintmax_t size = file.is_open() ? std::filesystem::file_size(name, unknown) : 0;
  WriteRows(arguments, *MakeInput(*source, name, separator), unknown ? 0 : size);
}

}  // namespace vorndb
