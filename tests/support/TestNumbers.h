// Numbers that the environment can set: how much a test does that could go on for ever, and
// where its random numbers begin.

#ifndef VORN_TESTS_SUPPORT_TESTNUMBERS_H
#define VORN_TESTS_SUPPORT_TESTNUMBERS_H

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace test_numbers {

// The variable's value, or another one where it is unset.
inline unsigned Read(const char* name, unsigned least, unsigned most, unsigned otherwise) {
  const char* const text = std::getenv(name);
  if (text == nullptr) {
    return otherwise;
  }
  char* end = nullptr;
  errno = 0;
  const unsigned long long number = std::strtoull(text, &end, 10);
  if (*text < '0' || *text > '9' || *end != '\0' || errno != 0 || number < least || number > most) {
    std::fprintf(stderr, "%s is '%s', not a number from %u to %u.\n", name, text, least, most);
    std::abort();
  }
  return static_cast<unsigned>(number);
}

// VORN_TEST_SCALE: a multiple of the suite's amount, for those who have the time.
inline int Scaled(int count) {
  static const unsigned scale = Read("VORN_TEST_SCALE", 1, 1000000, 1);
  return count * static_cast<int>(scale);
}

// VORN_TEST_STRIDE: a sweep takes every so many of its points, for slow machines.
inline int Stride() {
  static const unsigned stride = Read("VORN_TEST_STRIDE", 1, 1000, 1);
  return static_cast<int>(stride);
}

// VORN_TEST_SEED: where it is unset, another number for each run of the program. It is
// printed, so that a failure can be looked for again.
inline unsigned Seed() {
  static const unsigned seed = [] {
    const unsigned number = Read("VORN_TEST_SEED", 0, 0xFFFFFFFF, std::random_device{}());
    std::printf("VORN_TEST_SEED=%u\n", number);
    return number;
  }();
  return seed;
}

}  // namespace test_numbers

#endif  // VORN_TESTS_SUPPORT_TESTNUMBERS_H
