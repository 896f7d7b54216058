#include "DeleteRequest.h"

#include "Layout.h"

template struct Polymorphic<DeleteRequest, BaseSet>;
template struct Size<DeleteRequest, 64, 128>;
template struct Alignment<DeleteRequest, 4, 8>;
VORN_BASE(DeleteRequest, BaseSet, m_data, 0, 0);
VORN_MEMBER(DeleteRequest, m_table, char*, 60, 120);
template struct End<DeleteRequest, 64, 128>;

static_assert(Returns<void>(&DeleteRequest::SetTable));
static_assert(Returns<void>(&DeleteRequest::GetTable));
