#include "SelectRequest.h"

#include "Layout.h"

template struct Polymorphic<SelectRequest, BaseSet>;
template struct Size<SelectRequest, 64, 128>;
template struct Alignment<SelectRequest, 4, 8>;
VORN_BASE(SelectRequest, BaseSet, m_data, 0, 0);
VORN_MEMBER(SelectRequest, m_table, char*, 60, 120);
template struct End<SelectRequest, 64, 128>;

static_assert(Returns<void>(&SelectRequest::SetTable));
static_assert(Returns<void>(&SelectRequest::GetTable));
