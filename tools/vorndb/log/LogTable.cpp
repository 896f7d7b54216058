#include "log/LogTable.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>

namespace vorndb {

namespace {

enum Priority { kDebug = 3, kInfo, kWarning, kError };

// Example arguments of the formats.
constexpr int kNumber = 0;
constexpr const char* kText = "";

template <typename... Examples>
const char* FormatOf(const char* format, Examples... /*arguments*/) {
  return format;
}

constexpr char kDatabase[] = "Database.cpp: ";

// The outcome of operation X is XSucceeded or XFailed; the messages of Cursor.cpp are
// about reading.
LogEvent EventOf(LogEvent own, const std::string& name, Priority priority,
                 const std::string& sites) {
  if (sites.rfind("Cursor.cpp", 0) == 0) {
    return priority == kError ? LogEvent::kReadFailed : LogEvent::kMoved;
  }
  const std::string operation = sites.substr(std::min(sites.size(), sizeof kDatabase - 1));
  if (name == operation + "Succeeded") {
    return LogEvent::kSucceeded;
  }
  return name == operation + "Failed" ? LogEvent::kFailed : own;
}

std::vector<LogMessage> MakeMessages() {
  std::vector<LogMessage> messages;
  const char* chapter = "";
#define VORN_LOG_CHAPTER(title) chapter = title;
#define VORN_LOG_MESSAGE(name, priority, message, sites, meaning, remedy)                    \
  messages.push_back({chapter, EventOf(LogEvent::k##name, #name, priority, sites), priority, \
                      &#priority[1], FormatOf message, sites, (meaning), (remedy)});
#include "private/LogMessages.h"
  return messages;
}

bool IsSite(const std::string& sites, const LogLine& line) {
  const std::size_t file = (' ' + sites).find(' ' + line.file + ": ");
  if (file == std::string::npos) {
    return false;
  }
  const std::size_t begin = file + line.file.size() + 1;
  const std::string functions = sites.substr(begin, sites.find(';', begin) - begin) + ' ';
  return functions.find(' ' + line.function + ' ') != std::string::npos;
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

}  // namespace

const std::vector<LogMessage>& LogMessages() {
  static const std::vector<LogMessage> messages = MakeMessages();
  return messages;
}

char LetterOf(int priority) {
  constexpr char kLetters[] = "VVVDIWEF";
  return priority >= 0 && priority <= 7 ? kLetters[priority] : '?';
}

bool SetMeaning(LogLine& line) {
  bool known = false;
  std::optional<LogEvent> only;  // the one of this call site and priority
  for (const LogMessage& message : LogMessages()) {
    if (!IsSite(message.sites, line)) {
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
        members.push_back(failure.sites.substr(sizeof kDatabase - 1));
      }
    }
    return members;
  }();
  return queries;
}

}  // namespace vorndb
