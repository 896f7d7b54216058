// The files that this process has open.

#ifndef VORN_TESTS_SUPPORT_OPENFILES_H
#define VORN_TESTS_SUPPORT_OPENFILES_H

#include <filesystem>

inline int CountOpenFiles() {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    static_cast<void>(entry);
    ++count;
  }
  return count;
}

#endif  // VORN_TESTS_SUPPORT_OPENFILES_H
