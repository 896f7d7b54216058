#include "log/LogMeaning.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace vorndb {

namespace {

struct Message {
  std::string_view file;
  std::string_view function;
  char priority;
  LogEvent event;
  std::string_view format;  // as the library has it
};

constexpr std::string_view kDatabase = "Database.cpp";
constexpr std::string_view kParser = "DatabasePasrser.cpp";
constexpr std::string_view kCursor = "Cursor.cpp";
constexpr std::string_view kBusy = "SQLITE BUSY[%d]";
constexpr std::string_view kBusyLimit = "RETRY COUNT is reached LIMIT, SQLITE_BUSY";
constexpr std::string_view kNoColumn = "NO MATCHED ERROR!!!";
constexpr std::string_view kNoRow = "CURSOR RANGE ERROR!!!";

constexpr Message kMessages[] = {
    {kDatabase, "Update", 'I', LogEvent::kSucceeded, "update SUCCESS[%d]"},
    {kDatabase, "Update", 'E', LogEvent::kFailed, "update FAILED[%d]: %s"},
    {kDatabase, "Delete", 'I', LogEvent::kSucceeded, "delete SUCCESS[%d]"},
    {kDatabase, "Delete", 'E', LogEvent::kFailed, "delete FAILED[%d]: %s"},
    {kDatabase, "Upsert", 'I', LogEvent::kSucceeded, "Upsert SUCCESS[%d]"},
    {kDatabase, "Upsert", 'E', LogEvent::kFailed, "Upsert FAILED[%d]: %s"},
    {kDatabase, "CreateTable", 'I', LogEvent::kSucceeded, "createTable SUCCESS[%d]"},
    {kDatabase, "CreateTable", 'E', LogEvent::kFailed, "createTable FAILED[%d]: %s"},
    {kDatabase, "DropTable", 'I', LogEvent::kSucceeded, "DropTable SUCCESS[%d]"},
    {kDatabase, "DropTable", 'E', LogEvent::kFailed, "DropTable FAILED[%d]: %s"},
    {kDatabase, "Select", 'I', LogEvent::kSelectFailed, "OpenDB Error: %d"},
    {kDatabase, "Select", 'E', LogEvent::kFailed, "SELECT FAILED[%d]: %s"},
    {kDatabase, "JoinSelect", 'E', LogEvent::kFailed, "JoinSelect FAILED[%d]: %s"},
    {kDatabase, "CheckExistTable", 'E', LogEvent::kFailed, "CheckExistTable FAILED[%d]: %s"},
    {kDatabase, "OpenDB", 'E', LogEvent::kOpening, "DB file: %s %s"},
    {kDatabase, "OpenDB", 'E', LogEvent::kOpenFailed, "DB open failed. Error no(%d): %s"},
    {kDatabase, "IsRetryLimit", 'W', LogEvent::kBusy, kBusy},
    {kDatabase, "IsRetryLimit", 'E', LogEvent::kBusyLimit, kBusyLimit},
    {kParser, "IsRetryLimit", 'W', LogEvent::kBusy, kBusy},
    {kParser, "IsRetryLimit", 'E', LogEvent::kBusyLimit, kBusyLimit},
    {kParser, "ParseExistTable", 'E', LogEvent::kStepFailed, "SQLITE STEP ERROR!!!"},
    {kParser, "ParseDatabase", 'E', LogEvent::kStepFailed, "SQLITE STEP ERROR!!! %s"},
    {kParser, "ParseDatabase", 'E', LogEvent::kBlob, "UNKNOWN TYPE"},
    {kCursor, "MoveToNext", 'I', LogEvent::kMoved, "Last Row"},
    {kCursor, "MoveToPrev", 'I', LogEvent::kMoved, "First Row"},
    {kCursor, "MoveToPosition", 'E', LogEvent::kReadFailed, "Invalid Position"},
    {kCursor, "GetString", 'E', LogEvent::kReadFailed, kNoColumn},
    {kCursor, "GetString", 'E', LogEvent::kReadFailed, kNoRow},
    {kCursor, "GetInt", 'E', LogEvent::kReadFailed, kNoColumn},
    {kCursor, "GetInt", 'E', LogEvent::kReadFailed, kNoRow},
    {kCursor, "GetInt", 'E', LogEvent::kReadFailed, "CONVERT TO INT ERROR!!!"},
    {kCursor, "GetDouble", 'E', LogEvent::kReadFailed, kNoColumn},
    {kCursor, "GetDouble", 'E', LogEvent::kReadFailed, kNoRow},
    {kCursor, "GetDouble", 'E', LogEvent::kReadFailed, "CONVERT TO DOUBLE ERROR!!!"},
};

// Members that log their entry, or that they could not name a lock, by file.
struct Places {
  std::string_view file;
  std::string_view functions;  // each between blanks
};

constexpr Places kEntered[] = {
    {kDatabase,
     " Database ~Database Update Delete Upsert CreateTable DropTable Select JoinSelect"
     " CheckExistTable OpenDB "},
    {kCursor, " Cursor ~Cursor GetColumn GetString GetInt GetDouble "},
    {"CreateRequest.cpp",
     " CreateRequest ~CreateRequest SetTable SetPrimaryKey SetCompositeKey SetColumnKey GetTable"
     " GetPrimaryKey GetCompositeKey GetColumnKey "},
    {"DeleteRequest.cpp", " DeleteRequest ~DeleteRequest SetTable GetTable "},
    {"DropRequest.cpp", " DropRequest ~DropRequest SetTable GetTable "},
    {"JoinRequest.cpp",
     " JoinRequest ~JoinRequest SetLeftJoin SetRightJoin GetLeftJoin GetRightJoin "},
    {"SelectRequest.cpp", " SelectRequest ~SelectRequest SetTable GetTable "},
    {"UpdateRequest.cpp", " UpdateRequest ~UpdateRequest SetTable GetTable "},
    {"UpsertRequest.cpp", " UpsertRequest ~UpsertRequest SetTable GetTable "},
};

constexpr Places kLocking[] = {
    {"BaseSet.cpp", " BaseSet SetData SetWhere "},
    {kCursor, " Cursor Initialize SetColumn SetData "},
    {"CreateRequest.cpp", " CreateRequest SetColumnKey "},
};

template <std::size_t count>
bool Has(const Places (&all)[count], const LogLine& line) {
  const std::string function = ' ' + line.function + ' ';
  return std::any_of(std::begin(all), std::end(all), [&](const Places& places) {
    return places.file == line.file && places.functions.find(function) != std::string_view::npos;
  });
}

bool StandsAt(const Message& message, const LogLine& line) {
  return message.file == line.file && message.function == line.function;
}

// Compares a message with its format. A %s takes what is left: where two follow one another
// the texts cannot be told apart.
bool Matches(std::string_view format, std::string_view message, LogMeaning& meaning) {
  while (!format.empty() && format.substr(0, 2) != "%s") {
    if (format.substr(0, 2) == "%d") {
      const std::size_t sign = message.substr(0, 1) == "-" ? 1 : 0;
      const std::size_t end =
          std::min(message.find_first_not_of("0123456789", sign), message.size());
      if (end == sign) {
        return false;
      }
      meaning.code = message.substr(0, end);
      message.remove_prefix(end);
      format.remove_prefix(2);
    } else if (message.empty() || message.front() != format.front()) {
      return false;
    } else {
      message.remove_prefix(1);
      format.remove_prefix(1);
    }
  }
  if (format.empty()) {
    return message.empty();
  }
  meaning.text = message;
  return true;
}

// Lines whose message has the place once more.
std::optional<LogMeaning> MeaningOfPlace(const LogLine& line) {
  const std::string place = line.file + "::" + line.function;
  LogMeaning meaning;
  if (Has(kEntered, line) && line.message == place + '(' + line.number + ") called") {
    meaning.event = LogEvent::kEntered;
    return meaning;
  }
  if (Has(kLocking, line) &&
      line.message == "Failed to get MUTEX_NAME at " + place + '[' + line.number + ']') {
    meaning.event = LogEvent::kLockUnnamed;
    return meaning;
  }
  return std::nullopt;
}

std::optional<LogMeaning> MeaningOfMessage(const LogLine& line) {
  for (const Message& message : kMessages) {
    LogMeaning meaning;
    if (StandsAt(message, line) && Matches(message.format, line.message, meaning)) {
      meaning.event = message.event;
      if (meaning.event == LogEvent::kReadFailed) {
        meaning.text = line.message;
      }
      return meaning;
    }
  }
  return std::nullopt;
}

// What a place writes at a priority, if that is one thing only.
LogEvent EventByPriority(const LogLine& line) {
  if (line.prefix.priority == 'D') {
    return Has(kEntered, line) ? LogEvent::kEntered : LogEvent::kUnreadable;
  }
  std::optional<LogEvent> only;
  for (const Message& message : kMessages) {
    if (StandsAt(message, line) && message.priority == line.prefix.priority) {
      if (only && *only != message.event) {
        return LogEvent::kUnreadable;
      }
      only = message.event;
    }
  }
  if (line.prefix.priority == 'E' && Has(kLocking, line)) {
    only = LogEvent::kLockUnnamed;
  }
  return only.value_or(LogEvent::kUnreadable);
}

bool IsKnownPlace(const LogLine& line) {
  return Has(kEntered, line) || Has(kLocking, line) ||
         std::any_of(std::begin(kMessages), std::end(kMessages),
                     [&](const Message& message) { return StandsAt(message, line); });
}

}  // namespace

std::optional<LogMeaning> MeaningOf(const LogLine& line) {
  if (!IsKnownPlace(line)) {
    return std::nullopt;
  }
  if (std::optional<LogMeaning> meaning = MeaningOfPlace(line)) {
    return meaning;
  }
  if (std::optional<LogMeaning> meaning = MeaningOfMessage(line)) {
    return meaning;
  }
  LogMeaning meaning;
  meaning.event = EventByPriority(line);
  meaning.unreadable = true;
  return meaning;
}

}  // namespace vorndb
