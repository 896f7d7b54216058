#include <charconv>
#include <cstddef>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <tuple>

#include "Commands.h"
#include "log/LogLine.h"

namespace vorndb {

namespace {

struct LogMessage {
  LogEvent event;
  int priority;
  std::string format;
  std::string sites;  // "FILE: FUNCTION FUNCTION; FILE: FUNCTION"
};

// Example arguments of the formats.
constexpr int kNumber = 0;
constexpr const char* kText = "";

// In the order of the log reference.
const std::vector<LogMessage>& LogMessages() {
  static const std::vector<LogMessage> messages = {
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy) \
  {LogEvent::k##name, priority, std::get<0>(std::make_tuple message), sites},
#include "private/LogMessages.h"
  };
  return messages;
}

LogEvent EventOf(const LogMessage& message) {
  if (message.priority == kError && message.sites.rfind("Cursor.cpp", 0) == 0) {
    return LogEvent::kReadFailed;
  }
  if (message.format.find(" SUCCESS[") != std::string::npos) {
    return LogEvent::kSucceeded;
  }
  const bool isFailure = message.format.find(" FAILED[") != std::string::npos;
  return isFailure ? LogEvent::kFailed : message.event;
}

bool IsFrom(const std::string& sites, const LogLine& line) {
  const std::size_t begin = (' ' + sites).find(' ' + line.file + ": ");
  if (begin == std::string::npos) {
    return false;
  }
  const std::string functions = sites.substr(begin, sites.find(';', begin) - begin) + ' ';
  return functions.find(' ' + line.function + ' ') != std::string::npos;
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

}  // namespace

char LetterOf(int priority) {
  constexpr char kLetters[] = "VVVDIWEF";
  return priority >= 0 && priority <= 7 ? kLetters[priority] : '?';
}

bool SetMeaning(LogLine& line) {
  bool known = false;
  std::optional<LogEvent> only;  // the one of this call site and priority
  for (const LogMessage& message : LogMessages()) {
    if (!IsFrom(message.sites, line)) {
      continue;
    }
    known = true;
    const LogEvent event = EventOf(message);
    if (Matches(message.format, line)) {
      line.event = event;
      line.prefix.priority = LetterOf(message.priority);
      return true;
    }
    if (LetterOf(message.priority) == line.prefix.priority) {
      only = !only || *only == event ? event : LogEvent::kUnreadable;
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
  std::ostringstream chapters;
  const auto add = [&rows, &chapters](const std::string& format, int priority,
                                      const std::string& name, const char* sites,
                                      const char* meaning, const char* remedy) {
    // "Error (6, E)"
    const std::string level = name + " (" + std::to_string(priority) + ", " + LetterOf(priority);
    std::string& row = rows[priority];
    row += row.empty() ? "| " + level + ") | " : ", ";
    row += '`' + format + '`';
    chapters << "\n### `" << format << "`\n\n**" << level << ")** from `" << sites << "`.\n\n"
             << meaning << "\n\n*Action:* " << remedy << '\n';
  };
#define VORN_LOG_CHAPTER(title) chapters << "\n## " title "\n";
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy) \
  add(std::get<0>(std::make_tuple message), priority, &#priority[1], sites, meaning, remedy);
#include "private/LogMessages.h"
  std::cout << "# Messages of the log\n\n| Priority | Messages |\n|---|---|\n";
  for (const auto& [priority, row] : rows) {
    std::cout << row << " |\n";
  }
  std::cout << chapters.str();
}

}  // namespace vorndb
