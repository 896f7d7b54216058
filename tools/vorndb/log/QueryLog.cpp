#include "log/QueryLog.h"

#include <algorithm>

namespace vorndb {

namespace {

// Only the wait for a row makes a result end early; elsewhere the last attempt decides.
bool IsLimit(const LoggedLine& logged) {
  return logged.meaning.event == LogEvent::kBusyLimit && logged.line.file == "DatabasePasrser.cpp";
}

bool IsBlob(const LoggedLine& logged) { return logged.meaning.event == LogEvent::kBlob; }

bool IsUnreadable(const LoggedLine& logged) {
  return logged.meaning.event == LogEvent::kUnreadable && logged.line.function == "ParseDatabase";
}

}  // namespace

std::string BreakOf(const std::vector<LoggedLine>& lines) {
  for (const LoggedLine& logged : lines) {
    if (logged.meaning.event == LogEvent::kStepFailed) {
      const std::string& words = logged.meaning.text;
      return "reading stopped" + (words.empty() ? "" : " with: " + words);
    }
    if (IsLimit(logged)) {
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
