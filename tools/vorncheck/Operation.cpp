#include "Operation.h"

#include <sqlite3.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <string_view>

#include "LockHolder.h"
#include "Next.h"
#include "Sql.h"

namespace vorncheck {
namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables)
thread_local Operation* current = nullptr;

// Shows the part of a statement around a position.
void ShowStatement(Finding& finding, const std::string& sql, std::size_t position) {
  constexpr std::size_t kAround = 50;
  const std::size_t begin = position > kAround ? position - kAround : 0;
  std::string excerpt = begin > 0 ? "..." : "";
  finding.mark = excerpt.size();
  for (std::size_t at = begin; at < std::min(sql.size(), position + kAround); ++at) {
    const auto byte = static_cast<unsigned char>(sql[at]);
    excerpt += byte < ' ' ? ' ' : sql[at];
    const bool isContinued = (byte & 0xC0U) == 0x80;
    finding.mark += at < position && !isContinued ? 1 : 0;
  }
  finding.excerpt = excerpt + (position + kAround < sql.size() ? "..." : "");
}

std::string SecondsText(std::chrono::nanoseconds duration) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(3) << Seconds(duration) << " s";
  return text.str();
}

}  // namespace

Operation::Operation(const char* symbol, const void* site)
    : m_outer(current), m_symbol(symbol), m_site(site), m_start(Clock::now()) {
  current = this;
}

Operation::~Operation() {
  current = m_outer;
  Aside([&] { CountOperation(m_waited); });
}

Operation* Operation::Current() { return current; }

std::string Operation::Name() const { return NameOf(m_symbol); }

Finding Operation::MakeFinding(const std::string& sentence, const Stack& setter) const {
  Finding finding(sentence);
  finding.stacks = {{"run at", StackFrom(m_site)}};
  if (!setter.empty()) {
    finding.stacks.emplace_back("set at", setter);
  }
  return finding;
}

void Operation::BeginAttempt() {
  if (m_isBusy) {
    m_waited += Clock::now() - m_busySince;
    m_isBusy = false;
  }
}

void Operation::EndAttempt(int result) {
  if (result != SQLITE_BUSY) {
    return;
  }
  m_isBusy = true;
  m_busySince = Clock::now();
  if (m_waits++ == 0 && IsOn(Kind::kBusyWait)) {
    m_holders = LockHolders(m_path);
  }
}

void Operation::Open(const char* path, sqlite3* connection, int result) {
  m_path = path;
  if (result != SQLITE_OK && connection != nullptr) {
    m_leaked.insert(connection);
  }
}

void Operation::Close(sqlite3* connection) { m_leaked.erase(connection); }

void Operation::Run(const std::string& sql) {
  if (!m_isRun) {
    m_isRun = true;
    CheckQuotes(sql);
    CheckCut(sql);
  }
}

void Operation::Step(int result) {
  m_isStepped = true;
  m_isComplete = result == SQLITE_DONE;
  m_isRowUnread = result == SQLITE_ROW;
}

void Operation::ReadCell(int type) {
  m_rows += m_isRowUnread ? 1 : 0;
  m_isRowUnread = false;
  if (type == SQLITE_NULL || type == SQLITE_BLOB) {
    m_emptyCells.emplace_back(m_cells, type == SQLITE_BLOB);
  }
  ++m_cells;
}

void Operation::Fail(const char* message) { m_failure = message; }

void Operation::End(int result) {
  Aside([&] {
    // An application may have its own SQLite, whose calls are not seen.
    Run("");
    CheckResult(result);
    CheckTime();
  });
}

void Operation::CheckQuote(const std::string& sql, const Text& text, const std::string& written,
                           std::size_t quote) const {
  Report(Kind::kUnescapedQuote, m_site, [&] {
    Finding finding = MakeFinding("the " + std::string(text.role) + " " + Shown(text.text) +
                                      " ends early in the statement, at its quote",
                                  text.stack);
    const std::size_t start = sql.find(written);
    if (start != std::string::npos) {
      ShowStatement(finding, sql, start + quote);
    }
    return finding;
  });
}

void Operation::CheckQuotes(const std::string& sql) const {
  for (const Text& value : m_subject.values) {
    const std::size_t quote = LoneQuote(value.text);
    if (quote != std::string::npos) {
      CheckQuote(sql, value, '\'' + value.text + '\'', quote + 1);
    }
  }
  for (const Text& name : m_subject.names) {
    const std::size_t quote = OpenQuote(name.text);
    if (quote != std::string::npos) {
      CheckQuote(sql, name, name.text, quote);
    }
  }
}

void Operation::CheckCut(const std::string& sql) const {
  if (!m_subject.isUpdateOfAllRows) {
    return;
  }
  Report(Kind::kCutUpdate, m_site, [&] {
    const std::string_view end = " WHERE ";
    const bool isCut =
        !sql.empty() && (sql.size() < end.size() || sql.substr(sql.size() - end.size()) != end);
    Finding finding = MakeFinding(
        Name() + " has no condition, " +
        (isCut ? "and is cut at the last \" AND\" of a value" : "so SQLite refuses it"));
    ShowStatement(finding, sql, sql.size());
    return finding;
  });
}

void Operation::CheckResult(int result) const {
  if (!m_leaked.empty()) {
    Report(Kind::kLeakedHandle, m_site, [&] {
      return MakeFinding(Name() + " could not open " + Shown(m_path) + ", and " +
                         std::to_string(m_leaked.size()) + " of SQLite's handles leaked");
    });
  }
  if (result == SQLITE_OK && m_isStepped && !m_isComplete) {
    Report(Kind::kTruncatedResult, m_site, [&] {
      return MakeFinding(Name() + " returned 0, but its result ends after " +
                         std::to_string(m_rows) + " rows: " + m_failure);
    });
  }
}

void Operation::CheckTime() const {
  if (m_waits > 0) {
    Report(Kind::kBusyWait, m_site, [&] {
      return MakeFinding(Name() + " found " + Shown(m_path) + " busy " + std::to_string(m_waits) +
                         " times and waited " + SecondsText(m_waited) + "; locked by " +
                         (m_holders.empty() ? "an unknown process" : m_holders));
    });
  }
  const auto taken = Clock::now() - m_start;
  if (taken > MainThreadLimit() && syscall(SYS_gettid) == getpid()) {
    Report(Kind::kMainThread, m_site, [&] {
      return MakeFinding(Name() + " took " + SecondsText(taken) + " on the main thread");
    });
  }
}

}  // namespace vorncheck
