#include "JoinRequest.h"

#include "private/Log.h"
#include "private/OwnedText.h"

JoinRequest::JoinRequest() { VORN_TRACE(); }

JoinRequest::~JoinRequest() {
  VORN_TRACE();
  vorn::ReleaseText(m_leftTable);
  vorn::ReleaseText(m_leftColumn);
  vorn::ReleaseText(m_rightTable);
  vorn::ReleaseText(m_rightColumn);
}

void JoinRequest::SetLeftJoin(const char* table, const char* column) {
  VORN_TRACE();
  vorn::StoreText(m_leftTable, table);
  vorn::StoreText(m_leftColumn, column);
}

void JoinRequest::SetRightJoin(const char* table, const char* column) {
  VORN_TRACE();
  vorn::StoreText(m_rightTable, table);
  vorn::StoreText(m_rightColumn, column);
}

void JoinRequest::GetLeftJoin(std::string& table, std::string& column) {
  VORN_TRACE();
  vorn::LoadTexts(m_leftTable, m_leftColumn, table, column);
}

void JoinRequest::GetRightJoin(std::string& table, std::string& column) {
  VORN_TRACE();
  vorn::LoadTexts(m_rightTable, m_rightColumn, table, column);
}
