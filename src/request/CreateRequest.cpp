#include "CreateRequest.h"

#include "private/ContainerGuard.h"
#include "private/Log.h"
#include "private/OwnedText.h"

CreateRequest::CreateRequest() {
  VORN_TRACE();
  vorn::ContainerGuard guard(VORN_HERE, &m_columnKeys);
  m_columnKeys.clear();
  guard.Unlock();
}

CreateRequest::~CreateRequest() {
  VORN_TRACE();
  vorn::ReleaseText(m_table);
  vorn::ReleaseText(m_primaryKeyName);
  vorn::ReleaseText(m_primaryKeyType);
  vorn::ReleaseText(m_compositeKeyName);
  vorn::ReleaseText(m_compositeKeyType);
}

void CreateRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreText(m_table, table);
}

void CreateRequest::SetPrimaryKey(const char* name, const char* type) {
  VORN_TRACE();
  vorn::StoreText(m_primaryKeyName, name);
  vorn::StoreText(m_primaryKeyType, type);
}

void CreateRequest::SetCompositeKey(const char* name, const char* type) {
  VORN_TRACE();
  vorn::StoreText(m_compositeKeyName, name);
  vorn::StoreText(m_compositeKeyType, type);
}

void CreateRequest::SetColumnKey(const char* name, const char* type) {
  VORN_TRACE();
  vorn::ContainerGuard guard(VORN_HERE, &m_columnKeys);
  m_columnKeys.emplace_back(name, type);
  guard.Unlock();
}

void CreateRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadText(m_table, table);
}

void CreateRequest::GetPrimaryKey(std::string& name, std::string& type) {
  VORN_TRACE();
  vorn::LoadTexts(m_primaryKeyName, m_primaryKeyType, name, type);
}

void CreateRequest::GetCompositeKey(std::string& name, std::string& type) {
  VORN_TRACE();
  vorn::LoadTexts(m_compositeKeyName, m_compositeKeyType, name, type);
}

void CreateRequest::GetColumnKey(ColumnKeys& keys) {
  VORN_TRACE();
  keys = m_columnKeys;
}
