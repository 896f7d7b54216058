// Numbers that are written and read as "1.234.567,5" while one lives: a stream takes
// its digits from the locale that is global when it is made.

#ifndef VORN_TESTS_SUPPORT_COMMALOCALE_H
#define VORN_TESTS_SUPPORT_COMMALOCALE_H

#include <locale>
#include <string>

class CommaLocale {
 public:
  CommaLocale() : m_before(std::locale::global(std::locale(std::locale(), new Digits))) {}
  ~CommaLocale() { std::locale::global(m_before); }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

 private:
  struct Digits : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };

  std::locale m_before;
};

#endif  // VORN_TESTS_SUPPORT_COMMALOCALE_H
