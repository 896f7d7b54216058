#include "BasePath.h"

#include "Layout.h"

template struct Polymorphic<BasePath>;
template struct Size<BasePath, 12, 24>;
template struct Alignment<BasePath, 4, 8>;
VORN_MEMBER(BasePath, m_directory, char*, 4, 8);
VORN_MEMBER(BasePath, m_fileName, char*, 8, 16);
template struct End<BasePath, 12, 24>;

static_assert(Returns<void>(&BasePath::SetPath));
static_assert(Returns<void>(&BasePath::GetPath));
