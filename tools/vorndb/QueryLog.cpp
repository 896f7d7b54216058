#include "QueryLog.h"

#include <algorithm>
#include <string_view>

namespace vorndb {

namespace {

constexpr int kError = 6;
constexpr std::string_view kFetching = "DatabasePasrser.cpp: Parse";
constexpr std::string_view kWaiting = "DatabasePasrser.cpp: IsRetryLimit(";
constexpr std::string_view kStepError = "SQLITE STEP ERROR!!!";
constexpr std::string_view kBlob = "UNKNOWN TYPE";

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool IsStepError(const LoggedLine& line) { return StartsWith(line.message, kStepError); }

bool IsBlob(const LoggedLine& line) { return line.message == kBlob; }

// An error where it is waited is the limit, whether its text can be read or not.
bool IsLimit(const LoggedLine& line) {
  return line.priority == kError && StartsWith(line.place, kWaiting);
}

bool IsUnreadable(const LoggedLine& line) {
  return StartsWith(line.place, kFetching) && !IsStepError(line) && !IsBlob(line);
}

}  // namespace

std::string BreakOf(const std::vector<LoggedLine>& lines) {
  for (const LoggedLine& line : lines) {
    if (IsStepError(line)) {
      const std::string words = line.message.substr(kStepError.size());
      return "reading stopped" + (words.empty() ? "" : " with:" + words);
    }
    if (IsLimit(line)) {
      return "the file stayed busy";
    }
  }
  return "";
}

std::size_t CountBlobs(const std::vector<LoggedLine>& lines) {
  return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), IsBlob));
}

std::size_t CountUnreadable(const std::vector<LoggedLine>& lines) {
  return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), IsUnreadable));
}

}  // namespace vorndb
