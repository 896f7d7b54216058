#include "CreateRequest.h"

#include "private/CStringCopy.h"
#include "private/ContainerGuard.h"
#include "private/Log.h"

CreateRequest::CreateRequest() {
  VORN_TRACE();
  vorn::ContainerGuard guard(VORN_HERE, &m_columnKeys);
  m_columnKeys.clear();
  guard.Unlock();
}

CreateRequest::~CreateRequest() {
  VORN_TRACE();
  vorn::ReleaseCopy(m_table);
  vorn::ReleaseCopy(m_primaryKeyName);
  vorn::ReleaseCopy(m_primaryKeyType);
  vorn::ReleaseCopy(m_compositeKeyName);
  vorn::ReleaseCopy(m_compositeKeyType);
}

void CreateRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreCopy(m_table, table);
}

void CreateRequest::SetPrimaryKey(const char* name, const char* type) {
  VORN_TRACE();
  vorn::StoreCopy(m_primaryKeyName, name);
  vorn::StoreCopy(m_primaryKeyType, type);
}

void CreateRequest::SetCompositeKey(const char* name, const char* type) {
  VORN_TRACE();
  vorn::StoreCopy(m_compositeKeyName, name);
  vorn::StoreCopy(m_compositeKeyType, type);
}

void CreateRequest::SetColumnKey(const char* name, const char* type) {
  VORN_TRACE();
  vorn::ContainerGuard guard(VORN_HERE, &m_columnKeys);
  m_columnKeys.emplace_back(name, type);
  guard.Unlock();
}

void CreateRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadCopy(m_table, table);
}

void CreateRequest::GetPrimaryKey(std::string& name, std::string& type) {
  VORN_TRACE();
  vorn::LoadCopies(m_primaryKeyName, m_primaryKeyType, name, type);
}

void CreateRequest::GetCompositeKey(std::string& name, std::string& type) {
  VORN_TRACE();
  vorn::LoadCopies(m_compositeKeyName, m_compositeKeyType, name, type);
}

void CreateRequest::GetColumnKey(ColumnKeys& keys) {
  VORN_TRACE();
  keys = m_columnKeys;
}
