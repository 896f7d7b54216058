#include "log/LogLine.h"

#include <cstddef>

namespace vorndb {

namespace {

constexpr std::string_view kMark = ") >";

bool IsWordCharacter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Cuts the longest end off that consists of such characters.
template <typename Belongs>
std::string_view CutWhile(std::string_view& text, Belongs belongs) {
  std::size_t begin = text.size();
  while (begin > 0 && belongs(text[begin - 1])) {
    --begin;
  }
  const std::string_view end = text.substr(begin);
  text.remove_suffix(end.size());
  return end;
}

bool CutEnd(std::string_view& text, std::string_view end) {
  if (text.size() < end.size() || text.substr(text.size() - end.size()) != end) {
    return false;
  }
  text.remove_suffix(end.size());
  return true;
}

// Reads a place backwards from its end; what is left in `text` stands in front of it.
bool CutPlace(std::string_view& text, LogLine& line) {
  line.number = CutWhile(text, [](char c) { return c >= '0' && c <= '9'; });
  if (line.number.empty() || !CutEnd(text, "(")) {
    return false;
  }
  line.function = CutWhile(text, [](char c) { return IsWordCharacter(c) || c == '~'; });
  if (line.function.empty() || !CutEnd(text, ": ")) {
    return false;
  }
  line.file = CutWhile(text, [](char c) { return IsWordCharacter(c) || c == '.' || c == '-'; });
  return line.file.find('.') != std::string::npos &&
         (text.empty() || text.back() == ' ' || text.back() == '\t');
}

}  // namespace

std::optional<LogLine> ParseLogLine(std::string_view text) {
  // The first place counts: a message may have another one in it.
  for (std::size_t mark = text.find(kMark); mark != std::string_view::npos;
       mark = text.find(kMark, mark + 1)) {
    LogLine line;
    std::string_view prefix = text.substr(0, mark);
    std::string_view message = text.substr(mark + kMark.size());
    if ((!message.empty() && message.front() != ' ') || !CutPlace(prefix, line)) {
      continue;
    }
    line.message = message.substr(message.empty() ? 0 : 1);
    line.prefix = ParseLogPrefix(prefix);
    return line;
  }
  return std::nullopt;
}

}  // namespace vorndb
