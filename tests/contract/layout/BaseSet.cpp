#include "BaseSet.h"

#include "Layout.h"

template struct Polymorphic<BaseSet, BasePath>;
template struct Size<BaseSet, 60, 120>;
template struct Alignment<BaseSet, 4, 8>;
VORN_BASE(BaseSet, BasePath, m_directory, 0, 0);
VORN_MEMBER(BaseSet, m_data, Columns, 12, 24);
VORN_MEMBER(BaseSet, m_where, Columns, 36, 72);
template struct End<BaseSet, 60, 120>;

static_assert(Returns<void, BaseSet, const char*, const char*>(&BaseSet::SetData));
static_assert(Returns<void, BaseSet, const char*, int>(&BaseSet::SetData));
static_assert(Returns<void, BaseSet, const char*, double>(&BaseSet::SetData));
static_assert(Returns<void, BaseSet, const char*, const char*>(&BaseSet::SetWhere));
static_assert(Returns<void, BaseSet, const char*, int>(&BaseSet::SetWhere));
static_assert(Returns<void, BaseSet, const char*, double>(&BaseSet::SetWhere));
static_assert(Returns<void>(&BaseSet::GetDataMap));
static_assert(Returns<void>(&BaseSet::GetWhereMap));
