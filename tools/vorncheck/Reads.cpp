// The members that read a cell of a cursor, and their checks.

#include <algorithm>
#include <type_traits>

#include "Check.h"
#include "Cursor.h"
#include "Next.h"
#include "Objects.h"
#include "Report.h"

namespace vorncheck {
namespace {

// Whether a type holds an integer exactly. The largest integers are rounded to 2^63, which cannot
// be converted back.
template <typename Number>
bool IsExact(long long integer) {
  const auto number = static_cast<Number>(integer);
  return number < 0x1p63 && static_cast<long long>(number) == integer;
}

template <typename Number>
void CheckNumber(const Call& call, const std::string& cell, int result, Number value) {
  long long integer = 0;
  double whole = 0;
  if (IsWhole(cell, integer) && !IsExact<Number>(integer)) {
    Report(Kind::kNarrowedRead, call.site, call.name, " cannot hold the 64-bit number ", integer);
  } else if (result == 0 && (!IsWhole(cell, whole) || whole != value)) {
    Report(Kind::kNarrowedRead, call.site, call.name, " read ", value, " from the cell ",
           Shown(cell));
  }
}

// "NULL" or "blob" if an empty cell was one, otherwise null.
const char* Origin(const Cursor& cursor, const std::string& column, std::size_t row) {
  const auto& columns = cursor.m_columns;
  const auto place = std::find(columns.begin(), columns.end(), column) - columns.begin();
  const std::size_t number = row * columns.size() + static_cast<std::size_t>(place);
  const Object& object = ObjectAt(&cursor);
  const auto cell = std::lower_bound(object.emptyCells.begin(), object.emptyCells.end(),
                                     std::make_pair(number, false));
  const bool isKnown = cell != object.emptyCells.end() && cell->first == number &&
                       object.memory == cursor.m_cells.begin()->second.data();
  return !isKnown ? nullptr : cell->second ? "blob" : "NULL";
}

template <typename Value>
void CheckRead(const Call& call, const Cursor& cursor, const std::string& column, bool isOnRow,
               int result, const Value& value) {
  const auto cells = cursor.m_cells.find(column);
  const auto row = static_cast<std::size_t>(cursor.m_position);
  if (cells == cursor.m_cells.end()) {
    Report(Kind::kUnreadFailure, call.site, call.name, " found no column ", Shown(column));
  } else if (!isOnRow || row >= cells->second.size()) {
    Report(Kind::kUnreadFailure, call.site, call.name, " read the column ", Shown(column),
           " on no row, at the position ", cursor.m_position);
  } else if (const char* const origin =
                 cells->second[row].empty() ? Origin(cursor, column, row) : nullptr) {
    Report(Kind::kNarrowedRead, call.site, call.name, " read a ", origin, " of the column ",
           Shown(column), ", which arrives as an empty text");
  } else if constexpr (std::is_arithmetic_v<Value>) {
    CheckNumber(call, cells->second[row], result, value);
  }
}

template <typename Member, typename Value>
int ReadCell(const Call& call, Cursor& cursor, Member read, const char* column, Value& value) {
  const Use use(call);
  // The value may be the memory of the name.
  std::string name;
  Check([&] { name = column != nullptr ? column : ""; });
  const int result = read(column, value);
  if (use.IsAlone()) {
    const bool isOnRow = Next<&Cursor::IsValidPosition>::Of(cursor)(cursor.m_position);
    Check([&] { CheckRead(call, cursor, name, isOnRow, result, value); });
  }
  return result;
}

}  // namespace
}  // namespace vorncheck

#define VORN_CELL(Member, parameters)                                                              \
  int Cursor::Member parameters {                                                                  \
    return vorncheck::ReadCell({"Cursor::" #Member, VORN_SITE, this, vorncheck::Access::kRead},    \
                               *this, vorncheck::Next<&Cursor::Member>::Of(*this), column, value); \
  }
VORN_CELL(GetString, (const char* column, std::string& value))
VORN_CELL(GetInt, (const char* column, int& value))
VORN_CELL(GetDouble, (const char* column, double& value))
