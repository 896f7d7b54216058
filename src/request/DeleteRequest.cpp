#include "DeleteRequest.h"

#include "private/CStringCopy.h"
#include "private/Log.h"

DeleteRequest::DeleteRequest() { VORN_TRACE(); }

DeleteRequest::~DeleteRequest() {
  VORN_TRACE();
  vorn::ReleaseCopy(m_table);
}

void DeleteRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreCopy(m_table, table);
}

void DeleteRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadCopy(m_table, table);
}
