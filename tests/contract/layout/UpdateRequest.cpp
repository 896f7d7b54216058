#include "UpdateRequest.h"

#include "Layout.h"

template struct Polymorphic<UpdateRequest, BaseSet>;
template struct Size<UpdateRequest, 64, 128>;
template struct Alignment<UpdateRequest, 4, 8>;
VORN_BASE(UpdateRequest, BaseSet, m_data, 0, 0);
VORN_MEMBER(UpdateRequest, m_table, char*, 60, 120);
template struct End<UpdateRequest, 64, 128>;

static_assert(Returns<void>(&UpdateRequest::SetTable));
static_assert(Returns<void>(&UpdateRequest::GetTable));
