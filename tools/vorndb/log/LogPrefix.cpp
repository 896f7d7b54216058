#include "log/LogPrefix.h"

#include <algorithm>
#include <cstddef>

namespace vorndb {

namespace {

constexpr std::string_view kLetters = "VDIWEF";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kBlanks = " \t";

bool IsDigits(std::string_view text) {
  return !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
}

// Compares with a form in which 9 stands for any digit; what follows does not matter.
bool HasForm(std::string_view text, std::string_view form) {
  return text.size() >= form.size() &&
         std::equal(form.begin(), form.end(), text.begin(), [](char expected, char actual) {
           return expected == '9' ? IsDigits({&actual, 1}) : expected == actual;
         });
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos
             ? std::string_view()
             : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// The words of a line, one after the other.
class Words {
 public:
  explicit Words(std::string_view text) : m_rest(text) { SkipBlanks(); }

  std::string_view Peek() const { return m_rest.substr(0, m_rest.find_first_of(kBlanks)); }
  std::string_view Rest() const { return m_rest; }

  std::string_view Take() {
    const std::string_view word = Peek();
    m_rest.remove_prefix(word.size());
    SkipBlanks();
    return word;
  }

 private:
  void SkipBlanks() {
    m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
  }

  std::string_view m_rest;
};

// "11-21 10:00:00.123+0100", with a year or without; or seconds with a fraction.
void TakeTime(Words& words, LogPrefix& prefix) {
  const std::string_view first = words.Peek();
  if (HasForm(first, "99-99") || HasForm(first, "9999-99-99")) {
    Words behind = words;
    behind.Take();
    if (HasForm(behind.Peek(), "99:99:99")) {
      prefix.time = std::string(first) + ' ' + std::string(behind.Take());
      words = behind;
    }
    return;
  }
  const std::size_t dot = first.find('.');
  if (dot != std::string_view::npos && IsDigits(first.substr(0, dot)) &&
      IsDigits(first.substr(dot + 1))) {
    prefix.time = std::string(words.Take());
  }
}

bool IsPriority(std::string_view word) {
  return word.size() == 1 && kLetters.find(word.front()) != std::string_view::npos;
}

// "(4711)" or "(4711:4712)", blanks inside allowed, somewhere behind the tag.
void ReadParentheses(std::string_view text, LogPrefix& prefix) {
  const std::size_t opening = text.find('(');
  const std::size_t closing = text.find(')', std::min(opening, text.size()));
  if (closing == std::string_view::npos) {
    return;
  }
  const std::string_view inside = text.substr(opening + 1, closing - opening - 1);
  const std::size_t colon = inside.find(':');
  const std::string_view process = Trimmed(inside.substr(0, colon));
  if (!IsDigits(process)) {
    return;
  }
  prefix.process = std::string(process);
  if (colon != std::string_view::npos) {
    prefix.thread = std::string(Trimmed(inside.substr(colon + 1)));
  }
}

// "E VORN 4711 4712": process and thread behind the tag, which may have several words.
void ReadBehindTag(Words words, LogPrefix& prefix) {
  constexpr int kMostWords = 8;
  for (int count = 0; count < kMostWords; ++count) {
    const std::string_view process = words.Take();
    if (IsDigits(process) && IsDigits(words.Peek())) {
      prefix.process = std::string(process);
      prefix.thread = std::string(words.Take());
      return;
    }
  }
}

// "4711 4712 E VORN:", or with the words P and T in front of the numbers.
void ReadNumbersFirst(Words words, LogPrefix& prefix) {
  const bool named = words.Peek() == "P";
  if (named) {
    words.Take();
  }
  const std::string_view process = words.Take();
  if (named && words.Take() != "T") {
    return;
  }
  const std::string_view thread = words.Take();
  if (IsDigits(process) && IsDigits(thread) && IsPriority(words.Peek())) {
    prefix.process = std::string(process);
    prefix.thread = std::string(thread);
    prefix.priority = words.Peek().front();
  }
}

}  // namespace

LogPrefix ParseLogPrefix(std::string_view text) {
  LogPrefix prefix;
  Words words(text);
  TakeTime(words, prefix);
  const std::string_view first = words.Peek();
  if (IsPriority(first.substr(0, 1)) && first.size() > 1 && (first[1] == '/' || first[1] == '(')) {
    prefix.priority = first.front();
    ReadParentheses(words.Rest(), prefix);
  } else if (IsPriority(first)) {
    prefix.priority = first.front();
    words.Take();
    ReadBehindTag(words, prefix);
  } else {
    ReadNumbersFirst(words, prefix);
  }
  return prefix;
}

}  // namespace vorndb
