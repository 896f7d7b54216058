#include "SqlGenerator.h"

#include "Layout.h"

template struct Polymorphic<SqlGenerator>;
template struct Size<SqlGenerator, 4, 8>;
template struct Alignment<SqlGenerator, 4, 8>;

static_assert(Returns<void>(&SqlGenerator::GetDBPath));
static_assert(Returns<void>(&SqlGenerator::GetCheckTableSql));
static_assert(Returns<void>(&SqlGenerator::GetCreateTableSql));
static_assert(Returns<void>(&SqlGenerator::GetDropTableSql));
static_assert(Returns<void>(&SqlGenerator::GetSelectSql));
static_assert(Returns<void>(&SqlGenerator::GetJoinSql));
static_assert(Returns<void>(&SqlGenerator::GetUpsertSql));
static_assert(Returns<void>(&SqlGenerator::GetUpdateSql));
static_assert(Returns<void>(&SqlGenerator::GetDeleteSql));
