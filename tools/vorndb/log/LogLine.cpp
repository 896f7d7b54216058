#include "log/LogLine.h"

#include <algorithm>
#include <cstddef>

namespace vorndb {

namespace {

// The call site is looked for in the beginning of a line, which may be endless.
constexpr std::size_t kSearched = 1024;

constexpr std::string_view kSpaces = " \t";
constexpr std::string_view kDigits = "0123456789";
constexpr std::string_view kFunctionCharacters =
    "~_ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::string_view kFileCharacters =
    ".-_ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";

// Takes the beginning that consists of these characters off the text.
std::string_view Take(std::string_view& text, std::string_view characters) {
  const std::size_t length = std::min(text.find_first_not_of(characters), text.size());
  const std::string_view taken = text.substr(0, length);
  text.remove_prefix(length);
  return taken;
}

// Takes these characters off the text; false if it begins otherwise.
bool Skip(std::string_view& text, std::string_view expected) {
  const bool begins = text.substr(0, expected.size()) == expected;
  text.remove_prefix(begins ? expected.size() : 0);
  return begins;
}

std::string_view Trimmed(std::string_view text) {
  Take(text, kSpaces);
  return text.substr(0, text.find_last_not_of(kSpaces) + 1);
}

bool IsNumber(std::string_view text) {
  return !text.empty() && text.find_first_not_of(kDigits) == std::string_view::npos;
}

bool IsPriority(std::string_view text) {
  return text.size() == 1 && std::string_view("VDIWEF").find(text) != std::string_view::npos;
}

// Whether the text begins like the form, where each 0 is any digit.
bool BeginsLike(std::string_view text, std::string_view form) {
  return text.size() >= form.size() &&
         std::equal(form.begin(), form.end(), text.begin(), [](char expected, char c) {
           return expected == '0' ? kDigits.find(c) != std::string_view::npos : expected == c;
         });
}

// "71.5"
bool IsSeconds(std::string_view text) {
  const std::size_t dot = text.find('.');
  return dot != std::string_view::npos && IsNumber(text.substr(0, dot)) &&
         IsNumber(text.substr(dot + 1));
}

// The words of a text, and empty ones behind them.
std::vector<std::string_view> WordsOf(std::string_view text) {
  constexpr std::size_t kEmpty = 12;
  std::vector<std::string_view> words;
  for (Take(text, kSpaces); !text.empty(); Take(text, kSpaces)) {
    words.push_back(text.substr(0, text.find_first_of(kSpaces)));
    text.remove_prefix(words.back().size());
  }
  words.resize(words.size() + kEmpty);
  return words;
}

void SetOrigin(LogPrefix& prefix, std::string_view process, std::string_view thread) {
  prefix.process = process;
  prefix.thread = thread;
}

// "E/VORN( 4711): ", "E(4711:4712) "
void ParseBrackets(std::string_view text, LogPrefix& prefix) {
  if (!IsPriority(text.substr(0, 1)) || (text.substr(1, 1) != "/" && text.substr(1, 1) != "(")) {
    return;
  }
  prefix.priority = text.front();
  const std::size_t open = text.find('(');
  const std::size_t close = text.find(')', open);
  std::string_view inside = text.substr(open + 1, close - open - 1);
  const std::string_view process = Trimmed(inside.substr(0, inside.find(':')));
  inside.remove_prefix(std::min(inside.find(':'), inside.size()));
  if (close != std::string_view::npos && IsNumber(process)) {
    SetOrigin(prefix, process, Skip(inside, ":") ? Trimmed(inside) : "");
  }
}

}  // namespace

LogPrefix ParseLogPrefix(std::string_view text) {
  text = text.substr(0, kSearched);
  const std::vector<std::string_view> words = WordsOf(text);
  const std::string_view* word = words.data();
  LogPrefix prefix;
  // "11-21 10:00:00.123+0100", "2026-11-21 10:00:00", "71.5", or no time.
  const bool hasDate = BeginsLike(word[0], "00-00") || BeginsLike(word[0], "0000-00-00");
  if (hasDate && BeginsLike(word[1], "00:00:00")) {
    prefix.time = std::string(word[0]).append(" ").append(word[1]);
    word += 2;
  } else if (IsSeconds(word[0])) {
    prefix.time = *word++;
  }
  if (IsPriority(word[0])) {  // "E VORN 4711 4712 ", with a tag of several words, too
    constexpr int kLastWord = 10;
    prefix.priority = word[0].front();
    const auto areNumbers = [](auto left, auto right) { return IsNumber(left) && IsNumber(right); };
    const auto* const process = std::adjacent_find(word + 1, word + kLastWord, areNumbers);
    if (process != word + kLastWord) {
      SetOrigin(prefix, process[0], process[1]);
    }
  } else if (IsNumber(word[0]) && IsNumber(word[1]) &&
             IsPriority(word[2])) {  // "4711 4712 E VORN: "
    prefix.priority = word[2].front();
    SetOrigin(prefix, word[0], word[1]);
  } else if (word[0] == "P" && IsNumber(word[1]) && word[2] == "T" && IsNumber(word[3]) &&
             IsPriority(word[4])) {  // "P 4711 T 4712 E VORN: "
    prefix.priority = word[4].front();
    SetOrigin(prefix, word[1], word[3]);
  } else if (const std::string_view first = word[0]; !first.empty()) {
    ParseBrackets(text.substr(static_cast<std::size_t>(first.data() - text.data())), prefix);
  }
  return prefix;
}

std::optional<LogLine> ParseLogLine(std::string_view text) {
  const std::string_view searched = text.substr(0, kSearched);
  // The first call site counts: a message may contain another one.
  for (std::size_t colon = 0; (colon = searched.find(": ", colon)) != std::string_view::npos;
       ++colon) {
    const std::string_view before = searched.substr(0, colon);
    const std::size_t begin = before.find_last_not_of(kFileCharacters) + 1;
    std::string_view rest = searched.substr(colon + 2);
    LogLine line;
    line.file = before.substr(begin);
    line.function = Take(rest, kFunctionCharacters);
    const bool isCall = Skip(rest, "(");
    line.number = Take(rest, kDigits);
    if ((begin == 0 || kSpaces.find(before[begin - 1]) != std::string_view::npos) &&
        line.file.find('.') != std::string::npos && !line.function.empty() && isCall &&
        !line.number.empty() && Skip(rest, ") >") && (rest.empty() || Skip(rest, " "))) {
      line.prefix = ParseLogPrefix(before.substr(0, begin));
      line.message = text.substr(static_cast<std::size_t>(rest.data() - text.data()));
      return line;
    }
  }
  return std::nullopt;
}

}  // namespace vorndb
