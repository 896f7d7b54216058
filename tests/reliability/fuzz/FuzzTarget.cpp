#include "FuzzTarget.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

// What libFuzzer takes for a crash, so that it keeps the input. GoogleTest's own
// breakpoint is none.
class AbortOnFailure : public ::testing::EmptyTestEventListener {
  void OnTestPartResult(const ::testing::TestPartResult& result) override {
    if (result.failed()) {
      std::abort();
    }
  }
};

}  // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  ::testing::UnitTest::GetInstance()->listeners().Append(new AbortOnFailure);
  return 0;
}
