#include "log/LogLine.h"

#include <regex.h>

#include <cstddef>
#include <new>

namespace vorndb {

namespace {

// The call site is looked for in the beginning of a line, which may be endless.
constexpr std::size_t kSearched = 1024;

// A POSIX expression, for the life of the process. Not std::regex, which calls itself for each
// character and takes long to compile.
class Pattern {
 public:
  explicit Pattern(const char* text) {
    if (regcomp(&m_compiled, text, REG_EXTENDED) != 0) {
      throw std::bad_alloc();
    }
  }

  // The first match and its groups, each empty if it takes no part; nothing without a match.
  std::vector<std::string_view> Find(std::string_view text) const {
    regmatch_t found[kGroups] = {{0, static_cast<regoff_t>(text.size())}};
    std::vector<std::string_view> groups;
    if (regexec(&m_compiled, text.data(), kGroups, found, REG_STARTEND) == 0) {
      for (const auto& [begin, end] : found) {
        const auto length = static_cast<std::size_t>(end - begin);
        groups.push_back(begin < 0 ? "" : text.substr(static_cast<std::size_t>(begin), length));
      }
    }
    return groups;
  }

 private:
  static constexpr std::size_t kGroups = 7;
  regex_t m_compiled{};
};

// The prefix behind the time, with the groups of its parts.
struct PrefixForm {
  Pattern pattern;
  std::size_t priority = 0;
  std::size_t process = 6;  // which no form without a process has
  std::size_t thread = 6;
};

}  // namespace

LogPrefix ParseLogPrefix(std::string_view text) {
  // "11-21 10:00:00.123+0100", "2026-11-21 10:00:00", "71.5", or no time.
  static const Pattern time(
      "^[ \t]*((([0-9]{4}-)?[0-9]{2}-[0-9]{2}[^ \t]*)[ \t]+([0-9]{2}:[0-9]{2}:[0-9]{2}[^ \t]*)|"
      "([0-9]+\\.[0-9]+)([ \t]|$))?[ \t]*");
  static const PrefixForm forms[] = {
      // "E/VORN( 4711): ", "E(4711:4712) "
      {Pattern("^([VDIWEF])(/[^(]*)?\\([ \t]*([0-9]+)[ \t]*(:[ \t]*([^)]*[^) \t])?[ \t]*)?\\)"), 1,
       3, 5},
      // "E VORN 4711 4712 ": the first two numbers in a row, behind a tag of any words
      {Pattern("^([VDIWEF])(([ \t]+[0-9]+)?[ \t]+[^ \t]*[^ \t0-9][^ \t]*)*"
               "[ \t]+([0-9]+)[ \t]+([0-9]+)([ \t]|$)"),
       1, 4, 5},
      {Pattern("^([VDIWEF])([/( \t]|$)"), 1},
      // "4711 4712 E VORN: ", "P 4711 T 4712 E VORN: "
      {Pattern("^(P[ \t]+)?([0-9]+)[ \t]+(T[ \t]+)?([0-9]+)[ \t]+([VDIWEF])([ \t]|$)"), 5, 2, 4},
  };
  text = text.substr(0, kSearched);
  LogPrefix prefix;
  std::vector<std::string_view> groups = time.Find(text);
  prefix.time = groups[5];
  if (prefix.time.empty() && !groups[2].empty()) {
    prefix.time.append(groups[2]).append(" ").append(groups[4]);
  }
  text.remove_prefix(groups[0].size());
  for (const PrefixForm& form : forms) {
    if (groups = form.pattern.Find(text); !groups.empty()) {
      prefix.priority = groups[form.priority].front();
      prefix.process = groups[form.process];
      prefix.thread = groups[form.thread];
      break;
    }
  }
  return prefix;
}

std::optional<LogLine> ParseLogLine(std::string_view text) {
  // The first call site counts: a message may contain another one.
  static const Pattern site(
      "(^|[ \t])([A-Za-z0-9_.-]*\\.[A-Za-z0-9_.-]*): ([A-Za-z0-9_~]+)\\(([0-9]+)\\) >( |$)");
  const std::vector<std::string_view> groups = site.Find(text.substr(0, kSearched));
  if (groups.empty()) {
    return std::nullopt;
  }
  const std::size_t begin = text.find(groups[0]);
  LogLine line;
  line.prefix = ParseLogPrefix(text.substr(0, begin));
  line.file = groups[2];
  line.function = groups[3];
  line.number = groups[4];
  line.message = text.substr(begin + groups[0].size());
  return line;
}

}  // namespace vorndb
