#include "UpsertRequest.h"

#include "private/Log.h"
#include "private/OwnedText.h"

UpsertRequest::UpsertRequest() { VORN_TRACE(); }

UpsertRequest::~UpsertRequest() {
  VORN_TRACE();
  vorn::ReleaseText(m_table);
}

void UpsertRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreText(m_table, table);
}

void UpsertRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadText(m_table, table);
}
