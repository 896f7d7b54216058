#include "DropRequest.h"

#include "BaseSet.h"
#include "TableRequestTests.h"

namespace {

static_assert(std::is_base_of_v<BasePath, DropRequest>);
static_assert(!std::is_base_of_v<BaseSet, DropRequest>);

struct DropRequestCase {
  using Request = DropRequest;
  static constexpr const char* kName = "DropRequest";
  static constexpr unsigned kLocks = 0;
};

INSTANTIATE_TYPED_TEST_SUITE_P(DropRequest, TableRequestTests, DropRequestCase);

}  // namespace
