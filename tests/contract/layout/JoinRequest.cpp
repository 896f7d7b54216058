#include "JoinRequest.h"

#include "Layout.h"

template struct Polymorphic<JoinRequest, BaseSet>;
template struct Size<JoinRequest, 76, 152>;
template struct Alignment<JoinRequest, 4, 8>;
VORN_BASE(JoinRequest, BaseSet, m_data, 0, 0);
VORN_MEMBER(JoinRequest, m_leftTable, char*, 60, 120);
VORN_MEMBER(JoinRequest, m_leftColumn, char*, 64, 128);
VORN_MEMBER(JoinRequest, m_rightTable, char*, 68, 136);
VORN_MEMBER(JoinRequest, m_rightColumn, char*, 72, 144);
template struct End<JoinRequest, 76, 152>;

static_assert(Returns<void>(&JoinRequest::SetLeftJoin));
static_assert(Returns<void>(&JoinRequest::SetRightJoin));
static_assert(Returns<void>(&JoinRequest::GetLeftJoin));
static_assert(Returns<void>(&JoinRequest::GetRightJoin));
