#include <functional>
#include <map>
#include <regex>
#include <string>

#include "log/ExplainLog.h"
#include "log/LogTable.h"

namespace vorndb {

namespace {

// "Error (6, E)"
std::string PriorityOf(const LogMessage& message) {
  return std::string(message.priorityName) + " (" + std::to_string(message.priority) + ", " +
         LetterOf(message.priority) + ')';
}

// Each name as code.
std::string SitesOf(const LogMessage& message) {
  const std::string sites = std::regex_replace(message.sites, std::regex("[^ ;:]+"), "`$&`");
  return std::regex_replace(sites, std::regex("` `"), "`, `");
}

}  // namespace

void WriteLogReference(std::ostream& output) {
  std::map<int, std::string, std::greater<>> rows;
  for (const LogMessage& message : LogMessages()) {
    std::string& row = rows[message.priority];
    row += row.empty() ? "| " + PriorityOf(message) + " | " : ", ";
    row += '`' + message.format + '`';
  }
  output << "# Messages of the log\n\n| Priority | Messages |\n|---|---|\n";
  for (const auto& [priority, row] : rows) {
    output << row << " |\n";
  }
  std::string chapter;
  for (const LogMessage& message : LogMessages()) {
    if (chapter != message.chapter) {
      chapter = message.chapter;
      output << "\n## " << chapter << '\n';
    }
    output << "\n### `" << message.format << "`\n\n**" << PriorityOf(message) << "** from "
           << SitesOf(message) << ".\n\n"
           << message.meaning << "\n\n*Action:* " << message.remedy << '\n';
  }
}

}  // namespace vorndb
