// Texts that mean something to SQL, to C or to a log, and texts that mean nothing
// to anybody.

#ifndef VORN_TESTS_RELIABILITY_HOSTILE_HOSTILETEXTS_H
#define VORN_TESTS_RELIABILITY_HOSTILE_HOSTILETEXTS_H

#include <string>
#include <vector>

// All texts. Under a stride, every so many; the first depends on the number. Some texts hold a NUL,
// which ends a `const char*`.
std::vector<std::string> HostileTexts(std::size_t number = 0);

// As it is seen through a `const char*`.
inline std::string UpToNul(const std::string& text) { return text.c_str(); }

// Its beginning, for a failure message.
inline std::string Excerpt(const std::string& text) {
  return "[" + text.substr(0, 60) + "] of " + std::to_string(text.size()) + " bytes";
}

#endif  // VORN_TESTS_RELIABILITY_HOSTILE_HOSTILETEXTS_H
