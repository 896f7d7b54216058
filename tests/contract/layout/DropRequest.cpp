#include "DropRequest.h"

#include "Layout.h"

template struct Polymorphic<DropRequest, BasePath>;
template struct Size<DropRequest, 16, 32>;
template struct Alignment<DropRequest, 4, 8>;
VORN_BASE(DropRequest, BasePath, m_directory, 0, 0);
VORN_MEMBER(DropRequest, m_table, char*, 12, 24);
template struct End<DropRequest, 16, 32>;

static_assert(Returns<void>(&DropRequest::SetTable));
static_assert(Returns<void>(&DropRequest::GetTable));
