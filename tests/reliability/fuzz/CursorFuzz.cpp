// A sequence of calls on a cursor, beside a model of it. One call per line:
//
//   C name         SetColumn, "~" for null
//   D name value   SetData, likewise
//   I              Initialize
//   < > n p        MoveToFirst, MoveToLast, MoveToNext, MoveToPrev
//   m number       MoveToPosition
//   v number       IsValidPosition
//   s i d name     GetString, GetInt, GetDouble
//   k              GetColumn
//   S              ShowDataLog
//
// Fields follow the letter and are separated by tabs. Count and position are
// compared after each of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Cursor.h"
#include "FakePlatform.h"
#include "FuzzTarget.h"
#include "InputReader.h"
#include "Journal.h"
#include "NumberModel.h"

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kFile = "Cursor.cpp";
constexpr int kInfo = 4;
constexpr int kError = 6;

void ForgetEvents() {
  journal::Clear();
  fake::ResetPlatform();
}

bool IsByteWiseLess(const std::string& left, const std::string& right) {
  return std::lexicographical_compare(
      left.begin(), left.end(), right.begin(), right.end(),
      [](char a, char b) { return static_cast<unsigned char>(a) < static_cast<unsigned char>(b); });
}

// What a cursor holds, as plainly as it can be told: columns with their cells in
// the order of their first declaration, and whatever became a name.
struct Model {
  struct Column {
    std::string name;
    Texts cells;
  };

  const Column* Find(const std::string& name) const {
    const auto column = std::find_if(columns.begin(), columns.end(), [&](const Column& candidate) {
      return candidate.name == name;
    });
    return column == columns.end() ? nullptr : &*column;
  }

  int Count() const {
    if (columns.empty()) {
      return -1;
    }
    if (columns.size() == 1) {
      return static_cast<int>(names.size());
    }
    Texts sorted;
    for (const Column& column : columns) {
      sorted.push_back(column.name);
    }
    std::sort(sorted.begin(), sorted.end(), IsByteWiseLess);
    return static_cast<int>(Find(sorted[1])->cells.size());
  }

  bool IsRow(int number) const { return 0 <= number && number < Count(); }

  std::vector<Column> columns;
  Texts names;
  int position = -1;
};

// Runs the calls on a cursor and on the model.
class Session {
 public:
  Session() { ExpectLines({fake::Trace(kFile, "Cursor")}); }

  void Run(const InputLine& line) {
    ForgetEvents();
    Call(line);
    EXPECT_EQ(m_model.Count(), m_cursor.GetCount());
    EXPECT_EQ(m_model.position, m_cursor.GetPosition());
  }

 private:
  void Call(const InputLine& line) {
    switch (line.Letter()) {
      case 'C':
        return SetColumn(line.Pointer(0));
      case 'D':
        return SetData(line.Pointer(0), line.Pointer(1));
      case 'I':
        m_cursor.Initialize();
        m_model = Model();
        return ExpectLines({});
      case '<':
        m_cursor.MoveToFirst();
        m_model.position = -1;
        return ExpectLines({});
      case '>':
        m_cursor.MoveToLast();
        m_model.position = m_model.Count();
        return ExpectLines({});
      case 'n':
        return MoveToNext();
      case 'p':
        return MoveToPrev();
      case 'm':
        return MoveToPosition(line.Number(0));
      case 'v':
        EXPECT_EQ(m_model.IsRow(line.Number(0)), m_cursor.IsValidPosition(line.Number(0)));
        return ExpectLines({});
      case 's':
        return Read<std::string>(line.Pointer(0), &Cursor::GetString, "GetString", "before",
                                 [](const std::string& cell) { return std::make_optional(cell); });
      case 'i':
        return Read<int>(line.Pointer(0), &Cursor::GetInt, "GetInt", 77, number_model::IntIn);
      case 'd':
        return Read<double>(line.Pointer(0), &Cursor::GetDouble, "GetDouble", 77,
                            number_model::DoubleIn);
      case 'k':
        return GetColumn();
      case 'S':
        m_cursor.ShowDataLog();
        return ExpectLines({});
      default:
        return;
    }
  }

  void SetColumn(const char* name) {
    if (name == nullptr) {
      EXPECT_THROW(m_cursor.SetColumn(name), std::logic_error);
    } else {
      m_cursor.SetColumn(name);
      m_model.names.emplace_back(name);
      if (m_model.Find(name) == nullptr) {
        m_model.columns.push_back({name, {}});
      }
    }
    ExpectLines({});
  }

  void SetData(const char* name, const char* value) {
    if (name == nullptr || value == nullptr) {
      EXPECT_THROW(m_cursor.SetData(name, value), std::logic_error);
    } else {
      m_cursor.SetData(name, value);
      bool isColumn = false;
      for (Model::Column& column : m_model.columns) {
        if (column.name == name) {
          column.cells.emplace_back(value);
          isColumn = true;
        }
      }
      if (!isColumn) {
        m_model.names.emplace_back(value);
      }
    }
    ExpectLines({});
  }

  void MoveToNext() {
    const int next = m_model.position + 1;
    if (next < m_model.Count()) {
      m_model.position = next;
      EXPECT_EQ(0, m_cursor.MoveToNext());
      ExpectLines({});
    } else {
      m_model.position = m_model.Count() - 1;
      EXPECT_EQ(3, m_cursor.MoveToNext());
      ExpectLines({fake::Line(kInfo, kFile, "MoveToNext", "Last Row")});
    }
  }

  void MoveToPrev() {
    const int previous = m_model.position - 1;
    if (previous >= 0) {
      m_model.position = previous;
      EXPECT_EQ(0, m_cursor.MoveToPrev());
      ExpectLines({});
    } else {
      m_model.position = 0;
      EXPECT_EQ(2, m_cursor.MoveToPrev());
      ExpectLines({fake::Line(kInfo, kFile, "MoveToPrev", "First Row")});
    }
  }

  void MoveToPosition(int position) {
    if (m_model.IsRow(position)) {
      m_model.position = position;
      EXPECT_EQ(0, m_cursor.MoveToPosition(position));
      ExpectLines({});
    } else {
      EXPECT_EQ(1, m_cursor.MoveToPosition(position));
      ExpectLines({fake::Line(kError, kFile, "MoveToPosition", "Invalid Position")});
    }
  }

  void GetColumn() {
    Texts columns{"before"};
    EXPECT_EQ(m_model.names.empty() ? 1 : 0, m_cursor.GetColumn(columns));
    EXPECT_EQ(m_model.names.empty() ? Texts{"before"} : m_model.names, columns);
    ExpectLines({fake::Trace(kFile, "GetColumn")});
  }

  template <typename Value, typename ValueOf>
  void Read(const char* name, int (Cursor::*read)(const char*, Value&), const char* function,
            const Value& before, ValueOf valueOf) {
    Value value = before;
    if (name == nullptr) {
      EXPECT_THROW((m_cursor.*read)(name, value), std::logic_error);
      return;
    }
    const Model::Column* const column = m_model.Find(name);
    std::optional<Value> expected;
    std::string failure;
    if (column == nullptr) {
      failure = "NO MATCHED ERROR!!!";
    } else if (!m_model.IsRow(m_model.position)) {
      failure = "CURSOR RANGE ERROR!!!";
    } else if (static_cast<std::size_t>(m_model.position) >= column->cells.size()) {
      return;  // a column with fewer cells than there are rows: nothing is promised
    } else {
      expected = valueOf(column->cells[static_cast<std::size_t>(m_model.position)]);
      failure = std::string("CONVERT TO ") + (std::is_same_v<Value, int> ? "INT" : "DOUBLE") +
                " ERROR!!!";
    }
    EXPECT_EQ(expected ? 0 : 1, (m_cursor.*read)(name, value));
    EXPECT_EQ(expected.value_or(before), value);
    Texts lines{fake::Trace(kFile, function)};
    if (!expected) {
      lines.push_back(fake::Line(kError, kFile, function, failure));
    }
    ExpectLines(lines);
  }

  static void ExpectLines(const Texts& lines) { EXPECT_EQ(lines, fake::Lines()); }

  Cursor m_cursor;
  Model m_model;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ForgetEvents();
  Session session;
  for (InputReader input(data, size); !input.IsAtEnd();) {
    session.Run(input.NextLine());
  }
  return 0;
}
