#include <algorithm>
#include <cstring>
#include <iomanip>
#include <iterator>
#include <nlohmann/json.hpp>
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

constexpr std::size_t kNarrowest = 4;

// The parts of a table beside its cells. Markdown needs some characters escaped.
struct Frame {
  const char* begin;
  const char* gap;
  const char* end;
  const char* ruleOfNumbers;  // the end of it
  const char* escaped;
};

constexpr Frame kPlain{"", "  ", "", "-", ""};
constexpr Frame kMarkdown{"| ", " | ", " |", ":", "|\\"};

struct Column {
  std::size_t width;
  bool areNumbers;
};

Texts TextsOf(const Row& row, const Frame& frame) {
  Texts texts;
  for (const auto& cell : row) {
    std::string& text = texts.emplace_back();
    for (const char c : Printable(cell.value_or("?"))) {
      text += std::strchr(frame.escaped, c) == nullptr ? "" : "\\";
      text += c;
    }
  }
  return texts;
}

// Cuts the widest columns until a line fits, but none below a few characters.
void Fit(std::vector<Column>& columns, std::size_t available) {
  const auto isNarrower = [](const Column& a, const Column& b) { return a.width < b.width; };
  std::size_t total = std::strlen(kPlain.gap) * (columns.size() - 1);
  for (Column& column : columns) {
    column.width = std::min(column.width, std::max(available, kNarrowest));
    total += column.width;
  }
  for (; total > available; --total) {
    Column& widest = *std::max_element(columns.rbegin(), columns.rend(), isNarrower);
    if (widest.width <= kNarrowest) {
      return;
    }
    --widest.width;
  }
}

void WriteTableRow(const Texts& row, const std::vector<Column>& columns, const Frame& frame,
                   std::ostream& output) {
  std::string line = frame.begin;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string cell = CutToWidth(row[i], columns[i].width);
    const std::string blank(columns[i].width - DisplayWidth(cell), ' ');
    line += (i == 0 ? "" : frame.gap) + (columns[i].areNumbers ? blank + cell : cell + blank);
  }
  line += frame.end;
  // No spaces at the end.
  line.erase(line.find_last_not_of(' ') + 1);
  output << line << '\n';
}

void WriteFramed(Result& result, Width width, const Frame& frame, std::ostream& output) {
  const Texts header = TextsOf({result.columns.begin(), result.columns.end()}, frame);
  std::vector<Column> columns;
  for (std::size_t i = 0; i < header.size(); ++i) {
    columns.push_back({std::max<std::size_t>(1, DisplayWidth(header[i])),
                       HasNumbersOnly(result, result.columns[i])});
  }
  EachRow(result, [&](const Row& row) {
    const Texts texts = TextsOf(row, frame);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      columns[i].width = std::max(columns[i].width, DisplayWidth(texts[i]));
    }
  });
  if (width) {
    Fit(columns, *width);
  }
  Texts rules;
  for (const Column& column : columns) {
    rules.push_back(std::string(column.width - 1, '-') +
                    (column.areNumbers ? frame.ruleOfNumbers : "-"));
  }
  WriteTableRow(header, columns, frame, output);
  WriteTableRow(rules, columns, frame, output);
  EachRow(result,
          [&](const Row& row) { WriteTableRow(TextsOf(row, frame), columns, frame, output); });
}

void WriteTable(Result& result, Width width, std::ostream& output) {
  if (result.columns.empty()) {
    output << "(no rows)\n";
  } else {
    WriteFramed(result, width, kPlain, output);
  }
}

void WriteMarkdown(Result& result, Width /*width*/, std::ostream& output) {
  if (!result.columns.empty()) {
    WriteFramed(result, std::nullopt, kMarkdown, output);
  }
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
      auto& value = object[name];
      if (cells[column]) {
        value = ValueOf(*cells[column], result.numberColumns.count(name) > 0);
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
