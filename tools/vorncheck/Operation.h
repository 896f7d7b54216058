// The operation that runs on a thread, observed through its calls of SQLite.

#ifndef VORNDATABASE_TOOLS_VORNCHECK_OPERATION_H
#define VORNDATABASE_TOOLS_VORNCHECK_OPERATION_H

#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Report.h"
#include "Stack.h"

struct sqlite3;

namespace vorncheck {

// A name or value of a request as it gets into the statement.
struct Text {
  const char* role;
  std::string text;
  Stack stack;  // where it was set, if that is known
};

struct Subject {
  std::vector<Text> names;
  std::vector<Text> values;
  bool isUpdateOfAllRows = false;
};

class Operation {
 public:
  Operation(const char* symbol, const void* site);
  ~Operation();
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // The one that runs on this thread, or null.
  static Operation* Current();

  const void* Site() const { return m_site; }
  std::string Name() const;
  Subject& TheSubject() { return m_subject; }

  // Observations. An attempt is a call that is repeated while the file is busy.
  void BeginAttempt();
  void EndAttempt(int result);
  void Open(const char* path, sqlite3* connection, int result);
  void Close(sqlite3* connection);
  void Run(const std::string& sql);
  void Step(int result);
  void ReadCell(int type);
  void Fail(const char* message);

  // A finding with the call site of the operation, and that of a setter if it is known.
  Finding MakeFinding(const std::string& sentence, const Stack& setter = {}) const;

  // Reports what was observed.
  void End(int result);

  // Cells that are NULL or a blob (true), by their number in the result.
  const std::vector<std::pair<std::size_t, bool>>& EmptyCells() const { return m_emptyCells; }

 private:
  using Clock = std::chrono::steady_clock;

  void CheckQuote(const std::string& sql, const Text& text, const std::string& written,
                  std::size_t quote) const;
  void CheckQuotes(const std::string& sql) const;
  void CheckCut(const std::string& sql) const;
  void CheckResult(int result) const;
  void CheckTime() const;

  Operation* const m_outer;
  const char* const m_symbol;
  const void* const m_site;
  const Clock::time_point m_start;
  Subject m_subject;
  std::string m_path;
  bool m_isRun = false;

  bool m_isBusy = false;
  int m_waits = 0;
  Clock::time_point m_busySince;
  Clock::duration m_waited{};
  std::string m_holders;

  std::set<sqlite3*> m_leaked;
  bool m_isStepped = false;
  bool m_isComplete = false;
  bool m_isRowUnread = false;
  std::size_t m_rows = 0;
  std::size_t m_cells = 0;
  std::string m_failure;
  std::vector<std::pair<std::size_t, bool>> m_emptyCells;
};

}  // namespace vorncheck

#endif  // VORNDATABASE_TOOLS_VORNCHECK_OPERATION_H
