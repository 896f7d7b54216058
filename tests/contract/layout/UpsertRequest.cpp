#include "UpsertRequest.h"

#include "Layout.h"

template struct Polymorphic<UpsertRequest, BaseSet>;
template struct Size<UpsertRequest, 64, 128>;
template struct Alignment<UpsertRequest, 4, 8>;
VORN_BASE(UpsertRequest, BaseSet, m_data, 0, 0);
VORN_MEMBER(UpsertRequest, m_table, char*, 60, 120);
template struct End<UpsertRequest, 64, 128>;

static_assert(Returns<void>(&UpsertRequest::SetTable));
static_assert(Returns<void>(&UpsertRequest::GetTable));
