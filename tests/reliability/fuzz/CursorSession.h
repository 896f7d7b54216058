// A cursor beside a model of it: each call is made on both, and result, log records, count
// and position are compared.

#ifndef VORN_TESTS_FUZZ_CURSORSESSION_H
#define VORN_TESTS_FUZZ_CURSORSESSION_H

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Cursor.h"
#include "FakePlatform.h"
#include "Journal.h"
#include "NumberModel.h"

// Everything that a cursor holds, as plainly as it can be written: columns with their cells
// in the order of their first declaration, and whatever became a name.
struct CursorModel {
  struct Column {
    std::string name;
    std::vector<std::string> cells;
  };

  Column* Find(const std::string& name) {
    const auto column = std::find_if(columns.begin(), columns.end(),
                                     [&](const Column& each) { return each.name == name; });
    return column == columns.end() ? nullptr : &*column;
  }

  // std::string compares bytes as unsigned characters.
  int Count() const {
    if (columns.size() < 2) {
      return columns.empty() ? -1 : static_cast<int>(names.size());
    }
    std::vector<Column> sorted = columns;
    std::sort(sorted.begin(), sorted.end(),
              [](const Column& left, const Column& right) { return left.name < right.name; });
    return static_cast<int>(sorted[1].cells.size());
  }

  bool IsRow(int number) const { return 0 <= number && number < Count(); }

  std::vector<Column> columns;
  std::vector<std::string> names;
  int position = -1;
};

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
    if (m_model.Find(name) == nullptr) {
      m_model.columns.push_back({name, {}});
    }
  }

  void SetData(const char* name, const char* value) {
    if (name == nullptr || value == nullptr) {
      EXPECT_THROW(m_cursor.SetData(name, value), std::logic_error);
      return;
    }
    m_cursor.SetData(name, value);
    CursorModel::Column* const column = m_model.Find(name);
    (column != nullptr ? column->cells : m_model.names).emplace_back(value);
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
    using Texts = std::vector<std::string>;
    Texts columns{"before"};
    EXPECT_EQ(m_model.names.empty() ? 1 : 0, m_cursor.GetColumn(columns));
    EXPECT_EQ(m_model.names.empty() ? Texts{"before"} : m_model.names, columns);
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
                 number_model::DoubleIn);
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
    const CursorModel::Column* const column = m_model.Find(name);
    const auto row = static_cast<std::size_t>(m_model.position);
    std::optional<Value> expected;
    if (column == nullptr) {
      failure = "NO MATCHED ERROR!!!";
    } else if (!m_model.IsRow(m_model.position)) {
      failure = "CURSOR RANGE ERROR!!!";
    } else if (row >= column->cells.size()) {
      return;  // a column with fewer cells than there are rows: nothing is promised
    } else {
      expected = valueOf(column->cells[row]);
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

#endif  // VORN_TESTS_FUZZ_CURSORSESSION_H
