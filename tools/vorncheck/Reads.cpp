// The members of Cursor, and the checks of what is read.

#include <algorithm>
#include <charconv>
#include <sstream>

#include "Cursor.h"
#include "Forward.h"
#include "Report.h"

namespace vorncheck {
namespace {

struct Read {
  const char* symbol;
  const void* site;
  Cursor& cursor;
  const std::string& column;
  int result;
};

void ReportRead(Kind kind, const Read& read, const std::string& sentence) {
  Report(kind, read.site, [&] {
    Finding finding(NameOf(read.symbol) + sentence);
    finding.stacks = {{"read at", StackFrom(read.site)}};
    return finding;
  });
}

// The text of a number without what a stream skips or accepts before it.
std::string Bare(const std::string& cell) {
  constexpr const char* kBlanks = " \t\n\v\f\r";
  const std::size_t begin = std::min(cell.find_first_not_of(kBlanks), cell.size());
  const std::size_t end = cell.find_last_not_of(kBlanks) + 1;
  const std::string text = begin < end ? cell.substr(begin, end - begin) : "";
  return text[0] == '+' ? text.substr(1) : text;
}

template <typename Number>
bool IsWhole(const std::string& text, Number& number) {
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end;
}

// Whether a type holds an integer exactly.
bool IsExact(long long integer, int /*type*/) { return integer == static_cast<int>(integer); }

bool IsExact(long long integer, double /*type*/) {
  const auto number = static_cast<double>(integer);
  // The largest integers are rounded to a number that is none of the type.
  return number < 0x1p63 && static_cast<long long>(number) == integer;
}

template <typename Number>
void CheckNumber(const Read& read, const std::string& cell, Number value) {
  const std::string text = Bare(cell);
  long long integer = 0;
  double whole = 0;
  if (IsWhole(text, integer) && !IsExact(integer, value)) {
    ReportRead(Kind::kNarrowedRead, read, " cannot hold the 64-bit number " + text);
  } else if (read.result == 0 && (!IsWhole(text, whole) || whole != value)) {
    std::ostringstream number;
    number << value;
    ReportRead(Kind::kNarrowedRead, read,
               " read " + number.str() + " from the cell " + Shown(cell));
  }
}

void CheckCell(const Read& read, const std::string& cell, int value) {
  CheckNumber(read, cell, value);
}
void CheckCell(const Read& read, const std::string& cell, double value) {
  CheckNumber(read, cell, value);
}
void CheckCell(const Read& /*read*/, const std::string& /*cell*/, const std::string& /*value*/) {}

// Reports a cell that came from a NULL or a blob; returns whether it did.
bool ReportEmptyCell(const Read& read, std::size_t row) {
  const auto& columns = read.cursor.m_columns;
  const auto column = static_cast<std::size_t>(
      std::find(columns.begin(), columns.end(), read.column) - columns.begin());
  const std::size_t number = row * columns.size() + column;
  bool isBlob = false;
  {
    LockedObject locked(&read.cursor);
    const auto& cells = locked->emptyCells;
    const auto cell = std::lower_bound(cells.begin(), cells.end(), std::make_pair(number, false));
    if (cell == cells.end() || cell->first != number ||
        locked->memory != read.cursor.m_cells.begin()->second.data()) {
      return false;
    }
    isBlob = cell->second;
  }
  ReportRead(Kind::kNarrowedRead, read,
             " read a " + std::string(isBlob ? "blob" : "NULL") + " of the column " +
                 Shown(read.column) + ", which arrives as an empty text");
  return true;
}

template <typename Value>
void CheckRead(const Read& read, const Value& value) {
  const auto cells = read.cursor.m_cells.find(read.column);
  if (cells == read.cursor.m_cells.end()) {
    ReportRead(Kind::kUnreadFailure, read, " found no column " + Shown(read.column));
    return;
  }
  const int position = read.cursor.m_position;
  if (!Next<&Cursor::IsValidPosition>::Call(read.cursor, position) ||
      static_cast<std::size_t>(position) >= cells->second.size()) {
    ReportRead(Kind::kUnreadFailure, read,
               " read the column " + Shown(read.column) + " on no row, at the position " +
                   std::to_string(position));
    return;
  }
  const auto row = static_cast<std::size_t>(position);
  const std::string& cell = cells->second[row];
  if (!cell.empty() || !ReportEmptyCell(read, row)) {
    CheckCell(read, cell, value);
  }
}

template <auto Member, typename Value>
int ReadCell(const void* site, Cursor& cursor, const char* column, Value& value) {
  const char* const symbol = Next<Member>::Symbol();
  const Use use(&cursor, Access::kRead, symbol, site);
  // The value may be the memory of the name.
  std::string name;
  Aside([&] { name = column != nullptr ? column : ""; });
  const int result = Next<Member>::Call(cursor, column, value);
  if (use.IsAlone()) {
    Aside([&] { CheckRead({symbol, site, cursor, name, result}, value); });
  }
  return result;
}

// Cells that are filled by hand are none of a query.
void ForgetEmptyCells(const Cursor& cursor) {
  Aside([&] { LockedObject(&cursor)->emptyCells.clear(); });
}

}  // namespace
}  // namespace vorncheck

using vorncheck::Access;
using vorncheck::Forward;
using vorncheck::ReadCell;

void Cursor::Initialize() {
  Forward<&Cursor::Initialize>(Access::kFill, VORN_SITE, *this);
  vorncheck::ForgetEmptyCells(*this);
}

void Cursor::SetColumn(const char* name) {
  Forward<&Cursor::SetColumn>(Access::kFill, VORN_SITE, *this, name);
  vorncheck::ForgetEmptyCells(*this);
}

void Cursor::SetData(const char* column, const char* value) {
  Forward<&Cursor::SetData>(Access::kFill, VORN_SITE, *this, column, value);
  vorncheck::ForgetEmptyCells(*this);
}

int Cursor::GetCount() { return Forward<&Cursor::GetCount>(Access::kRead, VORN_SITE, *this); }
int Cursor::GetColumn(std::vector<std::string>& columns) {
  return Forward<&Cursor::GetColumn>(Access::kRead, VORN_SITE, *this, columns);
}

void Cursor::MoveToFirst() { Forward<&Cursor::MoveToFirst>(Access::kChange, VORN_SITE, *this); }
void Cursor::MoveToLast() { Forward<&Cursor::MoveToLast>(Access::kChange, VORN_SITE, *this); }
int Cursor::MoveToNext() { return Forward<&Cursor::MoveToNext>(Access::kChange, VORN_SITE, *this); }
int Cursor::MoveToPrev() { return Forward<&Cursor::MoveToPrev>(Access::kChange, VORN_SITE, *this); }
int Cursor::MoveToPosition(int position) {
  return Forward<&Cursor::MoveToPosition>(Access::kChange, VORN_SITE, *this, position);
}
bool Cursor::IsValidPosition(int position) {
  return Forward<&Cursor::IsValidPosition>(Access::kRead, VORN_SITE, *this, position);
}
int Cursor::GetPosition() { return Forward<&Cursor::GetPosition>(Access::kRead, VORN_SITE, *this); }

int Cursor::GetString(const char* column, std::string& value) {
  return ReadCell<&Cursor::GetString>(VORN_SITE, *this, column, value);
}

int Cursor::GetInt(const char* column, int& value) {
  return ReadCell<&Cursor::GetInt>(VORN_SITE, *this, column, value);
}

int Cursor::GetDouble(const char* column, double& value) {
  return ReadCell<&Cursor::GetDouble>(VORN_SITE, *this, column, value);
}
