#include "UpdateRequest.h"

#include "private/CStringCopy.h"
#include "private/Log.h"

UpdateRequest::UpdateRequest() { VORN_TRACE(); }

UpdateRequest::~UpdateRequest() {
  VORN_TRACE();
  vorn::ReleaseCopy(m_table);
}

void UpdateRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreCopy(m_table, table);
}

void UpdateRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadCopy(m_table, table);
}
