#include <algorithm>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "Errors.h"
#include "Result.h"
#include "Terminal.h"

namespace vorndb {

namespace {

using Width = std::optional<std::size_t>;

// The texts around the parts of a row, or of a result.
struct Marks {
  const char* begin = "";
  const char* between = "";
  const char* end = "";
  const char* none = "";         // for no rows
  const char* escaped = "";      // in cells
  const char* numberRule = "-";  // the end of the rule above a column of numbers
};

constexpr Marks kPlain{"", "  ", "", "(no rows)\n"};
constexpr Marks kMarkdown{"| ", " | ", " |", "", "|\\", ":"};
constexpr Marks kArray{"[\n  ", ",\n  ", "\n]\n", "[]\n"};
constexpr Marks kLines{"", "\n", "\n", ""};

// Of a column.
struct Shape {
  std::size_t width = 0;
  bool areNumbers = true;  // or empty
};

Texts TextsOf(const Row& row, const Marks& marks) {
  Texts texts;
  for (const auto& cell : row) {
    texts.push_back(Escaped(Printable(cell.value_or("?")), marks.escaped, '\\'));
  }
  return texts;
}

// Cuts the widest columns until a line fits, but none below a few characters.
void Fit(std::vector<Shape>& columns, std::size_t available) {
  constexpr std::size_t kNarrowest = 4;
  std::size_t total = std::strlen(kPlain.between) * (columns.size() - 1);
  for (Shape& column : columns) {
    column.width = std::min(column.width, std::max(available, kNarrowest));
    total += column.width;
  }
  for (std::size_t most = available; most > kNarrowest; --most) {
    for (auto column = columns.rbegin(); column != columns.rend() && total > available; ++column) {
      if (column->width == most) {
        --column->width;
        --total;
      }
    }
  }
}

void WriteTableRow(const Texts& row, const std::vector<Shape>& columns, const Marks& marks,
                   std::ostream& output) {
  std::string line = marks.begin;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string cell = CutToWidth(row[i], columns[i].width);
    const std::string blank(columns[i].width - DisplayWidth(cell), ' ');
    line += (i == 0 ? "" : marks.between) + (columns[i].areNumbers ? blank + cell : cell + blank);
  }
  line += marks.end;
  // No spaces at the end.
  line.erase(line.find_last_not_of(' ') + 1);
  output << line << '\n';
}

template <const Marks& kMarks>
void WriteTable(Result& result, Width width, std::ostream& output) {
  if (result.columns.empty()) {
    output << kMarks.none;
    return;
  }
  const Texts header = TextsOf({result.columns.begin(), result.columns.end()}, kMarks);
  std::vector<Shape> columns;
  for (const std::string& name : header) {
    columns.push_back({std::max<std::size_t>(1, DisplayWidth(name))});
  }
  EachRow(result, [&](const Row& row) {
    const Texts texts = TextsOf(row, kMarks);
    for (std::size_t i = 0; i < row.size(); ++i) {
      auto& [most, areNumbers] = columns[i];
      most = std::max(most, DisplayWidth(texts[i]));
      areNumbers = areNumbers && row[i] && (row[i]->empty() || NumberIn(*row[i]));
    }
  });
  if (width && &kMarks == &kPlain) {
    Fit(columns, *width);
  }
  Texts rules;
  for (const Shape& column : columns) {
    rules.push_back(std::string(column.width - 1, '-') +
                    (column.areNumbers ? kMarks.numberRule : "-"));
  }
  WriteTableRow(header, columns, kMarks, output);
  WriteTableRow(rules, columns, kMarks, output);
  EachRow(result,
          [&](const Row& row) { WriteTableRow(TextsOf(row, kMarks), columns, kMarks, output); });
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

// A text, or null for an unknown cell; with `isNumber` a number where it is one, and null where it
// is empty.
Json ValueOf(const std::optional<std::string>& cell, bool isNumber) {
  if (!cell || (isNumber && cell->empty())) {
    return nullptr;
  }
  Json value = isNumber ? Json::parse(*cell, nullptr, false) : Json(*cell);
  return value.is_number() || !isNumber ? std::move(value) : Json(*cell);
}

// Row by row, since the whole is in memory once already. JSON is UTF-8 by its own rules.
template <const Marks& kMarks>
void WriteObjects(Result& result, Width /*width*/, std::ostream& output) {
  bool rewritten = false;
  const char* mark = kMarks.begin;
  EachRow(result, [&](const Row& cells) {
    Json object = Json::object();
    for (std::size_t column = 0; column < cells.size(); ++column) {
      const std::string& name = result.columns[column];
      object[name] = ValueOf(cells[column], result.numberColumns.count(name) > 0);
    }
    const std::string text = object.dump(-1, ' ', false, Json::error_handler_t::replace);
    rewritten = rewritten || text != object.dump(-1, ' ', false, Json::error_handler_t::ignore);
    output << std::exchange(mark, kMarks.between) << text;
  });
  output << (result.rows.empty() ? kMarks.none : kMarks.end);
  if (rewritten) {
    result.doubts.emplace_back("JSON holds UTF-8 only; other bytes are written as U+FFFD.");
  }
}

std::string OneLine(const std::string& text) { return Escaped(text, "\n\r\\", '\\', "nr\\"); }

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
    {"table", nullptr, WriteTable<kPlain>},
    {"csv", ".csv", WriteFields<','>},
    {"tsv", ".tsv", WriteFields<'\t'>},
    {"json", ".json", WriteObjects<kArray>},
    {"jsonl", ".jsonl", WriteObjects<kLines>},
    {"markdown", ".md", WriteTable<kMarkdown>},
    {"lines", ".txt", WriteLines},
};

}  // namespace

Texts FormatNames() { return NamesIn(kFormats); }

std::string FormatOfFile(const std::string& path) {
  for (const Format& format : kFormats) {
    if (format.ending != nullptr && std::filesystem::path(path).extension() == format.ending) {
      return format.name;
    }
  }
  throw UsageError("'" + path + "' has no ending of a format; give --format");
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
