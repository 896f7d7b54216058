#include "TableFormat.h"

#include <algorithm>
#include <numeric>
#include <string>

#include "Result.h"
#include "Text.h"

namespace vorndb {

namespace {

using Row = std::vector<std::string>;

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 4;
constexpr char kUnknown[] = "?";

Row HeaderOf(Result& result) {
  Row header;
  for (const Result::Column& column : result.Columns()) {
    header.push_back(Printable(column.name));
  }
  return header;
}

Row CellsOf(Result& result, int row) {
  Row cells;
  for (std::size_t column = 0; column < result.Columns().size(); ++column) {
    cells.push_back(result.Columns()[column].known ? Printable(result.Cell(row, column))
                                                   : kUnknown);
  }
  return cells;
}

void Widen(std::vector<std::size_t>& widths, const Row& row) {
  for (std::size_t column = 0; column < widths.size(); ++column) {
    widths[column] = std::max(widths[column], DisplayWidth(row[column]));
  }
}

std::vector<std::size_t> NaturalWidths(Result& result) {
  std::vector<std::size_t> widths(result.Columns().size(), 0);
  Widen(widths, HeaderOf(result));
  for (int row = 0; row < result.RowCount(); ++row) {
    Widen(widths, CellsOf(result, row));
  }
  return widths;
}

void WriteRow(const Row& row, const std::vector<std::size_t>& widths, std::ostream& output) {
  std::string line;
  for (std::size_t column = 0; column < row.size(); ++column) {
    const std::string cell = CutToWidth(row[column], widths[column]);
    line += cell;
    line.append(widths[column] - DisplayWidth(cell) + kGap, ' ');
  }
  // No blanks at the end.
  line.erase(line.find_last_not_of(' ') + 1);
  output << line << '\n';
}

std::size_t TotalWidth(const std::vector<std::size_t>& natural, std::size_t most) {
  return std::accumulate(
      natural.begin(), natural.end(), std::size_t{0},
      [most](std::size_t sum, std::size_t width) { return sum + std::min(width, most); });
}

}  // namespace

std::vector<std::size_t> FitWidths(const std::vector<std::size_t>& natural, std::size_t gap,
                                   std::size_t available) {
  std::vector<std::size_t> widths = natural;
  if (natural.empty()) {
    return widths;
  }
  const std::size_t gaps = gap * (natural.size() - 1);
  std::size_t most = *std::max_element(natural.begin(), natural.end());
  while (most > kNarrowest && TotalWidth(natural, most) + gaps > available) {
    --most;
  }
  for (std::size_t& width : widths) {
    width = std::min(width, most);
  }
  // What is left over goes to the first that were cut.
  std::size_t taken = TotalWidth(natural, most) + gaps;
  for (std::size_t column = 0; column < widths.size() && taken < available; ++column) {
    if (widths[column] < natural[column]) {
      ++widths[column];
      ++taken;
    }
  }
  return widths;
}

void WriteTable(Result& result, std::optional<std::size_t> width, std::ostream& output) {
  if (result.Columns().empty()) {
    output << "(no rows)\n";
    return;
  }
  std::vector<std::size_t> widths = NaturalWidths(result);
  if (width) {
    widths = FitWidths(widths, kGap, *width);
  }
  WriteRow(HeaderOf(result), widths, output);
  Row rules;
  for (const std::size_t columnWidth : widths) {
    rules.emplace_back(columnWidth, '-');
  }
  WriteRow(rules, widths, output);
  for (int row = 0; row < result.RowCount(); ++row) {
    WriteRow(CellsOf(result, row), widths, output);
  }
}

}  // namespace vorndb
