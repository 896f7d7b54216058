#include "DropRequest.h"

#include "private/CStringCopy.h"
#include "private/Log.h"

DropRequest::DropRequest() { VORN_TRACE(); }

DropRequest::~DropRequest() {
  VORN_TRACE();
  vorn::ReleaseCopy(m_table);
}

void DropRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreCopy(m_table, table);
}

void DropRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadCopy(m_table, table);
}
