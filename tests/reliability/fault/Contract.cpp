#include "Contract.h"

#include <algorithm>
#include <new>
#include <regex>
#include <stdexcept>

#include "Containers.h"
#include "LibraryTest.h"
#include "OperationLines.h"

namespace contract {

using fake::Line;
using operations::kFile;
using operations::kParserFile;
using sqlite_spy::Reply;
using ::testing::AnyOf;
using ::testing::IsEmpty;
using ::testing::SizeIs;

CursorImage ImageOf(Cursor& cursor) {
  Strings names;
  cursor.GetColumn(names);
  return {names, CellMapOf(cursor), cursor.GetPosition()};
}

Run Record(operations::Call& call, Database& database, const std::function<void()>& begin,
           const std::function<void()>& end) {
  Run run;
  run.cursorBefore = ImageOf(call.cursor);
  run.existsBefore = call.exists;
  journal::Clear();
  sqlite_spy::Reset();
  fake::ResetPlatform();
  if (begin) {
    begin();
  }
  try {
    run.result = call.Run(database);
  } catch (const std::bad_alloc&) {
    run.end = End::kBadAlloc;
  } catch (const std::logic_error&) {
    run.end = End::kLogicError;
  }
  if (end) {
    end();
  }
  run.lines = fake::Lines();
  run.locks = journal::Of({journal::Kind::kMutex});
  run.waits = journal::Of({journal::Kind::kSleep});
  run.replies = sqlite_spy::Replies();
  run.cursor = ImageOf(call.cursor);
  run.exists = call.exists;
  return run;
}

namespace {

// A pattern is compiled once: that takes longer than to match it.
bool Matches(const std::string& word, const std::string& pattern) {
  static std::map<std::string, std::regex> patterns;
  return std::regex_match(word, patterns.try_emplace(pattern, pattern).first->second);
}

}  // namespace

bool JudgeLocks(const Strings& events, bool threw) {
  std::string word;  // the first letters of make, lock, unlock and destroy
  for (const std::string& event : events) {
    word += event[0];
  }
  EXPECT_TRUE(Matches(word, threw ? "(mlud)*(mld)?" : "(mlud)*")) << word;
  return word.size() % 4 != 0;
}

namespace {

constexpr int kWaits = kAttempts - 2;  // none after the last two

class Rules {
 public:
  Rules(const operations::Operation& operation, const Run& run, const Run& all)
      : m_operation(operation), m_run(run), m_all(all), m_threw(run.end != End::kReturned) {}

  void Judge(const TemporaryDatabase& file) {
    JudgeOrder();
    JudgeAttempts();
    JudgeSteps();
    JudgeEnd();
    JudgeLines(file);
    JudgeLocks(m_run.locks, m_threw);
    JudgeAnswer();
    JudgeLeftovers();
  }

 private:
  // Which call follows which: a letter each. What throws may stop anywhere, and cleans up.
  void JudgeOrder() const {
    std::string word;
    for (const Reply& reply : m_run.replies) {
      word += LetterOf(reply);
    }
    const std::string body = m_operation.IsWrite() ? "(w+fx)" : "(p+(e|(se?|rc+)*r?)zx)";
    const std::string thrown = m_operation.IsWrite() ? "(w*fx)" : "(p*e?(se?|rc*)*zx)";
    EXPECT_TRUE(Matches(word, m_threw ? "o*e?|o+" + thrown : "o+e|o+" + body)) << word;
    EXPECT_EQ(CountOpened(), std::count(word.begin(), word.end(), 'x')) << word;
  }

  static char LetterOf(const Reply& reply) {
    static const std::map<std::string, char> letters = {
        {"sqlite3_open", 'o'},  {"sqlite3_errmsg", 'e'},  {"sqlite3_exec", 'w'},
        {"sqlite3_free", 'f'},  {"sqlite3_prepare", 'p'}, {"sqlite3_step", 's'},
        {"sqlite3_close", 'x'}, {"sqlite3_finalize", 'z'}};
    const auto letter = letters.find(reply.function);
    if (letter == letters.end()) {
      return 'c';  // of a column
    }
    return IsRow(reply) ? 'r' : letter->second;
  }

  static bool IsRepeated(const Reply& reply) {
    return std::string("owps").find(LetterOf(reply)) != std::string::npos;
  }

  static bool IsRow(const Reply& reply) {
    return reply.function == "sqlite3_step" && reply.result == SQLITE_ROW;
  }

  std::vector<Reply> Of(const std::string& function) const {
    std::vector<Reply> chosen;
    std::copy_if(m_run.replies.begin(), m_run.replies.end(), std::back_inserter(chosen),
                 [&](const Reply& reply) { return reply.function == function; });
    return chosen;
  }

  int CountOpened() const {
    const std::vector<Reply> opens = Of("sqlite3_open");
    return !opens.empty() && opens.back().result == SQLITE_OK ? 1 : 0;
  }

  // Opening, execution and preparation are repeated while they are busy, up to the limit.
  void JudgeAttempts() {
    for (const char* const function : {"sqlite3_open", "sqlite3_exec", "sqlite3_prepare"}) {
      const std::vector<Reply> attempts = Of(function);
      for (std::size_t number = 1; number < attempts.size(); ++number) {
        EXPECT_EQ(SQLITE_BUSY, attempts[number - 1].result);
      }
      if (!attempts.empty() && attempts.back().result == SQLITE_BUSY && !m_threw) {
        EXPECT_THAT(attempts, SizeIs(kAttempts));
      }
      EXPECT_LE(attempts.size(), kAttempts);
    }
  }

  // Stepping ends when it is done, or with the step after an error or after the limit.
  void JudgeSteps() {
    const std::vector<Reply> steps = Of("sqlite3_step");
    int busy = 0;
    std::size_t count = 0;
    bool stops = false;
    while (count < steps.size() && !stops && steps[count].result != SQLITE_DONE) {
      const int result = steps[count++].result;
      busy += result == SQLITE_BUSY ? 1 : 0;
      m_rows += result == SQLITE_ROW ? 1 : 0;
      EXPECT_THAT(result, AnyOf(SQLITE_ROW, SQLITE_BUSY, SQLITE_ERROR)) << "of a legacy statement";
      stops = result == SQLITE_ERROR || busy == kAttempts - 1;
    }
    m_stepsToStop = stops ? count : steps.size();
    if (!steps.empty() && !m_threw) {
      EXPECT_EQ(count + 1, steps.size());
    }
  }

  // What SQLite has no memory for is a null text, which throws where a text is due.
  void JudgeEnd() const {
    const auto isNullText = [](const Reply& reply) {
      return (reply.function == "sqlite3_column_name" || reply.function == "sqlite3_column_text") &&
             !reply.text;
    };
    EXPECT_EQ(std::any_of(m_run.replies.begin(), m_run.replies.end(), isNullText),
              m_run.end == End::kLogicError);
    if (m_threw) {
      return;
    }
    const auto decides = [](const Reply& reply) {
      return reply.function == "sqlite3_open" || reply.function == "sqlite3_exec" ||
             reply.function == "sqlite3_prepare";
    };
    EXPECT_EQ(std::find_if(m_run.replies.rbegin(), m_run.replies.rend(), decides)->result,
              m_run.result);
  }

  // Every answer has its lines, before the next call. An exception leaves out the last ones.
  void JudgeLines(const TemporaryDatabase& file) {
    m_lines = OpeningLines(m_operation, file.Directory(), file.FileName());
    std::size_t sure = m_lines.size();
    for (std::size_t number = 0; number < m_run.replies.size(); ++number) {
      const Reply& reply = m_run.replies[number];
      sure = std::string("fzx").find(LetterOf(reply)) == std::string::npos ? m_lines.size() : sure;
      AddLines(reply, number > 0 ? &m_run.replies[number - 1] : nullptr);
    }
    if (m_threw) {
      ASSERT_LE(m_run.lines.size(), m_lines.size());
      EXPECT_GE(m_run.lines.size(), m_run.replies.empty() ? 0 : sure);
      m_lines.resize(m_run.lines.size());
    }
    EXPECT_EQ(m_lines, m_run.lines);
    EXPECT_EQ(Strings(m_waits, "usleep 100000"), m_run.waits);
  }

  void AddLines(const Reply& reply, const Reply* before) {
    const std::string& function = reply.function;
    if (function == "sqlite3_step" && ++m_steps > m_stepsToStop) {
      return;  // whatever it gives
    }
    if (reply.result == SQLITE_BUSY && IsRepeated(reply)) {
      AddBusyLine(++m_busy[function], function == "sqlite3_step" ? kParserFile : kFile);
    }
    if (function == "sqlite3_errmsg") {
      AddFailureLines(*before, reply.text.value_or("(null)"));
    } else if (function == "sqlite3_open" && reply.result == SQLITE_OK) {
      Add(GetterLines(m_operation));
    } else if (function == "sqlite3_exec" && reply.result == SQLITE_OK) {
      Add(SuccessLines(m_operation));
    } else if (function == "sqlite3_exec" && IsLast(reply)) {
      Add({FailureLine(m_operation, reply.result, reply.text.value_or("(null)"))});
    } else if (function == "sqlite3_step" && reply.result == SQLITE_ERROR &&
               m_operation.kind == operations::Kind::kSetsFlag) {
      Add({Line(6, kParserFile, "ParseExistTable", "SQLITE STEP ERROR!!!")});
    } else if (function == "sqlite3_column_type" && reply.result == SQLITE_BLOB) {
      Add({Line(6, kParserFile, "ParseDatabase", "UNKNOWN TYPE")});
    }
  }

  void AddFailureLines(const Reply& failed, const std::string& text) {
    if (failed.function == "sqlite3_open") {
      Add(OpenFailureLines(m_operation, failed.result, text));
    } else if (failed.function == "sqlite3_prepare") {
      Add({FailureLine(m_operation, failed.result, text)});
    } else {
      Add({Line(6, kParserFile, "ParseDatabase", "SQLITE STEP ERROR!!! " + text)});
    }
  }

  bool IsLast(const Reply& reply) const {
    return reply.result != SQLITE_BUSY || m_busy.at(reply.function) == kAttempts;
  }

  void AddBusyLine(int count, const std::string& file) {
    m_waits += count <= kWaits ? 1 : 0;
    if (count < kAttempts) {
      Add({fake::BusyLines(file, count).back()});
    }
  }

  void Add(const Strings& lines) { m_lines.insert(m_lines.end(), lines.begin(), lines.end()); }

  // Cursor and flag stay as they were until the first step; then they hold what was stepped
  // over, of what the file holds.
  void JudgeAnswer() const {
    const bool isStepped = !Of("sqlite3_step").empty();
    if (m_operation.kind == operations::Kind::kFillsCursor && isStepped) {
      JudgeRows();
    } else if (!(m_threw && m_run.cursor == CursorImage({}, {}, -1))) {  // it may be emptied
      EXPECT_EQ(m_run.cursorBefore, m_run.cursor);
    }
    const bool isSet = m_operation.kind == operations::Kind::kSetsFlag && isStepped && !m_threw;
    EXPECT_EQ(isSet ? m_rows > 0 && m_all.exists : m_run.existsBefore, m_run.exists);
  }

  void JudgeRows() const {
    const auto& [found, cells, position] = m_run.cursor;
    const auto& [allNames, allCells, ignored] = m_all.cursor;
    EXPECT_EQ(-1, position);
    const Strings names = m_rows > 0 ? allNames : Strings();
    if (!m_threw) {
      EXPECT_EQ(names, found);
    }
    EXPECT_TRUE(IsStartOf(found, names)) << ::testing::PrintToString(found);
    for (const std::string& name : found) {
      const Strings column = cells.count(name) == 0 ? Strings() : cells.at(name);
      // A row that was interrupted may be there in part.
      EXPECT_GE(column.size() + (m_threw ? 1 : 0), m_rows);
      EXPECT_LE(column.size(), m_rows);
      EXPECT_TRUE(IsStartOf(column, allCells.at(name))) << ::testing::PrintToString(column);
    }
    EXPECT_LE(cells.size(), found.size());
  }

  static bool IsStartOf(const Strings& start, const Strings& whole) {
    return start.size() <= whole.size() && std::equal(start.begin(), start.end(), whole.begin());
  }

  // An open that fails leaves its connection, and a busy execution its text, when another
  // attempt follows.
  void JudgeLeftovers() const {
    const std::vector<Reply> opens = Of("sqlite3_open");
    const auto handles = std::count_if(opens.begin(), opens.end(), [](const Reply& reply) {
      return reply.hasHandle && reply.result != SQLITE_OK;
    });
    const std::vector<Reply> executions = Of("sqlite3_exec");
    const auto texts = std::count_if(executions.begin(), executions.end(),
                                     [](const Reply& reply) { return reply.text.has_value(); }) -
                       (!executions.empty() && executions.back().text ? 1 : 0);
    EXPECT_THAT(sqlite_spy::OpenStatements(), IsEmpty());
    EXPECT_THAT(sqlite_spy::OpenConnections(), SizeIs(handles));
    EXPECT_THAT(sqlite_spy::HeldErrorTexts(), SizeIs(texts));
  }

  const operations::Operation& m_operation;
  const Run& m_run;
  const Run& m_all;
  const bool m_threw;
  std::size_t m_rows = 0;         // that were stepped over
  std::size_t m_stepsToStop = 0;  // the error's, or the one that reached the limit
  std::size_t m_steps = 0;
  std::map<std::string, int> m_busy;
  Strings m_lines;
  std::size_t m_waits = 0;
};

}  // namespace

void Judge(const operations::Operation& operation, const TemporaryDatabase& file, const Run& run,
           const Run& all) {
  Rules(operation, run, all).Judge(file);
  sqlite_spy::CloseConnections();
  sqlite_spy::FreeErrorTexts();
}

}  // namespace contract
