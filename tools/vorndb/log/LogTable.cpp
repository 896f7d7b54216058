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
  const char* chapter;  // of the log reference
  LogEvent event;
  int priority;
  const char* priorityName;
  std::string format;
  Sites sites;
  const char* meaning;
  const char* remedy;
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
LogEvent EventOf(LogEvent own, const std::string& name, LogPriority priority, const Sites& sites) {
  const auto& [file, operation] = sites.front();
  if (file == "Cursor.cpp") {
    return priority == kError ? LogEvent::kReadFailed : LogEvent::kMoved;
  }
  if (name == operation + "Succeeded") {
    return LogEvent::kSucceeded;
  }
  return name == operation + "Failed" ? LogEvent::kFailed : own;
}

std::vector<LogMessage> MakeMessages() {
  std::vector<LogMessage> messages;
  const char* chapter = "";
  const auto add = [&](LogEvent own, const char* name, LogPriority priority,
                       const char* priorityName, const char* format, const char* text,
                       const char* meaning, const char* remedy) {
    const Sites sites = SitesOf(text);
    messages.push_back({chapter, EventOf(own, name, priority, sites), priority, priorityName,
                        format, sites, meaning, remedy});
  };
#define VORN_LOG_CHAPTER(title) chapter = title;
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy) \
  add(LogEvent::k##name, #name, priority, &#priority[1], FormatOf message, sites, meaning, remedy);
#include "private/LogMessages.h"
  return messages;
}

// In the order of the log reference.
const std::vector<LogMessage>& LogMessages() {
  static const std::vector<LogMessage> messages = MakeMessages();
  return messages;
}

// The format with the call site, if it names that once more.
std::string WithSite(std::string format, const LogLine& line) {
  const std::size_t site = format.find("%s::%s");
  if (site != std::string::npos) {
    format.replace(format.find("%d"), 2, line.number);
    format.replace(site, 6, line.file + "::" + line.function);
  }
  return format;
}

// Compares the message with a format. A %s takes all the rest: the two texts of a format
// cannot be told apart.
bool Matches(std::string_view format, LogLine& line) {
  std::string_view message = line.message;
  line.code.clear();
  for (; !format.empty() && format.substr(0, 2) != "%s"; format.remove_prefix(1)) {
    std::size_t length = message.substr(0, 1) == format.substr(0, 1) ? 1 : 0;
    if (format.substr(0, 2) == "%d") {
      int number = 0;
      const char* const begin = message.data();
      const char* const end = std::from_chars(begin, begin + message.size(), number).ptr;
      length = static_cast<std::size_t>(end - begin);
      line.code = message.substr(0, length);
      format.remove_prefix(1);
    }
    if (length == 0) {
      return false;
    }
    message.remove_prefix(length);
  }
  line.text = format.empty() ? std::string_view() : message;
  return !format.empty() || message.empty();
}

// "Error (6, E)"
std::string PriorityOf(const LogMessage& message) {
  return std::string(message.priorityName) + " (" + std::to_string(message.priority) + ", " +
         LetterOf(message.priority) + ')';
}

// "`FILE`: `FUNCTION`, `FUNCTION`; `FILE`: `FUNCTION`"
std::string TextOf(const Sites& sites) {
  std::string text;
  std::string last;
  for (const auto& [file, function] : sites) {
    text += text.empty() ? "" : (file == last ? ", " : "; ");
    text.append(file == last ? "" : '`' + file + "`: ").append('`' + function + '`');
    last = file;
  }
  return text;
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
    if (Matches(WithSite(message.format, line), line)) {
      line.event = message.event;
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

const std::vector<std::string>& Queries() {
  static const std::vector<std::string> queries = [] {
    std::vector<std::string> members;
    for (const LogMessage& failure : LogMessages()) {
      const auto isSuccess = [&failure](const LogMessage& message) {
        return message.event == LogEvent::kSucceeded && message.sites == failure.sites;
      };
      if (failure.event == LogEvent::kFailed &&
          std::none_of(LogMessages().begin(), LogMessages().end(), isSuccess)) {
        members.push_back(failure.sites.front().second);
      }
    }
    return members;
  }();
  return queries;
}

void LogReference(const Arguments& /*arguments*/) {
  std::map<int, std::string, std::greater<>> rows;
  for (const LogMessage& message : LogMessages()) {
    std::string& row = rows[message.priority];
    row += row.empty() ? "| " + PriorityOf(message) + " | " : ", ";
    row += '`' + message.format + '`';
  }
  std::cout << "# Messages of the log\n\n| Priority | Messages |\n|---|---|\n";
  for (const auto& [priority, row] : rows) {
    std::cout << row << " |\n";
  }
  std::string chapter;
  for (const LogMessage& message : LogMessages()) {
    if (chapter != message.chapter) {
      chapter = message.chapter;
      std::cout << "\n## " << chapter << '\n';
    }
    std::cout << "\n### `" << message.format << "`\n\n**" << PriorityOf(message) << "** from "
              << TextOf(message.sites) << ".\n\n"
              << message.meaning << "\n\n*Action:* " << message.remedy << '\n';
  }
}

}  // namespace vorndb
