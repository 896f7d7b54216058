#include "UpsertRequest.h"

#include "private/CStringCopy.h"
#include "private/Log.h"

UpsertRequest::UpsertRequest() { VORN_TRACE(); }

UpsertRequest::~UpsertRequest() {
  VORN_TRACE();
  vorn::ReleaseCopy(m_table);
}

void UpsertRequest::SetTable(const char* table) {
  VORN_TRACE();
  vorn::StoreCopy(m_table, table);
}

void UpsertRequest::GetTable(std::string& table) {
  VORN_TRACE();
  vorn::LoadCopy(m_table, table);
}
