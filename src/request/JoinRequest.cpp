#include "JoinRequest.h"

#include "private/CStringCopy.h"
#include "private/Log.h"

JoinRequest::JoinRequest() { VORN_TRACE(); }

JoinRequest::~JoinRequest() {
  VORN_TRACE();
  vorn::ReleaseCopy(m_leftTable);
  vorn::ReleaseCopy(m_leftColumn);
  vorn::ReleaseCopy(m_rightTable);
  vorn::ReleaseCopy(m_rightColumn);
}

void JoinRequest::SetLeftJoin(const char* table, const char* column) {
  VORN_TRACE();
  vorn::StoreCopy(m_leftTable, table);
  vorn::StoreCopy(m_leftColumn, column);
}

void JoinRequest::SetRightJoin(const char* table, const char* column) {
  VORN_TRACE();
  vorn::StoreCopy(m_rightTable, table);
  vorn::StoreCopy(m_rightColumn, column);
}

void JoinRequest::GetLeftJoin(std::string& table, std::string& column) {
  VORN_TRACE();
  vorn::LoadCopies(m_leftTable, m_leftColumn, table, column);
}

void JoinRequest::GetRightJoin(std::string& table, std::string& column) {
  VORN_TRACE();
  vorn::LoadCopies(m_rightTable, m_rightColumn, table, column);
}
