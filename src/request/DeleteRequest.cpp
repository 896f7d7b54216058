#include "DeleteRequest.h"

#include "private/Log.h"
#include "private/OwnedText.h"

DeleteRequest::DeleteRequest() { VORN_TRACE(); }

DeleteRequest::~DeleteRequest() {
  VORN_TRACE();
  vorn::ReleaseText(m_table);
}

void DeleteRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreText(m_table, table);
}

void DeleteRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadText(m_table, table);
}
