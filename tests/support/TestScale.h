// How much an open-ended test does: the suite's amount, or a multiple of it.

#ifndef VORN_TESTS_SUPPORT_TESTSCALE_H
#define VORN_TESTS_SUPPORT_TESTSCALE_H

#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace test_scale {

// The number in a variable of the environment, or another one where it is unset. Any other
// text ends the program.
inline unsigned long NumberOf(const char* variable, unsigned long lowest, unsigned long highest,
                              unsigned long otherwise) {
  const char* const text = std::getenv(variable);
  if (text == nullptr) {
    return otherwise;
  }
  char* end = nullptr;
  errno = 0;
  const unsigned long number = std::strtoul(text, &end, 10);
  if (*text < '0' || *text > '9' || *end != '\0' || errno != 0 || number < lowest ||
      number > highest) {
    std::fprintf(stderr, "%s is '%s', not a number from %lu to %lu.\n", variable, text, lowest,
                 highest);
    std::abort();
  }
  return number;
}

inline int Scale() {
  static const int scale = static_cast<int>(NumberOf("VORN_TEST_SCALE", 1, 1000000, 1));
  return scale;
}

inline int Scaled(int count) { return count * Scale(); }

}  // namespace test_scale

#endif  // VORN_TESTS_SUPPORT_TESTSCALE_H
