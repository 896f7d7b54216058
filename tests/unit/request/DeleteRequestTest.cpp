#include "DeleteRequest.h"

#include "TableRequestTests.h"

namespace {

static_assert(std::is_base_of_v<BaseSet, DeleteRequest>);

struct DeleteRequestCase {
  using Request = DeleteRequest;
  static constexpr const char* kName = "DeleteRequest";
  static constexpr unsigned kLocks = 4;  // events of the base's guarded clearing
};

INSTANTIATE_TYPED_TEST_SUITE_P(DeleteRequest, TableRequestTests, DeleteRequestCase);

}  // namespace
