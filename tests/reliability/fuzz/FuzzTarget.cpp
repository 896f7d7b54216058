#include "FuzzTarget.h"

#include <gtest/gtest.h>

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  // Uncaught, the exception aborts: to libFuzzer a crash, whose input it keeps. GoogleTest's own
  // breakpoint is none.
  GTEST_FLAG_SET(throw_on_failure, true);
  return 0;
}
