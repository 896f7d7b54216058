// Fuzz inputs are lines, so that people can read and write them: a letter, and fields that are
// separated by tabs. The field "~" is null.

#ifndef VORN_TESTS_RELIABILITY_FUZZ_INPUTREADER_H
#define VORN_TESTS_RELIABILITY_FUZZ_INPUTREADER_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

class InputLine {
 public:
  explicit InputLine(std::string_view line)
      : m_letter(line.empty() ? '\0' : line.front()),
        m_fields(Split(line.substr(std::min<std::size_t>(1, line.size())))) {}

  char Letter() const { return m_letter; }

  // The whole field, whatever bytes are in it; empty where there is none.
  std::string Text(std::size_t field) const {
    return field < m_fields.size() ? m_fields[field] : std::string();
  }

  // The field as C sees it, up to its first NUL; null for "~" and for no field.
  const char* Pointer(std::size_t field) const {
    return field < m_fields.size() && m_fields[field] != "~" ? m_fields[field].c_str() : nullptr;
  }

  // The number that the field begins with, or the nearest that an int can hold.
  int Number(std::size_t field) const {
    const long long number = std::strtoll(Text(field).c_str(), nullptr, 10);
    return static_cast<int>(std::clamp<long long>(number, std::numeric_limits<int>::min(),
                                                  std::numeric_limits<int>::max()));
  }

  // The number, taken round below the limit.
  std::size_t Index(std::size_t field, std::size_t limit) const {
    return static_cast<unsigned>(Number(field)) % limit;
  }

 private:
  static std::vector<std::string> Split(std::string_view text) {
    std::vector<std::string> fields;
    while (true) {
      const std::size_t end = text.find('\t');
      fields.emplace_back(text.substr(0, end));
      if (end == std::string_view::npos) {
        return fields;
      }
      text.remove_prefix(end + 1);
    }
  }

  char m_letter;
  std::vector<std::string> m_fields;
};

class InputReader {
 public:
  InputReader(const std::uint8_t* data, std::size_t size)
      : m_rest(reinterpret_cast<const char*>(data), size) {}

  bool IsAtEnd() const { return m_rest.empty(); }

  InputLine NextLine() {
    const std::size_t end = m_rest.find('\n');
    InputLine line(m_rest.substr(0, end));
    m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
    return line;
  }

  // All that is left, newlines included.
  std::string Rest() {
    std::string rest(m_rest);
    m_rest = {};
    return rest;
  }

 private:
  std::string_view m_rest;
};

#endif  // VORN_TESTS_RELIABILITY_FUZZ_INPUTREADER_H
