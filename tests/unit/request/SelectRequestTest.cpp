#include "SelectRequest.h"

#include "TableRequestTests.h"

namespace {

static_assert(std::is_base_of_v<BaseSet, SelectRequest>);

struct SelectRequestCase {
  using Request = SelectRequest;
  static constexpr const char* kName = "SelectRequest";
  static constexpr unsigned kLocks = 4;  // events of the base's guarded clearing
};

INSTANTIATE_TYPED_TEST_SUITE_P(SelectRequest, TableRequestTests, SelectRequestCase);

}  // namespace
