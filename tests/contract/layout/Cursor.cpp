#include "Cursor.h"

#include <cstdint>

#include "Layout.h"

template struct Polymorphic<Cursor>;
template struct Size<Cursor, 44, 88>;
template struct Alignment<Cursor, 4, 8>;
VORN_MEMBER(Cursor, m_cells, Cells, 4, 8);
VORN_MEMBER(Cursor, m_columns, Texts, 28, 56);
VORN_MEMBER(Cursor, m_position, std::int32_t, 40, 80);
template struct End<Cursor, 44, 84>;

static_assert(Returns<void>(&Cursor::Initialize));
static_assert(Returns<void>(&Cursor::SetColumn));
static_assert(Returns<void>(&Cursor::SetData));
static_assert(Returns<int>(&Cursor::GetCount));
static_assert(Returns<int>(&Cursor::GetColumn));
static_assert(Returns<void>(&Cursor::MoveToFirst));
static_assert(Returns<void>(&Cursor::MoveToLast));
static_assert(Returns<int>(&Cursor::MoveToNext));
static_assert(Returns<int>(&Cursor::MoveToPrev));
static_assert(Returns<int>(&Cursor::MoveToPosition));
static_assert(Returns<bool>(&Cursor::IsValidPosition));
static_assert(Returns<int>(&Cursor::GetPosition));
static_assert(Returns<int>(&Cursor::GetString));
static_assert(Returns<int>(&Cursor::GetInt));
static_assert(Returns<int>(&Cursor::GetDouble));
static_assert(Returns<void>(&Cursor::ShowDataLog));
