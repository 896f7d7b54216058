#include <algorithm>
#include <iomanip>
#include <iterator>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>
#include <string_view>
#include <utility>
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

// A column is right-aligned if its cells are numbers.
struct TableColumns {
  std::vector<std::size_t> widths;
  std::vector<bool> areNumbers;
};

TableColumns Measure(const Result& result, const Texts& header) {
  TableColumns columns{std::vector<std::size_t>(header.size(), 0),
                       std::vector<bool>(header.size(), result.rowCount > 0)};
  Widen(columns.widths, header);
  EachRow(result, [&columns](const Row& row) {
    Widen(columns.widths, PrintableTexts(row));
    for (std::size_t column = 0; column < row.size(); ++column) {
      const std::string& cell = row[column].value_or("?");
      columns.areNumbers[column] =
          columns.areNumbers[column] && (cell.empty() || NumberIn(cell).has_value());
    }
  });
  return columns;
}

void WriteTableRow(const Texts& row, const TableColumns& columns, std::ostream& output) {
  std::string line;
  for (std::size_t column = 0; column < row.size(); ++column) {
    const std::string cell = CutToWidth(row[column], columns.widths[column]);
    const std::string blank(columns.widths[column] - DisplayWidth(cell), ' ');
    line += columns.areNumbers[column] ? blank + cell : cell + blank;
    line.append(kGap, ' ');
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
  TableColumns columns = Measure(result, header);
  if (width) {
    Fit(columns.widths, *width);
  }
  Texts rules;
  for (const std::size_t columnWidth : columns.widths) {
    rules.emplace_back(columnWidth, '-');
  }
  WriteTableRow(header, columns, output);
  WriteTableRow(rules, columns, output);
  EachRow(result, [&](const Row& row) { WriteTableRow(PrintableTexts(row), columns, output); });
}

// A table in Markdown, whose readers align it.
void WriteMarkdown(Result& result, Width /*width*/, std::ostream& output) {
  const auto writeRow = [&output](const Texts& row) {
    for (const std::string& cell : row) {
      output << "| ";
      for (const char c : cell) {
        output << (c == '|' || c == '\\' ? "\\" : "") << c;
      }
      output << ' ';
    }
    output << "|\n";
  };
  const Texts header = PrintableTexts({result.columns.begin(), result.columns.end()});
  if (header.empty()) {
    return;
  }
  writeRow(header);
  for (const bool isNumber : Measure(result, header).areNumbers) {
    output << (isNumber ? "| ---: " : "| --- ");
  }
  output << "|\n";
  EachRow(result, [&](const Row& row) { writeRow(PrintableTexts(row)); });
}

// In quotes only where needed: a reader may also drop spaces at the ends.
void AppendField(const std::string& text, char separator, std::string& line) {
  const auto isSpace = [](char c) { return c == ' ' || c == '\t'; };
  const auto isSpecial = [separator](char c) {
    return c == separator || c == '"' || c == '\r' || c == '\n';
  };
  if (text.empty() || (!isSpace(text.front()) && !isSpace(text.back()) &&
                       std::none_of(text.begin(), text.end(), isSpecial))) {
    line += text;
    return;
  }
  std::ostringstream quoted;
  quoted << std::quoted(text, '"', '"');
  line += quoted.str();
}

template <char kSeparator>
void WriteFields(Result& result, Width /*width*/, std::ostream& output) {
  std::string line;
  const auto writeRow = [&output, &line](const Row& row) {
    line.clear();
    for (const auto& cell : row) {
      if (cell) {
        AppendField(*cell, kSeparator, line);
      }
      line += kSeparator;
    }
    line.back() = '\n';
    output.write(line.data(), static_cast<std::streamsize>(line.size()));
  };
  if (!result.columns.empty()) {
    writeRow({result.columns.begin(), result.columns.end()});
  }
  EachRow(result, writeRow);
}

using Json = nlohmann::ordered_json;

// A text; with `isNumber` a number where it is one, and null where it is empty.
Json ValueOf(const std::string& cell, bool isNumber) {
  if (!isNumber) {
    return cell;
  }
  Json value = cell.empty() ? Json() : Json::parse(cell, nullptr, false);
  return value.is_number() || cell.empty() ? value : Json(cell);
}

// Row by row, since the whole is in memory once already. JSON is UTF-8 by its own rules.
// `begin` precedes each row.
template <typename Begin>
void WriteObjects(Result& result, std::ostream& output, Begin begin) {
  bool rewritten = false;
  EachRow(result, [&](const Row& cells) {
    Json object = Json::object();
    for (std::size_t column = 0; column < cells.size(); ++column) {
      const std::string& name = result.columns[column];
      const auto affinity = result.affinities.find(name);
      auto& value = object[name];
      if (cells[column]) {
        value = ValueOf(*cells[column], result.typed && affinity != result.affinities.end() &&
                                            affinity->second == Affinity::kNumber);
      }
    }
    const auto dump = [&](auto handler) { return object.dump(-1, ' ', false, handler); };
    const std::string text = dump(Json::error_handler_t::replace);
    rewritten = rewritten || text != dump(Json::error_handler_t::ignore);
    output << begin() << text;
  });
  if (rewritten) {
    result.doubts.emplace_back("JSON holds UTF-8 only; other bytes are written as U+FFFD.");
  }
}

void WriteJson(Result& result, Width /*width*/, std::ostream& output) {
  const char* separator = "[\n  ";
  WriteObjects(result, output, [&] { return std::exchange(separator, ",\n  "); });
  output << (result.rowCount == 0 ? "[]\n" : "\n]\n");
}

void WriteJsonLines(Result& result, Width /*width*/, std::ostream& output) {
  const char* separator = "";
  WriteObjects(result, output, [&] { return std::exchange(separator, "\n"); });
  output << (result.rowCount == 0 ? "" : "\n");
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
  const char* separator = "";
  EachRow(result, [&](const Row& cells) {
    output << std::exchange(separator, "\n");
    for (std::size_t column = 0; column < cells.size(); ++column) {
      if (cells[column]) {
        output << OneLine(result.columns[column]) << '=' << OneLine(*cells[column]) << '\n';
      }
    }
  });
}

struct Format {
  const char* name;
  const char* ending;  // of the names of files, or null
  void (*write)(Result&, Width, std::ostream&);
};

constexpr Format kFormats[] = {
    {"table", nullptr, WriteTable},     {"csv", "csv", WriteFields<','>},
    {"tsv", "tsv", WriteFields<'\t'>},  {"json", "json", WriteJson},
    {"jsonl", "jsonl", WriteJsonLines}, {"markdown", "md", WriteMarkdown},
    {"lines", "txt", WriteLines},
};

}  // namespace

Texts FormatNames() {
  Texts names;
  for (const Format& format : kFormats) {
    names.emplace_back(format.name);
  }
  return names;
}

void RequireFormat(const std::string& text) {
  const Texts names = FormatNames();
  RefuseIf(std::count(names.begin(), names.end(), text) == 0,
           "'" + text + "' is no format; the formats are " + Joined(names));
}

std::string FormatOfFile(const std::string& path) {
  Texts endings;
  for (const Format& format : kFormats) {
    if (format.ending != nullptr) {
      const std::string ending = std::string(".") + format.ending;
      if (path.size() > ending.size() &&
          path.compare(path.size() - ending.size(), ending.size(), ending) == 0) {
        return format.name;
      }
      endings.push_back(ending);
    }
  }
  throw UsageError("'" + path + "' has no ending of a format (" + Joined(endings) +
                   "); give --format");
}

void Write(Result& result, const std::string& format, std::optional<std::size_t> width,
           std::ostream& output) {
  for (const Format& known : kFormats) {
    if (known.name == (format.empty() ? kFormats->name : format)) {
      known.write(result, width, output);
    }
  }
}

}  // namespace vorndb
