#include "UpdateRequest.h"

#include "TableRequestTests.h"

namespace {

static_assert(std::is_base_of_v<BaseSet, UpdateRequest>);

struct UpdateRequestCase {
  using Request = UpdateRequest;
  static constexpr const char* kName = "UpdateRequest";
  static constexpr unsigned kLocks = 4;  // events of the base's guarded clearing
};

INSTANTIATE_TYPED_TEST_SUITE_P(UpdateRequest, TableRequestTests, UpdateRequestCase);

}  // namespace
