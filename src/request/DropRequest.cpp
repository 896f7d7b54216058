#include "DropRequest.h"

#include "private/Log.h"
#include "private/OwnedText.h"

DropRequest::DropRequest() { VORN_TRACE(); }

DropRequest::~DropRequest() {
  VORN_TRACE();
  vorn::ReleaseText(m_table);
}

void DropRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreText(m_table, table);
}

void DropRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadText(m_table, table);
}
