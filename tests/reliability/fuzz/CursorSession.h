// A cursor beside a model of it: each call is made on both, and result, log records, count
// and position are compared.

#ifndef VORN_TESTS_RELIABILITY_FUZZ_CURSORSESSION_H
#define VORN_TESTS_RELIABILITY_FUZZ_CURSORSESSION_H

#include <gtest/gtest.h>

#include <ios>
#include <iterator>
#include <limits>
#include <locale>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Cursor.h"
#include "FakePlatform.h"
#include "Journal.h"

// Everything that a cursor holds, as plainly as it can be written: cells by columns, which
// std::string orders by their bytes as unsigned characters, and whatever became a name.
struct CursorModel {
  using Texts = std::vector<std::string>;

  int Count() const {
    if (columns.size() < 2) {
      return columns.empty() ? -1 : static_cast<int>(names.size());
    }
    return static_cast<int>(std::next(columns.begin())->second.size());
  }

  bool IsRow(int number) const { return 0 <= number && number < Count(); }

  std::map<std::string, Texts> columns;
  Texts names;
  int position = -1;
};

// Which number a cell's text holds, by the rule of the standard library's streams: the part of
// them that decides, without a stream.
namespace number_model {

// The number at the start of the text, behind white space; none where there is no
// number or none that the type can hold. What follows does not matter.
template <typename Number>
std::optional<Number> NumberIn(const std::string& text) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string::npos) {
    return std::nullopt;
  }
  std::stringbuf buffer(text.substr(start));
  std::ios format(nullptr);
  std::ios_base::iostate state = std::ios_base::goodbit;
  Number number{};
  std::use_facet<std::num_get<char>>(std::locale::classic())
      .get(std::istreambuf_iterator<char>(&buffer), {}, format, state, number);
  return (state & std::ios_base::failbit) == 0 ? std::make_optional(number) : std::nullopt;
}

inline std::optional<int> IntIn(const std::string& text) {
  const auto number = NumberIn<long long>(text);
  if (!number || *number < std::numeric_limits<int>::min() ||
      *number > std::numeric_limits<int>::max()) {
    return std::nullopt;
  }
  return static_cast<int>(*number);
}

}  // namespace number_model

class CursorSession {
 public:
  // Makes one call on both; `call` is a member of this class.
  template <typename... Parameters, typename... Arguments>
  void Run(void (CursorSession::*call)(Parameters...), Arguments... arguments) {
    journal::Clear();
    fake::ResetPlatform();
    m_lines.clear();
    (this->*call)(arguments...);
    EXPECT_EQ(m_lines, fake::Lines());
    EXPECT_EQ(m_model.Count(), m_cursor.GetCount());
    EXPECT_EQ(m_model.position, m_cursor.GetPosition());
  }

  void SetColumn(const char* name) {
    if (name == nullptr) {
      EXPECT_THROW(m_cursor.SetColumn(name), std::logic_error);
      return;
    }
    m_cursor.SetColumn(name);
    m_model.names.emplace_back(name);
    m_model.columns[name];
  }

  void SetData(const char* name, const char* value) {
    if (name == nullptr || value == nullptr) {
      EXPECT_THROW(m_cursor.SetData(name, value), std::logic_error);
      return;
    }
    m_cursor.SetData(name, value);
    const auto column = m_model.columns.find(name);
    (column != m_model.columns.end() ? column->second : m_model.names).emplace_back(value);
  }

  void Initialize() {
    m_cursor.Initialize();
    m_model = CursorModel();
  }

  void MoveToFirst() {
    m_cursor.MoveToFirst();
    m_model.position = -1;
  }

  void MoveToLast() {
    m_cursor.MoveToLast();
    m_model.position = m_model.Count();
  }

  void MoveToNext() {
    const int next = m_model.position + 1;
    const bool isRow = next < m_model.Count();
    m_model.position = isRow ? next : m_model.Count() - 1;
    EXPECT_EQ(isRow ? 0 : 3, m_cursor.MoveToNext());
    AddLineUnless(isRow, 4, "MoveToNext", "Last Row");
  }

  void MoveToPrev() {
    const int previous = m_model.position - 1;
    const bool isRow = previous >= 0;
    m_model.position = isRow ? previous : 0;
    EXPECT_EQ(isRow ? 0 : 2, m_cursor.MoveToPrev());
    AddLineUnless(isRow, 4, "MoveToPrev", "First Row");
  }

  void MoveToPosition(int position) {
    const bool isRow = m_model.IsRow(position);
    m_model.position = isRow ? position : m_model.position;
    EXPECT_EQ(isRow ? 0 : 1, m_cursor.MoveToPosition(position));
    AddLineUnless(isRow, 6, "MoveToPosition", "Invalid Position");
  }

  void IsValidPosition(int position) {
    EXPECT_EQ(m_model.IsRow(position), m_cursor.IsValidPosition(position));
  }

  void GetColumn() {
    CursorModel::Texts columns{"before"};
    const CursorModel::Texts expected = m_model.names.empty() ? columns : m_model.names;
    EXPECT_EQ(m_model.names.empty() ? 1 : 0, m_cursor.GetColumn(columns));
    EXPECT_EQ(expected, columns);
    AddTrace("GetColumn");
  }

  void ShowDataLog() { m_cursor.ShowDataLog(); }

  void GetString(const char* name) {
    Read<std::string>(name, &Cursor::GetString, "GetString", "before", "",
                      [](const std::string& cell) { return std::make_optional(cell); });
  }

  void GetInt(const char* name) {
    Read<int>(name, &Cursor::GetInt, "GetInt", 77, "CONVERT TO INT ERROR!!!", number_model::IntIn);
  }

  void GetDouble(const char* name) {
    Read<double>(name, &Cursor::GetDouble, "GetDouble", 77, "CONVERT TO DOUBLE ERROR!!!",
                 number_model::NumberIn<double>);
  }

 private:
  void AddTrace(const std::string& function) {
    m_lines.push_back(fake::Trace("Cursor.cpp", function));
  }

  void AddLineUnless(bool succeeds, int priority, const std::string& function,
                     const std::string& message) {
    if (!succeeds) {
      m_lines.push_back(fake::Line(priority, "Cursor.cpp", function, message));
    }
  }

  // A value reaches the output; everything else leaves it as it was, and is logged.
  template <typename Value, typename ValueOf>
  void Read(const char* name, int (Cursor::*read)(const char*, Value&), const char* function,
            const Value& before, std::string failure, ValueOf valueOf) {
    Value value = before;
    if (name == nullptr) {
      EXPECT_THROW((m_cursor.*read)(name, value), std::logic_error);
      AddTrace(function);
      return;
    }
    const auto column = m_model.columns.find(name);
    const auto row = static_cast<std::size_t>(m_model.position);
    std::optional<Value> expected;
    if (column == m_model.columns.end()) {
      failure = "NO MATCHED ERROR!!!";
    } else if (!m_model.IsRow(m_model.position)) {
      failure = "CURSOR RANGE ERROR!!!";
    } else if (row >= column->second.size()) {
      return;  // a column with fewer cells than there are rows: nothing is promised
    } else {
      expected = valueOf(column->second[row]);
    }
    EXPECT_EQ(expected ? 0 : 1, (m_cursor.*read)(name, value));
    EXPECT_EQ(expected.value_or(before), value);
    AddTrace(function);
    AddLineUnless(expected.has_value(), 6, function, failure);
  }

  Cursor m_cursor;
  CursorModel m_model;
  std::vector<std::string> m_lines;  // that the call owes
};

#endif  // VORN_TESTS_RELIABILITY_FUZZ_CURSORSESSION_H
