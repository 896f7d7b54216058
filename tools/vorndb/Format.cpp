#include "Format.h"

#include <csv.h>

#include <map>
#include <nlohmann/json.hpp>
#include <vector>

#include "Result.h"
#include "TableFormat.h"

namespace vorndb {

namespace {

// Quoted only where that is needed: a reader may also drop blanks at the ends.
std::string CsvField(const std::string& text) {
  const bool plain = text.find_first_of(",\"\r\n") == std::string::npos &&
                     (text.empty() || (text.front() != ' ' && text.front() != '\t' &&
                                       text.back() != ' ' && text.back() != '\t'));
  if (plain) {
    return text;
  }
  std::string field(csv_write(nullptr, 0, text.data(), text.size()), '\0');
  csv_write(field.data(), field.size(), text.data(), text.size());
  return field;
}

void WriteCsv(Result& result, std::ostream& output) {
  const auto& columns = result.Columns();
  for (std::size_t column = 0; column < columns.size(); ++column) {
    output << (column == 0 ? "" : ",") << CsvField(columns[column].name);
  }
  output << (columns.empty() ? "" : "\n");
  for (int row = 0; row < result.RowCount(); ++row) {
    for (std::size_t column = 0; column < columns.size(); ++column) {
      output << (column == 0 ? "" : ",");
      output << (columns[column].known ? CsvField(result.Cell(row, column)) : "");
    }
    output << '\n';
  }
}

nlohmann::ordered_json JsonRow(Result& result, int row) {
  auto object = nlohmann::ordered_json::object();
  const auto& columns = result.Columns();
  for (std::size_t column = 0; column < columns.size(); ++column) {
    if (columns[column].known) {
      object[columns[column].name] = result.Cell(row, column);
    } else {
      object[columns[column].name] = nullptr;
    }
  }
  return object;
}

// Row by row, since the whole is in memory once already.
void WriteJson(Result& result, std::ostream& output) {
  output << '[';
  for (int row = 0; row < result.RowCount(); ++row) {
    output << (row == 0 ? "\n  " : ",\n  ")
           << JsonRow(result, row)
                  .dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  }
  output << (result.RowCount() == 0 ? "]\n" : "\n]\n");
}

// A text on one line.
std::string OneLine(const std::string& text) {
  static const std::map<char, const char*> escapes{{'\n', "\\n"}, {'\r', "\\r"}, {'\\', "\\\\"}};
  std::string line;
  for (const char c : text) {
    const auto escape = escapes.find(c);
    if (escape != escapes.end()) {
      line += escape->second;
    } else {
      line += c;
    }
  }
  return line;
}

void WriteLines(Result& result, std::ostream& output) {
  for (int row = 0; row < result.RowCount(); ++row) {
    output << (row == 0 ? "" : "\n");
    for (std::size_t column = 0; column < result.Columns().size(); ++column) {
      if (result.Columns()[column].known) {
        output << OneLine(result.Columns()[column].name) << '=' << OneLine(result.Cell(row, column))
               << '\n';
      }
    }
  }
}

}  // namespace

std::optional<Format> FormatNamed(const std::string& name) {
  static const std::map<std::string, Format> formats{{"table", Format::kTable},
                                                     {"csv", Format::kCsv},
                                                     {"json", Format::kJson},
                                                     {"lines", Format::kLines}};
  const auto format = formats.find(name);
  return format != formats.end() ? std::optional(format->second) : std::nullopt;
}

void Write(Result& result, Format format, std::optional<std::size_t> width, std::ostream& output) {
  switch (format) {
    case Format::kTable:
      WriteTable(result, width, output);
      break;
    case Format::kCsv:
      WriteCsv(result, output);
      break;
    case Format::kJson:
      WriteJson(result, output);
      break;
    case Format::kLines:
      WriteLines(result, output);
      break;
  }
}

}  // namespace vorndb
