// How a caller makes texts safe. docs/guide.md shows the same functions, and
// tests/readme/ compares them.

#ifndef VORN_TESTS_HOSTILE_QUOTING_H
#define VORN_TESTS_HOSTILE_QUOTING_H

#include <string>

inline std::string Doubled(const std::string& text, char quote) {
  std::string doubled;
  for (const char c : text) {
    doubled.append(c == quote ? 2 : 1, c);
  }
  return doubled;
}

// A value, or the table name of CheckExistTable: the library adds the outer quotes.
inline std::string Quoted(const std::string& value) { return Doubled(value, '\''); }

// The name of a table or of a column: the library adds nothing.
inline std::string QuotedName(const std::string& name) { return '"' + Doubled(name, '"') + '"'; }

#endif  // VORN_TESTS_HOSTILE_QUOTING_H
