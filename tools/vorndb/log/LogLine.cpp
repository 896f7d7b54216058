#include "log/LogLine.h"

#include <algorithm>
#include <cstddef>
#include <regex>
#include <vector>

namespace vorndb {

namespace {

// The begin of a line that is searched: a regular expression recurses with each character.
constexpr std::size_t kSearched = 1024;

// A time with or without date: "11-21 10:00:00.123+0100", "2026-11-21 10:00:00", "71.5".
constexpr char kTime[] =
    R"([ \t]*(?:((?:\d{4}-)?\d\d-\d\d[^ \t]*)[ \t]+(\d\d:\d\d:\d\d[^ \t]*)|(\d+\.\d+)(?![^ \t]))?[ \t]*)";

// The prefix behind the time, with the groups of its parts.
struct PrefixForm {
  std::regex pattern;
  std::size_t priority;
  std::size_t process;
  std::size_t thread;
};

const std::vector<PrefixForm>& PrefixForms() {
  static const std::vector<PrefixForm> forms = {
      // "E/VORN( 4711): ", "E(4711:4712) "
      {std::regex(R"(([VDIWEF])(?=[/(])(?:[^(]*\([ \t]*(\d+)[ \t]*(?::[ \t]*([^)]*?)[ \t]*)?\))?)"),
       1, 2, 3},
      // "E VORN 4711 4712 ", with a tag of several words, too
      {std::regex(
           R"(([VDIWEF])(?![^ \t])(?:(?:[ \t]+[^ \t]+){0,7}?[ \t]+(\d+)[ \t]+(\d+)(?![^ \t]))?)"),
       1, 2, 3},
      // "4711 4712 E VORN: "
      {std::regex(R"((\d+)[ \t]+(\d+)[ \t]+([VDIWEF])(?![^ \t]))"), 3, 1, 2},
      // "P 4711 T 4712 E VORN: "
      {std::regex(R"(P[ \t]+(\d+)[ \t]+T[ \t]+(\d+)[ \t]+([VDIWEF])(?![^ \t]))"), 3, 1, 2},
  };
  return forms;
}

}  // namespace

LogPrefix ParseLogPrefix(std::string_view text) {
  constexpr auto kAtBegin = std::regex_constants::match_continuous;
  static const std::regex time(kTime);
  const char* begin = text.data();
  const char* const end = begin + std::min(text.size(), kSearched);
  LogPrefix prefix;
  std::cmatch match;
  std::regex_search(begin, end, match, time, kAtBegin);
  prefix.time = match[1].matched ? match.str(1) + ' ' + match.str(2) : match.str(3);
  begin = match.suffix().first;
  for (const PrefixForm& form : PrefixForms()) {
    if (std::regex_search(begin, end, match, form.pattern, kAtBegin)) {
      prefix.priority = *match[form.priority].first;
      prefix.process = match.str(form.process);
      prefix.thread = match.str(form.thread);
      break;
    }
  }
  return prefix;
}

std::optional<LogLine> ParseLogLine(std::string_view text) {
  static const std::regex site(R"((?:^|[ \t])([\w.-]*\.[\w.-]*): ([\w~]+)\((\d+)\) >(?: |$))");
  const char* const begin = text.data();
  std::cmatch match;
  // The first call site counts: a message may contain another one.
  if (!std::regex_search(begin, begin + std::min(text.size(), kSearched), match, site)) {
    return std::nullopt;
  }
  LogLine line;
  line.prefix = ParseLogPrefix(text.substr(0, static_cast<std::size_t>(match[1].first - begin)));
  line.file = match[1];
  line.function = match[2];
  line.number = match[3];
  line.message = text.substr(static_cast<std::size_t>(match[0].second - begin));
  return line;
}

}  // namespace vorndb
