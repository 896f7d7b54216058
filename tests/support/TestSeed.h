// Where a test's random numbers begin.

#ifndef VORN_TESTS_SUPPORT_TESTSEED_H
#define VORN_TESTS_SUPPORT_TESTSEED_H

#include <cstdio>
#include <random>

#include "TestScale.h"

namespace test_seed {

// Another number for each run of the program, unless VORN_TEST_SEED is set. It is printed,
// so that a failure can be reproduced.
inline unsigned Seed() {
  static const unsigned seed = [] {
    const unsigned long number =
        test_scale::NumberOf("VORN_TEST_SEED", 0, 0xFFFFFFFFUL, std::random_device{}());
    std::printf("VORN_TEST_SEED=%lu\n", number);
    return static_cast<unsigned>(number);
  }();
  return seed;
}

}  // namespace test_seed

#endif  // VORN_TESTS_SUPPORT_TESTSEED_H
