#include "Contract.h"

#include <ostream>
#include <utility>

#include "Containers.h"
#include "FakePlatform.h"

namespace contract {

bool operator==(const CursorImage& left, const CursorImage& right) {
  return left.names == right.names && left.cells == right.cells && left.position == right.position;
}

std::ostream& operator<<(std::ostream& stream, const CursorImage& image) {
  stream << "columns:";
  for (const std::string& name : image.names) {
    stream << ' ' << name;
  }
  for (const auto& [name, cells] : image.cells) {
    stream << "; " << name << ':';
    for (const std::string& cell : cells) {
      stream << " '" << cell.substr(0, 20) << '\'';
    }
  }
  return stream << "; position " << image.position;
}

CursorImage ImageOf(Cursor& cursor) {
  CursorImage image;
  cursor.GetColumn(image.names);
  image.cells = CellMapOf(cursor);
  image.position = cursor.GetPosition();
  return image;
}

namespace {

// The operation threw before it made its next call.
struct Thrown {};
// SQLite had no memory for a text.
struct NullText {};
// A call was made that is not the one that is due.
struct Deviation {
  std::string text;
};

const char* const kDatabase = "Database.cpp";
const char* const kParser = "DatabasePasrser.cpp";
constexpr int kAttempts = 17;
constexpr int kWaits = 15;

std::string Shown(const std::optional<std::string>& text) { return text.value_or("(null)"); }

class Follower {
 public:
  Follower(const Operation& operation, const std::vector<sqlite_spy::Reply>& replies, End end,
           CursorImage cursor, bool exists)
      : m_operation(operation), m_replies(replies), m_end(end), m_cursor(std::move(cursor)) {
    m_owed.end = end == End::kBadAlloc ? End::kBadAlloc : End::kReturned;
    m_owed.exists = exists;
    m_owed.cursors = {m_cursor};
  }

  Owed Follow() {
    try {
      m_owed.result = Run();
    } catch (const Thrown&) {
    } catch (const NullText&) {
      m_owed.end = End::kLogicError;
    } catch (const Deviation& deviation) {
      m_owed.deviation = deviation.text;
    }
    if (m_owed.deviation.empty() && m_next != m_replies.size()) {
      m_owed.deviation = "then " + m_replies[m_next].function + " was called";
    }
    if (m_owed.end != End::kBadAlloc) {
      m_owed.linesForSure = m_owed.lines.size();
      m_owed.cursors = {m_cursor};
    }
    return m_owed;
  }

 private:
  // The reply to the call that is due.
  const sqlite_spy::Reply& Next(const std::string& function) {
    if (m_next == m_replies.size() || m_replies[m_next].function != function) {
      if (m_end == End::kBadAlloc) {
        throw Thrown();
      }
      throw Deviation{function + " was due"};
    }
    // What stands before the call has happened.
    m_owed.linesForSure = m_owed.lines.size();
    m_owed.cursors = {m_cursor};
    return m_replies[m_next++];
  }

  // These calls are made whatever happens, an exception included.
  void CleanUp(const std::vector<std::string>& functions) {
    for (const std::string& function : functions) {
      if (m_next == m_replies.size() || m_replies[m_next].function != function) {
        throw Deviation{function + " was due to clean up"};
      }
      ++m_next;
    }
  }

  void Log(int priority, const char* file, const std::string& function,
           const std::string& message) {
    m_owed.lines.push_back(fake::Line(priority, file, function, message));
  }

  void Trace(const std::string& function, const std::string& file = kDatabase) {
    m_owed.lines.push_back(fake::Trace(file, function));
  }

  // Notes a busy result, the `count`-th. Answers whether it was the last but one.
  bool IsLimit(int count, const char* file) {
    if (count > kWaits) {
      Log(6, file, "IsRetryLimit", "RETRY COUNT is reached LIMIT, SQLITE_BUSY");
      return true;
    }
    Log(5, file, "IsRetryLimit", "SQLITE BUSY[" + std::to_string(count) + "]");
    ++m_owed.waits;
    return false;
  }

  // Follows one call that is repeated while it is busy; `look` sees every reply.
  // Answers the last one.
  template <typename Look>
  const sqlite_spy::Reply& Retry(const std::string& function, Look look) {
    for (int attempt = 1;; ++attempt) {
      const sqlite_spy::Reply& reply = Next(function);
      look(reply);
      if (reply.result != SQLITE_BUSY || attempt == kAttempts) {
        return reply;
      }
      IsLimit(attempt, kDatabase);
    }
  }

  int Run() {
    Trace(m_operation.member);
    const int opened = Open();
    if (opened != SQLITE_OK) {
      if (m_operation.reportsOpenFailure) {
        Log(4, kDatabase, m_operation.member, "OpenDB Error: " + std::to_string(opened));
      }
      return opened;
    }
    for (const std::string& getter : m_operation.getters) {
      Trace(getter, m_operation.requestFile);
    }
    const bool writes = !m_operation.success.empty();
    const char* const first = writes ? "sqlite3_free" : "sqlite3_finalize";
    int result = 0;
    try {
      result = writes ? Write() : Query();
    } catch (const Deviation&) {
      throw;
    } catch (...) {
      CleanUp({first, "sqlite3_close"});
      throw;
    }
    CleanUp({first, "sqlite3_close"});
    return result;
  }

  int Open() {
    Trace("OpenDB");
    Log(6, kDatabase, "OpenDB", "DB file: " + m_operation.directory + " " + m_operation.fileName);
    const int result = Retry("sqlite3_open", [this](const sqlite_spy::Reply& reply) {
                         m_owed.connectionsLeft += reply.hasHandle ? 1 : 0;
                       }).result;
    if (result == SQLITE_OK) {
      --m_owed.connectionsLeft;  // it is closed
      return result;
    }
    const std::string text = Shown(Next("sqlite3_errmsg").text);
    Log(6, kDatabase, "OpenDB",
        "DB open failed. Error no(" + std::to_string(result) + "): " + text);
    return result;
  }

  void LogFailure(int result, const std::optional<std::string>& text) {
    Log(6, kDatabase, m_operation.member,
        m_operation.failure + "[" + std::to_string(result) + "]: " + Shown(text));
  }

  int Write() {
    bool hadText = false;
    const sqlite_spy::Reply& last =
        Retry("sqlite3_exec", [this, &hadText](const sqlite_spy::Reply& reply) {
          m_owed.textsLeft += hadText ? 1 : 0;  // only the last one is freed
          hadText = reply.text.has_value();
        });
    if (last.result != SQLITE_OK) {
      LogFailure(last.result, last.text);
    } else {
      Log(4, kDatabase, m_operation.member, m_operation.success + "[0]");
    }
    return last.result;
  }

  int Query() {
    const int result = Retry("sqlite3_prepare", [](const sqlite_spy::Reply&) {}).result;
    if (result != SQLITE_OK) {
      LogFailure(result, Next("sqlite3_errmsg").text);
    } else if (m_operation.fillsCursor) {
      FillCursor();
    } else {
      SetFlag();
    }
    return result;
  }

  // The library would step on without end.
  static std::string NeverMet(int step) {
    return "a step gave " + std::to_string(step) + ", which a legacy statement does not";
  }

  void FillCursor() {
    m_cursor = CursorImage();
    bool stop = false;
    int busy = 0;
    int columns = 0;
    for (;;) {
      const int step = Next("sqlite3_step").result;
      if (step == SQLITE_DONE || stop) {
        return;
      }
      if (step == SQLITE_BUSY) {
        stop = IsLimit(++busy, kParser);
      } else if (step == SQLITE_ROW) {
        columns = columns == 0 ? DeclareColumns() : columns;
        for (int column = 0; column < columns; ++column) {
          AppendCell();
        }
      } else if (step == SQLITE_ERROR) {
        const std::string text = Shown(Next("sqlite3_errmsg").text);
        Log(6, kParser, "ParseDatabase", "SQLITE STEP ERROR!!! " + text);
        stop = true;
      } else {
        throw Deviation{NeverMet(step)};
      }
    }
  }

  std::string NextName() {
    const auto name = Next("sqlite3_column_name").text;
    if (!name) {
      throw NullText();
    }
    return *name;
  }

  int DeclareColumns() {
    const int columns = Next("sqlite3_column_count").result;
    for (int column = 0; column < columns; ++column) {
      const std::string name = NextName();
      m_cursor.names.push_back(name);
      m_owed.cursors.push_back(m_cursor);  // if memory ends right here
      m_cursor.cells[name];
    }
    return columns;
  }

  void AppendCell() {
    const auto name = Next("sqlite3_column_name").text;
    const int type = Next("sqlite3_column_type").result;
    std::optional<std::string> text = "";
    if (type == SQLITE_INTEGER || type == SQLITE_FLOAT || type == SQLITE_TEXT) {
      text = Next("sqlite3_column_text").text;
    } else if (type != SQLITE_NULL) {
      Log(6, kParser, "ParseDatabase", "UNKNOWN TYPE");
    }
    if (!name || !text) {
      throw NullText();
    }
    m_cursor.cells[*name].push_back(*text);
  }

  void SetFlag() {
    bool stop = false;
    bool found = false;
    int busy = 0;
    for (;;) {
      const int step = Next("sqlite3_step").result;
      if (step == SQLITE_DONE || stop) {
        m_owed.exists = found;
        return;
      }
      if (step == SQLITE_BUSY) {
        stop = IsLimit(++busy, kParser);
      } else if (step == SQLITE_ERROR) {
        Log(6, kParser, "ParseExistTable", "SQLITE STEP ERROR!!!");
        stop = true;
      } else if (step != SQLITE_ROW) {
        throw Deviation{NeverMet(step)};
      } else {
        found = Next("sqlite3_column_int").result > 0 || found;
      }
    }
  }

  const Operation& m_operation;
  const std::vector<sqlite_spy::Reply>& m_replies;
  const End m_end;
  CursorImage m_cursor;
  std::size_t m_next = 0;
  Owed m_owed;
};

}  // namespace

Owed WorkOut(const Operation& operation, const std::vector<sqlite_spy::Reply>& replies, End end,
             const CursorImage& cursor, bool exists) {
  return Follower(operation, replies, end, cursor, exists).Follow();
}

}  // namespace contract
