#include <algorithm>
#include <iomanip>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string_view>
#include <vector>

#include "Errors.h"
#include "Result.h"
#include "Terminal.h"

namespace vorndb {

namespace {

using Texts = std::vector<std::string>;
using Width = std::optional<std::size_t>;

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 4;

Texts PrintableTexts(const Row& row) {
  Texts texts;
  for (const auto& cell : row) {
    texts.push_back(Printable(cell.value_or("?")));
  }
  return texts;
}

void Widen(std::vector<std::size_t>& widths, const Texts& row) {
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

void WriteTableRow(const Texts& row, const std::vector<std::size_t>& widths, std::ostream& output) {
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

void WriteTable(Result& result, Width width, std::ostream& output) {
  if (result.columns.empty()) {
    output << "(no rows)\n";
    return;
  }
  const Texts header = PrintableTexts({result.columns.begin(), result.columns.end()});
  std::vector<std::size_t> widths(header.size(), 0);
  Widen(widths, header);
  for (std::size_t row = 0; row < result.rowCount; ++row) {
    Widen(widths, PrintableTexts(RowOf(result, row)));
  }
  if (width) {
    Fit(widths, *width);
  }
  Texts rules;
  for (const std::size_t columnWidth : widths) {
    rules.emplace_back(columnWidth, '-');
  }
  WriteTableRow(header, widths, output);
  WriteTableRow(rules, widths, output);
  for (std::size_t row = 0; row < result.rowCount; ++row) {
    WriteTableRow(PrintableTexts(RowOf(result, row)), widths, output);
  }
}

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
    WriteCsvField(row[column].value_or(""), output);
  }
  output << '\n';
}

void WriteCsv(Result& result, Width /*width*/, std::ostream& output) {
  if (!result.columns.empty()) {
    WriteCsvRow({result.columns.begin(), result.columns.end()}, output);
  }
  for (std::size_t row = 0; row < result.rowCount; ++row) {
    WriteCsvRow(RowOf(result, row), output);
  }
}

// Row by row, since the whole is in memory once already. JSON is UTF-8 by its own rules.
void WriteJson(Result& result, Width /*width*/, std::ostream& output) {
  using Json = nlohmann::ordered_json;
  bool rewritten = false;
  output << '[';
  for (std::size_t row = 0; row < result.rowCount; ++row) {
    Json object = Json::object();
    const Row cells = RowOf(result, row);
    for (std::size_t column = 0; column < cells.size(); ++column) {
      auto& value = object[result.columns[column]];
      if (cells[column]) {
        value = *cells[column];
      }
    }
    const auto dump = [&](auto handler) { return object.dump(-1, ' ', false, handler); };
    const std::string text = dump(Json::error_handler_t::replace);
    rewritten = rewritten || text != dump(Json::error_handler_t::ignore);
    output << (row == 0 ? "\n  " : ",\n  ") << text;
  }
  output << (result.rowCount == 0 ? "]\n" : "\n]\n");
  if (rewritten) {
    result.doubts.emplace_back("JSON holds UTF-8 only; bytes that are none are written as U+FFFD.");
  }
}

std::string OneLine(const std::string& text) {
  constexpr std::string_view kEscaped = "\n\r\\";
  std::string line;
  for (const char c : text) {
    const std::size_t index = kEscaped.find(c);
    line += index == std::string_view::npos ? std::string(1, c) : std::string("\\") + "nr\\"[index];
  }
  return line;
}

void WriteLines(Result& result, Width /*width*/, std::ostream& output) {
  for (std::size_t row = 0; row < result.rowCount; ++row) {
    output << (row == 0 ? "" : "\n");
    const Row cells = RowOf(result, row);
    for (std::size_t column = 0; column < cells.size(); ++column) {
      if (cells[column]) {
        output << OneLine(result.columns[column]) << '=' << OneLine(*cells[column]) << '\n';
      }
    }
  }
}

using Writer = void (*)(Result&, Width, std::ostream&);

const std::map<std::string, Writer>& Writers() {
  static const std::map<std::string, Writer> writers{
      {"table", WriteTable}, {"csv", WriteCsv}, {"json", WriteJson}, {"lines", WriteLines}};
  return writers;
}

}  // namespace

void RequireFormat(const std::string& text) {
  RefuseIf(Writers().count(text) == 0,
           "'" + text + "' is no format; there are table, csv, json and lines");
}

std::string FormatOfFile(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  const std::string ending = dot == std::string::npos ? "" : path.substr(dot + 1);
  RefuseIf(ending != "csv" && ending != "json" && ending != "txt",
           "'" + path + "' does not tell a format by .csv, .json or .txt; give --format");
  return ending == "txt" ? "lines" : ending;
}

void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output) {
  Writers().at(format.empty() ? "table" : format)(result, width, output);
}

}  // namespace vorndb
