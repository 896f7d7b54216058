// Where a test's random numbers begin.

#ifndef VORN_TESTS_SUPPORT_TESTSEED_H
#define VORN_TESTS_SUPPORT_TESTSEED_H

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace test_seed {

// The environment's VORN_TEST_SEED; where it is unset, another number for each run
// of the program. It is printed, so that a failure can be looked for again.
inline unsigned Seed() {
  static const unsigned seed = [] {
    unsigned long number = std::random_device{}();
    if (const char* const text = std::getenv("VORN_TEST_SEED"); text != nullptr) {
      char* end = nullptr;
      errno = 0;
      number = std::strtoul(text, &end, 10);
      if (*text < '0' || *text > '9' || *end != '\0' || errno != 0 || number > 0xFFFFFFFFUL) {
        std::fprintf(stderr, "VORN_TEST_SEED is '%s', not a number from 0 to 4294967295.\n", text);
        std::abort();
      }
    }
    std::printf("VORN_TEST_SEED=%lu\n", number);
    return static_cast<unsigned>(number);
  }();
  return seed;
}

}  // namespace test_seed

#endif  // VORN_TESTS_SUPPORT_TESTSEED_H
