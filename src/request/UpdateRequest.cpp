#include "UpdateRequest.h"

#include "private/Log.h"
#include "private/OwnedText.h"

UpdateRequest::UpdateRequest() { VORN_TRACE(); }

UpdateRequest::~UpdateRequest() {
  VORN_TRACE();
  vorn::ReleaseText(m_table);
}

void UpdateRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreText(m_table, table);
}

void UpdateRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadText(m_table, table);
}
