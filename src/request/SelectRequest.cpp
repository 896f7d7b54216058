#include "SelectRequest.h"

#include "private/CStringCopy.h"
#include "private/Log.h"

SelectRequest::SelectRequest() { VORN_TRACE(); }

SelectRequest::~SelectRequest() {
  VORN_TRACE();
  vorn::ReleaseCopy(m_table);
}

void SelectRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreCopy(m_table, table);
}

void SelectRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadCopy(m_table, table);
}
