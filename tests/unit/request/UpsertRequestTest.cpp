#include "UpsertRequest.h"

#include "TableRequestTests.h"

namespace {

static_assert(std::is_base_of_v<BaseSet, UpsertRequest>);

struct UpsertRequestCase {
  using Request = UpsertRequest;
  static constexpr const char* kName = "UpsertRequest";
  static constexpr unsigned kLocks = 4;  // events of the base's guarded clearing
};

INSTANTIATE_TYPED_TEST_SUITE_P(UpsertRequest, TableRequestTests, UpsertRequestCase);

}  // namespace
