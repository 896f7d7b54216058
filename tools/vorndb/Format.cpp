#include <algorithm>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string_view>
#include <vector>

#include "Errors.h"
#include "Result.h"
#include "Text.h"

namespace vorndb {

namespace {

using Row = std::vector<std::string>;

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 4;

Row CellsOf(Result& result, std::size_t row, const char* unknown) {
  Row cells;
  for (std::size_t column = 0; column < result.Columns().size(); ++column) {
    cells.push_back(result.Cell(row, column).value_or(unknown));
  }
  return cells;
}

// --- For people -------------------------------------------------------------------------

Row PrintableCells(Row row) {
  std::transform(row.begin(), row.end(), row.begin(), Printable);
  return row;
}

void Widen(std::vector<std::size_t>& widths, const Row& row) {
  for (std::size_t column = 0; column < widths.size(); ++column) {
    widths[column] = std::max(widths[column], DisplayWidth(row[column]));
  }
}

// Cuts the widest columns until a line fits, but none below a few characters.
void Fit(std::vector<std::size_t>& widths, std::size_t available) {
  for (std::size_t& width : widths) {
    width = std::min(width, std::max(available, kNarrowest));
  }
  const std::size_t gaps = kGap * (widths.size() - 1);
  while (std::accumulate(widths.begin(), widths.end(), gaps) > available) {
    const auto widest = std::max_element(widths.rbegin(), widths.rend());
    if (*widest <= kNarrowest) {
      return;
    }
    --*widest;
  }
}

void WriteTableRow(const Row& row, const std::vector<std::size_t>& widths, std::ostream& output) {
  std::string line;
  for (std::size_t column = 0; column < row.size(); ++column) {
    const std::string cell = CutToWidth(row[column], widths[column]);
    line += cell;
    line.append(widths[column] - DisplayWidth(cell) + kGap, ' ');
  }
  // No spaces at the end.
  line.erase(line.find_last_not_of(' ') + 1);
  output << line << '\n';
}

void WriteTable(Result& result, std::optional<std::size_t> width, std::ostream& output) {
  if (result.Columns().empty()) {
    output << "(no rows)\n";
    return;
  }
  const auto cells = [&](std::size_t row) { return PrintableCells(CellsOf(result, row, "?")); };
  const Row header = PrintableCells(result.Columns());
  std::vector<std::size_t> widths(header.size(), 0);
  Widen(widths, header);
  for (std::size_t row = 0; row < result.RowCount(); ++row) {
    Widen(widths, cells(row));
  }
  if (width) {
    Fit(widths, *width);
  }
  Row rules;
  for (const std::size_t columnWidth : widths) {
    rules.emplace_back(columnWidth, '-');
  }
  WriteTableRow(header, widths, output);
  WriteTableRow(rules, widths, output);
  for (std::size_t row = 0; row < result.RowCount(); ++row) {
    WriteTableRow(cells(row), widths, output);
  }
}

// --- For programs -----------------------------------------------------------------------

// In quotes only where needed: a reader may also drop spaces at the ends.
void WriteCsvField(const std::string& text, std::ostream& output) {
  const auto isSpace = [](char c) { return c == ' ' || c == '\t'; };
  if (text.find_first_of(",\"\r\n") != std::string::npos ||
      (!text.empty() && (isSpace(text.front()) || isSpace(text.back())))) {
    output << std::quoted(text, '"', '"');
  } else {
    output << text;
  }
}

void WriteCsvRow(const Row& row, std::ostream& output) {
  for (std::size_t column = 0; column < row.size(); ++column) {
    output << (column == 0 ? "" : ",");
    WriteCsvField(row[column], output);
  }
  output << '\n';
}

void WriteCsv(Result& result, std::optional<std::size_t> /*width*/, std::ostream& output) {
  if (!result.Columns().empty()) {
    WriteCsvRow(result.Columns(), output);
  }
  for (std::size_t row = 0; row < result.RowCount(); ++row) {
    WriteCsvRow(CellsOf(result, row, ""), output);
  }
}

// JSON is UTF-8 by its own rules.
std::string Dump(const nlohmann::ordered_json& object, bool& rewritten) {
  try {
    return object.dump();
  } catch (const nlohmann::ordered_json::type_error&) {
    rewritten = true;
    return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
  }
}

// Row by row, since the whole is in memory once already.
void WriteJson(Result& result, std::optional<std::size_t> /*width*/, std::ostream& output) {
  bool rewritten = false;
  output << '[';
  for (std::size_t row = 0; row < result.RowCount(); ++row) {
    auto object = nlohmann::ordered_json::object();
    for (std::size_t column = 0; column < result.Columns().size(); ++column) {
      auto& value = object[result.Columns()[column]];
      if (const auto cell = result.Cell(row, column)) {
        value = *cell;
      }
    }
    output << (row == 0 ? "\n  " : ",\n  ") << Dump(object, rewritten);
  }
  output << (result.RowCount() == 0 ? "]\n" : "\n]\n");
  if (rewritten) {
    result.AddDoubt("JSON holds UTF-8 only; bytes that are none are written as U+FFFD.");
  }
}

std::string OneLine(const std::string& text) {
  constexpr std::string_view kEscaped = "\n\r\\";
  std::string line;
  for (const char c : text) {
    if (const std::size_t index = kEscaped.find(c); index != std::string_view::npos) {
      line += '\\';
      line += "nr\\"[index];
    } else {
      line += c;
    }
  }
  return line;
}

void WriteLines(Result& result, std::optional<std::size_t> /*width*/, std::ostream& output) {
  for (std::size_t row = 0; row < result.RowCount(); ++row) {
    output << (row == 0 ? "" : "\n");
    for (std::size_t column = 0; column < result.Columns().size(); ++column) {
      if (const auto cell = result.Cell(row, column)) {
        output << OneLine(result.Columns()[column]) << '=' << OneLine(*cell) << '\n';
      }
    }
  }
}

using Writer = void (*)(Result&, std::optional<std::size_t>, std::ostream&);

const std::map<std::string, Writer>& Writers() {
  static const std::map<std::string, Writer> writers{
      {"table", WriteTable}, {"csv", WriteCsv}, {"json", WriteJson}, {"lines", WriteLines}};
  return writers;
}

}  // namespace

void RequireFormat(const std::string& text) {
  if (Writers().count(text) == 0) {
    throw UsageError("'" + text + "' is no format; there are table, csv, json and lines");
  }
}

std::string FormatOfFile(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  std::string ending = dot == std::string::npos ? "" : path.substr(dot + 1);
  if (ending == "csv" || ending == "json") {
    return ending;
  }
  if (ending != "txt") {
    throw UsageError("'" + path + "' does not tell a format by .csv, .json or .txt; give --format");
  }
  return "lines";
}

void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output) {
  Writers().at(format.empty() ? "table" : format)(result, width, output);
}

}  // namespace vorndb
