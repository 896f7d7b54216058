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

// The entry of a column. Few are compared one by one, which is quicker than the way
// through the tree: most names differ in their lengths already.
template <typename Cells>
auto FindColumn(Cells& cells, const std::string& name) {
  constexpr std::size_t kFew = 8;
  if (cells.size() > kFew) {
    return cells.find(name);
  }
  return std::find_if(cells.begin(), cells.end(),
                      [&name](const auto& entry) { return entry.first == name; });
}

// The cell of a column in the current row; or null, after logging from `site`
// why there is none.
const std::string* FindCell(const vorn::LogSite& site, Cursor& cursor, const CellMap& cells,
                            const char* column) {
  const auto entry = FindColumn(cells, std::string(column));
  if (entry == cells.end()) {
    VORN_LOG_AT(site, vorn::kError, "NO MATCHED ERROR!!!");
    return nullptr;
  }
  const int position = cursor.GetPosition();
  // The column's own length counts too, since a cursor filled by hand or from
  // equal column names may have columns of different lengths.
  if (!cursor.IsValidPosition(position) ||
      static_cast<std::size_t>(position) >= entry->second.size()) {
    VORN_LOG_AT(site, vorn::kError, "CURSOR RANGE ERROR!!!");
    return nullptr;
  }
  return &entry->second[static_cast<std::size_t>(position)];
}

// Each stores the value of a cell and answers whether the cell has one.
bool Convert(const std::string& cell, std::string& value) {
  value = cell;
  return true;
}

// What follows the number in the cell does not matter.
template <typename Number>
bool Convert(const std::string& cell, Number& value) {
  std::istringstream stream(cell);
  Number number{};
  stream >> number;
  if (stream.fail()) {
    return false;
  }
  value = number;
  return true;
}

// The procedure of the typed reads, which log from `site`: `failure` when the
// cell has no value of the type. Every cell has a text, so that needs none.
template <typename Value>
int ReadCell(const vorn::LogSite& site, Cursor& cursor, const CellMap& cells, const char* column,
             Value& value, const char* failure = nullptr) {
  const std::string* const cell = FindCell(site, cursor, cells, column);
  if (cell == nullptr) {
    return kFailed;
  }
  if (!Convert(*cell, value)) {
    vorn::PrintLog(site, vorn::kError, failure);
    return kFailed;
  }
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
  const auto entry = FindColumn(m_cells, columnText);
  std::vector<std::string>& cells = entry != m_cells.end() ? entry->second : m_columns;
  cells.emplace_back(value);
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
  VORN_LOG(vorn::kInfo, "Last Row");
  m_position = GetCount() - 1;
  return kLastRow;
}

int Cursor::MoveToPrev() {
  --m_position;
  if (m_position >= 0) {
    return kOk;
  }
  VORN_LOG(vorn::kInfo, "First Row");
  m_position = 0;
  return kFirstRow;
}

bool Cursor::IsValidPosition(int position) { return position >= 0 && position < GetCount(); }

int Cursor::MoveToPosition(int position) {
  if (IsValidPosition(position)) {
    m_position = position;
    return kOk;
  }
  VORN_LOG(vorn::kError, "Invalid Position");
  return kInvalidPosition;
}

int Cursor::GetPosition() { return m_position; }

int Cursor::GetString(const char* column, std::string& value) {
  VORN_TRACE();
  return ReadCell(VORN_HERE, *this, m_cells, column, value);
}

int Cursor::GetInt(const char* column, int& value) {
  VORN_TRACE();
  return ReadCell(VORN_HERE, *this, m_cells, column, value, VORN_FORMAT("CONVERT TO INT ERROR!!!"));
}

int Cursor::GetDouble(const char* column, double& value) {
  VORN_TRACE();
  return ReadCell(VORN_HERE, *this, m_cells, column, value,
                  VORN_FORMAT("CONVERT TO DOUBLE ERROR!!!"));
}
