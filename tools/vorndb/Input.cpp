#include <csv.h>

#include <algorithm>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <streambuf>
#include <string_view>

#include "Errors.h"
#include "Transfer.h"

namespace vorndb {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kEnd = std::char_traits<char>::eof();

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

// A row of CSV, as far as it is read.
struct Fields {
  Texts texts = {};
  bool isWhole = false;
};

void AddField(void* text, std::size_t length, void* fields) {
  static_cast<Fields*>(fields)->texts.emplace_back(static_cast<const char*>(text), length);
}

void EndRow(int /*end*/, void* fields) { static_cast<Fields*>(fields)->isWhole = true; }

Texts ReadFields(csv_parser& parser, std::istream& stream) {
  Fields fields;
  for (char next = '\0'; !fields.isWhole && stream.get(next);) {
    if (csv_parse(&parser, &next, 1, AddField, EndRow, &fields) != 1) {
      throw Failure("a quote is out of place; quoted fields are \"…\", with \"\" inside");
    }
  }
  FailIf(!fields.isWhole && csv_fini(&parser, AddField, EndRow, &fields) != 0,
         "a quoted field that begins in this row does not end");
  return fields.texts;
}

std::string TextOf(const Json& value) {
  if (value.is_string()) {
    return value.get<std::string>();
  }
  return value.is_boolean() ? std::to_string(value.get<int>()) : value.dump();
}

class Reader : private std::streambuf {
 public:
  Reader(std::istream& source, Input& input, const TakeRow& take)
      : m_source(source), m_input(input), m_take(take) {}

  void Read() {
    try {
      for (const int byteOrderMark : {0xEF, 0xBB, 0xBF}) {
        m_stream.ignore(sgetc() == byteOrderMark ? 1 : 0);
      }
      if (m_input.separator == 0) {
        ReadJson();
      } else {
        ReadCsv();
      }
    } catch (const std::runtime_error& problem) {
      Place& here = m_input.position.here;
      here = m_isInRow ? here : Next();
      FailIf(m_source.bad(), "cannot read " + m_input.name);
      throw Failure(m_input.name + ", line " + TextOf(here) + ": " + problem.what());
    }
    FailIf(m_source.bad(), "cannot read " + m_input.name);
  }

  Pairs TypedColumns() {
    constexpr const char* kNames[] = {"TEXT", "INTEGER", "REAL", "INTEGER"};
    Pairs columns;
    for (const std::string& name : m_columns) {
      const unsigned types = m_types[name];
      columns.emplace_back(name, kNames[types < kEmpty ? types : 0]);
    }
    return columns;
  }

 private:
  int_type underflow() override {
    const int_type next = m_source.get();
    if (next != kEnd) {
      m_line += next == '\r' || (next == '\n' && m_character != '\r') ? 1 : 0;
      m_character = traits_type::to_char_type(next);
      ++m_input.position.taken;
      setg(&m_character, &m_character, &m_character + 1);
    }
    return next;
  }

  // The first place that a row after the last one can have.
  Place Next() const {
    const auto& [line, row] = m_input.position.here;
    return {m_line, m_line == line ? row + 1 : 1};
  }

  // A row begins with the character that is read next.
  void Begin() {
    m_input.position.here = Next();
    m_isInRow = true;
  }

  void Take(const Pairs& row) {
    for (const auto& [column, value] : row) {
      FailIf(value.find('\0') != std::string::npos,
             "the value of " + column + " holds a NUL, where a text ends");
      m_types[column] &= TypesFor(value);
    }
    m_input.position.after = Next();
    m_take(row);
    m_isInRow = false;
  }

  void AddColumn(const std::string& name, unsigned types) {
    const auto [known, isNew] = m_types.emplace(name, types);
    known->second &= types;
    if (isNew) {
      FailIf(name.find('\0') != std::string::npos,
             "the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8");
      RequirePlainName("column", name);
      m_columns.push_back(name);
    }
  }

  // Goes past spaces, unless they separate values. Returns the next character.
  int SkipSpaces() {
    constexpr std::string_view kSpaces = " \t\r\n";
    int next = sgetc();
    while (next != m_input.separator &&
           kSpaces.find(static_cast<char>(next)) != std::string_view::npos) {
      next = snextc();
    }
    return next;
  }

  // Fields with a separator between them, in double quotes where needed. The first row names the
  // columns.
  void ReadCsv() {
    csv_parser parser{};
    FailIf(csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0, "memory is exhausted");
    const std::unique_ptr<csv_parser, decltype(&csv_free)> owner(&parser, csv_free);
    csv_set_delim(&parser, static_cast<unsigned char>(m_input.separator));
    FailIf(SkipSpaces() == kEnd, "there is no line that names the columns");
    Begin();
    const Texts names = ReadFields(parser, m_stream);
    for (const std::string& name : names) {
      AddColumn(name, kAll);
    }
    RequireDistinct(names);
    while (SkipSpaces() != kEnd) {
      Begin();
      const Texts fields = ReadFields(parser, m_stream);
      FailIf(fields.size() != names.size(), "it has " + std::to_string(fields.size()) +
                                                " fields, and the header has " +
                                                std::to_string(names.size()));
      Pairs row;
      for (std::size_t i = 0; i < fields.size(); ++i) {
        row.emplace_back(names[i], fields[i]);
      }
      Take(row);
    }
  }

  bool Skip(char mark) {
    const bool isNext = SkipSpaces() == mark;
    m_stream.ignore(isNext ? 1 : 0);
    return isNext;
  }

  // Objects, in an array or one after another.
  void ReadJson() {
    const bool isArray = Skip('[');
    bool isOpen = isArray && !Skip(']');
    while (isOpen || (!isArray && SkipSpaces() != kEnd)) {
      SkipSpaces();
      Begin();
      TakeObject();
      isOpen = isOpen && !Skip(']');
      FailIf(isOpen && !Skip(','), "the array lacks a comma or its end");
    }
    FailIf(SkipSpaces() != kEnd, "there is more after the end of the array");
  }

  void TakeObject() {
    Json object;
    try {
      m_stream >> object;
    } catch (const Json::exception& error) {
      const std::string text = error.what();
      throw Failure("this is not JSON: " + text.substr(text.find("] ") + 2));
    }
    FailIf(!object.is_object(), "a row is an object");
    Pairs row;
    for (const auto& [name, value] : object.items()) {
      // A text may look like a number.
      AddColumn(name, value.is_string() ? 0 : kAll);
      FailIf(value.is_structured(), "the value of " + name + " is no text or number");
      // NULL is a value that is not given.
      if (!value.is_null()) {
        row.emplace_back(name, TextOf(value));
      }
    }
    FailIf(row.empty(), "the row has no value");
    Take(row);
  }

  std::istream& m_source;
  Input& m_input;
  const TakeRow& m_take;
  std::istream m_stream{this};
  char m_character = '\0';
  std::size_t m_line = 1;  // at the end of the bytes so far
  bool m_isInRow = false;
  Texts m_columns;
  std::map<std::string, unsigned> m_types;
};

}  // namespace

Pairs ReadInput(std::istream& source, Input& input, const TakeRow& take) {
  Reader reader(source, input, take);
  reader.Read();
  return reader.TypedColumns();
}

}  // namespace vorndb
