#include "DatabaseParser.h"

#include "Layout.h"

template struct Polymorphic<DatabaseParser>;
template struct Size<DatabaseParser, 4, 8>;
template struct Alignment<DatabaseParser, 4, 8>;

static_assert(Returns<int>(&DatabaseParser::ParseExistTable));
static_assert(Returns<int>(&DatabaseParser::ParseDatabase));
static_assert(Returns<bool>(&DatabaseParser::IsRetryLimit));
