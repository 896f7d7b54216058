#include "Database.h"

#include "Layout.h"

static_assert(!std::is_polymorphic_v<Database> && std::is_empty_v<Database> && kHasBases<Database>);
template struct Size<Database, 1, 1>;
template struct Alignment<Database, 1, 1>;

static_assert(Returns<int>(&Database::Update));
static_assert(Returns<int>(&Database::Delete));
static_assert(Returns<int>(&Database::Upsert));
static_assert(Returns<int>(&Database::CreateTable));
static_assert(Returns<int>(&Database::DropTable));
static_assert(Returns<int>(&Database::Select));
static_assert(Returns<int>(&Database::JoinSelect));
static_assert(Returns<int>(&Database::CheckExistTable));
static_assert(Returns<int>(&Database::OpenDB));
static_assert(Returns<bool>(&Database::IsRetryLimit));
