#include "SelectRequest.h"

#include "private/Log.h"
#include "private/OwnedText.h"

SelectRequest::SelectRequest() { VORN_TRACE(); }

SelectRequest::~SelectRequest() {
  VORN_TRACE();
  vorn::ReleaseText(m_table);
}

void SelectRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreText(m_table, table);
}

void SelectRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadText(m_table, table);
}
