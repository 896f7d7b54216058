#include "log/ExplainLog.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "log/LogHistory.h"
#include "log/LogLine.h"
#include "log/LogTable.h"

namespace vorndb {

namespace {

// Reads a line, without its end. The rest of an endless one is left out, so that a file
// that is no log does not fill the memory.
bool ReadLine(std::istream& log, std::string& line) {
  constexpr std::size_t kLimit = 65536;
  line.clear();
  for (char next = '\0'; log.get(next) && next != '\n';) {
    if (line.size() < kLimit) {
      line += next;
    }
  }
  const bool isLine = log || !line.empty();
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return isLine;
}

// SQLite quotes the parts of a statement in its texts.
bool HasOpenQuote(const std::string& text) {
  return std::count(text.begin(), text.end(), '"') % 2 != 0;
}

// The line's text is from SQLite and goes on in the next line.
bool IsOpen(const LogLine& line) {
  return (line.event == LogEvent::kFailed || line.event == LogEvent::kOpenFailed ||
          line.event == LogEvent::kStepFailed) &&
         HasOpenQuote(line.text);
}

// Sorts lines into the library's and others.
class Explanation {
 public:
  void Add(const std::string& text) {
    std::optional<LogLine> line = ParseLogLine(text);
    if (m_open && !line && MayGoOn(text)) {
      return;
    }
    CommitOpen();
    if (!line || !SetMeaning(*line)) {
      ++m_history.foreign;
    } else if (m_open = line; !IsOpen(*line)) {
      CommitOpen();
    }
  }

  bool Finish(std::ostream& output) {
    CommitOpen();
    if (m_history.own > 0) {
      WriteReport(m_history, output);
    }
    return m_history.own > 0;
  }

 private:
  // A statement may contain line ends; its line of the log then goes on in the next ones,
  // as one with the other end of the quote shows.
  bool MayGoOn(const std::string& text) {
    constexpr int kMost = 100;
    if (m_held == kMost || ParseLogPrefix(text).priority != '\0') {
      return false;
    }
    ++m_held;
    m_rest += '\n' + text;
    if (HasOpenQuote(text)) {
      m_open->text += m_rest;
      m_history.continued += std::exchange(m_held, 0);
      CommitOpen();
    }
    return true;
  }

  void CommitOpen() {
    if (m_open) {
      m_history.foreign += std::exchange(m_held, 0);
      AddLine(m_history, *m_open);
    }
    m_open.reset();
    m_rest.clear();
  }

  LogHistory m_history;
  std::optional<LogLine> m_open;
  // Lines that may belong to the open one, and their texts.
  int m_held = 0;
  std::string m_rest;
};

}  // namespace

bool ExplainLog(std::istream& log, std::ostream& output) {
  Explanation explanation;
  for (std::string line; ReadLine(log, line);) {
    explanation.Add(line);
  }
  return explanation.Finish(output);
}

}  // namespace vorndb
