#include "BaseSet.h"

#include <sstream>

#include "private/ContainerGuard.h"

namespace {

std::string ToText(const char* value) { return std::string(value); }

// A default stream decides the digits: six significant ones for a double.
template <typename Number>
std::string ToText(Number value) {
  std::ostringstream stream;
  // Without this the stream keeps an exhausted heap to itself and stays empty.
  stream.exceptions(std::ios::badbit);
  stream << value;
  return stream.str();
}

// The first value set through a pointer stays: try_emplace() leaves an entry alone.
template <typename Value>
void AddEntry(const vorn::LogSite& site, BaseSet::ColumnMap& columns, const char* column,
              Value value) {
  vorn::ContainerGuard guard(site, &columns);
  columns.try_emplace(column, ToText(value));
  guard.Unlock();
}

}  // namespace

BaseSet::BaseSet() {
  vorn::ContainerGuard guard(VORN_HERE, &m_data);
  m_data.clear();
  m_where.clear();
  guard.Unlock();
}

BaseSet::~BaseSet() = default;

void BaseSet::SetData(const char* column, const char* value) {
  AddEntry(VORN_HERE, m_data, column, value);
}

void BaseSet::SetData(const char* column, int value) { AddEntry(VORN_HERE, m_data, column, value); }

void BaseSet::SetData(const char* column, double value) {
  AddEntry(VORN_HERE, m_data, column, value);
}

void BaseSet::SetWhere(const char* column, double value) {
  AddEntry(VORN_HERE, m_where, column, value);
}

void BaseSet::SetWhere(const char* column, const char* value) {
  AddEntry(VORN_HERE, m_where, column, value);
}

void BaseSet::SetWhere(const char* column, int value) {
  AddEntry(VORN_HERE, m_where, column, value);
}

void BaseSet::GetDataMap(ColumnMap& columns) { columns = m_data; }

void BaseSet::GetWhereMap(ColumnMap& columns) { columns = m_where; }
