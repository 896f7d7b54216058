// Which number a cell's text holds, by the rule of the standard library's streams:
// told by the part of them that decides, without a stream.

#ifndef VORN_TESTS_FUZZ_NUMBERMODEL_H
#define VORN_TESTS_FUZZ_NUMBERMODEL_H

#include <ios>
#include <iterator>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>
#include <string>

namespace number_model {

// The number at the start of the text, behind white space; none where there is no
// number or none that the type can hold. What follows does not matter.
template <typename Number>
std::optional<Number> NumberIn(const std::string& text) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  if (start == std::string::npos) {
    return std::nullopt;
  }
  std::stringbuf buffer(text.substr(start));
  std::ios format(nullptr);
  std::ios_base::iostate state = std::ios_base::goodbit;
  Number number{};
  std::use_facet<std::num_get<char>>(std::locale::classic())
      .get(std::istreambuf_iterator<char>(&buffer), {}, format, state, number);
  return (state & std::ios_base::failbit) == 0 ? std::make_optional(number) : std::nullopt;
}

inline std::optional<double> DoubleIn(const std::string& text) { return NumberIn<double>(text); }

inline std::optional<int> IntIn(const std::string& text) {
  const auto number = NumberIn<long long>(text);
  if (!number || *number < std::numeric_limits<int>::min() ||
      *number > std::numeric_limits<int>::max()) {
    return std::nullopt;
  }
  return static_cast<int>(*number);
}

}  // namespace number_model

#endif  // VORN_TESTS_FUZZ_NUMBERMODEL_H
