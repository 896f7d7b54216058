#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>
#include <vector>

#include "Errors.h"
#include "Result.h"
#include "Terminal.h"

namespace vorndb {

namespace {

using Width = std::optional<std::size_t>;

constexpr std::size_t kNarrowest = 4;

// The parts of a table beside its cells. Markdown needs some characters escaped, and has no width.
struct Frame {
  bool isCut;
  const char* none;  // for no rows
  const char* begin;
  const char* gap;
  const char* end;
  const char* ruleOfNumbers;  // the end of it
  const char* escaped;
};

constexpr Frame kPlain{true, "(no rows)\n", "", "  ", "", "-", ""};
constexpr Frame kMarkdown{false, "", "| ", " | ", " |", ":", "|\\"};

// Of a column.
struct Shape {
  std::size_t width;
  bool areNumbers;
};

Texts TextsOf(const Row& row, const Frame& frame) {
  Texts texts;
  for (const auto& cell : row) {
    texts.push_back(Escaped(Printable(cell.value_or("?")), frame.escaped, '\\'));
  }
  return texts;
}

// Cuts the widest columns until a line fits, but none below a few characters.
void Fit(std::vector<Shape>& columns, std::size_t available) {
  const auto isNarrower = [](const Shape& one, const Shape& other) {
    return one.width < other.width;
  };
  std::size_t total = std::strlen(kPlain.gap) * (columns.size() - 1);
  for (Shape& column : columns) {
    column.width = std::min(column.width, std::max(available, kNarrowest));
    total += column.width;
  }
  for (; total > available; --total) {
    Shape& widest = *std::max_element(columns.rbegin(), columns.rend(), isNarrower);
    if (widest.width <= kNarrowest) {
      return;
    }
    --widest.width;
  }
}

void WriteTableRow(const Texts& row, const std::vector<Shape>& columns, const Frame& frame,
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

template <const Frame& kFrame>
void WriteFramed(Result& result, Width width, std::ostream& output) {
  if (result.columns.empty()) {
    output << kFrame.none;
    return;
  }
  const Texts header = TextsOf({result.columns.begin(), result.columns.end()}, kFrame);
  std::vector<Shape> columns;
  for (std::size_t i = 0; i < header.size(); ++i) {
    columns.push_back({std::max<std::size_t>(1, DisplayWidth(header[i])),
                       HasNumbersOnly(result, result.columns[i])});
  }
  EachRow(result, [&](const Row& row) {
    const Texts texts = TextsOf(row, kFrame);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      columns[i].width = std::max(columns[i].width, DisplayWidth(texts[i]));
    }
  });
  if (width && kFrame.isCut) {
    Fit(columns, *width);
  }
  Texts rules;
  for (const Shape& column : columns) {
    rules.push_back(std::string(column.width - 1, '-') +
                    (column.areNumbers ? kFrame.ruleOfNumbers : "-"));
  }
  WriteTableRow(header, columns, kFrame, output);
  WriteTableRow(rules, columns, kFrame, output);
  EachRow(result,
          [&](const Row& row) { WriteTableRow(TextsOf(row, kFrame), columns, kFrame, output); });
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
  line += '"' + Escaped(text, "\"", '"') + '"';
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

struct Marks {
  const char* begin;
  const char* between;
  const char* end;
  const char* none;  // for no rows
};

constexpr Marks kArray{"[\n  ", ",\n  ", "\n]\n", "[]\n"};
constexpr Marks kLines{"", "\n", "\n", ""};

// Row by row, since the whole is in memory once already. JSON is UTF-8 by its own rules.
template <const Marks& kMarks>
void WriteObjects(Result& result, Width /*width*/, std::ostream& output) {
  bool rewritten = false;
  const char* mark = kMarks.begin;
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
    output << std::exchange(mark, kMarks.between) << text;
  });
  output << (result.rows.empty() ? kMarks.none : kMarks.end);
  if (rewritten) {
    result.doubts.emplace_back("JSON holds UTF-8 only; other bytes are written as U+FFFD.");
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
    {"table", nullptr, WriteFramed<kPlain>},
    {"csv", ".csv", WriteFields<','>},
    {"tsv", ".tsv", WriteFields<'\t'>},
    {"json", ".json", WriteObjects<kArray>},
    {"jsonl", ".jsonl", WriteObjects<kLines>},
    {"markdown", ".md", WriteFramed<kMarkdown>},
    {"lines", ".txt", WriteLines},
};

}  // namespace

Texts FormatNames() {
  Texts names;
  for (const Format& format : kFormats) {
    names.emplace_back(format.name);
  }
  return names;
}

std::string FormatOfFile(const std::string& path) {
  Texts endings;
  for (const Format& format : kFormats) {
    if (format.ending != nullptr) {
      if (std::filesystem::path(path).extension() == format.ending) {
        return format.name;
      }
      endings.emplace_back(format.ending);
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
