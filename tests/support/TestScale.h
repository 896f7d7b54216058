// How much a test does that could go on for ever: the suite's amount, or a multiple
// of it for those who have the time.

#ifndef VORN_TESTS_SUPPORT_TESTSCALE_H
#define VORN_TESTS_SUPPORT_TESTSCALE_H

#include <cstdio>
#include <cstdlib>

namespace test_scale {

// The environment's VORN_TEST_SCALE, a whole number from 1; 1 where it is unset.
inline int Scale() {
  static const int scale = [] {
    const char* const text = std::getenv("VORN_TEST_SCALE");
    if (text == nullptr) {
      return 1;
    }
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || number < 1 || number > 1000000) {
      std::fprintf(stderr, "VORN_TEST_SCALE is '%s', not a number from 1 to 1000000.\n", text);
      std::abort();
    }
    return static_cast<int>(number);
  }();
  return scale;
}

inline int Scaled(int count) { return count * Scale(); }

}  // namespace test_scale

#endif  // VORN_TESTS_SUPPORT_TESTSCALE_H
