#include "CreateRequest.h"

#include "Layout.h"

template struct Polymorphic<CreateRequest, BasePath>;
template struct Size<CreateRequest, 44, 88>;
template struct Alignment<CreateRequest, 4, 8>;
VORN_BASE(CreateRequest, BasePath, m_directory, 0, 0);
VORN_MEMBER(CreateRequest, m_table, char*, 12, 24);
VORN_MEMBER(CreateRequest, m_primaryKeyName, char*, 16, 32);
VORN_MEMBER(CreateRequest, m_primaryKeyType, char*, 20, 40);
VORN_MEMBER(CreateRequest, m_compositeKeyName, char*, 24, 48);
VORN_MEMBER(CreateRequest, m_compositeKeyType, char*, 28, 56);
VORN_MEMBER(CreateRequest, m_columnKeys, Keys, 32, 64);
template struct End<CreateRequest, 44, 88>;

static_assert(Returns<void>(&CreateRequest::SetTable));
static_assert(Returns<void>(&CreateRequest::SetPrimaryKey));
static_assert(Returns<void>(&CreateRequest::SetCompositeKey));
static_assert(Returns<void>(&CreateRequest::SetColumnKey));
static_assert(Returns<void>(&CreateRequest::GetTable));
static_assert(Returns<void>(&CreateRequest::GetPrimaryKey));
static_assert(Returns<void>(&CreateRequest::GetCompositeKey));
static_assert(Returns<void>(&CreateRequest::GetColumnKey));
