#include "Input.h"

#include <csv.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "Errors.h"

namespace vorndb {

namespace {

using Json = nlohmann::ordered_json;

constexpr int kEnd = std::char_traits<char>::eof();

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

}  // namespace

Input::Input(std::istream& source, std::string name, char separator)
    : m_source(source), m_name(std::move(name)), m_separator(separator) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  while (m_taken < kByteOrderMark.size() &&
         m_source.peek() == static_cast<unsigned char>(kByteOrderMark[m_taken])) {
    m_source.ignore();
    ++m_taken;
  }
}

void Input::EachRow(const TakeRow& take) {
  try {
    if (m_separator == 0) {
      ReadJson(take);
    } else {
      ReadCsv(take);
    }
  } catch (const std::runtime_error& problem) {
    FailIf(m_source.bad(), "cannot read " + m_name);
    throw Failure(m_name + ", line " + Here().Text() + ": " + problem.what());
  }
  FailIf(m_source.bad(), "cannot read " + m_name);
}

Input::int_type Input::underflow() {
  const int_type next = m_source.get();
  if (next != kEnd) {
    m_line += next == '\r' || (next == '\n' && m_character != '\r') ? 1 : 0;
    m_character = traits_type::to_char_type(next);
    ++m_taken;
    setg(&m_character, &m_character, &m_character + 1);
  }
  return next;
}

void Input::Begin() {
  m_place = After();
  m_isInRow = true;
}

void Input::Take(const Pairs& row, const TakeRow& take) {
  for (const auto& [column, value] : row) {
    FailIf(value.find('\0') != std::string::npos,
           "the value of " + column + " holds a NUL, where a text ends");
  }
  take(row);
  m_isInRow = false;
}

void Input::AddColumn(const std::string& name, bool hasTexts) {
  const auto [known, isNew] = m_hasTexts.emplace(name, false);
  known->second = known->second || hasTexts;
  if (isNew) {
    FailIf(name.find('\0') != std::string::npos,
           "the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8");
    RequirePlainName("column", name);
    m_columns.push_back(name);
  }
}

// Also spaces before the first value of a row. Returns whether there is a row.
bool Input::SkipEmptyLines() {
  constexpr std::string_view kSpaces = " \t\r\n";
  int next = m_stream.peek();
  while (next != m_separator && kSpaces.find(static_cast<char>(next)) != std::string_view::npos) {
    m_stream.ignore();
    next = m_stream.peek();
  }
  Begin();
  return next != kEnd;
}

// Fields with a separator between them, in double quotes where needed. The first row names the
// columns.
void Input::ReadCsv(const TakeRow& take) {
  csv_parser parser{};
  FailIf(csv_init(&parser, CSV_STRICT | CSV_STRICT_FINI) != 0, "memory is exhausted");
  const std::unique_ptr<csv_parser, decltype(&csv_free)> owner(&parser, csv_free);
  csv_set_delim(&parser, static_cast<unsigned char>(m_separator));
  FailIf(!SkipEmptyLines(), "there is no line that names the columns");
  const Texts names = ReadFields(parser, m_stream);
  for (const std::string& name : names) {
    AddColumn(name, false);
  }
  RequireDistinct(names);
  while (SkipEmptyLines()) {
    const Texts fields = ReadFields(parser, m_stream);
    FailIf(fields.size() != names.size(), "it has " + std::to_string(fields.size()) +
                                              " fields, and the header has " +
                                              std::to_string(names.size()));
    Pairs row;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      row.emplace_back(names[i], fields[i]);
    }
    Take(row, take);
  }
}

void Input::TakeObject(const Json& object, const TakeRow& take) {
  FailIf(!object.is_object(), "a row is an object");
  Pairs row;
  for (const auto& [name, value] : object.items()) {
    AddColumn(name, value.is_string());
    FailIf(value.is_structured(), "the value of " + name + " is no text or number");
    // NULL is a value that is not given.
    if (!value.is_null()) {
      row.emplace_back(name, TextOf(value));
    }
  }
  FailIf(row.empty(), "the row has no value");
  Take(row, take);
}

// Objects, in an array or one after another.
void Input::ReadJson(const TakeRow& take) {
  using Event = Json::parse_event_t;
  const auto takeElement = [&](int depth, Event event, const Json& value) {
    const bool begins = event == Event::object_start || event == Event::array_start;
    if (depth == 1 && begins) {
      Begin();
    } else if (depth == 1) {
      TakeObject(value, take);
    }
    // An element is not kept.
    return depth != 1 || begins;
  };
  try {
    Json value;
    if ((m_stream >> std::ws).peek() == '[') {
      value = Json::parse(m_stream, takeElement);
    }
    while ((m_stream >> std::ws).peek() != kEnd) {
      Begin();
      m_stream >> value;
      TakeObject(value, take);
    }
  } catch (const Json::exception& error) {
    const std::string text = error.what();
    throw Failure("this is not JSON: " + text.substr(text.find("] ") + 2));
  }
}

}  // namespace vorndb
