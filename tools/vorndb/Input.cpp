#include "Input.h"

#include <csv.h>

#include <cstring>
#include <new>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "Errors.h"

namespace vorndb {

namespace {

constexpr char kSpaces[] = " \t\r\n";
constexpr int kEnd = std::char_traits<char>::eof();

// Fields with a separator between them, in double quotes where needed. The first row names the
// columns.
class CsvInput : public Input {
 public:
  CsvInput(std::istream& source, const std::string& name, char separator)
      : Input(source, name), m_separator(separator) {
    if (csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI) != 0) {
      throw std::bad_alloc();
    }
    csv_set_delim(&m_parser, static_cast<unsigned char>(separator));
  }

  ~CsvInput() override { csv_free(&m_parser); }

  Place After() const override { return {Line() + 1, 1}; }

 private:
  InputRow Read() override {
    if (m_names.empty()) {
      ReadFields();
      FailIf(m_fields.empty(), "there is no line that names the columns");
      for (const std::string& name : m_fields) {
        RequireName(name);
      }
      RequireDistinct(m_fields);
      m_names = m_fields;
    }
    ReadFields();
    FailIf(!m_fields.empty() && m_fields.size() != m_names.size(),
           "it has " + std::to_string(m_fields.size()) + " fields, and the header has " +
               std::to_string(m_names.size()));
    InputRow row;
    for (std::size_t i = 0; i < m_fields.size(); ++i) {
      row.values.emplace_back(m_names[i], m_fields[i]);
    }
    return row;
  }

  // Up to the end of a row; empty lines are skipped.
  void ReadFields() {
    m_fields.clear();
    m_ends = false;
    BeginNone();
    for (char next = '\0'; !m_ends && Stream().get(next);) {
      if (next == m_separator || std::strchr(kSpaces, next) == nullptr) {
        Begin();
      }
      if (csv_parse(&m_parser, &next, 1, AddField, EndRow, this) != 1) {
        throw Failure("a quote is out of place; quoted fields are \"…\", with \"\" inside");
      }
    }
    FailIf(!m_ends && csv_fini(&m_parser, AddField, EndRow, this) != 0,
           "a quoted field that begins in this row does not end");
  }

  static void AddField(void* text, std::size_t length, void* input) {
    static_cast<CsvInput*>(input)->m_fields.emplace_back(static_cast<const char*>(text), length);
  }

  static void EndRow(int /*end*/, void* input) { static_cast<CsvInput*>(input)->m_ends = true; }

  const char m_separator;
  csv_parser m_parser{};
  Texts m_names;
  Texts m_fields;
  bool m_ends = false;
};

// Objects, in an array or one after another.
class JsonInput : public Input {
 public:
  using Input::Input;

  Place After() const override { return Here().NextIn(Here().line); }

 private:
  using Json = nlohmann::ordered_json;

  InputRow Read() override {
    InputRow row;
    if (!HasObject()) {
      return row;
    }
    Begin();
    Json object;
    try {
      Stream() >> object;
    } catch (const Json::exception& error) {
      const std::string text = error.what();
      throw Failure("this is not JSON: " + text.substr(text.find("] ") + 2));
    }
    FailIf(!object.is_object(), "a row is an object");
    for (const auto& [name, value] : object.items()) {
      RequireName(name);
      FailIf(value.is_structured(), "the value of " + name + " is no text or number");
      // NULL is a value that is not given.
      if (!value.is_null()) {
        row.values.emplace_back(name, TextOf(value));
      }
      if (value.is_string()) {
        row.texts.insert(name);
      }
    }
    FailIf(row.values.empty(), "the row has no value");
    return row;
  }

  static std::string TextOf(const Json& value) {
    if (value.is_string()) {
      return value.get<std::string>();
    }
    return value.is_boolean() ? std::to_string(value.get<int>()) : value.dump();
  }

  // Goes past the marks of an array, if there is one.
  bool HasObject() {
    const bool isFirst = !std::exchange(m_begun, true);
    m_isArray = isFirst ? Skip('[') : m_isArray;
    const bool ends = m_isArray && Skip(']');
    const bool goesOn = !m_isArray || ends || isFirst || Skip(',');
    const bool hasMore = (Stream() >> std::ws).peek() != kEnd;
    FailIf(!goesOn || (m_isArray && !ends && !hasMore), "the array lacks a comma or its end");
    m_isArray = m_isArray && !ends;
    m_isOver = m_isOver || ends;
    FailIf(hasMore && m_isOver, "there is more after the end of the array");
    return hasMore;
  }

  bool Skip(char mark) {
    const bool isNext = (Stream() >> std::ws).peek() == mark;
    Stream().ignore(isNext ? 1 : 0);
    return isNext;
  }

  bool m_begun = false;
  bool m_isArray = false;
  bool m_isOver = false;
};

}  // namespace

Input::Input(std::istream& source, std::string name) : m_source(source), m_name(std::move(name)) {
  static constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
  for (const char* byte = kByteOrderMark; m_source.peek() == static_cast<unsigned char>(*byte);
       ++byte) {
    m_source.ignore();
    ++m_taken;
  }
}

Input::int_type Input::underflow() {
  const int_type next = m_source.get();
  if (next != kEnd) {
    m_line += m_character == '\n' || (m_character == '\r' && next != '\n') ? 1 : 0;
    m_character = traits_type::to_char_type(next);
    ++m_taken;
    setg(&m_character, &m_character, &m_character + 1);
  }
  return next;
}

void Input::RequireName(const std::string& column) {
  if (m_names.insert(column).second) {
    FailIf(column.find('\0') != std::string::npos,
           "the name of a column holds a NUL; is the file UTF-16? It has to be UTF-8");
    RequirePlainName("column", column);
    m_columns.push_back(column);
  }
}

void Input::Begin() {
  m_place = Here();
  m_isInRow = true;
}

void Input::EachRow(const std::function<void(const InputRow&)>& take) {
  try {
    for (InputRow row = Read(); !row.values.empty(); row = Read()) {
      for (const auto& [column, value] : row.values) {
        FailIf(value.find('\0') != std::string::npos,
               "the value of " + column + " holds a NUL, where a text ends");
      }
      take(row);
      m_isInRow = false;
    }
  } catch (const std::runtime_error& problem) {
    FailIf(m_source.bad(), "cannot read " + m_name);
    throw Failure(m_name + ", line " + Here().Text() + ": " + problem.what());
  }
  FailIf(m_source.bad(), "cannot read " + m_name);
}

std::unique_ptr<Input> MakeInput(std::istream& source, const std::string& name, char separator) {
  if (separator == 0) {
    return std::make_unique<JsonInput>(source, name);
  }
  return std::make_unique<CsvInput>(source, name, separator);
}

}  // namespace vorndb
