#include <algorithm>
#include <charconv>
#include <cstddef>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>

#include "Commands.h"
#include "log/LogLine.h"

namespace vorndb {

namespace {

// "FILE: FUNCTION FUNCTION; FILE: FUNCTION", as pairs of file and function.
using Sites = std::vector<std::pair<std::string, std::string>>;

struct LogMessage {
  std::string name;
  LogEvent event;
  int priority;
  const char* priorityName;
  std::string format;
  Sites sites;
};

Sites SitesOf(const std::string& text) {
  Sites sites;
  std::string file;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    if (word.back() == ':') {
      file = word.substr(0, word.size() - 1);
    } else {
      sites.emplace_back(file, word.substr(0, word.find(';')));
    }
  }
  return sites;
}

// Example arguments of the formats.
constexpr int kNumber = 0;
constexpr const char* kText = "";

template <typename... Examples>
const char* FormatOf(const char* format, Examples... /*arguments*/) {
  return format;
}

// The outcome of operation X is XSucceeded or XFailed; the messages of Cursor.cpp are
// about reading.
LogEvent EventOf(const LogMessage& message) {
  const auto& [file, operation] = message.sites.front();
  if (file == "Cursor.cpp") {
    return message.priority == kError ? LogEvent::kReadFailed : LogEvent::kMoved;
  }
  if (message.name == operation + "Succeeded") {
    return LogEvent::kSucceeded;
  }
  return message.name == operation + "Failed" ? LogEvent::kFailed : message.event;
}

std::vector<LogMessage> MakeMessages() {
  std::vector<LogMessage> messages;
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy)                     \
  messages.push_back(                                                                         \
      {#name, LogEvent::k##name, priority, &#priority[1], FormatOf message, SitesOf(sites)}); \
  messages.back().event = EventOf(messages.back());
#include "private/LogMessages.h"
  return messages;
}

// In the order of the log reference.
const std::vector<LogMessage>& LogMessages() {
  static const std::vector<LogMessage> messages = MakeMessages();
  return messages;
}

// Compares the message with a format, in which the parts of the line take their places. The last
// %s takes all the rest: two texts of one format cannot be separated.
bool Matches(std::string format, LogLine& line) {
  if (const std::size_t site = format.find("%s::%s"); site != std::string::npos) {
    format.replace(format.find("%d"), 2, line.number);
    format.replace(site, 6, line.file + "::" + line.function);
  }
  line.code.clear();
  if (const std::size_t place = format.find("%d"); place < line.message.size()) {
    int number = 0;
    const char* const begin = line.message.data() + place;
    const char* const limit = line.message.data() + line.message.size();
    const auto [end, error] = std::from_chars(begin, limit, number);
    if (error != std::errc()) {
      return false;
    }
    line.code.assign(begin, end);
    format.replace(place, 2, line.code);
  }
  const std::size_t length = format.find("%s");
  line.text = length < line.message.size() ? line.message.substr(length) : "";
  return line.message.compare(0, length, format, 0, length) == 0;
}

// "Error (6, E)"
std::string PriorityOf(int priority, const std::string& name) {
  return name + " (" + std::to_string(priority) + ", " + LetterOf(priority) + ')';
}

// "`FILE`: `FUNCTION`, `FUNCTION`; `FILE`: `FUNCTION`"
std::string QuotedSites(const std::string& sites) {
  std::string text;
  std::istringstream words(sites);
  for (std::string word; words >> word;) {
    const std::size_t end = std::min(word.find_first_of(":;"), word.size());
    const std::string mark = end == word.size() ? "," : word.substr(end);
    text += '`' + word.substr(0, end) + '`' + mark + ' ';
  }
  return text.substr(0, text.size() - 2);
}

}  // namespace

char LetterOf(int priority) {
  constexpr char kLetters[] = "VVVDIWEF";
  return priority >= 0 && priority <= 7 ? kLetters[priority] : '?';
}

bool SetMeaning(LogLine& line) {
  const Sites::value_type site(line.file, line.function);
  bool known = false;
  std::optional<LogEvent> only;  // the one of this call site and priority
  for (const LogMessage& message : LogMessages()) {
    if (std::count(message.sites.begin(), message.sites.end(), site) == 0) {
      continue;
    }
    known = true;
    if (Matches(message.format, line)) {
      line.event = message.event;
      line.prefix.priority = LetterOf(message.priority);
      line.text = message.event == LogEvent::kReadFailed ? line.message : line.text;
      return true;
    }
    if (LetterOf(message.priority) == line.prefix.priority) {
      only = !only || *only == message.event ? message.event : LogEvent::kUnreadable;
    }
  }
  line.event = only.value_or(LogEvent::kUnreadable);
  line.unreadable = true;
  line.code.clear();
  line.text.clear();
  return known;
}

void LogReference(const Arguments& /*arguments*/) {
  std::map<int, std::string, std::greater<>> rows;
  for (const LogMessage& message : LogMessages()) {
    std::string& row = rows[message.priority];
    row += row.empty() ? "| " + PriorityOf(message.priority, message.priorityName) + " | " : ", ";
    row += '`' + message.format + '`';
  }
  std::cout << "# Messages of the log\n\n| Priority | Messages |\n|---|---|\n";
  for (const auto& [priority, row] : rows) {
    std::cout << row << " |\n";
  }
  const auto write = [](const char* format, const std::string& priority, const char* sites,
                        const char* meaning, const char* remedy) {
    std::cout << "\n### `" << format << "`\n\n**" << priority << "** from " << QuotedSites(sites)
              << ".\n\n"
              << meaning << "\n\n*Action:* " << remedy << '\n';
  };
#define VORN_LOG_CHAPTER(title) std::cout << "\n## " title "\n";
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy) \
  write(FormatOf message, PriorityOf(priority, &#priority[1]), sites, meaning, remedy);
#include "private/LogMessages.h"
}

}  // namespace vorndb
