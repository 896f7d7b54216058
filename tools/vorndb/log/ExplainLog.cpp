#include "log/ExplainLog.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "log/LogHistory.h"
#include "log/LogLine.h"
#include "log/LogMeaning.h"
#include "log/LogReport.h"

namespace vorndb {

namespace {

// Reads a line, without its end. What is beyond the limit is left out, so that a file that
// is no log does not fill the memory.
bool ReadLine(std::istream& log, std::string& line) {
  constexpr std::size_t kLimit = 65536;
  line.clear();
  constexpr int kEnd = std::char_traits<char>::eof();
  int next = log.get();
  if (next == kEnd) {
    return false;
  }
  for (; next != kEnd && next != '\n'; next = log.get()) {
    if (line.size() < kLimit) {
      line += std::char_traits<char>::to_char_type(next);
    }
  }
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return true;
}

// A text of SQLite that repeats a part of the statement sets it between quotes.
bool HasOpenQuote(std::string_view text) {
  return std::count(text.begin(), text.end(), '"') % 2 != 0;
}

bool HasTextOfSqlite(const LogMeaning& meaning) {
  return meaning.event == LogEvent::kFailed || meaning.event == LogEvent::kOpenFailed ||
         meaning.event == LogEvent::kStepFailed;
}

// Sorts lines into the library's and others.
class Explanation {
 public:
  void Add(const std::string& text) {
    const std::optional<LogLine> line = ParseLogLine(text);
    if (m_open && !line && MayGoOn(text)) {
      return;
    }
    GiveUpHeld();
    const std::optional<LogMeaning> meaning = line ? MeaningOf(*line) : std::nullopt;
    if (!meaning) {
      ++m_counts.foreign;
    } else if (HasTextOfSqlite(*meaning) && HasOpenQuote(meaning->text)) {
      m_open = {*line, *meaning};
    } else {
      Commit(*line, *meaning);
    }
  }

  bool Finish(std::ostream& output) {
    GiveUpHeld();
    if (m_counts.own == 0) {
      return false;
    }
    WriteReport(m_history, m_counts, output);
    return true;
  }

 private:
  struct Open {
    LogLine line;
    LogMeaning meaning;
  };

  // A statement may have line ends in it, and then a line of the log goes on in the next
  // ones. That is known only when one of them has the quote's other end.
  bool MayGoOn(const std::string& text) {
    constexpr std::size_t kMost = 100;
    if (m_held.size() == kMost || ParseLogPrefix(text).priority != '\0') {
      return false;
    }
    m_held.push_back(text);
    if (HasOpenQuote(text)) {
      for (const std::string& held : m_held) {
        m_open->meaning.text += '\n' + held;
      }
      m_counts.continued += static_cast<int>(m_held.size());
      m_held.clear();
      GiveUpHeld();
    }
    return true;
  }

  void GiveUpHeld() {
    if (m_open) {
      m_counts.foreign += static_cast<int>(m_held.size());
      Commit(m_open->line, m_open->meaning);
    }
    m_open.reset();
    m_held.clear();
  }

  void Commit(const LogLine& line, const LogMeaning& meaning) {
    ++m_counts.own;
    m_counts.unreadable += meaning.unreadable ? 1 : 0;
    m_history.Add(line, meaning);
  }

  LogHistory m_history;
  LineCounts m_counts;
  std::optional<Open> m_open;
  std::vector<std::string> m_held;
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
